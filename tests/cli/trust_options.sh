#!/usr/bin/env bash
# Whom the command-line client trusts, and how it says so: trust_options.sh SIMULATOR CLIENT
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"
. "$(dirname "$0")/expect.sh"

start_simulator "$1"
openssl x509 -in "$folder/ca.pem" -outform DER -out "$folder/ca.der"
export SSL_CERT_FILE=/dev/null SSL_CERT_DIR=$folder/none

client=$2
log_in=(--broker "127.0.0.1:$port" --user alice --domain EXAMPLE --accept-disclaimer --password-fd 0 --non-interactive)

expect 3 'Verdict +comes without its issuer' certificates "${log_in[@]}"
pin=$(grep -oE '[0-9a-f]{64}' <<<"$output" | head -1)
colons=$(sed 's/../&:/g; s/:$//' <<<"${pin^^}")
openssl s_client -connect "127.0.0.1:$port" </dev/null 2>/dev/null |
  openssl x509 -pubkey -noout | openssl pkey -pubin -outform DER | openssl dgst -sha256 -binary >"$folder/key"
key=$(od -An -v -tx1 "$folder/key" | tr -d ' \n')
key_pin=sha256//$(base64 "$folder/key")
other=$(tr '0-9a-f' 'f0-9a-e' <<<"$pin")

expect 3 'KAVRO_BROKER_ERR_CERTIFICATE_FAILED_BUT_WARNABLE' list "${log_in[@]}"
expect 0 'Office' list "${log_in[@]}" --trust-anchor "$folder/ca.pem"
expect 0 'Office' list "${log_in[@]}" --trust-anchor "$folder/ca.der"
expect 0 'Verdict +is sound' certificates "${log_in[@]}" --trust-anchor "$folder/ca.pem"
expect 1 'holds no certificate' list "${log_in[@]}" --trust-anchor "$0"
expect 0 'Office' list "${log_in[@]}" --pin "$pin"
expect 0 'Office' list "${log_in[@]}" --pin "$colons" --trust-anchor "$folder/ca.pem"
expect 3 'another certificate than the pinned one' list "${log_in[@]}" --pin "$other" --trust-anchor "$folder/ca.pem"
expect 3 'the pinned one. The .* not known here. \(301 ' list "${log_in[@]}" --pin "$other"
expect 3 '"sha256": "'"$pin" certificates "${log_in[@]}" --json
expect 3 'Names +.*127.0.0.1.*\([0-9]+ days left\)' certificates "${log_in[@]}"
expect 3 "Key pin +${key_pin//+/\\+}" certificates "${log_in[@]}"
expect 3 "give --pin ${key_pin//+/\\+}, or" list "${log_in[@]}"
expect 0 'Office' list "${log_in[@]}" --pin "$key_pin"
expect 0 'Office' list "${log_in[@]}" --pin "$key"
expect 3 'another certificate than the pinned one' list "${log_in[@]}" --pin "sha256//$(base64 <<<'another key of the same length..' | head -c 43)="
expect 1 '64 hexadecimal digits' list "${log_in[@]}" --pin abc
expect 1 'sha256// and its base64' list "${log_in[@]}" --pin sha256//AAAA
expect 1 'excludes' list "${log_in[@]}" --pin "$pin" --insecure
expect 0 'WARNING' list "${log_in[@]}" --insecure

if [[ $client != */run/* ]]; then # files and rights are those of POSIX
  . "$(dirname "$0")/known_brokers.sh"
  . "$(dirname "$0")/profiles.sh"
fi
echo "trust options: all as expected"
