#!/usr/bin/env bash
# usage: ./dev build [PRESET [ARG...]]
#
# Builds only. The preset is gcc-debug unless one is given; arguments go to cmake --build.
#
# Presets: gcc-debug gcc-release clang-debug clang-release asan tsan coverage fuzz tools packages
. scripts/lib/common.sh

build "${1:-gcc-debug}" "${@:2}"
