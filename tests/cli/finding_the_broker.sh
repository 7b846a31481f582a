#!/usr/bin/env bash
# Probes, registration codes, provisioning: finding_the_broker.sh SIMULATOR CLIENT
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"
. "$(dirname "$0")/expect.sh"

folder=$(mktemp -d)
start_simulator "$1" --table-cache "$folder"
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder/none
client=$2

expect 0 'A View broker' probe "127.0.0.1:$(port_of view_broker)"
expect 0 '"kind": "direct-host"' probe "127.0.0.1:$(port_of direct_host)" --json
expect 0 "hosted connection broker answers at https://127.0.0.1:$port" \
  probe --registration-code DEMO+1 --cache "$folder"
expect 2 'KAVRO_BROKER_ERR_NO_BROKER_FOUND' probe 127.0.0.1:1

log_in=(--user alice --domain EXAMPLE --accept-disclaimer --password-stdin --cache "$folder")
expect 2 'not in the table of codes' list --registration-code NONE "${log_in[@]}"
expect 0 'Alternate +127.0.0.2, port 4172' connect Design --registration-code DEMO "${log_in[@]}" --log-level info
grep -q 'not shown: it holds a ticket' <<<"$output"
if grep 'demo-gateway-ticket' <<<"$output"; then exit 1; fi

locale_of() {
  LC_ALL=$1 LC_MESSAGES=$2 LANG=fr_FR expect 0 "<locale>$3<" list --registration-code DEMO "${log_in[@]}" --log-level info
}
[[ $client == */run/* ]] || { locale_of '' de_DE.UTF-8@euro de_DE && locale_of C de_DE en_US; }
echo "finding the broker: all as expected"
