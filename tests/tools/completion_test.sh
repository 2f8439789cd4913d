#!/usr/bin/env bash
# What bash and fish offer for arguments of fwrun and fwlog; zsh reads the completions of all
# commands.
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

# in_bash COMMAND WORD...: what bash offers for the last word.
in_bash() {
  COMP_WORDS=("$@") COMP_CWORD=$(($# - 1))
  COMPREPLY=()
  "_$1"
  printf '%s\n' "${COMPREPLY[@]}"
}

# in_fish WORDS: likewise for a command and its words, without the descriptions.
in_fish() {
  local name=${1%% *}
  "$fish" --no-config -c "source $tools/$name/$name.fish; complete -C '$1'" | cut -f 1
}

# shellcheck source=/dev/null
. "$tools/fwrun/fwrun.bash"
expect 'sections in bash' 3< <(in_bash fwrun door.xml '') <<<$'evening\nmorning'
expect 'a section that is begun in bash' 3< <(in_bash fwrun door.xml morning e) <<<'evening'
expect 'functions in bash' 3< <(in_bash fwrun door.xml --mock '') <<<$'open\nring'
expect 'a level in bash' 3< <(in_bash fwrun --level wa) <<<'warn'
expect 'a second level in bash' 3< <(in_bash fwrun --level warn,er) <<<'warn,error'

expect 'sections in fish' 3< <(in_fish 'fwrun door.xml ') <<<$'evening\nmorning'
expect 'functions in fish' 3< <(in_fish 'fwrun door.xml --mock ') <<<$'open\nring'
expect 'a level in fish' 3< <(in_fish 'fwrun --level wa') <<<'warn'

# shellcheck source=/dev/null
. "$tools/fwlog/fwlog.bash"
expect 'levels of fwlog in bash' 3< <(in_bash fwlog --level error,d) <<<$'error,debug\nerror,dump'
expect 'forms of fwlog in bash' 3< <(in_bash fwlog --output '') <<<$'json\nraw\ntext'
expect 'encodings of fwlog in fish' 3< <(in_fish 'fwlog --encoding g') <<<$'gb18030\ngbk'

for file in "$tools"/*/*.zsh; do
  "$zsh" -n "$file"
done
