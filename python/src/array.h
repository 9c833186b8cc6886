// Arrays that a caller passes, without a copy: NumPy's, and whatever shares its memory through the
// buffer protocol, the array interface or DLPack.
#pragma once

#include <pybind11/numpy.h>

#include <string>

namespace tavrine::python {

namespace py = pybind11;

// A null handle: the default constructor of py::array makes an empty array.
inline py::array no_array() { return py::reinterpret_steal<py::array>(py::handle()); }

// `name` is the argument's, for messages.
py::array array_of(py::handle object, const char *name);

// "uint8 (480, 640, 3)", also for tuples and lists of arrays; empty for other objects.
std::string describe_arrays(py::handle object);
std::string shape_text(const py::array &array);

enum class Element { kUint8, kUint16, kFloat32, kOther };
Element element_of(const py::array &array);

// A new array without padding. Its elements are undefined.
py::array new_array(Element element, const Py_ssize_t *shape, size_t dimensions);

// Whether two arrays have an element in common, exactly.
bool share_memory(const py::array &a, const py::array &b);

void check_is_writable(const py::array &array, const char *name);

}  // namespace tavrine::python
