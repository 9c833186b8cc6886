// Affine warp, bilinear in fixed point.
//
// The matrix maps destination pixels to source positions, pixel centres at whole numbers. With
// products and sums in single precision, the source position of destination pixel (x, y) is in
// 1/1024 pixels
//
//   X = round(x a 1024) + trunc((b y + c) 1024) + 16
//   Y = round(x d 1024) + trunc((e y + f) 1024) + 16
//
// with ties to even, so that a column costs one addition. X >> 10 and Y >> 10, saturated to 16
// bits, choose the upper left of four samples. The five bits below, u and v, are 1/32 pixels
// (subpixels); they weigh the samples, and the sum is rounded:
//
//   ((32 - v) ((32 - u) p00 + u p01) + v ((32 - u) p10 + u p11) + 512) >> 10
//
// The public header has weights in 1/32768, at most 32767 each, and (sum + 16384) >> 15. Both give
// the same bytes: the weights above times 32 are those of the public header, and 32 divides out,
// but where u = v = 0. There one weight is 32767 and the others are 0, and
//
//   (32767 p + 16384) >> 15 = (32768 p + (16384 - p)) >> 15 = p    for 0 <= p <= 255
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Destination (x, y) takes source (a x + b y + c, d x + e y + f).
struct AffineMatrix {
  float a, b, c;
  float d, e, f;
};

// The same map between planes that hold every second pixel of each axis, starting with the first.
constexpr AffineMatrix at_half_size(const AffineMatrix &matrix) {
  return {matrix.a, matrix.b, matrix.c * 0.5F, matrix.d, matrix.e, matrix.f * 0.5F};
}

// The value of a neighbour outside the source.
enum class Border { kZero, kNearestEdge };

// Warps planes of 1 to 4 channels and writes every destination pixel. Any matrix is safe. Allocates
// at most 13 bytes for each destination column. Returns false, with nothing written, when a view is
// unusable, the channels differ or there is no memory.
bool warp_affine(const PlaneView &source, const AffineMatrix &matrix, Border border,
                 const PlaneView &destination);

}  // namespace tavrine
