#!/usr/bin/env bash
# Looks into the Debian packages and runs the tools from them: debs.sh BUILD-FOLDER
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
sources=$(cd "$here/../.." && pwd)
build=$(cd "$1" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}

rm -f "$build"/*.deb
cpack -G DEB --config "$build/CPackConfig.cmake" >"$work/cpack" 2>&1 || fail "$(cat "$work/cpack")"

# check PACKAGE DEPENDENCIES: whether a package has the files in the list, needs what it should, and has
# nothing in it of the machine that built it. Unpacks it.
check() {
  local package=$1 dependencies=$2 deb
  deb=$(compgen -G "$build/${package}_*.deb") || fail "there is no package $package"
  dpkg-deb --fsys-tarfile "$deb" | tar -t | sed -n "s,^\./\(.*[^/]\)$,$package \1,p" |
    sed 's,/[^/]*-linux-gnu/,/MULTIARCH/,; s,\.so\.[0-9]*\.[0-9.]*$,.so.VERSION,' |
    LC_ALL=C sort >"$work/files"
  grep "^$package " "$here/packages.list" | diff - "$work/files" ||
    fail "$package has other files than listed"
  dpkg-deb -f "$deb" Depends | grep -qE "$dependencies" || fail "$package: $(dpkg-deb -f "$deb" Depends)"

  dpkg-deb -x "$deb" "$work/$package"
  cp -a "$work/$package/." "$work/root"
  ! grep -rF "$sources" "$work/$package" || fail "$package names the folder it was built from"
  find "$work/$package" -type f -exec file {} + | sed -n 's/: *ELF .*, not stripped$//p' | grep . &&
    fail "$package is not stripped"
  find "$work/$package" \( ! -perm -a=r -o -perm /o=w \) ! -type l | grep . &&
    fail "$package has files with strange permissions"
  return 0
}
mkdir "$work/root"
check libbroker-client1 'libc6.*libicu.*libssl3.*libstdc\+\+6.*zlib1g'
check libbroker-client-dev '^libbroker-client1 \(= [0-9.]+\)$'
check python3-kavro-broker '^python3 \(>= 3.9\), libbroker-client1 \(>= [0-9.]+\)$'
check broker-client-tools 'libbroker-client1 \(>= [0-9.]+\).*libc6.*libssl3'

dpkg-deb -I "$build"/libbroker-client1_*.deb shlibs |
  grep -qxE 'libbroker_client 1 libbroker-client1 \(>= [0-9.]+\)' ||
  fail "others cannot find out what to depend on"

ln -s "$work/root/usr/bin" "$work/root/run" # where the demonstration looks for programs
"$sources/tools/demo.sh" "$work/root" >"$work/demo" || { cat "$work/demo"; fail "the demonstration fails"; }
echo "The packages have what they should have, and their programs run."
