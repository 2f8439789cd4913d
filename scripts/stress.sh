#!/usr/bin/env bash
# usage: ./dev stress [SECONDS [PRESET]]
#
# Runs random operations on all components, scripts side by side, hosts that rotate their log with
# hardly a descriptor left, an overload of a slow disk and one of the log with each of its policies
# (both built optimised), for that long each: 600 seconds and the preset tsan unless others are given.
# Between them, scripts are reloaded 1,000 times, 10,000,000 environments come and go, and as many
# formats are compared with snprintf. "helgrind" as the preset runs the operations in Helgrind.
. scripts/lib/common.sh

# Takes 50 times as long, and is wanted for the operations only.
stress_in_helgrind() {
  install_packages valgrind
  build gcc-debug --target random_operations
  say "Random operations in Helgrind for $1 s"
  valgrind --tool=helgrind --error-exitcode=1 --suppressions=tests/stress/helgrind.supp \
    build/gcc-debug/tests/stress/random_operations "$1"
}

seconds=${1:-600} preset=${2:-tsan}
if [ "$preset" = helgrind ]; then
  stress_in_helgrind "$seconds"
  exit
fi
build "$preset" --target random_operations scripts_side_by_side reloads descriptor_limit
say "Random operations for $seconds s"
"build/$preset/tests/stress/random_operations" "$seconds"
say "Scripts side by side for $seconds s"
"build/$preset/tests/stress/scripts_side_by_side" "$seconds"
say "1,000 reloads"
"build/$preset/tests/stress/reloads" 1000 tests/tools/fwcheck/corpus/faulty
say "Rotation with hardly a descriptor left for $seconds s"
"build/$preset/tests/stress/descriptor_limit" "$seconds"
# The sanitizers' allocators tell nothing about memory.
build gcc-release --target slow_disk log_overload environments_end formats
say "10,000,000 environments"
build/gcc-release/tests/stress/environments_end 10000000
say "10,000,000 formats"
build/gcc-release/tests/stress/formats 10000000
say "Overload of the log for $seconds s"
build/gcc-release/tests/stress/slow_disk "$seconds"
build/gcc-release/tests/stress/log_overload "$seconds"
