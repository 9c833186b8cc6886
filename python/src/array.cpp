#include "array.h"

#include <dlpack/dlpack.h>

#include <cstdint>

#include "refusal.h"

namespace tavrine::python {
namespace {

constexpr char kUsedCapsule[] = "used_dltensor";

void delete_managed(PyObject *capsule) {
  auto *managed = static_cast<DLManagedTensor *>(PyCapsule_GetPointer(capsule, kUsedCapsule));
  if (managed != nullptr && managed->deleter != nullptr) {
    managed->deleter(managed);
  }
}

py::dtype dtype_of(const DLDataType &type, const char *name) {
  if (type.lanes == 1 && type.code == kDLUInt && type.bits == 8) {
    return py::dtype::of<uint8_t>();
  }
  if (type.lanes == 1 && type.code == kDLUInt && type.bits == 16) {
    return py::dtype::of<uint16_t>();
  }
  if (type.lanes == 1 && type.code == kDLFloat && type.bits == 32) {
    return py::dtype::of<float>();
  }
  throw Refusal(name, "its elements are neither uint8, uint16 nor float32");
}

// numpy.from_dlpack gives arrays that cannot be written, so that the capsule is read here.
// Producers refuse to share what may not be written.
py::array array_of_capsule(const py::object &capsule, const char *name) {
  auto *managed = static_cast<DLManagedTensor *>(PyCapsule_GetPointer(capsule.ptr(), "dltensor"));
  if (managed == nullptr) {
    throw py::error_already_set();
  }
  const DLTensor &tensor = managed->dl_tensor;
  if (tensor.device.device_type != kDLCPU) {
    throw Refusal(name, "its elements are not in the memory of the CPU");
  }
  const py::dtype dtype = dtype_of(tensor.dtype, name);
  const auto dimensions = static_cast<size_t>(tensor.ndim);
  const std::vector<Py_ssize_t> shape(tensor.shape, tensor.shape + dimensions);
  std::vector<Py_ssize_t> strides;
  for (size_t i = 0; tensor.strides != nullptr && i < dimensions; ++i) {
    strides.push_back(static_cast<Py_ssize_t>(tensor.strides[i]) * dtype.itemsize());
  }
  // From here on this capsule, and with it the array, releases the tensor.
  if (PyCapsule_SetName(capsule.ptr(), kUsedCapsule) != 0 ||
      PyCapsule_SetDestructor(capsule.ptr(), delete_managed) != 0) {
    throw py::error_already_set();
  }
  auto *data = static_cast<uint8_t *>(tensor.data) + tensor.byte_offset;
  return {dtype, shape, strides, data, capsule};
}

// numpy.asarray of something that it does not copy.
py::array as_array(const py::object &object) {
  PyObject *array =
      py::detail::npy_api::get().PyArray_FromAny_(object.ptr(), nullptr, 0, 0, 0, nullptr);
  if (array == nullptr) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::array>(array);
}

}  // namespace

py::array array_of(py::handle object, const char *name) {
  if (py::isinstance<py::array>(object)) {
    return py::reinterpret_borrow<py::array>(object);
  }
  if (PyObject_CheckBuffer(object.ptr()) != 0) {
    PyObject *view = PyMemoryView_FromObject(object.ptr());
    if (view == nullptr) {
      throw py::error_already_set();
    }
    return as_array(py::reinterpret_steal<py::object>(view));
  }
  if (py::hasattr(object, "__array_interface__")) {
    return as_array(py::reinterpret_borrow<py::object>(object));
  }
  if (py::hasattr(object, "__dlpack__")) {
    return array_of_capsule(object.attr("__dlpack__")(), name);
  }
  throw Refusal(name, "not an array but " + std::string(Py_TYPE(object.ptr())->tp_name),
                Refusal::Kind::kType);
}

std::string shape_text(const py::array &array) {
  std::string text = py::str(array.dtype());
  text += " (";
  for (Py_ssize_t i = 0; i < array.ndim(); ++i) {
    text += (i > 0 ? ", " : "") + std::to_string(array.shape(i));
  }
  return text + (array.ndim() == 1 ? ",)" : ")");
}

std::string describe_arrays(py::handle object) {
  if (object && py::isinstance<py::array>(object)) {
    return shape_text(py::reinterpret_borrow<py::array>(object));
  }
  std::string text;
  if (object && (PyTuple_Check(object.ptr()) || PyList_Check(object.ptr()))) {
    constexpr size_t kMostShown = 4;
    size_t shown = 0;
    for (py::handle item : py::reinterpret_borrow<py::sequence>(object)) {
      const std::string described = describe_arrays(item);
      if (described.empty() || shown++ == kMostShown) {
        text += text.empty() ? "" : ", ...";
        break;
      }
      text += (text.empty() ? "" : ", ") + described;
    }
  }
  return text.empty() ? "" : "(" + text + ")";
}

Element element_of(const py::array &array) {
  const py::dtype dtype = array.dtype();
  const char kind = dtype.kind();
  const Py_ssize_t bytes = dtype.itemsize();
  if (dtype.byteorder() == '>') {
    return Element::kOther;
  }
  if (kind == 'u' && bytes <= 2) {
    return bytes == 1 ? Element::kUint8 : Element::kUint16;
  }
  return kind == 'f' && bytes == 4 ? Element::kFloat32 : Element::kOther;
}

py::array new_array(Element element, const Py_ssize_t *shape, size_t dimensions) {
  using py::detail::npy_api;
  const int type = element == Element::kUint8    ? npy_api::NPY_UINT8_
                   : element == Element::kUint16 ? npy_api::NPY_UINT16_
                                                 : npy_api::NPY_FLOAT_;
  const npy_api &api = npy_api::get();
  // py::array's constructor takes twice as long, for its vectors of shape and strides. NumPy
  // takes over the reference to the type.
  PyObject *array =
      api.PyArray_NewFromDescr_(api.PyArray_Type_, api.PyArray_DescrFromType_(type),
                                static_cast<int>(dimensions), shape, nullptr, nullptr, 0, nullptr);
  if (array == nullptr) {
    throw py::error_already_set();
  }
  return py::reinterpret_steal<py::array>(array);
}

namespace {

// The first byte of an array and the byte behind its last. No stride is negative.
std::pair<uintptr_t, uintptr_t> bounds(const py::array &array) {
  const auto begin = reinterpret_cast<uintptr_t>(array.data());
  uintptr_t last = begin;
  for (Py_ssize_t i = 0; i < array.ndim(); ++i) {
    last += static_cast<uintptr_t>(array.strides(i) * (array.shape(i) - 1));
  }
  return {begin, last + static_cast<uintptr_t>(array.itemsize())};
}

}  // namespace

bool share_memory(const py::array &a, const py::array &b) {
  const auto [a_begin, a_end] = bounds(a);
  const auto [b_begin, b_end] = bounds(b);
  if (a_end <= b_begin || b_end <= a_begin) {
    return false;
  }
  // Parts of one array may lie beside each other.
  return py::module_::import("numpy").attr("shares_memory")(a, b).cast<bool>();
}

void check_is_writable(const py::array &array, const char *name) {
  if (!array.writeable()) {
    throw Refusal(name, "the array is read-only");
  }
}

}  // namespace tavrine::python
