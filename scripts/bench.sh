#!/usr/bin/env bash
# usage: ./dev bench [--peers] [--document] [TOPIC...] [ARG...]
#
# Builds optimised and runs the benchmarks, all or those of the topics, beside the other libraries
# that are there.
#
#   --peers     installs the other libraries first
#   --document  writes all figures into docs/performance.md and plots them
#
# Other arguments with "--" go to each program (try --help). A topic is a folder of bench/.
. scripts/lib/common.sh

all_topics() {
  local source
  for source in bench/*/*_bench.cpp; do
    basename "$source" _bench.cpp
  done
}

topics=() arguments=() figures=
for word in "$@"; do
  case "$word" in
    --peers) install_packages "${peer_packages[@]}" ;;
    --document) figures=build/figures.csv ;;
    --*) arguments+=("$word") ;;
    *)
      [ -f "bench/$word/${word}_bench.cpp" ] || die "no topic '$word': $(all_topics | xargs)"
      topics+=("$word")
      ;;
  esac
done
if [ -n "$figures" ]; then
  [ "${#topics[@]}" -eq 0 ] || die "--document takes all topics"
  install_packages python3
  rm -f "$figures"
  arguments+=("--csv=$figures" --large)
fi
[ "${#topics[@]}" -gt 0 ] || mapfile -t topics < <(all_topics)
build gcc-release --target "${topics[@]/%/_bench}"
for topic in "${topics[@]}"; do
  say "Benchmarks: $topic"
  "build/gcc-release/bench/${topic}_bench" "${arguments[@]}"
done
[ -z "$figures" ] || bench/document.py "$figures" docs "./dev bench $*"
