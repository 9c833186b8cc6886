// Bilinear resampling in fixed point.
//
// Samples lie at half-pixel centres: destination index d takes source position
// (d + 0.5) * scale - 0.5, and indices outside the plane are read at its edge. Weights count
// 1/2048; the horizontal pass keeps 32 bits, the vertical pass keeps the high halves of
// 16 x 16 bit products, which rounds once at the end:
//
//   v = ((((R0 >> 4) * b0) >> 16) + (((R1 >> 4) * b1) >> 16) + 2) >> 2
//
// Reductions of exactly 2:1 and 4:1 give the rounded mean of the 2 x 2 samples around each
// centre, which is the same value without the tables, and odd whole ratios take the pixel there.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Resamples the whole of `source` to the whole of `destination`, which has as many channels.
// False when a view is unusable or memory ran out; nothing is written then.
bool resize_plane(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
