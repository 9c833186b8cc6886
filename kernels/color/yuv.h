// Conversions between packed 24-bit planes and semi-planar 4:2:0, full range, in integers that fit
// 16 bits. Every function returns false, and writes nothing, if a view is unusable, the luma's
// width or height is odd, or the views do not fit each other: the chroma plane has half the luma's
// size and the same stride.
#pragma once

#include "kernels/color/rgb.h"

namespace tavrine {

// The byte of a chroma pair that is U; V is the other.
enum class ChromaOrder : int32_t { kUFirst = 0, kVFirst = 1 };

// With the BT.601 weights times 128:
//   Y = (38 R + 74 G + 16 B + 64) >> 7
//   U = ((-22 R - 43 G + 65 B + 64) >> 7) + 128
//   V = ((67 R - 55 G - 12 B + 64) >> 7) + 128
// U and V come from the top left pixel of each 2 x 2 block alone.
bool rgb_to_yuv(const PlaneView &packed, ByteOrder order, const PlaneView &luma,
                const PlaneView &chroma, ChromaOrder chroma_order);

// With u = U - 128, v = V - 128 and the inverse weights times 64:
//   R = (64 Y + 32 + 86 v) >> 6
//   G = (64 Y + 32 - 44 v - 24 u) >> 6
//   B = (64 Y + 32 + 110 u) >> 6
// One pair serves its 2 x 2 block. All results saturate.
bool yuv_to_rgb(const PlaneView &luma, const PlaneView &chroma, ChromaOrder chroma_order,
                const PlaneView &packed, ByteOrder order);

}  // namespace tavrine
