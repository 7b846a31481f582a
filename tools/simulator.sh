# For scripts that need a broker; to be sourced.

# The broker is on this machine: no proxy of the user's leads there.
unset https_proxy HTTPS_PROXY no_proxy NO_PROXY

# start_simulator PROGRAM [OPTIONS]: starts a simulated broker that ends with the script. Sets $port,
# where it listens on 127.0.0.1. A temporary folder, $folder unless there is one, holds ca.pem, its
# authority.
start_simulator() {
  folder=${folder:-$(mktemp -d)}
  rm -f "$folder/ready"
  mkfifo "$folder/ready"
  "$@" --ca-file "$folder/ca.pem" >"$folder/ready" &
  simulator=$!
  trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$folder"' EXIT
  read -r ready <"$folder/ready"
  port=$(port_of port)
}

# port_of NAME: where one of the simulator's servers listens.
port_of() { grep -oE "\"$1\": ?[0-9]+" <<<"$ready" | grep -oE '[0-9]+'; }
