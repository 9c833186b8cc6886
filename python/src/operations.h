// The functions of the module. Their docstrings, in docstrings.h, say what they do.
#pragma once

#include "arguments.h"

namespace tavrine::python {

py::object load(const Arguments &arguments);
py::object decode(const Arguments &arguments);
py::object save(const Arguments &arguments);
py::object encode(const Arguments &arguments);

py::object resize(const Arguments &arguments);
py::object scale(const Arguments &arguments);
py::object crop(const Arguments &arguments);
py::object rotate(const Arguments &arguments);
py::object warp_affine(const Arguments &arguments);
py::object warp_perspective(const Arguments &arguments);
py::object cvt_color(const Arguments &arguments);

py::object to_tensor(const Arguments &arguments);
py::object transform_batch(const Arguments &arguments);

py::object find_affine(const Arguments &arguments);
py::object find_similarity(const Arguments &arguments);

}  // namespace tavrine::python
