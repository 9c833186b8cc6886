#!/usr/bin/env bash
# The hashes of all operations' results are those of the file in the tree.
#   operation_hashes_test.sh EXPECTED OUTPUT COMMAND...
set -euo pipefail
expected=$1
output=$2
shift 2
"$@" >"$output"
if ! diff "$expected" "$output"; then
  echo "Where results are meant to change, copy $output to $expected." >&2
  exit 1
fi
