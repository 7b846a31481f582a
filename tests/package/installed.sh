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
mv "$prefix"/share/doc/*/examples "$examples"
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

# consumes FOLDER OPTIONS...: whether a project of somebody else's is built and served. Its only test is its own.
consumes() {
  cmake -S "$here/consumer" -B "$1" -G Ninja "${@:2}" >/dev/null
  cmake --build "$1" >/dev/null
  ctest --test-dir "$1" --output-on-failure | tee "$folder/said" | grep '0 tests failed out of 1$' ||
    { cat "$folder/said"; return 1; }
}

nm --defined-only --extern-only "$prefix"/lib/*/libbroker_client.a | grep -E '^[0-9a-f]+ ' | grep -v ' T kavro_broker_' && exit 1
consumes "$folder/static-consumer" -DCMAKE_PREFIX_PATH="$prefix" -DLINK_STATICALLY=ON

# pkg-config has the archive linked where there is nothing else.
rm "$LD_LIBRARY_PATH"/libbroker_client.so*
read -ra flags < <(pkg-config --static --cflags --libs broker_client)
gcc -std=c99 "$examples/conversation.c" "${flags[@]}" -o "$folder/static"
converses "$folder/static"

# As a part of another project, into which it brings no more than itself.
guest=$here/../../build/guest # where the compiler cache knows what the tests were built of
consumes "$guest" -DLIBRARY_SOURCES="$here/../.." -DCMAKE_BUILD_TYPE=Debug -DKAVRO_WARNINGS_AS_ERRORS=ON \
  -DCMAKE_CXX_COMPILER_LAUNCHER=ccache
cmake --install "$guest" --prefix "$folder/nothing" >/dev/null
[ ! -e "$folder/nothing" ]
ninja -C "$guest" -t targets all | grep -E '^(asio|conversation|kavro-broker):' && exit 1
echo "The library serves programs built by CMake and by pkg-config, linked with it and around it."
