#!/usr/bin/env bash
# The library exports exactly the listed symbols.
#
# usage: symbols_test.sh NM LIBRARY LIST
set -euo pipefail
nm=$1 library=$2 list=$3

exported=$("$nm" -D --defined-only -C "$library" | sed -E 's/^[0-9a-f]+ . //' | LC_ALL=C sort -u)
if ! diff "$list" - <<<"$exported"; then
  echo "fwbase/exports.map says what is exported; ./dev abi --update writes the list anew" >&2
  exit 1
fi
