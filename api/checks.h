// The two checks at the head of the geometric and crop entry points. They return different codes
// for the same fault, on purpose: TAVRINE_INVALID_ARGUMENT where a destination is prepared,
// TAVRINE_FAILURE where two existing frames are compared.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

// Allocates a frame like `in` of the given size into an empty slot, or checks that the caller's
// frame can take the result: same format and memory type, at least as large. Odd sizes of 4:2:0
// formats are refused; a frame allocated here then stays in the slot.
int32_t prepare_dst_frame(const tavrine_frame_t *in, tavrine_frame_t **out, int32_t width,
                          int32_t height, const char *caller);

// Same memory type and format, and even sizes where the format needs them. Sizes may differ.
int32_t is_same_frame_fmt_and_memtype(const tavrine_frame_t *a, const tavrine_frame_t *b,
                                      const char *caller);

}  // namespace tavrine
