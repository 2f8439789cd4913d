#!/usr/bin/env bash
# usage: ./dev faults [--long]
#
# Fails each allocation and each I/O call of each operation in turn, takes rights and the root
# directory from hosts that log, or gives them rights (as root only), cancels threads in the middle of
# operations, forks hosts whose threads use the library and the C library's time zone, and kills hosts
# that save and log, with a journal and without: a part of the allocations, 400 cancellations of each
# operation, 20 forks and 50 kills, or with --long all of them, 4,000, 200 and 1,000.
. scripts/lib/common.sh

cancellations=400 forks=20 kills=50 form=()
case "${1:-}" in
  '') ;;
  --long) cancellations=4000 forks=200 kills=1000 form=(--long) ;;
  *) die "'$1'?" ;;
esac
programs=build/gcc-debug/tests/faults
build gcc-debug --target alloc_faults io_faults changed_rights cancellations fork_host kills \
  journal_kills

# Each scenario runs in a process of its own and says what it has done.
failed=0
say "Failing allocations"
for scenario in $("$programs/alloc_faults" --list); do
  "$programs/alloc_faults" "$scenario" "${form[@]}" || failed=1
done
say "Failing I/O calls"
for scenario in $("$programs/io_faults" --list); do
  "$programs/io_faults" "$scenario" || failed=1
done
say "Changing rights"
for scenario in $("$programs/changed_rights" --list); do
  "$programs/changed_rights" "$scenario" || [ $? = 77 ] || failed=1
done
say "Cancelling threads"
for scenario in $("$programs/cancellations" --list); do
  "$programs/cancellations" "$scenario" "$cancellations" || failed=1
done
say "Forking hosts"
for scenario in inherited restarted in_module; do
  build/gcc-debug/tests/host/fork_host "$scenario" "$forks" || failed=1
done
say "Killing hosts"
for scenario in saving logging; do
  "$programs/kills" "$scenario" "$kills" || failed=1
done
for variant in plain rotation restarts shared; do
  "$programs/journal_kills" "$variant" "$kills" || failed=1
done
exit "$failed"
