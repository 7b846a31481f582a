#!/usr/bin/env bash
# Whom the command-line client trusts, and how it says so: trust_options.sh SIMULATOR CLIENT
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"

start_simulator "$1"
openssl x509 -in "$folder/ca.pem" -outform DER -out "$folder/ca.der"
export SSL_CERT_FILE=/dev/null SSL_CERT_DIR=$folder/none

# expect STATUS PATTERN COMMAND [OPTIONS]: the client's exit status, and what it prints must hold
expect() {
  local expected=$1 pattern=$2 command=$3 status=0
  shift 3
  output=$("$client" "$command" --broker "127.0.0.1:$port" --user alice --domain EXAMPLE \
    --accept-disclaimer --password-fd 0 --non-interactive "$@" <<<wonderland 2>&1) || status=$?
  if [ "$status" != "$expected" ] || ! grep -qE "$pattern" <<<"$output"; then
    printf '%s %s: exit status %s instead of %s, or not "%s" in:\n%s\n' \
      "$command" "$*" "$status" "$expected" "$pattern" "$output"
    exit 1
  fi
}
client=$2

expect 3 'Verdict +comes without its issuer' certificates
pin=$(grep -oE '[0-9a-f]{64}' <<<"$output" | head -1)
colons=$(sed 's/../&:/g; s/:$//' <<<"${pin^^}")
other=$(tr '0-9a-f' 'f0-9a-e' <<<"$pin")

expect 3 'KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE' list
expect 0 'Office' list --trust-anchor "$folder/ca.pem"
expect 0 'Office' list --trust-anchor "$folder/ca.der"
expect 0 'Verdict +is sound' certificates --trust-anchor "$folder/ca.pem"
expect 1 'holds no certificate' list --trust-anchor "$0"
expect 0 'Office' list --pin "$pin"
expect 0 'Office' list --pin "$colons" --trust-anchor "$folder/ca.pem"
expect 3 'another certificate than the pinned one' list --pin "$other" --trust-anchor "$folder/ca.pem"
expect 3 '"name": "KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE"' list --pin "$other" --json
expect 3 '"sha256": "'"$pin" certificates --json
expect 1 '64 hexadecimal digits' list --pin abc
expect 1 'excludes' list --pin "$pin" --insecure
expect 0 'WARNING' list --insecure
echo "trust options: all as expected"
