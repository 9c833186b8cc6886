// Downscaling by odd whole ratios.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// Every destination pixel is the source pixel at its centre, which is pixel ratio * x + ratio / 2
// of its row, and so for rows. The ratios of columns and rows are odd and may differ; a ratio of 1
// copies. The views are usable and have the same channels.
void subsample(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
