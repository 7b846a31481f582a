# For scripts that run the client, $client; to be sourced.

# expect STATUS PATTERN ARGUMENTS...: the client's exit status, and what it prints must hold
expect() {
  local expected=$1 pattern=$2 status=0
  shift 2
  output=$("$client" "$@" <<<"${secret:-wonderland}" 2>&1) || status=$?
  if [ "$status" != "$expected" ] || ! grep -qzE "$pattern" <<<"$output"; then
    printf '%s: exit status %s instead of %s, or not "%s" in:\n%s\n' \
      "$*" "$status" "$expected" "$pattern" "$output"
    exit 1
  fi
}
