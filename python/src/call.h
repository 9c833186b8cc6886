// How Python calls the functions of the module. They are entered by CPython's vector call and not
// through pybind11's dispatcher, which takes longer than an operation on a small picture.
#pragma once

#include "arguments.h"

namespace tavrine::python {

using Function = py::object (*)(const Arguments &arguments);

// Calls `function`; sets Python's error and returns null when it throws.
PyObject *call(Function function, const Signature &signature, PyObject *const *values,
               Py_ssize_t positional_count, PyObject *names);

template <Function function>
class Method {
 public:
  // The table's entry for CPython. The docstring begins with the signature.
  static PyMethodDef describe(const char *docstring) {
    signature = Signature(docstring);
    // CPython stores functions of every calling convention as one type.
    auto *entry = reinterpret_cast<PyCFunction>(reinterpret_cast<void (*)()>(&enter));
    return {signature.function().c_str(), entry, METH_FASTCALL | METH_KEYWORDS, docstring};
  }

 private:
  static PyObject *enter(PyObject * /*module*/, PyObject *const *values, Py_ssize_t count,
                         PyObject *names) {
    return call(function, signature, values, count, names);
  }

  static inline Signature signature;
};

// tavrine.Error, which the module owns.
void create_error_class(py::module_ &module);

}  // namespace tavrine::python
