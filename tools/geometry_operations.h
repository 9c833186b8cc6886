// Operations that rotate and warp a picture.
#pragma once

#include <array>
#include <optional>
#include <string>

#include "numbers.h"
#include "operations.h"

namespace tavrine::tool {

// Values of --rotate, --warp-affine and --warp-perspective; throw UsageError.
Operation parse_rotate(const std::string &value);
Operation parse_warp_affine(const std::string &value);
Operation parse_warp_perspective(const std::string &value);

// The matrix maps destination pixels to source positions. Without a size the result has the
// picture's.
using AffineMatrix = std::array<float, 6>;
Operation affine_warp(const std::string &description, const AffineMatrix &matrix,
                      const std::optional<Size> &size);

}  // namespace tavrine::tool
