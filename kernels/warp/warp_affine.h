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
// bits, choose the upper left of four samples; the five bits below, u and v, weigh them, and the
// sum is rounded:
//
//   ((32 - v) ((32 - u) p00 + u p01) + v ((32 - u) p10 + u p11) + 512) >> 10
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Destination (x, y) takes source (a x + b y + c, d x + e y + f).
struct AffineMatrix {
  float a, b, c;
  float d, e, f;
};

// The same map between planes that have every second pixel of each axis, from the first on.
constexpr AffineMatrix at_half_size(const AffineMatrix &matrix) {
  return {matrix.a, matrix.b, matrix.c * 0.5F, matrix.d, matrix.e, matrix.f * 0.5F};
}

// What a neighbour outside the source counts as.
enum class Border { kZero, kNearestEdge };

// Planes of 1 to 4 channels; every destination pixel is written. Any matrix is safe. False, with
// nothing written, when a view is unusable, the channels differ or memory ran out. Needs eight
// bytes for each destination column.
bool warp_affine(const PlaneView &source, const AffineMatrix &matrix, Border border,
                 const PlaneView &destination);

}  // namespace tavrine
