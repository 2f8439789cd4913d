#!/usr/bin/env bash
# Builds the session server with the commands of its README, from a copy of its directory against an
# installed library; then runs it as the README says, on a free port and until SIGTERM, and under
# the load of the README, a small one.
#
# usage: session_server_test.sh EXAMPLE WORK_DIR
set -euo pipefail
example=$1 work=$2
# shellcheck source=/dev/null
. "$(dirname "${BASH_SOURCE[0]}")/../examples/readme_block.sh"

rm -rf "$work"
mkdir -p "$(dirname "$work")"
cp -r "$example" "$work"
cd "$work"

# commands NUMBER FROM TO: a block of sh, with FROM, which must be there, replaced.
commands() {
  block sh "$1" | grep -qF -e "$2"
  block sh "$1" | sed "s|$2|$3|"
}
block sh 1 >build.sh
commands 2 '--port 4000' '--port 0' | sed 's|^\./session_server |exec &|' >start.sh
commands 3 './run.sh ' '&--no-memory-check --sessions 50 --lines 20 ' >load.sh
[ -s build.sh ]

sh -eu build.sh >build.log 2>&1 || {
  cat build.log
  exit 1
}

mkfifo output
sh -eu start.sh >output &
server=$!
trap 'kill -KILL "$server" 2>/dev/null || true' EXIT
read -r line <output
printf '%s\n' "$line"
[[ $line == 'listening on 127.0.0.1:'* ]]
kill -TERM "$server"
wait "$server"
trap - EXIT

sh -eu load.sh
