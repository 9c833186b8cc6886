// Reductions by exactly 2:1 and 4:1.
#pragma once

#include "host/kernels/plane_view.h"

namespace tavrine {

// Each destination sample is the rounded mean of the 2 x 2 samples in the middle of its block
// of ratio x ratio. Both views are usable, and their sizes differ by the ratio, 2 or 4.
void resize_reduce(const PlaneView &source, const PlaneView &destination, int32_t ratio);

}  // namespace tavrine
