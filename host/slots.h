// The host backend's slots. Each maps a frame to planes and hands these to kernels.
#pragma once

#include "core/backend_ops.h"

namespace tavrine {

int32_t host_resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width, int32_t height);
int32_t host_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t format);

}  // namespace tavrine
