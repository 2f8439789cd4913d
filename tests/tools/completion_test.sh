#!/usr/bin/env bash
# What bash and fish offer for arguments of fwrun; zsh reads the completions of all commands.
#
# usage: completion_test.sh FWRUN TOOLS_DIRECTORY ZSH FISH WORK_DIRECTORY
set -euo pipefail
fwrun=$1 tools=$2 zsh=$3 fish=$4 work=$5
rm -rf "$work"
mkdir -p "$work"
cd "$work"
PATH=$(dirname "$fwrun"):$PATH
export HOME=$work
cat >door.xml <<'XML'
<korvid>
  <template><Func name="ring"/><Func name="open"><param tag="who" type="string"/></Func></template>
  <Process name=""><Exec><section name="morning"/><section name="evening"/></Exec></Process>
</korvid>
XML

# expect WHAT: standard input is what was expected, on descriptor 3 is what there is.
expect() {
  diff - <(sort <&3) || {
    printf 'completion_test: %s\n' "$1" >&2
    exit 1
  }
}

# in_bash WORD...: what bash offers for the last word.
in_bash() {
  COMP_WORDS=(fwrun "$@") COMP_CWORD=$#
  COMPREPLY=()
  _fwrun
  printf '%s\n' "${COMPREPLY[@]}"
}

# in_fish WORDS: likewise, without the descriptions.
in_fish() {
  "$fish" --no-config -c "source $tools/fwrun/fwrun.fish; complete -C '$1'" | cut -f 1
}

# shellcheck source=/dev/null
. "$tools/fwrun/fwrun.bash"
expect 'sections in bash' 3< <(in_bash door.xml '') <<<$'evening\nmorning'
expect 'a section that is begun in bash' 3< <(in_bash door.xml morning e) <<<'evening'
expect 'functions in bash' 3< <(in_bash door.xml --mock '') <<<$'open\nring'
expect 'a level in bash' 3< <(in_bash --level wa) <<<'warn'
expect 'a second level in bash' 3< <(in_bash --level warn,er) <<<'warn,error'

expect 'sections in fish' 3< <(in_fish 'fwrun door.xml ') <<<$'evening\nmorning'
expect 'functions in fish' 3< <(in_fish 'fwrun door.xml --mock ') <<<$'open\nring'
expect 'a level in fish' 3< <(in_fish 'fwrun --level wa') <<<'warn'

for file in "$tools"/*/*.zsh; do
  "$zsh" -n "$file"
done
