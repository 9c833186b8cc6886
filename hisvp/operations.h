// The image engine's slots. Each maps frames to image descriptions and runs one task; what
// it refuses before that leaves the destination untouched.
#pragma once

#include "backend/operations.h"

namespace tavrine {

int32_t hisvp_resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width,
                     int32_t height);
// The target format is the destination's.
int32_t hisvp_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t format);

}  // namespace tavrine
