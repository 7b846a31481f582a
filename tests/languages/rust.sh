#!/usr/bin/env bash
# The crate carries on the conversations of the table, and does what the pages show: rust.sh BUILD-FOLDER
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)
. "$sources/tools/simulator.sh"
folder=$(mktemp -d)
start_simulator "$1/tools/broker-sim/kavro-broker-sim"

KAVRO_BROKER_LIBRARY_DIR=$(realpath "$1/sdk/libs/broker_client")
export KAVRO_BROKER_LIBRARY_DIR LD_LIBRARY_PATH=$KAVRO_BROKER_LIBRARY_DIR PATH=/usr/bin:$PATH
export CARGO_TARGET_DIR=$folder/target RUSTFLAGS="-D warnings"
carry_out() { (cd "$sources/rust" && cargo --offline --quiet "$@"); }
compile() {
  rustc --edition 2021 -D warnings -L "$KAVRO_BROKER_LIBRARY_DIR" --extern \
    kavro_broker="$folder/target/debug/libkavro_broker.rlib" -L "$folder/target/debug/deps" -o "$folder/$1" \
    "$2"
}

(cd "$sources/rust" && cargo fmt --check)
carry_out clippy -- -D warnings
carry_out test
carry_out build --lib --examples
compile conversation "$sources/tests/languages/conversation.rs"
python3 "$sources/tests/languages/run.py" --words "$1/tools/broker-sim/kavro-broker-sim" "$folder/conversation"
"$sources/tests/conversation/c99_example.sh" "$1/tools/broker-sim/kavro-broker-sim" \
  "$folder/target/debug/examples/conversation"

python3 "$sources/tests/docs/shown.py" rust "$folder" "$port"
compile snippets.rlib "$folder/snippets.rs"
for shown in "$folder"/program*.rs; do
  compile shown "$shown"
  SSL_CERT_FILE=$folder/ca.pem "$folder/shown"
done
