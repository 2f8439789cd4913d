#!/usr/bin/env bash
# Runs the session server under load, and checks what it promises:
#   - every reply is right and in order, in 1,000 sessions at once (the load program checks this);
#   - a second run of the same load takes no more memory than the first, within 2 %;
#   - SIGTERM in the middle of the load ends the server with status 0, and then the counters that it
#     has saved, the replies that have come and the records in the log are the same number.
#
# usage: run.sh [--no-memory-check] [--sessions N] [--lines N] SERVER LOAD MODULE WORK_DIR
#
# --no-memory-check  for programs with a sanitizer, whose memory is not the server's
# The script is copied to WORK_DIR, where its counters are saved.
set -euo pipefail

usage() {
  echo "usage: run.sh [--no-memory-check] [--sessions N] [--lines N] SERVER LOAD MODULE WORK_DIR" >&2
  exit 2
}

check_memory=true
sessions=1000
lines=100
while [ $# -gt 4 ]; do
  case "$1" in
    --no-memory-check) check_memory=false && shift ;;
    --sessions) sessions=$2 && shift 2 ;;
    --lines) lines=$2 && shift 2 ;;
    *) usage ;;
  esac
done
[ $# -eq 4 ] || usage
server=$1
load=$2
module=$3
work=$4
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
script=$work/server.xml
log=$work/server.log
pid=

fail() {
  printf 'run.sh: %s\n' "$*" >&2
  exit 1
}

stop_server() {
  [ -z "$pid" ] || kill -KILL "$pid" 2>/dev/null || true
}
trap stop_server EXIT

# start_server OPTION...: sets pid and port.
start_server() {
  local line
  rm -f "$work/output"
  mkfifo "$work/output"
  "$server" --script "$script" --module "$module" --log "$log" --max-sessions "$sessions" "$@" \
    >"$work/output" &
  pid=$!
  # The server keeps the other end open, so this waits for its line, or for its end.
  read -r line <"$work/output" || fail "the server has not started for $sessions sessions"
  port=${line##*:}
}

# The status with which the server ends.
wait_for_server() {
  local status=0
  wait "$pid" || status=$?
  pid=
  [ "$status" -eq 0 ] || fail "the server ended with status $status"
}

# resident: kilobytes of the server's memory.
resident() { sed -n 's/^VmRSS:[^0-9]*\([0-9]*\).*/\1/p' "/proc/$pid/status"; }

# counter NAME: as the server has saved it.
counter() { sed -n "s/.*<var name=\"$1\" type=\"string\" value=\"\([0-9]*\)\".*/\1/p" "$script"; }

# run_load OPTION...: sets replies.
run_load() {
  "$load" --port "$port" --sessions "$sessions" --lines "$lines" "$@" | tee "$work/figures"
  replies=$(sed -n 's/^replies //p' "$work/figures")
}

# same WHAT NUMBER WHAT NUMBER
same() {
  printf '%s: %s, %s: %s\n' "$@"
  [ "$2" = "$4" ] || fail "$1 and $3 differ"
}

mkdir -p "$work"
rm -f "$log" "$log".bak.*
cp "$here/server.xml" "$script"

printf '== The same load twice\n'
start_server
run_load
first=$(resident)
all=$replies
printf '\n'
run_load
second=$(resident)
all=$((all + replies))
kill -TERM "$pid"
wait_for_server
same 'sessions counted' "$(counter sessions)" 'opened' "$((2 * sessions))"
same 'lines counted' "$(counter lines)" 'replies' "$all"
printf 'memory after the first run: %s kB, after the second: %s kB\n' "$first" "$second"
if $check_memory && [ $((second * 100)) -gt $((first * 102)) ]; then
  fail "the second run of the load took more than 2 % more memory"
fi

printf '\n== SIGTERM in the middle of the load\n'
before=$(counter lines)
start_server --log-lines
run_load --pipeline 4 --until-closed --terminate "$pid" --after $((sessions * lines / 4))
wait_for_server
[ "$replies" -lt $((sessions * lines)) ] || fail "the load was over before the server stopped"
same 'lines counted' "$(($(counter lines) - before))" 'replies' "$replies"
same 'records' "$(cat "$log" "$log".bak.* 2>/dev/null | grep -c '^ >session [0-9]*: line ')" \
  'replies' "$replies"
