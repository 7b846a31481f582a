#!/usr/bin/env bash
# Runs the fuzzers of a build one after the other and reports what they did:
# run.sh BUILD-FOLDER [NAME] [--seconds N]
#
# What a fuzzer learnt and what broke a promise stay in the build folder, for the next run and for the
# one who mends it.
set -euo pipefail

build=$(cd "$1" && pwd)/fuzz
shift
names=$(cd "$build/programs" && ls)
seconds=60
while [ $# -gt 0 ]; do
  case $1 in
  --seconds) seconds=$2 && shift ;;
  *) [ -x "$build/programs/$1" ] || { echo "no fuzzer $1; there are: "$names >&2; exit 2; }
    names=$1 ;;
  esac
  shift
done

# Files that are written for every input belong in memory.
scratch=$(mktemp -d -p "$([ -w /dev/shm ] && echo /dev/shm || echo "${TMPDIR:-/tmp}")")
trap 'rm -rf "$scratch"' EXIT
export TMPDIR=$scratch HOME=$scratch ASAN_SYMBOLIZER_PATH=/usr/bin/llvm-symbolizer-14
# Made once, by make_seeds: a busy machine may need longer for a key than a fuzzer may for one input.
export KAVRO_BROKER_SIM_KEYS=$build/keys
"$build/make_seeds" "$build/seeds"

# The limits turn a hang and a hoard into a crash. Where a broker's threads allocate as well, leaks
# are looked for at the end only.
fuzz() {
  local name=$1 leaks=1
  case $name in api | exchange | provisioning) leaks=0 ;; esac
  mkdir -p "$build/corpus/$name" "$build/crashers/$name" "$build/seeds/$name"
  nice "$build/programs/$name" -max_total_time="$seconds" -timeout=10 -rss_limit_mb=1024 \
    -detect_leaks=$leaks -print_final_stats=1 -artifact_prefix="$build/crashers/$name/" \
    "$build/corpus/$name" "$build/seeds/$name" >"$build/$name.log" 2>&1
}

failed=0
printf '%-20s %12s %10s  %s\n' fuzzer executions 'a second' result
for name in $names; do
  result=ok
  fuzz "$name" || result="FAILED, see $build/$name.log"
  stat() { sed -n "s/^stat::$1: *//p" "$build/$name.log"; }
  printf '%-20s %12s %10s  %s\n' "$name" "$(stat number_of_executed_units)" \
    "$(stat average_exec_per_sec)" "$result"
  [ "$result" = ok ] || { failed=1 && grep -E '^(broken promise|SUMMARY|ERROR)|runtime error' "$build/$name.log" || true; }
done
exit $failed
