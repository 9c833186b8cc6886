// Quarter and half turns. Pixels of 1 to 4 bytes move whole, nothing is interpolated.
//
// With H x W the rows and columns of the source, the destination's row r and column c take
//
//   clockwise 90     source row H - 1 - c, column r
//   180              source row H - 1 - r, column W - 1 - c
//   clockwise 270    source row c,         column W - 1 - r
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

enum class Turn { kQuarter, kHalf, kThreeQuarters };

// False, with nothing written, when a view is unusable or the destination is not exactly of the
// turned size. The planes must not share memory.
bool rotate_plane(const PlaneView &source, Turn turn, const PlaneView &destination);

}  // namespace tavrine
