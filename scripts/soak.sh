#!/usr/bin/env bash
# usage: ./dev soak [MINUTES]
#
# Keeps the example's session server under load with clients that misbehave and I/O calls that fail,
# and watches its memory, descriptors and records: for 30 minutes unless others are given.
. scripts/lib/common.sh

minutes=${1:-30}
build gcc-release --target session_server session_load session_functions random_faults
say "Soaking for $minutes minutes"
built=build/gcc-release/examples/07_session_server
tests/stress/soak.sh "$minutes" "$built/session_server" "$built/load/session_load" \
  "$built/module/session_functions.so" build/gcc-release/tests/stress/random_faults.so build/soak
