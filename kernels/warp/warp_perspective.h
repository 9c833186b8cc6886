// Perspective warp, bilinear in single precision.
//
// The row-major matrix maps destination pixels to source positions, pixel centres at whole numbers:
//
//   w = y m7 + x m6 + m8    X = (y m1 + x m0 + m2) / w    Y = (y m4 + x m3 + m5) / w
//
// ix and iy are X and Y truncated toward zero. Between -1 and 0 the fractions fx = X - ix and
// fy = Y - iy are therefore negative, and the samples are extrapolated. Indices outside the source
// are read at its edge. With pRC the sample at row iy + R and column ix + C,
//
//   v = p01 (fx (1 - fy)) + p00 ((1 - fx) (1 - fy)) + p10 (fy (1 - fx)) + p11 (fx fy)
//
// added in this order, and trunc(v + 0.5) is saturated to a byte.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

struct PerspectiveMatrix {
  float m[9];
};

// Warps planes of 1 or 3 channels and writes every destination pixel. Any matrix is safe: a
// position that is not finite gives 0. Returns false, with nothing written, when a view is unusable
// or the channels differ.
bool warp_perspective(const PlaneView &source, const PerspectiveMatrix &matrix,
                      const PlaneView &destination);

}  // namespace tavrine
