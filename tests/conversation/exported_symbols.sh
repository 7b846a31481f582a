#!/usr/bin/env bash
# The shared library exports exactly what the list says: exported_symbols.sh LIBRARY LIST
set -euo pipefail
diff <(nm -D --defined-only "$1" | awk '$2 == "T" { sub("@.*", "", $3); print $3 }' | sort) "$2"
! nm -D --defined-only "$1" | grep -vE ' T kavro_broker_| A KAVRO_BROKER_'
