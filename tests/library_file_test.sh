#!/usr/bin/env bash
# Tests the library as a file: its names, the libraries it needs, its exports, and its start as a
# program.
# Arguments: library, version, readelf, nm, list of exported functions, where the C++ runtime is
# ("inside" or "shared"), "run" or "no-run", emulator...
set -euo pipefail
export LC_ALL=C
library=$1 version=$2 readelf=$3 nm=$4 exports=$5 runtime=$6 run=$7
shift 7
failed=0

expect() { # what, expected, actual
  if [ "$2" != "$3" ]; then
    printf '%s\nexpected:\n%s\nfound:\n%s\n' "$1" "$2" "$3"
    failed=1
  fi
}

expect "file name" "libtavrine_aux.so.$version" "$(basename "$(realpath "$library")")"
dynamic=$("$readelf" -d "$library")
expect soname "libtavrine_aux.so.${version%%.*}" "$(sed -n 's/.*(SONAME).*\[\(.*\)\]/\1/p' <<<"$dynamic")"
# Beside the compiler's own libraries.
expect "C++ runtime" "$runtime" "$(grep -qE 'lib(stdc\+\+|gcc_s)\.so' <<<"$dynamic" && echo shared || echo inside)"
needed=$(sed -n 's/.*(NEEDED).*\[\(.*\)\]/\1/p' <<<"$dynamic" |
  grep -vE '^(lib(c|m|gcc_s|stdc\+\+|[a-z]+san)|ld-linux.*)\.so' | sort | tr '\n' ' ')
expect needed "libtavrine.so.1 libtavrine_core.so.1 libtavrine_mpp.so.1 " "$needed"

# Functions with their version, and anything else with its kind.
exported=$("$nm" -D --defined-only "$library" | awk '$2 == "T" {print $3; next} {sub(/@.*/, "", $3); print $2 " " $3}')
expected=$(sed 's/$/@@TAVRINE_AUX_1/' "$exports"; echo 'A TAVRINE_AUX_1')
expect "exports that are missing" "" "$(comm -23 <(sort <<<"$expected") <(sort <<<"$exported"))"
expect "unexpected exports" "" "$(comm -13 <(sort <<<"$expected") <(sort <<<"$exported"))"

# The C library's versions round these differently.
expect "imported functions that are not exact" "" \
  "$("$nm" -D --undefined-only "$library" | grep -oxE ' *U (pow|exp2?|log(2|10)?|sin|cos|a?tan2?)f?(@.*)?' || true)"

# How floats are passed, and the oldest C library that it runs with. Cameras have old ones.
oldest=
case $("$readelf" -h "$library" | sed -n 's/ *Machine: *//p') in
  ARM)
    oldest=GLIBC_2.4
    expect "float arguments" "VFP registers" "$("$readelf" -A "$library" | sed -n 's/.*Tag_ABI_VFP_args: //p')"
    ;;
  AArch64) oldest=GLIBC_2.17 ;;
esac
if [ -n "$oldest" ]; then
  newest=$("$readelf" -V "$library" | grep -o 'GLIBC_[0-9.]*' | sort -Vu | tail -n 1)
  expect "newest symbol of the C library" "$oldest" "$newest"
fi

if [ "$run" = run ]; then # no sanitizer
  expect "lazy binding" "" "$(grep -q BIND_NOW <<<"$dynamic" || echo yes)"
  segments=$("$readelf" -lW "$library")
  expect "read-only relocations" "GNU_RELRO" "$(grep -o GNU_RELRO <<<"$segments")"
  expect "executable stack" "" "$(grep 'GNU_STACK.*E' <<<"$segments" || true)"
  expect "stack protector" "__stack_chk_fail" \
    "$("$nm" -D --undefined-only "$library" | grep -o __stack_chk_fail || true)"

  status=0
  banner=$("$@" "$library" 2>&1 >/dev/null) || status=$?
  expect "exit status" 0 "$status"
  expect banner "TAVRINE $version" "$(head -n 1 <<<"$banner")"
  expect "standard output" "" "$("$@" "$library" 2>/dev/null)"
fi
exit $failed
