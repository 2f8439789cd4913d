#!/usr/bin/env bash
# Prints CHANGELOG.md as the change log of Debian packages: each "## VERSION - DATE" with its list.
# A version that is "unreleased" has the time of the build, which is SOURCE_DATE_EPOCH if that is set.
#
# usage: debian_changelog.sh CHANGELOG MAINTAINER
set -euo pipefail
changelog=$1 maintainer=$2
version='' date='' item=''

# Debian's lines are shorter: each item is laid out anew.
end_item() {
  [ -z "$item" ] || fold -s -w 74 <<<"$item" | sed -e '1s/^/  * /' -e '2,$s/^/    /' -e 's/ *$//'
  item=''
}

end_version() {
  end_item
  [ -z "$version" ] || printf '\n -- %s  %s\n\n' "$maintainer" "$(LC_ALL=C date -u -R -d "$date")"
}

while IFS= read -r line; do
  case $line in
    '## '*)
      end_version
      read -r _ version _ date <<<"$line"
      [ "$date" != unreleased ] || date=${SOURCE_DATE_EPOCH:+@}${SOURCE_DATE_EPOCH:-now}
      printf 'fwbase (%s-1) unstable; urgency=medium\n\n' "$version"
      ;;
    '- '*)
      end_item
      item=${line#- }
      ;;
    '  '*) item+=" ${line#  }" ;;
  esac
done <"$changelog"
end_version
[ -n "$version" ]
