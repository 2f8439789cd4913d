#!/usr/bin/env bash
# What the packages depend on and contain; and the README's example with the files of all of them.
#
# usage: packages_test.sh DIRECTORY README WORK_DIR CXX CXX_FLAGS
#
# DIRECTORY  the packages
set -euo pipefail
packages=$(realpath "$1") readme=$(realpath "$2") work=$3 cxx=$4 flags=$5
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

fail() {
  printf 'packages_test: %s\n' "$*" >&2
  exit 1
}

# depends PACKAGE NAME...
depends() {
  local package=$1 name found
  shift
  found=$(dpkg-deb -f "$packages/$package"_*.deb Depends)
  for name in "$@"; do
    grep -qE "(^|, )$name( |,|$)" <<<"$found" || fail "$package does not depend on $name: $found"
  done
}

# has PACKAGE PATH...
has() {
  local package=$1 path
  shift
  for path in "$@"; do
    [ -e "$work/$package/$path" ] || fail "$package has no $path"
  done
}

rm -rf "$work"
mkdir -p "$work/root"
work=$(realpath "$work")
library=$(basename "$packages"/libfwbase[0-9]*.deb)
library=${library%%_*}
for package in "$library" libfwbase-dev fwbase-tools; do
  file=("$packages/$package"_*.deb)
  [ "${#file[@]}" = 1 ] || fail "which one of ${file[*]}?"
  dpkg-deb -x "${file[0]}" "$work/$package"
  dpkg-deb -x "${file[0]}" "$work/root"
  has "$package" usr/share/doc/"$package"/{copyright,changelog.Debian.gz}
  grep -q "MIT License" "$work/$package/usr/share/doc/$package/copyright"
  gzip -dc "$work/$package/usr/share/doc/$package/changelog.Debian.gz" | head -n 1 |
    grep -qF "fwbase ($(dpkg-deb -f "${file[0]}" Version)) unstable;"
done

version=$(dpkg-deb -f "${file[0]}" Version)
depends "$library" libace-7.0.8 libxerces-c3.2 libc6 'libstdc\+\+6'
depends libfwbase-dev "$library \(= $version\)" libxerces-c-dev
depends fwbase-tools "$library \(>= ${version%-*}\)" libc6
dpkg-deb --ctrl-tarfile "$packages/$library"_*.deb | tar -xf - -C "$work"
[ "$(cat "$work/triggers")" = "activate-noawait ldconfig" ]
[ "$(cat "$work/shlibs")" = "libfwbase ${library#libfwbase} $library (>= ${version%-*})" ]

number=${library#libfwbase}
find "$work/$library/usr/lib" -name "libfwbase.so.$number" | grep -q .
find "$work/libfwbase-dev/usr/lib" -name libfwbase.so | grep -q .
has libfwbase-dev "usr/include/fwbase-$number/fwbase/fwbase.h" \
  "usr/include/fwbase-$number/utility/xml.h"
commands='fwrun fwcheck fwlog fwmod'
for command in $commands; do
  has fwbase-tools "usr/bin/$command" "usr/share/man/man1/$command.1.gz" \
    "usr/share/bash-completion/completions/$command" \
    "usr/share/zsh/vendor-completions/_$command" \
    "usr/share/fish/vendor_completions.d/$command.fish"
done
# Below /etc in the packages that ./dev packages makes, below the prefix in those of other builds.
find "$work/fwbase-tools" -path '*/etc/lnav/formats/fwbase/fwlog.json' | grep -q .

"$here/readme_example.sh" "$readme" "$work/example" "$cxx" "$flags" "$work/root"
