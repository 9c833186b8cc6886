// Prepares what a batch operation receives for each of its regions.
#pragma once

#include "backend/batch_item.h"

namespace tavrine {

struct Ratios {
  float vertical;
  float horizontal;
};

Ratios ratios_of(const tavrine_area2d_t &area, const tavrine_tensor_t *tensor, int32_t resize_mode);

// False when the area has no pixel in common with the frame.
bool touches(const tavrine_area2d_t &area, const tavrine_frame_t *frame);

// `padding` may be null: then it is 0.
BatchItem make_item(const tavrine_frame_t *frame, const tavrine_area2d_t &area,
                    const Ratios &ratios, int32_t color_type, const float *padding);

}  // namespace tavrine
