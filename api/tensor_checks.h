// The check of a frame against the tensor's colour type, shared by both tensor entry points.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

// TAVRINE_OK, or TAVRINE_NOT_SUPPORTED with a message when a tensor of this colour type cannot be
// filled from the format.
int32_t check_color_type(int32_t color_type, uint32_t format, const char *caller);

}  // namespace tavrine
