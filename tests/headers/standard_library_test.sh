#!/usr/bin/env bash
# All files that the headers below a directory read, as the compiler names them, are there or belong
# to the standard library: all of its headers together read them as well.
#
# usage: standard_library_test.sh CXX STANDARD INCLUDE_DIR
set -euo pipefail
cxx=$1 standard=$2 directory=$3
own=$(realpath "$directory")

# files_read INCLUDE...: by a source with these includes.
files_read() {
  printf '#include <%s>\n' "$@" | "$cxx" "$standard" -I "$own" -M -x c++ - |
    tr -d "\\\\" | tr ' ' '\n' | grep '^/' | xargs -n 1 realpath -m | sort -u
}

standard_library=$(files_read bits/stdc++.h)
headers=$(cd "$directory" && find . -name '*.h' | cut -c3-)
[ -n "$headers" ]
status=0
for header in $headers; do
  read=$(files_read "$header")
  grep -qxF "$own/$header" <<<"$read"
  foreign=$(comm -13 <(echo "$standard_library") <(grep -vF "$own/" <<<"$read"))
  if [ -n "$foreign" ]; then
    printf '%s needs\n%s\n' "$header" "$foreign"
    status=1
  fi
done
exit "$status"
