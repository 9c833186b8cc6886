// The arguments of one call of a module function.
#pragma once

#include <pybind11/pybind11.h>

#include <array>
#include <string>
#include <vector>

namespace tavrine::python {

namespace py = pybind11;

constexpr size_t kMaxArguments = 16;

// A function's name and parameters, read from the first line of its docstring, which inspect and
// help() read too: "resize(image, size, *, out=None)".
class Signature {
 public:
  Signature() = default;
  explicit Signature(const char *docstring);

  struct Parameter {
    std::string name;
    PyObject *interned;  // lives as long as the process
    bool is_required;
  };

  const std::string &function() const { return function_; }
  const std::vector<Parameter> &parameters() const { return parameters_; }
  size_t positional_count() const { return positional_count_; }

  // The parameter of that name, or the number of parameters.
  size_t find(PyObject *name) const;

 private:
  std::string function_;
  std::vector<Parameter> parameters_;
  size_t positional_count_ = 0;
};

class Arguments {
 public:
  // What CPython's vector call passes: the values of `names` follow the positional ones. Throws a
  // TypeError as a function written in Python does.
  Arguments(const Signature &signature, PyObject *const *values, Py_ssize_t positional_count,
            PyObject *names);

  // Null when it is not given or None. Borrowed: the caller of the function holds it.
  py::handle operator[](size_t index) const { return values_[index]; }
  const char *name(size_t index) const { return signature_.parameters()[index].name.c_str(); }
  const Signature &signature() const { return signature_; }

 private:
  const Signature &signature_;
  std::array<PyObject *, kMaxArguments> values_ = {};
};

}  // namespace tavrine::python
