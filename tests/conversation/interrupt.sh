#!/usr/bin/env bash
# Ctrl-C ends the request of the example, not the example: interrupt.sh SIMULATOR EXAMPLE
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"

folder=$(mktemp -d)
echo '{"faults": [{"ending": "stall"}]}' >"$folder/scenario.json"
start_simulator "$1" --scenario "$folder/scenario.json"

exec {said}< <(SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder exec "$2" 127.0.0.1 "$port")
example=$!
read -r _ <&"$said"
until read -r -t 0.2 sentence <&"$said"; do # before the request has begun a cancel has no effect
  kill -INT "$example"
done
test "$sentence" = "Cancelled."
