// Conversions between grey and packed 24-bit planes. Every function answers false, with
// nothing written, when a view is unusable or the sizes differ.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Which byte of a packed pixel is red; blue is the other end.
enum class ByteOrder : int32_t { kRedFirst = 0, kBlueFirst = 2 };

constexpr int32_t red_byte(ByteOrder order) { return static_cast<int32_t>(order); }
constexpr int32_t blue_byte(ByteOrder order) { return 2 - static_cast<int32_t>(order); }

// trunc(0.587 G + 0.299 R + 0.114 B) in double precision: not rounded, so that some greys lose
// one, and not the luma of the YUV conversion.
bool weigh_luma(const PlaneView &packed, ByteOrder order, const PlaneView &grey);

bool replicate_grey(const PlaneView &grey, const PlaneView &packed);

// Exchanges bytes 0 and 2 of every pixel.
bool swap_red_blue(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
