// The check that both tensor entry points make on each frame.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

// 0, or -1000 with a message when a tensor of this colour type cannot be filled from the format.
int32_t check_color_type(int32_t color_type, uint32_t format, const char *caller);

}  // namespace tavrine
