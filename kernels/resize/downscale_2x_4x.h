// Downscaling by exactly 2 or 4.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Each destination sample is the rounded mean of the 2 x 2 samples in the middle of its block of
// ratio x ratio: (a + b + c + d + 2) >> 2. The ratio is 2 or 4, the views are usable, have the same
// channels, and differ in size by the ratio.
void downscale_2x_4x(const PlaneView &source, const PlaneView &destination, int32_t ratio);

}  // namespace tavrine
