#!/usr/bin/env bash
# Counts the instructions of each hot path in callgrind and compares them with those on record:
#   check.sh PROGRAM RECORD            fails when a path takes more than the margin over its record
#   check.sh PROGRAM RECORD --update   writes the record
#   check.sh PROGRAM RECORD --profile  says which functions the instructions are in
# Counts, unlike times, do not depend on what else the machine does. They do depend on the compiler
# and the C library: the record is that of a Release build with GCC on Debian 12. Of the string
# functions, which the C library has in several forms, those run that every processor has.
set -euo pipefail

margin=3 # per cent
program=$1 record=$2 action=${3:-}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

export GLIBC_TUNABLES=glibc.cpu.hwcaps=-AVX2,-AVX_Fast_Unaligned_Load,-AVX512F,-SSSE3,-SSE4_1,-SSE4_2,-ERMS,-FSRM

# A dump for each path, and a last one for the rest of the run.
if ! valgrind --tool=callgrind --callgrind-out-file="$scratch/dump" "$program" \
  >"$scratch/report" 2>&1; then
  cat "$scratch/report" >&2
  exit 1
fi

mapfile -t dumps < <(printf '%s\n' "$scratch"/dump.* | sort -V)
if [ "$action" = --profile ]; then
  "$(dirname "$0")/profile.py" "${dumps[@]}"
  exit
fi

# "path count" for each path, per operation.
counts() {
  awk '
    /^desc: Trigger: Client Request: / { path = $(NF - 1); operations = $NF }
    /^totals: / && path != "" {
      printf "%-24s %.1f\n", path, $2 / operations
      path = ""
    }' "${dumps[@]}"
}

compare() {
  awk -v margin="$margin" '
    /^#/ { next }
    FNR == NR { before[$1] = $2; next }
    {
      verdict = "ok"
      if (!($1 in before)) verdict = "NOT ON RECORD"
      else if ($2 > before[$1] * (1 + margin / 100)) verdict = "MORE"
      else if ($2 < before[$1] * (1 - margin / 100)) verdict = "fewer: worth an --update"
      if (verdict ~ /^[MN]/) failed = 1
      printf "  %-24s %10.1f  on record %10s  %s\n", $1, $2, before[$1], verdict
    }
    END { exit failed }' "$record" "$scratch/counts"
}

counts >"$scratch/counts"
[ -s "$scratch/counts" ]
if [ "$action" = --update ]; then
  {
    printf '# Instructions per operation. Written by: ./dev instructions --update\n'
    cat "$scratch/counts"
  } | tee "$record"
elif ! compare; then
  echo "A path takes over $margin % more instructions than on record. If the change is worth that:" \
    "./dev instructions --update" >&2
  exit 1
fi
