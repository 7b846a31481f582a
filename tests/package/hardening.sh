#!/usr/bin/env bash
# Whether these programs and libraries are built with what makes attacks harder: hardening.sh FILE...
set -euo pipefail

# has FILE WORD COMMAND...: whether the command's output for a file has a line with the word.
has() {
  "${@:3}" "$1" | grep -E "$2" >/dev/null && return
  echo "$1: no $2" >&2
  return 1
}

for file in "$@"; do
  if [[ $file == *.exe || $file == *.dll ]]; then
    for word in HIGH_ENTROPY_VA DYNAMIC_BASE NX_COMPAT; do has "$file" $word objdump -p; done
    continue
  fi
  has "$file" 'Type: +DYN' readelf -h
  has "$file" 'GNU_RELRO' readelf -lW
  has "$file" 'GNU_STACK.* RW ' readelf -lW
  has "$file" 'BIND_NOW' readelf -d
  has "$file" '__stack_chk_fail' readelf --dyn-syms -W
  has "$file" '__[a-z]+_chk' readelf --dyn-syms -W
  has "$file" '__glibcxx_assert_fail' readelf --dyn-syms -W
done
