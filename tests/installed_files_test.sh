#!/usr/bin/env bash
# Tests what is installed: the files, that each header compiles on its own, and that the tool finds
# its libraries where the folder now stands.
# Arguments: cmake, build folder, library folder's name, version, list of files, C and C++ compiler,
# emulator...
set -euo pipefail
export LC_ALL=C
cmake=$1 build=$2 libraries=$3 version=$4 files=$5 c_compiler=$6 cpp_compiler=$7
shift 7
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

"$cmake" --install "$build" --prefix "$folder/first" >/dev/null
mv "$folder/first" "$folder/moved"
cd "$folder/moved"

find . ! -type d -printf '%P\n' | sed "s|^$libraries/|lib/|; s|$version\$|VERSION|; s|-targets-[a-z]*.cmake|-targets-CONFIG.cmake|" | sort >../found
diff "$files" ../found

options=(-Wall -Wextra -Wpedantic -Wconversion -Wsign-conversion -Werror -fsyntax-only
  -Iinclude/tavrine -Iinclude/tavrine-devkit)
while read -r header; do
  "$c_compiler" -std=c11 "${options[@]}" -x c "$header"
done < <(find include -name '*.h')
while read -r header; do
  "$cpp_compiler" -std=c++17 "${options[@]}" -x c++ "$header"
  "$cpp_compiler" -std=c++20 -fno-exceptions "${options[@]}" -x c++ "$header"
done < <(find include -name '*.hpp')

"$@" bin/tavrine-aux version | grep -x "tavrine-aux $version" >/dev/null
