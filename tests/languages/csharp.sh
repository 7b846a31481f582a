#!/usr/bin/env bash
# The C# assembly, built with Mono, carries on the conversations of the table, and does what the pages show:
# csharp.sh BUILD-FOLDER
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)
. "$sources/tools/simulator.sh"
folder=$(mktemp -d)
start_simulator "$1/tools/broker-sim/kavro-broker-sim"

compile() { mcs -langversion:7.2 -warn:4 -warnaserror "$@"; }
program() { compile -r:"$folder/KavroBroker.dll" -out:"$folder/$1.exe" "$2"; }

compile -target:library -doc:"$folder/KavroBroker.xml" -out:"$folder/KavroBroker.dll" \
  "$sources"/csharp/*.cs "$sources"/csharp/generated/*.cs
cp "$sources/csharp/KavroBroker.dll.config" "$folder"
program conversation "$sources/tests/languages/Conversation.cs"
program ways "$sources/tests/languages/Ways.cs"
program example "$sources/examples/conversation.cs"
python3 "$sources/tests/docs/shown.py" csharp "$folder" "$port"
compile -target:library -r:"$folder/KavroBroker.dll" -out:"$folder/snippets.dll" "$folder/snippets.cs"

# Only what a machine without the development package has.
mkdir "$folder/lib"
ln -s "$(realpath "$1/sdk/libs/broker_client/libbroker_client.so.1")" "$folder/lib/libbroker_client.so.1"
export LD_LIBRARY_PATH=$folder/lib
python3 "$sources/tests/languages/run.py" --words "$1/tools/broker-sim/kavro-broker-sim" mono "$folder/conversation.exe"
mono "$folder/ways.exe"
"$sources/tests/conversation/c99_example.sh" "$1/tools/broker-sim/kavro-broker-sim" mono "$folder/example.exe"
for shown in "$folder"/program*.cs; do
  program shown "$shown"
  SSL_CERT_FILE=$folder/ca.pem mono "$folder/shown.exe"
done
