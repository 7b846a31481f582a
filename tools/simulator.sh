# For scripts that need a broker; to be sourced.

# start_simulator PROGRAM: starts a simulated broker that ends with the script. Sets $port, where it
# listens on 127.0.0.1, and $folder, a temporary folder that holds ca.pem, its authority.
start_simulator() {
  folder=$(mktemp -d)
  mkfifo "$folder/ready"
  "$1" --ca-file "$folder/ca.pem" >"$folder/ready" &
  simulator=$!
  trap 'kill "$simulator" 2>/dev/null || true; rm -rf "$folder"' EXIT
  local ready
  read -r ready <"$folder/ready"
  port=$(grep -oE '"port": ?[0-9]+' <<<"$ready" | grep -oE '[0-9]+')
}
