// Why the library refused a call, in words.
#pragma once

#include <cstdint>
#include <string>

#include "environment.h"
#include "numbers.h"
#include "tavrine_types.h"

namespace tavrine::tool {

// `explanation` is what follows from the arguments alone; empty when they look right. What the
// library logged about the call is added.
std::string refusal_reason(Environment &environment, int32_t status,
                           const std::string &explanation);

// Explanations for a frame of this format and size, for an area of `in`, for an operation whose
// result has this size ("resized", "rotated"), and for a conversion. Empty when there is nothing
// to say.
std::string explain_size(uint32_t format, const Size &size);
std::string explain_area(const tavrine_frame_t &in, const tavrine_area2d_t &area);
std::string explain_new_size(const tavrine_frame_t &in, const Size &size, int32_t status,
                             const char *operation);
std::string explain_conversion(const tavrine_frame_t &frame, uint32_t format, int32_t status);

}  // namespace tavrine::tool
