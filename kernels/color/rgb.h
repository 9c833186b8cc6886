// Conversions between grey and packed 24-bit planes. Every function returns false, and writes
// nothing, if a view is unusable or the views do not fit each other.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// The byte of a packed pixel that is red; blue is at the other end.
enum class ByteOrder : int32_t { kRedFirst = 0, kBlueFirst = 2 };

constexpr int32_t red_byte(ByteOrder order) { return static_cast<int32_t>(order); }
constexpr int32_t blue_byte(ByteOrder order) { return 2 - static_cast<int32_t>(order); }

// trunc(0.587 G + 0.299 R + 0.114 B) in double precision. This is not the luma of the YUV
// conversion, and some greys come out one lower because the result is not rounded.
bool weigh_luma(const PlaneView &packed, ByteOrder order, const PlaneView &grey);

bool replicate_grey(const PlaneView &grey, const PlaneView &packed);

// Exchanges bytes 0 and 2 of every pixel.
bool swap_red_blue(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
