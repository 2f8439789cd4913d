#!/usr/bin/env bash
# usage: compile_fail_test.sh MACRO EXPECTED COMPILER ARGUMENT...
# The command must succeed, and with the macro defined fail with a message that has EXPECTED in it.
set -uo pipefail
macro=$1 expected=$2
shift 2

if ! "$@"; then
  echo "does not build without $macro"
  exit 1
fi
if said=$("$@" "-D$macro" 2>&1); then
  echo "builds with $macro"
  exit 1
fi
grep -qF -- "$expected" <<<"$said" || {
  printf 'fails for another reason than %s:\n%s\n' "$expected" "$said"
  exit 1
}
