// The image engine's operations. Each describes the frames to the engine and runs one task. A
// refusal before that leaves the destination untouched.
#pragma once

#include "backend/operations.h"
#include "hisvp/mpp.h"

namespace tavrine {

int32_t hisvp_resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width,
                     int32_t height);
// The target format is the destination's; the argument is not read.
int32_t hisvp_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t format);

// What the engine calls a pixel format; IVE_IMAGE_TYPE_BUTT for one that it does not know.
// Conversions need only two of them.
IVE_IMAGE_TYPE_E hisvp_image_type(uint32_t format);

}  // namespace tavrine
