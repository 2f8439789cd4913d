#!/usr/bin/env bash
# usage: ./dev check
#
# Checks sources and scripts without changing anything: the layout, cppcheck, locks, shellcheck.
. scripts/lib/common.sh

test_sources() { git ls-files -- 'tests/*.cpp' 'bench/*.cpp' 'fuzz/*.cpp'; }

scripts() { git ls-files -- dev .ci/run '*.sh'; }

run_cppcheck() {
  xargs cppcheck -j "$(nproc)" --quiet --error-exitcode=1 --std=c++20 --library=posix,googletest \
    --suppressions-list=.cppcheck-suppressions --inline-suppr \
    -I . -I fwbase/include -I utility/include -I tools "$@"
}

install_packages "${check_packages[@]}"
say "Checking the layout of sources"
sources | xargs clang-format --dry-run --Werror
say "Checking sources with cppcheck"
product_sources | run_cppcheck --enable=warning,style,performance,portability
test_sources | run_cppcheck --enable=warning,portability
say "Looking for locks that Clang does not check"
if git grep -nE 'std::(mutex|[a-z]+_mutex|lock_guard|unique_lock|scoped_lock)\b' -- \
  fwbase utility support tools ':!support/*mutex.h'; then
  die "support/mutex.h has one that it checks"
fi
say "Checking scripts"
scripts | xargs shellcheck -x
