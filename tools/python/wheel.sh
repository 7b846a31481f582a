#!/usr/bin/env bash
# Makes a wheel of the Python package with the library in it: wheel.sh BUILD-FOLDER TARGET-FOLDER
#
# It is for machines with the libraries that this one is linked with, as `file` and `ldd` tell them.
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)
target=$(mkdir -p "$2" && cd "$2" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cp -r "$sources/python/." "$sources/LICENSE" "$work"
strip -o "$work/kavro_broker/libbroker_client.so.1" \
  "$(find "$1" -path '*/libbroker_client.so.1' -print -quit)"
printf '[bdist_wheel]\nplat_name = linux_%s\n' "$(uname -m)" >"$work/setup.cfg"
cd "$work"
/usr/bin/python3 -m pip wheel --quiet --no-deps --no-index --no-build-isolation --wheel-dir "$target" .
