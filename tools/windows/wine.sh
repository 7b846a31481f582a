#!/usr/bin/env bash
# Runs a Windows program under Wine as if it were one of this system: quietly, without a screen, with a
# drive and a registry that belong to the build: wine.sh BUILD-FOLDER PROGRAM [ARGUMENT...]
set -euo pipefail

export WINEPREFIX=${WINEPREFIX:-$1/wine} WINEPATH=$1/sdk/libs/broker_client
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY
shift

# Made once, by whichever program comes first; the others wait for it.
if [ ! -e "$WINEPREFIX/ready" ]; then
  mkdir -p "$WINEPREFIX"
  (
    flock 9
    [ -e "$WINEPREFIX/ready" ] || timeout 300 wineboot --init >/dev/null 2>&1 9>&-
    touch "$WINEPREFIX/ready"
  ) 9>"$WINEPREFIX.lock"
fi
# Wine's server stays for a while: programs that start while it ends or begins now and then hang.
wineserver -p60 2>/dev/null || true
exec wine "$@"
