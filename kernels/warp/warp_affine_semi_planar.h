// Affine warp of NV12 and NV21.
//
// Luma goes through the affine warp of one channel, chroma through that of two channels at half
// resolution, so that all targets and both chroma orders agree to the bit. A chroma pair belongs to
// the top left pixel of its 2 x 2 block, where this library's conversions read and write it: pair
// (i, j) lies at pixel (2i, 2j). Chroma therefore keeps the linear part of the matrix and moves by
// half of its translation, as the chroma of YU12 does.
//
// Positions outside are read at the source's edge. There is no border colour: zero would be black
// in the luma but green in the chroma.
#pragma once

#include "kernels/warp/warp_affine.h"

namespace tavrine {

struct SemiPlanarView {
  PlaneView luma;
  PlaneView chroma;  // two channels
};

// Returns false when a view is unusable or there is no memory; luma may have been written.
bool warp_affine_semi_planar(const SemiPlanarView &source, const AffineMatrix &matrix,
                             const SemiPlanarView &destination);

}  // namespace tavrine
