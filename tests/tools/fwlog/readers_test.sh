#!/usr/bin/env bash
# Other programs read what fwlog prints as JSON: lnav by the format that is installed, and rsyslog from
# a file, as docs/reading_logs.md has it.
#
# usage: readers_test.sh lnav|rsyslog FWLOG LNAV_FORMAT
set -euo pipefail
reader=$1 fwlog=$2 format=$3
work=$(mktemp -d)
daemon=
trap '[ -z "$daemon" ] || { kill "$daemon"; wait "$daemon"; }; rm -rf "$work"' EXIT
cd "$work"

fail() {
  printf 'readers_test: %s\n' "$*" >&2
  exit 1
}

{
  printf '[ERROR]: pid:4711 Wed Oct 29 10:20:30 2014 this(0x1f) void ns::f(int) a.cpp(12) '
  printf 'CT:Oct 29 2014 10:20:30\r\n >'
  printf 'no such door: 门\nsecond "line"\n' | iconv -f UTF-8 -t GBK
  printf '[WARN ]: pid:4711 Wed Oct 29 10:20:31 2014 \r\n >slow\n'
} >host.log
"$fwlog" --output json host.log >host.json

# lnav's user has this format and nothing else.
with_lnav() {
  mkdir -p .config/lnav/formats/fwbase
  cp "$format" .config/lnav/formats/fwbase/fwlog.json
  export HOME=$work XDG_CONFIG_HOME=$work/.config TZ=UTC
  lnav -C || fail "lnav does not take the format"
  lnav -n host.json | grep -q '^2014-10-29T10:20:30.000 ERROR 4711 void ns::f(int): no such door: 门$' ||
    fail "lnav shows: $(lnav -n host.json)"
  local query=';SELECT log_level, pid, function, line, log_body FROM fwbase_log ORDER BY log_line'
  lnav -n -c "$query" -c ':write-csv-to -' host.json >rows
  diff rows - <<'TEXT' || fail "rows of lnav"
log_level,pid,function,line,log_body
error,4711,void ns::f(int),12,"no such door: 门
second ""line"""
warning,4711,<NULL>,<NULL>,slow
TEXT
}

# The configuration of the page, with files in this directory.
with_rsyslog() {
  cat >rsyslog.conf <<TEXT
module(load="imfile" mode="polling" pollingInterval="1")
global(workDirectory="$work")
input(type="imfile" File="$work/host.json" Tag="host" Ruleset="host")
template(name="host" type="string" string="%msg%\n")
ruleset(name="host") {
  action(type="omfile" File="$work/shipped.log" Template="host")
}
TEXT
  rsyslogd -N 1 -f rsyslog.conf 2>check || fail "rsyslog does not take the configuration: $(cat check)"
  rsyslogd -n -f rsyslog.conf -i "$work/rsyslog.pid" &
  daemon=$!
  until cmp -s host.json shipped.log; do
    kill -0 "$daemon" || fail "rsyslog has ended"
    sleep 0.1
  done
}

"with_$reader"
