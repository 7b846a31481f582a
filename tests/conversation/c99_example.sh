#!/usr/bin/env bash
# The example in C carries on a conversation with the simulator: c99_example.sh SIMULATOR EXAMPLE
set -euo pipefail
folder=$(mktemp -d)
trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$folder"' EXIT

mkfifo "$folder/ready"
"$1" --ca-file "$folder/ca.pem" >"$folder/ready" &
simulator=$!
read -r ready <"$folder/ready"
port=$(grep -oE '"port": ?[0-9]+' <<<"$ready" | grep -oE '[0-9]+')

output=$(SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder \
  "$2" 127.0.0.1 "$port" alice EXAMPLE <<<wonderland)
echo "$output"
grep -q '^desktop 3: ' <<<"$output"

! SSL_CERT_FILE=$folder/ca.pem "$2" 127.0.0.1 "$port" alice EXAMPLE <<<wrong
