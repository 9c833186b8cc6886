// Affine warp of NV12 and NV21.
//
// Luma goes through the one-channel fixed-point arithmetic of the affine warp, chroma through
// the two-channel one at half resolution, so that both targets and both chroma orders agree to
// the bit. A chroma pair belongs to the top left pixel of its 2 x 2 block, where this library's
// conversions take and put it: pair (u, v) lies at pixel (2u, 2v), hence chroma keeps the linear
// part of the matrix and moves by half of its translation, as the chroma of YU12 does.
//
// Positions outside are read at the source's edge. There is no border colour: zero would be
// black in the luma but green in the chroma.
#pragma once

#include "kernels/warp/warp_affine.h"

namespace tavrine {

struct SemiPlanarView {
  PlaneView luma;
  PlaneView chroma;  // two channels
};

// False when a view is unusable or memory ran out; luma may be written then.
bool warp_affine_semi_planar(const SemiPlanarView &source, const AffineMatrix &matrix,
                             const SemiPlanarView &destination);

}  // namespace tavrine
