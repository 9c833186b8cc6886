#!/usr/bin/env bash
# The library as a file: its name, what it needs, what it exports, and that it runs.
# Arguments: library, readelf, nm, list of exported functions, "run" or "no-run", emulator...
set -euo pipefail
export LC_ALL=C
library=$1 readelf=$2 nm=$3 exports=$4 run=$5
shift 5
failed=0

expect() { # what, expected, actual
  if [ "$2" != "$3" ]; then
    printf '%s\nexpected:\n%s\nfound:\n%s\n' "$1" "$2" "$3"
    failed=1
  fi
}

dynamic=$("$readelf" -d "$library")
expect soname libtavrine_aux.so.1 "$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")"
needed=$(sed -n 's/.*(NEEDED).*\[\(libtavrine.*\)\]/\1/p' <<<"$dynamic" | sort | tr '\n' ' ')
expect needed "libtavrine.so.1 libtavrine_core.so.1 libtavrine_mpp.so.1 " "$needed"

# Names of functions, and with their kind what is none.
exported=$("$nm" -D --defined-only "$library" | awk '{print $2 == "T" ? $3 : $2 " " $3}')
missing=$(comm -23 <(sort "$exports") <(sort <<<"$exported"))
additional=$(comm -13 <(sort "$exports") <(sort <<<"$exported"))
expect "exported functions that are missing" "" "$missing"
expect "exported beside the functions" "" "$additional"

# How floats are passed.
attributes=$("$readelf" -A "$library")
if [[ "$attributes" == *Tag_CPU_arch* ]]; then
  expect "float arguments" "VFP registers" "$(sed -n 's/.*Tag_ABI_VFP_args: //p' <<<"$attributes")"
fi

if [ "$run" = run ]; then
  status=0
  banner=$("$@" "$library" 2>&1 >/dev/null) || status=$?
  expect "exit status" 0 "$status"
  expect banner "TAVRINE 1.2.0" "$(head -n 1 <<<"$banner")"
  expect "standard output" "" "$("$@" "$library" 2>/dev/null)"
fi
exit $failed
