// Moving bytes between planes. Every function returns false, and writes nothing, if a view is
// unusable or the views do not fit each other.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Any number of channels, the same in both.
bool copy_plane(const PlaneView &source, const PlaneView &destination);
bool fill_plane(const PlaneView &destination, uint8_t value);

// Exchanges the two bytes of every pixel: U,V pairs become V,U pairs.
bool swap_pairs(const PlaneView &source, const PlaneView &destination);

// Interleaves two planes of one channel into one of two channels, and the reverse.
bool interleave_planes(const PlaneView &first, const PlaneView &second, const PlaneView &pairs);
bool deinterleave_plane(const PlaneView &pairs, const PlaneView &first, const PlaneView &second);

}  // namespace tavrine
