// Rotation by 90, 180 and 270 degrees. Pixels of 1 to 4 bytes move whole; nothing is interpolated.
//
// With H x W the rows and columns of the source, the destination's row r and column c take
//
//   clockwise 90     source row H - 1 - c, column r
//   180              source row H - 1 - r, column W - 1 - c
//   clockwise 270    source row c,         column W - 1 - r
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

enum class Rotation { k90, k180, k270 };  // clockwise

// Returns false and writes nothing when a view is unusable, or the destination does not have
// exactly the size of the rotated source. The planes must not share memory.
bool rotate_plane(const PlaneView &source, Rotation rotation, const PlaneView &destination);

}  // namespace tavrine
