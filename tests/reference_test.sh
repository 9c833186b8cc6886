#!/usr/bin/env bash
# Tests the manual pages and the completion for bash: both have every command and option of --help,
# and the pages are without a warning.
# Arguments: folder with both, source folder, the tool with its emulator...
set -euo pipefail
folder=$1 source=$2
shift 2
tool=("$@")
cd "$folder"

fail() {
  echo "$*" >&2
  exit 1
}

# Long options and commands in the text of --help.
options_of() { "${tool[@]}" "$@" --help | sed -nE 's/^  (-[a-z],)?(--[a-z-]+)( .*)?$/\2/p'; }
mapfile -t commands < <("${tool[@]}" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]*\) .*/\1/p')
[ ${#commands[@]} -ge 6 ] || fail "--help lists ${#commands[@]} commands"

# complete_line WORD...: what bash offers for the last word.
complete_line() {
  COMP_WORDS=(tavrine-aux "$@") COMP_CWORD=$#
  _tavrine_aux
  printf '%s\n' "${COMPREPLY[@]}"
}
# shellcheck source=/dev/null # generated
source completions/tavrine-aux
complete -p tavrine-aux >/dev/null

expect() { # what is offered, word...
  local expected=$1
  shift
  [ "$(complete_line "$@" | tr '\n' ' ')" = "$expected " ] ||
    fail "'$*' is completed to '$(complete_line "$@")', not to '$expected'"
}

check() { # manual page, option before a word, command...
  local page=man1/$1.1 option
  shift
  [ -s "$page" ] || fail "$page is missing"
  mandoc -Tlint "$page"
  warnings=$(LC_ALL=C.UTF-8 man --warnings -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
  [ -z "$warnings" ] || fail "$page: $warnings"
  while read -r option; do
    grep -qF -- "\\fB${option//-/\\-}\\fR" "$page" || fail "$page lacks $option"
    complete_line "$@" "$option" | grep -qx -- "$option" || fail "no completion of '$* $option'"
  done < <(options_of "$@")
}

check tavrine-aux
for command in "${commands[@]}"; do
  check "tavrine-aux-$command" "$command"
  expect "$command" "$command"
  grep -qF "\\fB$command\\fR" man1/tavrine-aux.1 || fail "tavrine-aux.1 lacks $command"
done
[ "$(find man1 -name '*.1' | wc -l)" -eq $((${#commands[@]} + 1)) ] || fail "pages without a command"

cd "$source"
expect "rgb bgr gray" tensor --color ""
expect "NV12 NV21" convert a.png --format NV
expect "include" tensor --regions inc
expect "include" convert inc
expect "" convert --scale 0
expect "" info --crop
