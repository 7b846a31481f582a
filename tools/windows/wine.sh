#!/usr/bin/env bash
# Runs a Windows program under Wine as if it were one of this system: quietly, without a screen, with a
# drive and a registry that belong to the build: wine.sh BUILD-FOLDER PROGRAM [ARGUMENT...]
set -euo pipefail

export WINEPREFIX=${WINEPREFIX:-$1/wine} WINEPATH=$1/sdk/libs/broker_client
export WINEDEBUG=${WINEDEBUG:--all} WINEDLLOVERRIDES='mscoree,mshtml='
unset DISPLAY
shift

# One program at a time prepares what all share. The drive and the registry are made once. Wine's server
# stays for a while, since programs that start while it ends or begins now and then hang, and gets its
# services from a program of its own: they keep the output of whoever starts them open.
mkdir -p "$WINEPREFIX"
(
  flock 9
  exec </dev/null >/dev/null 2>&1
  if [ ! -e "$WINEPREFIX/ready" ]; then
    timeout 300 wineboot --init 9>&-
    touch "$WINEPREFIX/ready"
  fi
  if wineserver -p60 9>&-; then wine cmd /c rem 9>&-; fi
) 9>"$WINEPREFIX.lock"
exec wine "$@"
