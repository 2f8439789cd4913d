#!/usr/bin/env bash
# Keeps the session server under load with clients that misbehave, and watches what it takes.
#
# usage: soak.sh MINUTES SERVER LOAD MODULE FAULTS WORK_DIR      0 minutes: three rounds
#
# FAULTS is preloaded into the server, and interrupts or shortens one I/O call of twenty. A round is a load whose replies are checked while another one is stopped or killed at a random
# moment, so that its connections stall or break in the middle of a line. After each round the
# server must have closed all their descriptors. At the end it must stop cleanly, with as many
# records in its log as it has counted lines, and its memory must not have grown by 1 % or more
# since the first tenth of the time (not checked for programs with a sanitizer: SOAK_MEMORY=no).
set -euo pipefail
[ $# -eq 6 ] || { sed -n 4p "$0" >&2 && exit 2; }
minutes=$1 server=$2 load=$3 module=$4 faults=$5 work=$6
examples=$(cd "$(dirname "${BASH_SOURCE[0]}")/../../examples/07_session_server" && pwd)
log=$work/soak.log
script=$work/soak.xml
pid=''

fail() {
  printf 'soak.sh: %s\n' "$*" >&2
  exit 1
}

stop_server() { [ -z "$pid" ] || kill -KILL "$pid" 2>/dev/null || true; }
trap stop_server EXIT

start_server() {
  local line
  rm -rf "$work" && mkdir -p "$work"
  cp "$examples/server.xml" "$script"
  mkfifo "$work/output"
  LD_PRELOAD=$faults ASAN_OPTIONS=${ASAN_OPTIONS:-}:verify_asan_link_order=0 \
    "$server" --script "$script" --module "$module" --log "$log" --log-lines --stall-seconds 1 \
    >"$work/output" 2>"$work/errors" &
  pid=$!
  read -r line <"$work/output" || fail "the server has not started"
  port=${line##*:}
}

memory() { sed -n 's/^VmRSS:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$pid/status"; }
descriptors() { find "/proc/$pid/fd" -mindepth 1 | wc -l; }

# The load that is not allowed to end well.
rude_load() {
  "$load" --port "$port" --sessions 50 --lines 100000 --pipeline 8 >/dev/null 2>&1 &
  local rude_pid=$!
  sleep "0.$((RANDOM % 9 + 1))"
  if [ $((RANDOM % 3)) -eq 0 ]; then
    kill -STOP "$rude_pid" # its replies stay untaken until the server drops it
    sleep 1.5
  fi
  kill -KILL "$rude_pid" 2>/dev/null || true
  wait "$rude_pid" 2>/dev/null || true
}

polite_load() { "$load" --port "$port" "$@" >"$work/figures" || fail "the load has failed"; }

# What the log holds of sessions behind number $1: how many records of lines, the last session.
log_behind() {
  { cat "$log".bak.{3,2,1,0} "$log" 2>/dev/null || true; } | awk -v behind="$1" '
    match($0, /^ >session [0-9]+: line /) {
      number = substr($2, 1, length($2) - 1) + 0
      if (number > behind) { ++count }
      if (number > last) { last = number }
    }
    END { print count + 0, last + 0 }'
}

# Waits until the server has let go of all clients and has logged all that it did for them: records
# keep their order, so a last session's record comes behind all others.
settle() {
  local before=-1
  while [ "$(descriptors)" -gt "$base_descriptors" ]; do
    kill -0 "$pid" || fail "the server has ended"
    sleep 0.1
  done
  polite_load --sessions 1 --lines 1
  while [ "$before" != "$(log_behind "$last_session")" ]; do
    before=$(log_behind "$last_session")
    sleep 0.1
  done
  read -r round_records last_session <<<"$before"
  records=$((records + round_records))
}

round() {
  rude_load &
  local rude=$!
  polite_load --sessions 200 --lines 200
  wait "$rude"
  settle
  rounds=$((rounds + 1))
}

start_server
base_descriptors=$(descriptors)
records=0 last_session=0 rounds=0 first_memory=''
end=$((SECONDS + minutes * 60))
warm=$((SECONDS + minutes * 6))
while [ "$SECONDS" -lt "$end" ] || [ "$rounds" -lt 3 ]; do
  round
  [ "$SECONDS" -lt "$warm" ] || [ -n "$first_memory" ] || first_memory=$(memory)
  printf 'round %d: %d records, %d kB, %d descriptors\n' "$rounds" "$records" "$(memory)" "$(descriptors)"
done
last_memory=$(memory)
kill -TERM "$pid"
status=0
wait "$pid" || status=$?
pid=
[ "$status" -eq 0 ] || fail "the server ended with status $status: $(cat "$work/errors")"
injected=$(sed -n 's/^random_faults: //p' "$work/errors")
[ "${injected:-0}" -gt 0 ] || fail "no I/O call has failed"

lines=$(sed -n 's/.*<var name="lines" type="string" value="\([0-9]*\)".*/\1/p' "$script")
printf '%s rounds, %s faults: %s lines, %s records; memory %s kB, then %s kB\n' \
  "$rounds" "$injected" "$lines" "$records" "$first_memory" "$last_memory"
[ "$lines" = "$records" ] || fail "lines and records differ"
if [ "${SOAK_MEMORY:-yes}" = yes ] && [ "$minutes" -gt 0 ] && [ $((last_memory * 100)) -ge $((first_memory * 101)) ]; then
  fail "memory has grown by 1 % or more"
fi
