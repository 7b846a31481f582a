#!/usr/bin/env bash
# What `connect` hands to other programs, and colours: handoff.sh SIMULATOR CLIENT
set -euo pipefail
. "$(dirname "$0")/../../tools/simulator.sh"

folder=$(mktemp -d)
cat >"$folder/scenario.json" <<'JSON'
{"desktops": [{"id": "vm'1", "name": "it's $(touch owned) `touch owned` \"x\" \\ *\nnext; touch owned"}]}
JSON
start_simulator "$1" --scenario "$folder/scenario.json"
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder/none
client=$2
cd "$folder"

fail() {
  echo "$*" >&2
  exit 1
}
connect() { "$client" connect "$@" --broker "127.0.0.1:$port" --non-interactive; }

name='it'\''s $(touch owned) `touch owned` "x" \ *
next; touch owned'
lines=$(connect "vm'1" --output shell)
[ "$(sh -c 'eval "$1" && printf %s "$KAVRO_BROKER_DESKTOP_NAME"' sh "$lines")" = "$name" ] ||
  fail "a shell reads another name in: $lines"
[ ! -e owned ] || fail "a name was carried out: $lines"
sh -c 'eval "$1" && [ "$KAVRO_BROKER_DESKTOP_ID" = "vm'\''1" ] && [ -n "$KAVRO_BROKER_CONNECT_TAG" ] &&
  [ -n "$KAVRO_BROKER_ADDRESS$KAVRO_BROKER_PORT" ] && [ "$KAVRO_BROKER_ALTERNATES" = 0 ]' sh "$lines" ||
  fail "something is missing in: $lines"

echo precious >elsewhere
ln -s elsewhere target
umask 000
[ -z "$(connect "vm'1" --output shell --output-file target)" ] || fail "the result is not only in the file"
[ "$(stat -c %a target)" = 600 ] || fail "others can read the file"
grep -q "^KAVRO_BROKER_ADDRESS='" target || fail "the file has no address: $(cat target)"
[ "$(cat elsewhere)" = precious ] || fail "a link was followed"
connect nowhere --output-file target 2>/dev/null && fail "there is no such desktop"
grep -q "^KAVRO_BROKER_ADDRESS='" target || fail "a failure has spoilt the file"
connect "vm'1" --json --output-file target && grep -q '"connection"' target || fail "no JSON in the file"
connect "vm'1" --output-file none/target 2>error && fail "there is no such folder"
grep -q 'could not be written' error || fail "not told: $(cat error)"
[ "$(ls)" = "$(printf '%s\n' ca.pem elsewhere error ready scenario.json target)" ] || fail "left over: $(ls)"

list() { "$client" list --broker "127.0.0.1:$port" --non-interactive "$@"; }
list | grep -q $'\033' && fail "colours without a terminal"
plain=$(list)
NO_COLOR=1 list --color always | grep -q $'\033\\[32mHEALTHY\033\\[0m' || fail "no colour when told to"
[ "$(list --color always | sed $'s/\033\\[[0-9]*m//g')" = "$plain" ] || fail "colours change the columns"
echo "hand-off: all as expected"
