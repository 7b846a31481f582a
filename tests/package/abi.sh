#!/usr/bin/env bash
# Compares the library's binary interface with the one that was promised: abi.sh BUILD-FOLDER [--update].
# Ends with 1 when a program built earlier would not run with this library, and as well for an addition,
# until --update has recorded it.
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)/sdk/libs/broker_client
build=$1
promised=$sources/abi
found=$(mktemp -d)
trap 'rm -rf "$found"' EXIT
mkdir "$found/headers"
cp "$sources"/kavro_broker{,_extras}.h "$found/headers"

# describe NAME ELF-FILE [OPTIONS]: the public types of a file, and its functions if it has any.
describe() {
  local name=$1 file=$2
  shift 2
  abidw "$@" --headers-dir "$found/headers" --drop-private-types --type-id-style hash --no-parameter-names \
    --no-show-locs --no-architecture --no-corpus-path --no-comp-dir-path --no-elf-needed \
    --out-file "$found/$name.abi" "$file"
}
describe functions "$build/sdk/libs/broker_client/libbroker_client.so" --exported-interfaces-only

# No function takes the constants by their type, and so the library says nothing about them.
printf '#include "kavro_broker_extras.h"\nconst char values[] = "";\n' |
  gcc -g -fno-eliminate-unused-debug-types -ffreestanding -nostdlib -shared -fPIC \
    -I "$found/headers" -x c - -o "$found/values.so"
describe values "$found/values.so" --load-all-types

if [ "${2:-}" = --update ]; then
  mkdir -p "$promised"
  cp "$found"/*.abi "$promised"
  exit
fi

# compare NAME [OPTIONS]: what changed in one of the descriptions. abidiff ends with 4, 8 or both for
# differences, with anything else when it could not compare.
compare() {
  local name=$1 status=0
  shift
  abidiff "$@" "$promised/$name.abi" "$found/$name.abi" || status=$?
  ((status & ~12)) && return 2
  return 0
}
differences() { compare functions "$@" && compare values --non-reachable-types "$@"; }

broken=$(differences --no-added-syms)
if grep -qE ' [1-9][0-9]* ([Rr]emoved|[Cc]hanged)|SONAME changed' <<<"$broken"; then
  printf '%s\nThis breaks programs that were built earlier.\n' "$broken"
  echo "Undo it, or raise the major version and record the new interface with: ./dev abi --update"
  exit 1
fi
grown=$(differences --harmless)
if grep -qE ' [1-9][0-9]* ([Aa]dded|[Cc]hanged)' <<<"$grown"; then
  printf '%s\nThe interface has grown.\n' "$grown"
  echo "Raise the minor version and record the addition with: ./dev abi --update"
  exit 1
fi
echo "The binary interface is the promised one."
