#!/usr/bin/env bash
# usage: ./dev coverage
#
# Builds and runs the library's tests, and lists what they have run of its sources: it fails when
# that is too little.
. scripts/lib/common.sh

install_packages gcovr
# Counts of an earlier build or run would be added, or would not fit.
find build/coverage -name '*.gcda' -delete 2>/dev/null || true
run_tests coverage
say "Listing what the tests have run"
gcovr -j "$(nproc)"
