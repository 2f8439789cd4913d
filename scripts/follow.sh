#!/usr/bin/env bash
# usage: ./dev follow [RECORDS]
#
# Follows a log with fwlog while one process, and then three, write so many records (1,000,000) through
# its rotations, and checks that each comes once and in order.
. scripts/lib/common.sh

build gcc-release --target fwlog fwlog_rotations
for processes in 1 3; do
  say "Following what $processes processes write"
  build/gcc-release/tests/tools/fwlog/fwlog_rotations build/gcc-release/tools/fwlog/fwlog \
    "${1:-1000000}" "$processes"
done
