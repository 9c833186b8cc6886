// 16-bit grey to 8 bits, stretched over the values that occur.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// `source` has two bytes per pixel, the low one first. With
//
//   t = trunc(width * 0.0001 * height) mod 65536
//   below(v) = number of pixels with a value less than v, mod 65536
//   at_or_above(v) = number of pixels with a value of v or more, mod 65536
//
// of the values that occur, `low` is the lowest with below(v) >= t and `high` the highest with
// at_or_above(v) >= t. If there is none, it is the lowest or the highest value that occurs. Counts
// wrap at 65536, so large planes with many equal samples may clip more than t pixels at an end.
//
// A value below `low` becomes 0, one above `high` 255, and all others
//
//   trunc((value - low) * 255.0 / (high - low))
//
// or 0 if `low` and `high` are equal. Needs 256 KiB of scratch memory. Returns false, and writes
// nothing, if there is none, if a view is unusable or if the views do not fit each other.
bool stretch_contrast(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
