// From frames to the planes that kernels work on.
#pragma once

#include "kernels/plane_view.h"
#include "tavrine_types.h"

namespace tavrine {

// A view of one plane of a frame, or a view without data when the frame is null, the plane
// is missing, or its stride is too small for a row.
PlaneView view_of_plane(const tavrine_frame_t *frame, int plane, int32_t columns, int32_t rows,
                        int32_t channels);

}  // namespace tavrine
