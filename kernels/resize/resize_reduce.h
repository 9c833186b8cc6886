// Reductions by whole ratios.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Each destination sample is the rounded mean of the 2 x 2 samples in the middle of its block
// of ratio x ratio. Both views are usable, and their sizes differ by the ratio, 2 or 4.
void resize_reduce(const PlaneView &source, const PlaneView &destination, int32_t ratio);

// Odd ratios, which may differ between columns and rows: every destination pixel is the source
// pixel at its centre.
void resize_to_centres(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
