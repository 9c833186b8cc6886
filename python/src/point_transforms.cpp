// Transforms between three points and three points.
#include <algorithm>

#include "operations.h"
#include "refusal.h"
#include "tavrine_aux.h"
#include "values.h"

namespace tavrine::python {
namespace {

using Points = std::array<tavrine_point2f_t, 3>;

Points points_value(const Arguments &arguments, size_t index) {
  const std::vector<float> values = float_values(arguments[index], arguments.name(index));
  if (values.size() != 6) {
    throw Refusal(arguments.name(index), "must be three points (x, y)");
  }
  return {{{values[0], values[1]}, {values[2], values[3]}, {values[4], values[5]}}};
}

py::array matrix_array(const tavrine_matrix3x3f_t &matrix) {
  py::array_t<float> array({3, 3});
  std::copy(std::begin(matrix.m), std::end(matrix.m), array.mutable_data());
  return std::move(array);
}

template <typename Find>
py::object find(const Arguments &arguments, Find function) {
  enum { kSource, kDestination };
  const Points source = points_value(arguments, kSource);
  const Points destination = points_value(arguments, kDestination);
  tavrine_matrix3x3f_t forward = {};
  tavrine_matrix3x3f_t inverse = {};
  function(source.data(), destination.data(), &forward, &inverse);
  return py::make_tuple(matrix_array(forward), matrix_array(inverse));
}

}  // namespace

py::object find_affine(const Arguments &arguments) {
  return find(arguments, tavrine_find_affine_transform);
}

py::object find_similarity(const Arguments &arguments) {
  return find(arguments, tavrine_find_similarity_transform);
}

}  // namespace tavrine::python
