#!/usr/bin/env bash
# An example carries on a conversation with the simulator: c99_example.sh SIMULATOR EXAMPLE...
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"

start_simulator "$1"

output=$(SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder \
  "${@:2}" 127.0.0.1 "$port" alice EXAMPLE <<<wonderland)
echo "$output"
grep -q '^desktop 3: ' <<<"$output"

! SSL_CERT_FILE=$folder/ca.pem "${@:2}" 127.0.0.1 "$port" alice EXAMPLE <<<wrong
