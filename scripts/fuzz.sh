#!/usr/bin/env bash
# usage: ./dev fuzz [TARGET SECONDS [ARG...]]
#
# Feeds a fuzz target with hostile inputs, with Clang's fuzzer and sanitizers; arguments go to the
# fuzzer. Without any: lists the targets. Inputs that lead to new code are kept in
# build/fuzz/corpus, for the next run.
. scripts/lib/common.sh

targets() {
  local source
  for source in fuzz/*_fuzz.cpp; do
    basename "$source" _fuzz.cpp
  done
}

target=${1:-} seconds=${2:-}
if [ -z "$target" ]; then
  targets
  exit
fi
[ -f "fuzz/${target}_fuzz.cpp" ] || die "no fuzz target '$target': $(targets | xargs)"
[[ $seconds =~ ^[0-9]+$ ]] || die "$target: for how many seconds?"
shift 2
build fuzz --target "fuzz_$target"

program=build/fuzz/fuzz/fuzz_$target found=build/fuzz/corpus/$target
crashes=build/fuzz/crashes/$target memory=/dev/shm
mkdir -p "$found" "$crashes"
[ -w "$memory" ] || memory=${TMPDIR:-/tmp}
scratch=$(mktemp -d "$memory/fwbase_fuzz.XXXXXX")
trap 'rm -rf "$scratch"' EXIT
say "Fuzzing $target for $seconds s"
if ! TMPDIR=$scratch "$program" -max_total_time="$seconds" -timeout=30 -rss_limit_mb=4096 \
  -print_final_stats=1 -dict=fuzz/xml.dict -artifact_prefix="$crashes/" "$@" \
  "$found" "fuzz/corpus/$target"; then
  die "a finding, in $crashes; run it again with: $program $crashes/NAME"
fi
