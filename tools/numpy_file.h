// Tensors as files of NumPy's array format.
#pragma once

#include <string>

#include "tavrine_types.h"

namespace tavrine::tool {

bool is_numpy_name(const std::string &path);

// A tightly packed host tensor of float or byte elements. 0, or the errno of what failed.
int write_numpy_file(const tavrine_tensor_t &tensor, const std::string &path);

}  // namespace tavrine::tool
