#!/usr/bin/env bash
# What --record writes, and a log as well, is played with the same outcome: recording.sh SIMULATOR CLIENT
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"
. "$(dirname "$0")/expect.sh"

folder=$(mktemp -d)
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder/none
client=$2
umask 0

play() {
  start_simulator "$@"
  broker=(--broker "127.0.0.1:$port" --request-timeout 1 --connect-timeout 1 --user alice --domain EXAMPLE
    --accept-disclaimer --password-fd 0)
}
stop() {
  kill "$simulator"
  wait "$simulator" 2>/dev/null || true
}

# outcome ARGUMENTS...: what the user sees, but for the port and the certificate
outcome() {
  local status=0
  "$client" "$@" "${broker[@]}" <<<wonderland 2>"$folder/said" || status=$?
  grep -a '^kavro-broker:' "$folder/said" || true
  echo "$status"
}

# A row: scenario | command
while IFS='|' read -r scenario command; do
  echo "$scenario" >"$folder/scenario.json"
  touch "$folder/recorded"
  for form in recorded logged; do
    play "$1" ${scenario:+--scenario "$folder/scenario.json"}
    options=(--log-level debug)
    [ $form = logged ] || options=(--record "$folder/recorded")
    # shellcheck disable=SC2086 # several words
    first=$(outcome $command "${options[@]}" | sed "s/:$port/:PORT/")
    [ $form = recorded ] || cp "$folder/said" "$folder/logged"
    stop
    ! grep -aE 'wonderland|SCS1demoConnect|demo-gateway-ticket' "$folder/$form" || exit 1
    play "$1" --replay "$folder/$form" --fast 2>"$folder/astray"
    # shellcheck disable=SC2086
    again=$(outcome $command | sed "s/:$port/:PORT/")
    stop
    [ "$first" = "$again" ] && [ ! -s "$folder/astray" ] ||
      { echo "$scenario: $first, $form $again" && cat "$folder/astray" && exit 1; }
  done
  [[ $client == */run/* ]] || [ "$(stat -c %a "$folder/recorded")" = 600 ]
done <<'ROWS'
|connect Design
|power Build up
{"tls": {"expired": true}}|list
{"tls": {"names": ["other.test"], "automatic_names": false}}|list
{"tls": {"issuer": "stranger"}}|list
{"tls": {"client_certificate": "required"}}|list
{"overrides": [{"status": 503, "body": "down"}]}|list
{"overrides": [{"body": "<html><br></html>"}]}|list
{"authentication": [{"methods": ["disclaimer"], "disclaimer": "a\nb"}], "overrides": [{"request": "authenticate", "error_id": "ERR_CM_FAILED", "result_str": "c\nd"}]}|list
{"faults": [{"stage": "accept", "ending": "reset"}]}|list
{"faults": [{"stage": "handshake", "ending": "stall"}]}|list
{"faults": [{"request": "hello", "ending": "close"}]}|logout
{"faults": [{"request": "get-resource-list", "ending": "stall"}]}|list
ROWS

# One line tells of a client on another way; a signal leaves whole lines; what cannot be written or read is named.
play "$1" --replay "$folder/recorded" --fast 2>"$folder/astray"
"$client" power Office up "${broker[@]}" --record "$folder/stopped" <<<wonderland >/dev/null 2>&1 &
until grep -q '"hello"' "$folder/stopped" 2>/dev/null; do sleep 0.05; done
kill $! && wait $! || [ $? = 143 ]
[[ $client == */run/* ]] || tail -1 "$folder/stopped" | grep -qx '{"time":"[^"]*","exit_status":143}'
stop
play "$1" --replay "$folder/stopped" 2>"$folder/astray"
expect 1 "$folder cannot be written" list "${broker[@]}" --record "$folder"
expect 0 '' certificates "${broker[@]}"
[[ $client == */run/* ]] || # where a signal ends the client at once, after whatever it recorded
  grep -q 'it sends bye, and get-resource-list is expected' "$folder/astray"
for foreign in "$folder/ca.pem" "$folder/nothing"; do
  ! "$1" --replay "$foreign" 2>"$folder/said" && grep -q "$foreign" "$folder/said"
done
echo "recordings: all as expected"
