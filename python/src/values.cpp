#include "values.h"

#include <algorithm>

#include "refusal.h"

namespace tavrine::python {
namespace {

// `count` whole numbers. Floats are refused rather than truncated.
void read_integers(py::handle object, const char *name, const char *meaning, int32_t *values,
                   size_t count) {
  const auto refuse = [&]() -> Refusal {
    return {name, std::string("must be whole numbers ") + meaning};
  };
  if (PySequence_Check(object.ptr()) == 0) {
    throw refuse();
  }
  const auto items = py::reinterpret_steal<py::object>(PySequence_Fast(object.ptr(), ""));
  if (!items || PySequence_Fast_GET_SIZE(items.ptr()) != static_cast<Py_ssize_t>(count)) {
    PyErr_Clear();
    throw refuse();
  }
  for (size_t i = 0; i < count; ++i) {
    PyObject *item = PySequence_Fast_GET_ITEM(items.ptr(), static_cast<Py_ssize_t>(i));
    const Py_ssize_t value = PyNumber_AsSsize_t(item, PyExc_OverflowError);
    if ((value == -1 && PyErr_Occurred() != nullptr) || value < INT32_MIN || value > INT32_MAX) {
      PyErr_Clear();
      throw refuse();
    }
    values[i] = static_cast<int32_t>(value);
  }
}

float to_float(py::handle object, const char *name) {
  const double value = PyFloat_AsDouble(object.ptr());
  if (value == -1.0 && PyErr_Occurred() != nullptr) {
    PyErr_Clear();
    throw Refusal(name, "must be a number");
  }
  return static_cast<float>(value);
}

}  // namespace

Size size_value(const Arguments &arguments, size_t index) {
  int32_t values[2];
  read_integers(arguments[index], arguments.name(index), "(width, height)", values, 2);
  if (values[0] < 1 || values[1] < 1) {
    throw Refusal(arguments.name(index), "width and height must be positive");
  }
  return {values[0], values[1]};
}

tavrine_area2d_t area_value(py::handle object, const char *name) {
  int32_t values[4];
  read_integers(object, name, "(x, y, width, height)", values, 4);
  if (values[2] < 1 || values[3] < 1) {
    throw Refusal(name, "width and height must be positive");
  }
  return {values[0], values[1], values[2], values[3]};
}

float float_value(const Arguments &arguments, size_t index) {
  return to_float(arguments[index], arguments.name(index));
}

int32_t int_value(const Arguments &arguments, size_t index, int32_t otherwise) {
  if (!arguments[index]) {
    return otherwise;
  }
  const Py_ssize_t value = PyNumber_AsSsize_t(arguments[index].ptr(), nullptr);
  if ((value == -1 && PyErr_Occurred() != nullptr) || value < INT32_MIN || value > INT32_MAX) {
    PyErr_Clear();
    throw Refusal(arguments.name(index), "must be a whole number");
  }
  return static_cast<int32_t>(value);
}

bool bool_value(const Arguments &arguments, size_t index) {
  if (!arguments[index]) {
    return false;
  }
  const int value = PyObject_IsTrue(arguments[index].ptr());
  if (value < 0) {
    throw py::error_already_set();
  }
  return value != 0;
}

std::string text_value(const Arguments &arguments, size_t index, const char *otherwise) {
  if (!arguments[index]) {
    return otherwise;
  }
  if (PyUnicode_Check(arguments[index].ptr()) == 0) {
    throw Refusal(arguments.name(index), "must be a str", Refusal::Kind::kType);
  }
  return py::str(arguments[index]);
}

Color color_value(py::handle object, const char *name) {
  if (PyNumber_Check(object.ptr()) != 0 && PySequence_Check(object.ptr()) == 0) {
    const float value = to_float(object, name);
    return {value, value, value};
  }
  const std::vector<float> values = float_values(object, name);
  if (values.size() != 3) {
    throw Refusal(name, "must be one number, or three for red, green and blue");
  }
  return {values[0], values[1], values[2]};
}

Color color_value(const Arguments &arguments, size_t index, float otherwise) {
  return arguments[index] ? color_value(arguments[index], arguments.name(index))
                          : Color{otherwise, otherwise, otherwise};
}

std::vector<float> float_values(py::handle object, const char *name) {
  using Floats = py::array_t<float, py::array::c_style | py::array::forcecast>;
  const auto values = Floats::ensure(object);
  if (!values) {
    PyErr_Clear();
    throw Refusal(name, "must be numbers");
  }
  return {values.data(), values.data() + values.size()};
}

}  // namespace tavrine::python
