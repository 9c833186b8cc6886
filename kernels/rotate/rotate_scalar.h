// The definition of the rotations in rotate.h, for one destination row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavrine::scalar {

// Copies pixels that lie `stride` bytes apart to consecutive places.
template <size_t kPixelBytes>
inline void gather_pixels(const uint8_t *in, ptrdiff_t stride, uint8_t *out, int32_t count) {
  for (int32_t i = 0; i < count; ++i) {
    std::memcpy(out, in + stride * i, kPixelBytes);
    out += kPixelBytes;
  }
}

}  // namespace tavrine::scalar
