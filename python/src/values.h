// Arguments that are numbers: sizes, areas, matrices, colours.
#pragma once

#include <array>
#include <vector>

#include "arguments.h"
#include "picture.h"
#include "tavrine_types.h"

namespace tavrine::python {

// (width, height), both positive.
Size size_value(const Arguments &arguments, size_t index);

// (x, y, width, height), the last two positive.
tavrine_area2d_t area_value(py::handle object, const char *name);

float float_value(const Arguments &arguments, size_t index);
int32_t int_value(const Arguments &arguments, size_t index, int32_t otherwise);
bool bool_value(const Arguments &arguments, size_t index);
std::string text_value(const Arguments &arguments, size_t index, const char *otherwise);

// One number, or one each for red, green and blue.
using Color = std::array<float, 3>;
Color color_value(py::handle object, const char *name);
Color color_value(const Arguments &arguments, size_t index, float otherwise);

// Numbers of any array or nested sequence, row by row.
std::vector<float> float_values(py::handle object, const char *name);

}  // namespace tavrine::python
