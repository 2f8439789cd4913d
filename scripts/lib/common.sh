# shellcheck shell=bash
# What the commands share. Sourced in the root of the source tree.
set -euo pipefail

say() { printf '\n== %s\n' "$*"; }

# $0 is scripts/NAME.sh.
die() {
  printf 'dev %s: %s\n' "$(basename "$0" .sh)" "$*" >&2
  exit 1
}

# shellcheck source=scripts/lib/debian_packages.sh
. scripts/lib/debian_packages.sh

configure() {
  local preset=$1
  shift
  say "Configuring $preset"
  cmake --preset "$preset" --log-level=WARNING "$@"
}

# Arguments behind the preset go to cmake --build.
build() {
  local preset=$1
  shift
  setup_for "$preset"
  configure "$preset"
  say "Building $preset"
  cmake --build --preset "$preset" "$@"
}

# Arguments behind the preset go to cmake when it configures.
run_tests() {
  local preset=$1
  shift
  setup_for "$preset"
  configure "$preset" "$@"
  say "Building $preset"
  cmake --build --preset "$preset"
  say "Testing $preset"
  ctest --preset "$preset" --parallel "$(nproc)"
}

sources() { git ls-files -- '*.h' '*.cpp'; }

product_sources() {
  git ls-files -- 'fwbase/*.cpp' 'utility/*.cpp' 'support/*.cpp' 'tools/*.cpp' 'examples/*.cpp'
}
