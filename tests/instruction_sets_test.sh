#!/usr/bin/env bash
# Tests that the kernels were compiled for every instruction set of the machine: a kernel without
# one would only be slower.
# Arguments: nm, instruction sets separated by commas, object files...
set -euo pipefail
nm=$1
IFS=, read -ra sets <<<"$2"
shift 2
failed=0
count=0

for object in "$@"; do
  # Highway's namespaces. Files without vector code have none, and where there is a single
  # instruction set, a compiler may inline all of it.
  namespaces=$("$nm" --demangle "$object" | grep -o '\bN_[A-Z0-9]*::' | sort -u || true)
  if [ -z "$namespaces" ]; then
    continue
  fi
  count=$((count + 1))
  for set in "${sets[@]}"; do
    if ! grep -qx "N_$set::" <<<"$namespaces"; then
      echo "${object##*/} is not compiled for $set, only for $(xargs <<<"$namespaces")"
      failed=1
    fi
  done
done

if [ $count -lt 4 ]; then
  echo "$count files with vector code were found"
  exit 1
fi
exit $failed
