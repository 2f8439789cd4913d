#!/usr/bin/env bash
# usage: ./dev test [PRESET [ARG...]]
#
# Installs what is needed, builds, and runs all tests. The preset is gcc-debug unless one is given;
# arguments go to cmake when it configures.
#
# After that, ctest --preset gcc-debug -L fwbase/script runs the tests of one folder: each test has
# the folder of its source below tests/ for a label. ctest --preset gcc-debug --print-labels lists
# them.
. scripts/lib/common.sh

run_tests "${1:-gcc-debug}" "${@:2}"
