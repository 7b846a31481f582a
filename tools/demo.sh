#!/usr/bin/env bash
# A whole conversation with the simulated broker, as a user would have it:
# demo.sh BUILD-FOLDER [BUILD-FOLDER-OF-THE-SIMULATOR]
set -euo pipefail
. "$(dirname "$0")/simulator.sh"

# program BUILD-FOLDER NAME: what starts a program; those of another system have starters in run/.
program() {
  local build
  build=$(cd "$1" && pwd)
  compgen -G "$build/run/$2" || compgen -G "$build/tools/*/$2"
}
client=$(program "$1" kavro-broker)
folder=$(mktemp -d)
start_simulator "$(program "${2:-$1}" kavro-broker-sim)" --table-cache "$folder"
echo "A simulated broker listens on 127.0.0.1, port $port."

# Only the simulator's own authority is trusted here.
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder
log_in=(--user alice --domain EXAMPLE --accept-disclaimer --password-fd 0 --non-interactive)

# Shows a command as one would type it, then runs it.
run() {
  local where=(--broker "127.0.0.1:$port")
  [ -z "${code:-}" ] || where=(--registration-code "$code")
  show "$@" "${where[@]}"
  "$client" "$@" "${where[@]}" --cache "$folder" "${log_in[@]}" <<<"${password:-wonderland}" 2>&1
}

show() {
  printf '\n$ kavro-broker'
  printf ' %q' "$@"
  printf '\n'
}

# The same for a command that must end with this exit status.
refused() {
  local expected=$1 status=0
  shift
  run "$@" || status=$?
  echo "(exit status $status)"
  [ "$status" = "$expected" ]
}

show probe "127.0.0.1:$port"
"$client" probe "127.0.0.1:$port"
run list
run power "Build machine" up
run connect Office
run connect "Build machine" --wait
printf '\nWith a wrong password:'
password=wrong refused 4 list
printf '\nFrom a machine that does not know the authority behind the broker:'
SSL_CERT_FILE=/dev/null refused 3 list
printf '\nBy a registration code instead of an address:'
code=DEMO+4711 run logout
