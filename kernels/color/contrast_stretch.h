// 16-bit grey to 8 bits, stretched over the values that occur.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// `source` has two bytes per pixel, the low one first. With t = trunc(width * 0.0001 * height),
// t pixels at each end saturate: `low` is the first value that at least t pixels lie below,
// `high` the last one that at least t pixels lie at or above, and
// (value - low) * 255 / (high - low) is truncated. With t = 0 they are the lowest and the
// highest value that occur, and so is a bound that no value satisfies. A uniform plane
// becomes 0. Needs 256 KiB of stack.
bool stretch_contrast(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
