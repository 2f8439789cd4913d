# For scripts that run the commands of a README.
# shellcheck shell=bash

# block LANGUAGE NUMBER: that block of the README.md of the working directory.
block() {
  awk -v fence="\`\`\`$1" -v wanted="$2" '
    inside && /^```$/ { exit }
    inside { print }
    $0 == fence && ++seen == wanted { inside = 1 }
  ' README.md
}
