// The host backend's operations. Each maps frames to planes and passes these to kernels.
#pragma once

#include "backend/operations.h"

namespace tavrine {

int32_t host_resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width, int32_t height);
int32_t host_rotate(const tavrine_frame_t *in, tavrine_frame_t *out, float degrees);
int32_t host_warpaffine(const tavrine_frame_t *in, tavrine_frame_t *out, const float *matrix);
int32_t host_warpperspective(const tavrine_frame_t *in, tavrine_frame_t *out, const float *matrix);
int32_t host_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t format);
int32_t host_frame_to_tensor(tavrine_tensor_t *tensor, uint32_t element_offset, int32_t color_type,
                             const tavrine_frame_t *in, const Normalization &normalization,
                             const float padding[3]);
int32_t host_transform_to_tensor_batch(tavrine_tensor_t *tensor, int32_t color_type, int32_t count,
                                       const tavrine_frame_t *const *frames, const BatchItem *items,
                                       const Normalization &normalization,
                                       tavrine_buffer_t *workspace);

}  // namespace tavrine
