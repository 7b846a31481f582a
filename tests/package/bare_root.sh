#!/usr/bin/env bash
# On a bare Debian 12 each package brings what it needs, and the first programs of the pages are built and see
# the desktops with nothing else but a compiler: bare_root.sh FOLDER-OF-PACKAGES. Needs root.
set -euo pipefail
sources=$(cd "$(dirname "$0")/../.." && pwd)
root=$(mktemp -d)
trap 'rm -rf "$root"' EXIT
mmdebstrap --quiet --variant=apt bookworm "$root"

# inside COMMAND...: runs it there, with nothing of this environment.
inside() { env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin DEBIAN_FRONTEND=noninteractive chroot "$root" "$@"; }
quietly() { "$@" >"$root/log" 2>&1 || { cat "$root/log"; exit 1; }; }
installs() { quietly inside apt-get install -y --no-install-recommends "$@"; }

mkdir "$root/packages"
cp "$1"/*.deb "$root/packages"
(cd "$root/packages" && dpkg-scanpackages --multiversion . 2>/dev/null >Packages)
echo 'deb [trusted=yes] file:/packages ./' >"$root/etc/apt/sources.list.d/packages.list"
quietly inside apt-get update

for package in libbroker-client1 libbroker-client-dev broker-client-doc broker-client-tools python3-kavro-broker; do
  installs "$package"
  quietly inside apt-get purge -y --auto-remove "$package"
done

installs libbroker-client-dev broker-client-tools python3-kavro-broker gcc g++ libc6-dev pkg-config
for language in c cpp; do # the first block of each
  awk -v fence="\`\`\`$language" '/^```$/ && inside {exit} inside; $0 == fence {inside = 1}' \
    "$sources/docs/getting-started.md" >"$root/tmp/first.$language"
done
inside bash -ec '
  cd /tmp
  cc first.c $(pkg-config --cflags --libs broker_client) -o first-c
  c++ -std=c++17 first.cpp $(pkg-config --cflags --libs broker_client) -o first-cpp
  kavro-broker-sim --port 60443 --ca-file ca.pem >ready &
  trap "kill $!" EXIT
  export SSL_CERT_FILE=/tmp/ca.pem
  until [ -s ready ]; do sleep 0.1; done
  kavro-broker probe 127.0.0.1:60443
  for program in ./first-c ./first-cpp; do $program 2>/dev/null | grep -x "Office"; done
  python3 -c "import kavro_broker; print(kavro_broker.version())"'
echo "A bare Debian runs what the packages bring, and builds against it."
