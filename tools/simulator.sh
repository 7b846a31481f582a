# For scripts that need a broker; to be sourced.

# The broker is on this machine: no proxy of the user's leads there.
unset https_proxy HTTPS_PROXY no_proxy NO_PROXY

# start_simulator PROGRAM [OPTIONS]: starts a simulated broker that ends with the script. Sets $port,
# where it listens on 127.0.0.1. A temporary folder, $folder unless there is one, holds ca.pem, its
# authority.
start_simulator() {
  folder=${folder:-$(mktemp -d)}
  trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$folder"' EXIT
  await_simulator "$folder/ready" "$@" --ca-file "$folder/ca.pem"
}

# await_simulator PIPE PROGRAM [OPTIONS]: starts one in the background, and goes on when it listens.
await_simulator() {
  rm -f "$1"
  mkfifo "$1"
  "${@:2}" >"$1" &
  simulator=$!
  read -r ready <"$1"
  port=$(port_of port)
}

# For the commands of a page: what listens there does so in the background.
kavro-broker-sim() {
  case $1 in
  --check | --print-demo) command kavro-broker-sim "$@" ;;
  *) await_simulator ready command kavro-broker-sim "$@" && echo "$ready" ;;
  esac
}

# port_of NAME: where one of the simulator's servers listens.
port_of() { grep -oE "\"$1\": ?[0-9]+" <<<"$ready" | grep -oE '[0-9]+'; }
