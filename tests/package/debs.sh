#!/usr/bin/env bash
# Looks into the Debian packages and runs the tools from them: debs.sh FOLDER-OF-PACKAGES
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
sources=$(cd "$here/../.." && pwd)
packages=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}

# What it would say about us is explained beside the packages' files.
lintian --allow-root --fail-on error,warning --tag-display-limit 0 "$packages"/*.changes || fail "lintian objects"

# check PACKAGE DEPENDENCIES: whether a package has the files in the list, needs what it should, and has
# nothing in it of the machine that built it. Unpacks it.
check() {
  local package=$1 dependencies=$2 deb
  deb=$(compgen -G "$packages/${package}_*.deb") || fail "there is no package $package"
  dpkg-deb --fsys-tarfile "$deb" | tar -t | sed -n "s,^\./\(.*[^/]\)$,$package \1,p" |
    sed 's,/[^/]*-linux-gnu/,/MULTIARCH/,; s,\.so\.[0-9]*\.[0-9.]*$,.so.VERSION,' |
    LC_ALL=C sort >"$work/files"
  grep "^$package " "$here/packages.list" | diff - "$work/files" ||
    fail "$package has other files than listed"
  dpkg-deb -f "$deb" Depends | grep -qE "$dependencies" || fail "$package: $(dpkg-deb -f "$deb" Depends)"

  dpkg-deb -x "$deb" "$work/$package"
  cp -a "$work/$package/." "$work/root"
  ! grep -rF "$sources" "$work/$package" || fail "$package names the folder it was built from"
}
mkdir "$work/root"
check libbroker-client1 'libc6.*libicu.*libssl3.*libstdc\+\+6.*zlib1g'
check libbroker-client-dev '^libbroker-client1 \(= [0-9.-]+\)$'
check broker-client-doc '^$'
check python3-kavro-broker '^libbroker-client1 \(>= [0-9.-]+\), python3'
check broker-client-tools 'libbroker-client1 \(>= 1\.[1-9].*libc6.*libssl3'

# Whoever else packs the library is told its version.
version=$("$work/root/usr/bin/kavro-broker-sim" --version | grep -oE '[0-9.]+$')
grep -q "\"version\": \"$version\"" "$sources/packaging/vcpkg/broker-client/vcpkg.json" &&
  [[ $(compgen -G "$packages/*.changes") == *_"$version"-* ]] || fail "packages of another version than $version"

# A page leads nowhere but to another page, or to what the network has.
cd "$work/root/usr/share/doc/broker-client-doc"
grep -oE '\]\([a-zA-Z./-]+\.[a-z]+' -- *.md | sed 's/.*(//' | sort -u | xargs ls >/dev/null || fail "a page has dead links"

"$here/hardening.sh" "$work/root"/usr/lib/*/libbroker_client.so.1 "$work/root"/usr/bin/*

ln -s "$work/root/usr/bin" "$work/root/run" # where the demonstration looks for programs
LD_LIBRARY_PATH=$(echo "$work/root"/usr/lib/*-linux-gnu) "$sources/tools/demo.sh" "$work/root" >"$work/demo" ||
  { cat "$work/demo"; fail "the demonstration fails"; }
echo "The packages have what they should have, and their programs run."
