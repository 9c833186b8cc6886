#include "tensor_view.h"

#include "refusal.h"
#include "tavrine_aux.h"
#include "tavrine_devkit.h"

namespace tavrine::python {
namespace {

int32_t element_type_of(const py::array &array, const char *name) {
  switch (element_of(array)) {
    case Element::kFloat32:
      return TAVRINE_ELEMENT_FLOAT32;
    case Element::kUint8:
      return TAVRINE_ELEMENT_UINT8;
    default:
      throw Refusal(name, "its elements are " + std::string(py::str(array.dtype())) +
                              ", and a tensor's are float32 or uint8");
  }
}

int32_t element_type_value(const Arguments &arguments, size_t index) {
  if (!arguments[index]) {
    return TAVRINE_ELEMENT_FLOAT32;
  }
  const auto dtype = py::dtype::from_args(py::reinterpret_borrow<py::object>(arguments[index]));
  return element_type_of(py::array(dtype, 0), arguments.name(index));
}

// An array over the elements of a device tensor, as long as that lives.
py::array elements_of(const Tensor &device, const py::array &like) {
  const std::vector<Py_ssize_t> shape(like.shape(), like.shape() + like.ndim());
  // With a base, it refers to the elements; without, it would copy them.
  return {like.dtype(), shape, tavrine_tensor_raw_pointer(device.get()), py::none()};
}

}  // namespace

int32_t TensorStyle::channels() const { return color_type == TAVRINE_TENSOR_GRAY ? 1 : 3; }

TensorStyle tensor_style(const Arguments &arguments, size_t color, size_t mean, size_t scale) {
  TensorStyle style = {TAVRINE_TENSOR_RGB, color_value(arguments, mean, 0),
                       color_value(arguments, scale, 1)};
  const std::string name = text_value(arguments, color, "rgb");
  if (name == "bgr") {
    style.color_type = TAVRINE_TENSOR_BGR;
  } else if (name == "gray") {
    style.color_type = TAVRINE_TENSOR_GRAY;
  } else if (name != "rgb") {
    throw Refusal(arguments.name(color), "must be 'rgb', 'bgr' or 'gray'");
  }
  return style;
}

TensorView::TensorView(py::handle object, const char *name)
    : object_(py::reinterpret_borrow<py::object>(object)), array_(array_of(object, name)) {
  check_is_writable(array_, name);
  if (array_.ndim() != 4) {
    throw Refusal(name, "a tensor has the shape (N, C, H, W)");
  }
  int32_t strides[4] = {};
  Py_ssize_t extent = 1;  // elements from the first to the last of the axes so far
  for (Py_ssize_t axis = 3; axis >= 0; --axis) {
    const Py_ssize_t count = array_.shape(axis);
    const Py_ssize_t stride = count > 1 ? array_.strides(axis) / array_.itemsize() : extent;
    const bool is_broken = count > 1 && array_.strides(axis) % array_.itemsize() != 0;
    if (count < 1 || count > INT32_MAX) {
      throw Refusal(name, count < 1 ? "the array is empty" : "the array is too large");
    }
    if (is_broken || stride < extent || stride > INT32_MAX || (axis == 3 && stride != 1)) {
      throw Refusal(name, "its stride along axis " + std::to_string(axis) + " is " +
                              std::to_string(array_.strides(axis)) +
                              " bytes: columns must follow each other, and rows, channels and "
                              "images must not overlap");
    }
    strides[axis] = static_cast<int32_t>(stride);
    extent += stride * (count - 1);
  }
  make_tensor(strides, name);
}

TensorView::TensorView(int32_t element_type, const int32_t (&shape)[4]) {
  const Py_ssize_t counts[4] = {shape[0], shape[1], shape[2], shape[3]};
  const bool is_float = element_type == TAVRINE_ELEMENT_FLOAT32;
  array_ = new_array(is_float ? Element::kFloat32 : Element::kUint8, counts, 4);
  object_ = array_;
  const int32_t tight[4] = {};
  make_tensor(tight, "out");
}

void TensorView::make_tensor(const int32_t (&strides)[4], const char *name) {
  const int32_t type = element_type_of(array_, name);
  int32_t shape[4];
  for (Py_ssize_t axis = 0; axis < 4; ++axis) {
    shape[axis] = static_cast<int32_t>(array_.shape(axis));
  }
  void *data = array_.mutable_data();
  if (reinterpret_cast<uintptr_t>(data) % static_cast<uintptr_t>(array_.itemsize()) != 0) {
    throw Refusal(name, "its elements are not aligned");
  }
  tensor_.reset(
      tavrine_tensor_make(TAVRINE_MEMORY_HOST, type, data, shape, strides, nullptr, nullptr));
  if (!tensor_) {
    throw StatusFailure{TAVRINE_FAILURE};
  }
}

Tensor TensorView::copy_to_device() const {
  Tensor device(tavrine_tensor_alloc(TAVRINE_MEMORY_DEVICE, tensor_->element_type, tensor_->shape));
  if (!device) {
    throw StatusFailure{TAVRINE_FAILURE};
  }
  elements_of(device, array_)[py::ellipsis()] = array_;
  return device;
}

void TensorView::copy_from_device(const Tensor &device) {
  array_[py::ellipsis()] = elements_of(device, array_);
}

TensorView destination_tensor(const Arguments &arguments, const TensorParameters &parameters,
                              int32_t count, int32_t channels, const Size *default_size) {
  const bool has_size = static_cast<bool>(arguments[parameters.size]);
  if (!arguments[parameters.out]) {
    if (!has_size && default_size == nullptr) {
      throw Refusal(arguments.name(parameters.size), "is needed unless `out` is given");
    }
    const Size size = has_size ? size_value(arguments, parameters.size) : *default_size;
    return {element_type_value(arguments, parameters.dtype),
            {count, channels, size.height, size.width}};
  }
  TensorView view(arguments[parameters.out], arguments.name(parameters.out));
  if (has_size) {
    const Size size = size_value(arguments, parameters.size);
    if ((*view).shape[2] != size.height || (*view).shape[3] != size.width) {
      throw Refusal(arguments.name(parameters.out), "it has another size than `size`");
    }
  }
  if (arguments[parameters.dtype] &&
      element_type_value(arguments, parameters.dtype) != (*view).element_type) {
    throw Refusal(arguments.name(parameters.out), "its elements are not of the type `dtype`");
  }
  return view;
}

}  // namespace tavrine::python
