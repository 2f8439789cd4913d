#!/usr/bin/env bash
# Checks the health of this machine with health.xml, and shows the log.
#
# usage: run.sh FWRUN FWLOG WORK_DIR
#
# The script is copied to WORK_DIR the first time: its counter of runs is saved in that copy.
set -euo pipefail

if [ $# -ne 3 ]; then
  echo "usage: run.sh FWRUN FWLOG WORK_DIR" >&2
  exit 2
fi
fwrun=$1
fwlog=$2
work=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

mkdir -p "$work"
script=$work/health.xml
log=$work/health.log
[ -e "$script" ] || cp "$here/health.xml" "$script"

# The log of this run only.
rm -f "$log"
status=0
"$fwrun" --log "$log" --level warn,error,alert,dump --details time,pid --save \
  "$script" measure check report count || status=$?

if [ -e "$log" ]; then
  printf '\nThe log, %s:\n' "$log"
  "$fwlog" "$log"
fi
exit "$status"
