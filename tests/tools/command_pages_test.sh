#!/usr/bin/env bash
# The options that a command's --help lists are those that bash completes and that the manual page
# describes.
#
# usage: command_pages_test.sh COMMAND COMPLETION MAN_PAGE
set -euo pipefail
command=$1 completion=$2 man_page=$3
name=$(basename "$command")

fail() {
  printf 'command_pages_test: %s\n' "$*" >&2
  exit 1
}

# expect WHAT: standard input is the lines that were expected, on descriptor 3 are those there are.
expect() {
  diff - /dev/fd/3 || fail "$name: $1"
}

# completions WORD...: what bash offers for the last word.
completions() {
  COMP_WORDS=("$name" "$@") COMP_CWORD=$#
  COMPREPLY=()
  "_$name"
  printf '%s\n' "${COMPREPLY[@]}"
}

# shellcheck source=/dev/null
. "$completion"
complete -p "$name" >/dev/null

"$command" --help | grep -oE '^ +(-[a-z],)?--[a-z-]+' | sed 's/.*--/--/' | sort >listed
grep -qx -e --help listed
completions -- | sort | expect "options that are completed" 3<listed
gzip -dc "$man_page" | sed -n 's/^\\fB\(\\-[a-z], \)\?\(\\-\\-[a-z\\-]*\)\\fR.*/\2/p' | tr -d "\\\\" | sort |
  expect "options in the manual page" 3<listed
gzip -dc "$man_page" | grep -E '^\.SH ' | cut -c5- |
  expect "sections of the manual page" 3<<<$'NAME\nSYNOPSIS\nDESCRIPTION\nOPTIONS\nEXIT STATUS\nEXAMPLE'

rm -rf files
mkdir files
cd files
touch script.xml 'with space.xml'
completions --ver | expect "completion of an option that is begun" 3<<<"--version"
completions with | expect "completion of a file name" 3<<<"with space.xml"
completions '' | sort | expect "completion of an argument" 3<<<$'script.xml\nwith space.xml'
