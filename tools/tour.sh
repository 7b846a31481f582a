#!/usr/bin/env bash
# Plays docs/tour.md, its commands as one would type them: tour.sh BUILD-FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/simulator.sh"
build=$(cd "$1" && pwd)
export PATH=$build/tools/kavro-broker:$build/tools/broker-sim:$PATH
unset "${!KAVRO_@}"
folder=$(mktemp -d)
trap 'kill $(jobs -p) 2>/dev/null || true; rm -rf "$folder"' EXIT
cd "$folder"

# A simulator takes any free port, and what the page has for it becomes that.
play() {
  local command
  [[ $1 != kavro-broker-sim* ]] || port=0
  command=${1//60443/$port}
  printf '$ %s\n' "$command"
  eval "${command% &}"
}

console=
while IFS= read -r line <&3; do
  case $console$line in
  '```console') console=inside ;;
  'inside```') console= ;;
  'inside$ '*)
    while [[ $line = *\\ ]] && IFS= read -r more <&3; do line+=$'\n'$more; done
    play "${line#'$ '}" 2>&1 </dev/null || echo "(exit status $?)"
    ;;
  inside*) ;; # what a command says is heard from itself
  *) echo "$line" ;;
  esac
done 3<"$here/../docs/tour.md"
