#!/usr/bin/env bash
# Builds the session server from a copy of its directory against an installed library, and runs it
# under a small load.
#
# usage: session_server_test.sh EXAMPLE WORK_DIR
set -euo pipefail
example=$1 work=$2

rm -rf "$work"
mkdir -p "$(dirname "$work")"
cp -r "$example" "$work"
cd "$work"
{ cmake -S . -B build && cmake --build build; } >build.log 2>&1 || {
  cat build.log
  exit 1
}
./run.sh --no-memory-check --sessions 50 --lines 20 \
  build/session_server build/load/session_load build/module/session_functions.so build/run
