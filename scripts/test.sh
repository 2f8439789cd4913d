#!/usr/bin/env bash
# usage: ./dev test [PRESET [ARG...]]
#
# Installs what is needed, builds, and runs all tests. The preset is gcc-debug unless one is given;
# arguments go to cmake when it configures.
. scripts/support/common.sh

run_tests "${1:-gcc-debug}" "${@:2}"
