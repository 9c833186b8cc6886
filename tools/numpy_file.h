// Tensors as files of NumPy's array format.
#pragma once

#include <string>

#include "output_file.h"
#include "tavrine_types.h"

namespace tavrine::tool {

// Whether the file can hold a tensor: a name that ends in .npy, or kStandardStream.
bool is_numpy_name(const std::string &path);

// Writes a tightly packed host tensor of float or byte elements. Throws Failure.
void write_numpy_file(const tavrine_tensor_t &tensor, OutputFile &output);

}  // namespace tavrine::tool
