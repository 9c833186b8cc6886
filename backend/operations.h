// The seven operations of a backend. The tables are constant data. An operation returns 0, a
// negative code, or TAVRINE_NOT_SUPPORTED for what its backend lacks. The first five receive
// frames that exist already and only fill pixels.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

// Red, green, blue, whatever the channel order of frame and tensor.
struct Normalization {
  float mean[3];
  float scale[3];
};

// One region of a batch: backend/batch_item.h.
struct BatchItem;

struct BackendOps {
  int32_t (*resize)(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width, int32_t height);
  int32_t (*rotate)(const tavrine_frame_t *in, tavrine_frame_t *out, float degrees);
  int32_t (*warpaffine)(const tavrine_frame_t *in, tavrine_frame_t *out, const float *matrix);
  int32_t (*warpperspective)(const tavrine_frame_t *in, tavrine_frame_t *out, const float *matrix);
  // `format` is what the caller asked for; the destination's record has the target.
  int32_t (*cvt_color)(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t format);
  int32_t (*to_tensor)(tavrine_tensor_t *tensor, uint32_t element_offset, int32_t color_type,
                       const tavrine_frame_t *in, const Normalization &normalization,
                       const float padding[3]);
  int32_t (*transform_to_tensor_batch)(tavrine_tensor_t *tensor, int32_t color_type, int32_t count,
                                       const tavrine_frame_t *const *frames, const BatchItem *items,
                                       const Normalization &normalization,
                                       tavrine_buffer_t *workspace);
};

extern const BackendOps host_ops;
extern const BackendOps device_ops;

}  // namespace tavrine
