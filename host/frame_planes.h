// From frames to the planes that kernels work on.
#pragma once

#include "common/pixel_format.h"
#include "kernels/plane_view.h"

namespace tavrine {

// A view of one plane in a picture of width x height pixels. It has no data when the frame or its
// plane is missing, when the picture is empty, or when the stride is too small for a row.
PlaneView view_of_plane(const tavrine_frame_t *frame, int plane, const PlaneLayout &layout,
                        int32_t width, int32_t height);

// The same by the frame's own record.
PlaneView view_of_plane(const tavrine_frame_t *frame, int plane);

}  // namespace tavrine
