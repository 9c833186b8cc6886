#!/usr/bin/env bash
# Tests that applications can use the library: builds and runs the README's program with
# find_package, pkg-config, Meson and as a subproject, in several versions of C and C++, against an
# installation that was moved.
# Arguments: cmake, source folder, build folder, library folder's name
set -euo pipefail
cmake=$1 source=$2 build=$3 libraries=$4
folder=$build/consumers
# A subproject leaves the choice of a compiler cache to its parent.
if command -v ccache >/dev/null; then
  export CMAKE_C_COMPILER_LAUNCHER=ccache CMAKE_CXX_COMPILER_LAUNCHER=ccache
fi
# The subproject's build stays, so that a later run compiles only what has changed.
mkdir -p "$folder/subproject"
find "$folder" -mindepth 1 -maxdepth 1 ! -name subproject -exec rm -r {} +

DESTDIR=$folder/staged "$cmake" --install "$build" --prefix /usr >/dev/null
mv "$folder/staged/usr" "$folder/moved"
prefix=$folder/moved
export PKG_CONFIG_PATH=$prefix/$libraries/pkgconfig

# The first block of C in the README.
sed -n '/^```c$/,/^```$/{/^```/d;p}' "$source/README.md" >"$folder/program.c"
cd "$folder"
printf 'P6 16 8 255\n%0384d' 7 >photo.jpg

run() { # how it was built, program
  rm -f small.png
  "$2" && [ -s small.png ] && echo "$1: ${2##*/} works" && return
  echo "$1: ${2##*/} fails"
  exit 1
}

build_with_cmake() { # folder, option...
  local name=$1
  shift
  "$cmake" -S "$source/tests/consumer" -B "$name" -G Ninja -DPROGRAM="$folder/program.c" \
    "$@" >"$name.log" 2>&1 && "$cmake" --build "$name" >>"$name.log" 2>&1 || {
    cat "$name.log"
    exit 1
  }
  for program in C99 C11 CXX11 CXX17; do
    run "$name" "$name/$program"
  done
  "$name/devkit"
}

build_with_cmake find_package -DCMAKE_PREFIX_PATH="$prefix"
build_with_cmake subproject -DTAVRINE_SOURCE_DIR="$source"

# A newer major version must not be satisfied with this one.
mkdir other && printf 'cmake_minimum_required(VERSION 3.25)\nproject(other C)\nfind_package(tavrine_aux 2 REQUIRED)\n' >other/CMakeLists.txt
if "$cmake" -S other -B other/build -DCMAKE_PREFIX_PATH="$prefix" >/dev/null 2>&1; then
  echo "find_package(tavrine_aux 2) finds this version"
  exit 1
fi

cp program.c program.cpp
for standard in c99 c11 c++11 c++17; do
  compiler=gcc file=program.c
  [[ $standard == c++* ]] && compiler=g++ file=program.cpp
  # shellcheck disable=SC2046 # the options are words
  "$compiler" -std=$standard -Wall -Wextra -Wpedantic -Werror "$file" -o "$standard" \
    $(pkg-config --cflags --libs tavrine_aux tavrine_devkit) -Wl,-rpath,"$prefix/$libraries"
  run pkg-config "./$standard"
done

# The README's program in C++.
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$source/README.md" >owners.cpp
# shellcheck disable=SC2046
g++ -std=c++17 -Wall -Wextra -Wpedantic -Werror owners.cpp -o owners \
  $(pkg-config --cflags --libs tavrine_aux tavrine_devkit) -Wl,-rpath,"$prefix/$libraries"
run pkg-config ./owners

mkdir meson
cp "$source/tests/consumer/meson.build" program.c program.cpp meson
(meson setup meson/build meson && meson compile -C meson/build) >meson.log 2>&1 || {
  cat meson.log
  exit 1
}
for program in c99 c11 cpp11 cpp17; do
  run Meson "meson/build/$program"
done
