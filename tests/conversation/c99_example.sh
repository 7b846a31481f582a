#!/usr/bin/env bash
# An example carries on a conversation with the simulator: c99_example.sh SIMULATOR EXAMPLE...
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"

folder=$(mktemp -d)
password='a<b&c'
sed "s/wonderland/a<b\&c/" "$(dirname "$0")/../../tools/broker-sim/scenarios/demo.json" >"$folder/demo.json"
start_simulator "$1" --scenario "$folder/demo.json"

output=$(SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder \
  "${@:2}" 127.0.0.1 "$port" alice EXAMPLE <<<"$password")
echo "$output"
grep -q '^desktop 3: ' <<<"$output"

! SSL_CERT_FILE=$folder/ca.pem "${@:2}" 127.0.0.1 "$port" alice EXAMPLE <<<wrong
