#!/usr/bin/env bash
# Prints the folder (include/, lib/) of a static OpenSSL for 64-bit Windows. Built from Debian's own source
# package at the first call and kept in the user's cache; remove it there to have a newer one built.
set -euo pipefail

# The configuration folder is one that only an administrator may write to: OpenSSL loads what it finds there.
configure=(mingw64 --cross-compile-prefix=x86_64-w64-mingw32- no-tests no-shared no-legacy
  --openssldir='C:/Program Files/Common Files/SSL')
cache=${XDG_CACHE_HOME:-$HOME/.cache}/kavro-windows
key=$(sha256sum <<<"${configure[*]}" | cut -c1-12)

newest_built() { compgen -G "$cache/openssl-*-$key" | sort -V | tail -n 1; }

# The machine's own Debian sources, asked for source packages, with lists that nobody else sees.
ask_for_sources() {
  mkdir -p sources lists/partial archives/partial
  local entry
  for entry in /etc/apt/sources.list.d/*.sources; do
    [ -e "$entry" ] || continue
    sed 's/^Types:.*/Types: deb-src/' "$entry" >"sources/$(basename "$entry")"
  done
  for entry in /etc/apt/sources.list /etc/apt/sources.list.d/*.list; do
    [ -e "$entry" ] || continue
    sed -n 's/^deb /deb-src /p' "$entry" >"sources/$(basename "$entry")"
  done
  cat >apt.conf <<CONF
Dir::Etc::SourceList "/dev/null";
Dir::Etc::SourceParts "$PWD/sources";
Dir::State::Lists "$PWD/lists";
Dir::Cache "$PWD";
APT::Sandbox::User "";
CONF
  export APT_CONFIG=$PWD/apt.conf
  apt-get update -q
}

# An index may already name a version whose files have not arrived yet: the newest complete one will do.
fetch_newest() {
  local candidate
  for candidate in $(apt-cache showsrc openssl | sed -n 's/^Version: //p' | sort -rVu); do
    if apt-get source -q --download-only "openssl=$candidate"; then
      version=$candidate
      return
    fi
  done
  echo "no complete source package of OpenSSL to be had" >&2
  return 1
}

build() {
  ask_for_sources
  fetch_newest
  dpkg-source --no-check -x "openssl_${version#*:}.dsc" source
  cd source
  ./Configure "${configure[@]}"
  make -s build_generated
  make -s -j"$(nproc)" libcrypto.a libssl.a
  mkdir -p ../built/lib
  cp -r include ../built/
  cp libcrypto.a libssl.a ../built/lib/
}

if [ -z "$(newest_built)" ]; then
  mkdir -p "$cache"
  work=$(mktemp -d "$cache/building.XXXXXX")
  trap 'rm -rf "$work"' EXIT
  cd "$work"
  build >build.log 2>&1 || { tail -n 40 "$work/build.log" >&2; exit 1; }
  cd "$work"
  mv -T built "$cache/openssl-$version-$key"
fi
newest_built
