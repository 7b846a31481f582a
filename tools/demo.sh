#!/usr/bin/env bash
# A whole conversation with the simulated broker, as a user would have it: demo.sh BUILD-FOLDER
set -euo pipefail

build=$(cd "$1" && pwd)
export PATH=$build/tools/kavro-broker:$build/tools/broker-sim:$PATH
. "$(dirname "$0")/simulator.sh"

start_simulator kavro-broker-sim
echo "A simulated broker listens on 127.0.0.1, port $port."

# Only the simulator's own authority is trusted here.
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder
broker=(--broker "127.0.0.1:$port" --user alice --domain EXAMPLE --accept-disclaimer
  --password-fd 3 --non-interactive)

# Shows a command as one would type it, then runs it.
run() {
  printf '\n$ kavro-broker'
  printf ' %q' "$@"
  printf ' --broker 127.0.0.1:%s\n' "$port"
  kavro-broker "$@" "${broker[@]}" 3<<<"${password:-wonderland}" 2>&1
}

# The same for a command that must end with this exit status.
refused() {
  local expected=$1 status=0
  shift
  run "$@" || status=$?
  echo "(exit status $status)"
  [ "$status" = "$expected" ]
}

run list
run power "Build machine" up
run connect Office
run connect "Build machine" --wait
printf '\nWith a wrong password:'
password=wrong refused 4 list
printf '\nFrom a machine that does not know the authority behind the broker:'
SSL_CERT_FILE=/dev/null refused 3 list
run logout
