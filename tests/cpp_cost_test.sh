#!/usr/bin/env bash
# Tests that a call through the C++ header is the same machine code as the call in C.
# Arguments: include folder, C compiler, C++ compiler, options for the target...
set -euo pipefail
include=$1 c_compiler=$2 cpp_compiler=$3
shift 3
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT

cat >"$folder/calls.c" <<'END'
#include "tavrine_aux.h"
int32_t half(const tavrine_frame_t *in, tavrine_frame_t **out) {
  return tavrine_frame_resize(in, out, in->width / 2, in->height / 2);
}
int32_t upright(const tavrine_frame_t *in, tavrine_frame_t **out) {
  return tavrine_frame_rotate(in, out, TAVRINE_ROTATE_90);
}
int32_t nv12(const tavrine_frame_t *in, tavrine_frame_t **out) {
  return tavrine_frame_cvt_color(in, out, TAVRINE_FORMAT_NV12);
}
END
cat >"$folder/calls.cpp" <<'END'
#include "tavrine_aux.hpp"
using namespace tavrine;
extern "C" Status half(const tavrine_frame_t *in, Frame &out) {
  return resize(in, out, {in->width / 2, in->height / 2}).status();
}
extern "C" Status upright(const tavrine_frame_t *in, Frame &out) {
  return rotate(in, out, Rotation::k90).status();
}
extern "C" Status nv12(const tavrine_frame_t *in, Frame &out) {
  return cvt_color(in, out, PixelFormat::kNv12).status();
}
END

# The instructions of the three functions: lines that are indented and not directives.
instructions() { # file, compiler, options...
  local file=$1
  shift
  "$@" -O2 -I"$include" -S "$file" -o - | grep -E $'^[[:space:]]+[a-z]|^(half|upright|nv12):'
}
instructions "$folder/calls.c" "$c_compiler" -std=c11 "$@" >"$folder/c"
instructions "$folder/calls.cpp" "$cpp_compiler" -std=c++17 "$@" >"$folder/cpp"
[ "$(grep -c : "$folder/c")" = 3 ] && [ "$(wc -l <"$folder/c")" -gt 9 ]
diff "$folder/c" "$folder/cpp"
