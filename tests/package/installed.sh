#!/usr/bin/env bash
# Uses the library as somebody who got it installed: installed.sh BUILD-FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
. "$here/../../tools/simulator.sh"
folder=$(mktemp -d)
prefix=$folder/prefix
cmake --install "$1" --prefix "$folder/elsewhere" >/dev/null
mv "$folder/elsewhere" "$prefix" # what is installed knows no place of its own

start_simulator "$prefix/bin/kavro-broker-sim"
export SSL_CERT_FILE=$folder/ca.pem SSL_CERT_DIR=$folder

# converses PROGRAM: whether an example gets from the log-in to a desktop.
converses() {
  "$1" 127.0.0.1 "$port" alice EXAMPLE <<<wonderland >"$folder/said" 2>&1 &&
    grep -qE '^desktop-build (is being made ready|waits at)' "$folder/said" && return
  echo "$1 said:"
  cat "$folder/said"
  return 1
}

# The examples that came with it, out of sight of the sources.
examples=$folder/examples
mv "$prefix/share/doc/broker_client/examples" "$examples"
cmake -S "$examples" -B "$folder/cmake" -G Ninja -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$folder/cmake" >/dev/null
converses "$folder/cmake/conversation"
converses "$folder/cmake/conversation_cpp"

export PKG_CONFIG_PATH
PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name broker_client.pc)")
read -ra flags < <(pkg-config --cflags --libs broker_client)
export LD_LIBRARY_PATH
LD_LIBRARY_PATH=$(pkg-config --variable=libdir broker_client)
gcc -std=c99 -pedantic-errors "$examples/conversation.c" "${flags[@]}" -o "$folder/in-c"
g++ -std=c++17 -pedantic-errors "$examples/conversation.cpp" "${flags[@]}" -o "$folder/in-c++"
converses "$folder/in-c"
converses "$folder/in-c++"
echo "The installed library serves programs built by CMake and by pkg-config."
