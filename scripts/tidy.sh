#!/usr/bin/env bash
# usage: ./dev tidy [SOURCE...]
#
# Looks for mistakes with clang-tidy, in all sources but the tests', or in those named; it takes
# minutes. Tests are left out: they take longer than all else, since each reads the headers of
# GoogleTest, and what would be a mistake elsewhere is what many of them are about.
. scripts/lib/common.sh

install_packages "${tidy_packages[@]}"
configure clang-debug
say "Looking for mistakes with clang-tidy"
if [ $# -gt 0 ]; then
  printf '%s\n' "$@"
else
  product_sources
fi | xargs -P "$(nproc)" -n 1 clang-tidy --quiet -p build/clang-debug \
  2> >(grep -v ' warnings\? generated\.$' >&2)
