#!/usr/bin/env bash
# The Python package is typed, and a wheel of it works where there is nothing else: wheel.sh BUILD-FOLDER
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)
. "$sources/tools/simulator.sh"
folder=$(mktemp -d)
/usr/bin/mypy --strict --cache-dir "$folder/types" "$sources/python/kavro_broker"

"$sources/tools/python/wheel.sh" "$1" "$folder"
/usr/bin/python3 -m venv "$folder/venv"
"$folder/venv/bin/pip" install --quiet --no-index "$folder"/kavro_broker-*-linux_*.whl

start_simulator "$1/tools/broker-sim/kavro-broker-sim"
SSL_CERT_FILE=$folder/ca.pem "$folder/venv/bin/python" "$sources/examples/conversation.py" \
  127.0.0.1 "$port" alice EXAMPLE <<<wonderland | tee "$folder/said"
grep -qE '^desktop-build (is being made ready|waits at)' "$folder/said"
