// Tensors over the memory of arrays.
#pragma once

#include "arguments.h"
#include "array.h"
#include "handles.h"
#include "values.h"

namespace tavrine::python {

// How frames become elements: the parameters that both functions for tensors have.
struct TensorStyle {
  int32_t color_type;
  Color mean;
  Color scale;

  int32_t channels() const;
};

TensorStyle tensor_style(const Arguments &arguments, size_t color, size_t mean, size_t scale);

class TensorView {
 public:
  // The caller's array (N, C, H, W), or a new one of that shape and element type.
  TensorView(py::handle object, const char *name);
  TensorView(int32_t element_type, const int32_t (&shape)[4]);

  tavrine_tensor_t *tensor() { return tensor_.get(); }
  const tavrine_tensor_t &operator*() const { return *tensor_; }
  const py::object &object() const { return object_; }
  const py::array &array() const { return array_; }

  // A tensor in device memory with the same elements.
  Tensor copy_to_device() const;
  void copy_from_device(const Tensor &device);

 private:
  void make_tensor(const int32_t (&strides)[4], const char *name);

  py::object object_;
  py::array array_ = no_array();
  Tensor tensor_;
};

// The caller's tensor, checked against `size` and `dtype` if they are given, or a new one of
// `count` images.
struct TensorParameters {
  size_t size;
  size_t dtype;
  size_t out;
};
TensorView destination_tensor(const Arguments &arguments, const TensorParameters &parameters,
                              int32_t count, int32_t channels, const Size *default_size);

}  // namespace tavrine::python
