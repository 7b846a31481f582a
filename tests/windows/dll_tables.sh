#!/usr/bin/env bash
# The DLL exports exactly what the list says and needs nothing that Windows does not have:
# dll_tables.sh OBJDUMP DLL LIST
set -euo pipefail
objdump=$1 dll=$2 list=$3

diff <("$objdump" -p "$dll" | sed -n '/Ordinal\/Name Pointer/,/^$/s/^\t\[.*\] //p' | sort) "$list"

system='(ADVAPI32|bcrypt|CRYPT32|IPHLPAPI|KERNEL32|msvcrt|MSWSOCK|Secur32|USER32|WINHTTP|WS2_32)\.dll'
needed=$("$objdump" -p "$dll" | sed -n 's/^\tDLL Name: //p')
echo "needs" $needed
! grep -vixE "$system" <<<"$needed"
