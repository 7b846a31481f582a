#!/usr/bin/env bash
# The manual pages and the completions know every option of --help: manual.sh SIMULATOR CLIENT
set -euo pipefail
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

fail() {
  echo "$*" >&2
  exit 1
}

# options_of: the long options in a help text
options_of() { grep -oE '^  +(-[a-z],)?--[a-z0-9-]+' | grep -oE -- '--[a-z0-9-]+' | sort -u; }

# complete_line WORDS...: what bash offers for the last word
complete_line() {
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
  "_${1//-/_}"
  printf '%s\n' "${COMPREPLY[@]}"
}

for program in "$@"; do
  name=$(basename "$program")
  "$program" --manual-page >"$folder/page"
  warnings=$(groff -man -ww -z -Tutf8 "$folder/page" 2>&1)
  [ -z "$warnings" ] || fail "$name.1: $warnings"
  page=$(groff -man -Tascii -P-cbou "$folder/page")
  eval "$("$program" --bash-completion)"
  for shell in zsh fish; do
    "$program" --$shell-completion >"$folder/$shell"
    ! command -v $shell >/dev/null || $shell -n "$folder/$shell" || fail "$name: no script for $shell"
  done

  commands=$("$program" --help | sed -n '/^Commands:/,/^$/s/^  \([a-z-]*\) .*/\1/p')
  for command in '' $commands; do
    for option in $("$program" $command --help | options_of); do
      grep -q -- "^ *\(-h,\)\?$option\b" <<<"$page" || fail "$name.1 does not tell $command $option"
      grep -qx -- "$option" <<<"$(complete_line "$name" ${command:+"$command"} "$option")" ||
        fail "bash does not complete $name $command $option"
      grep -q -- "'\*$option\(=\?\)\[" "$folder/zsh" && grep -q -- " -l ${option#--} " "$folder/fish" ||
        fail "zsh or fish does not complete $name $option"
    done
  done
done

touch "$folder/anchor one.pem"
# A row: words, the last of which is completed | what is offered
while IFS='|' read -r words offered; do
  eval "words=($words)"
  [ "$(complete_line "${words[@]}" | xargs -d '\n')" = "$offered" ] ||
    fail "${words[*]}: offered is $(complete_line "${words[@]}" | xargs -d '\n')"
done <<ROWS
kavro-broker po|power
kavro-broker list --js|--json
kavro-broker connect --output-f|--output-file
kavro-broker connect --output ""|text json shell
kavro-broker list --color=al --color = al|always
kavro-broker power vm-1 re|restart resume
kavro-broker list --user a|
kavro-broker list --trust-anchor "$folder/an"|$folder/anchor one.pem
kavro-broker-sim --sc|--scenario
kavro-broker-sim --scenario "$folder/an"|$folder/anchor one.pem
ROWS
echo "manual pages and completion: all as expected"
