#include "call.h"

#include <new>

#include "array.h"
#include "log_record.h"
#include "refusal.h"
#include "tavrine_types.h"

namespace tavrine::python {
namespace {

PyObject *error_class = nullptr;

// "; image: uint8 (480, 640, 3), out: uint8 (10, 10, 3)" for the arguments that are arrays.
std::string shapes_of(const Arguments &arguments) {
  std::string text;
  for (size_t index = 0; index < arguments.signature().parameters().size(); ++index) {
    const std::string shape = describe_arrays(arguments[index]);
    if (!shape.empty()) {
      text += (text.empty() ? "; " : ", ") + std::string(arguments.name(index)) + ": " + shape;
    }
  }
  return text;
}

void set_status_error(const Arguments &arguments, const StatusFailure &failure) {
  const int32_t status = failure.status;
  std::string text = arguments.signature().function() + ": ";
  std::string record = log_record_text();
  if (record.empty()) {
    record = failure.reason;
  }
  const bool is_explained = !record.empty();
  switch (status) {
    case TAVRINE_INVALID_ARGUMENT:
      text +=
          (is_explained ? record : "the arguments do not fit each other") + shapes_of(arguments);
      PyErr_SetString(PyExc_ValueError, text.c_str());
      return;
    case TAVRINE_NOT_SUPPORTED:
      text += (is_explained ? record : "not supported") + shapes_of(arguments);
      PyErr_SetString(PyExc_NotImplementedError, text.c_str());
      return;
    default:
      break;
  }
  // Arguments are checked before, and what the library refuses it logs: only a lack of memory
  // fails in silence.
  if (status == TAVRINE_FAILURE && !is_explained) {
    text += "out of memory" + shapes_of(arguments);
    PyErr_SetString(PyExc_MemoryError, text.c_str());
    return;
  }
  text += (is_explained ? record : "status " + std::to_string(status)) + shapes_of(arguments);
  py::object error = py::handle(error_class)(text);
  error.attr("status") = status;
  PyErr_SetObject(error_class, error.ptr());
}

void set_file_error(const Arguments &arguments, const FileFailure &failure) {
  const std::string record = log_record_text();
  const std::string text = arguments.signature().function() + ": " + failure.problem +
                           (record.empty() ? "" : ": " + record);
  // With an error code OSError chooses the subclass, such as FileNotFoundError.
  const int code = failure.code != 0 ? failure.code : EINVAL;
  py::object error = py::handle(PyExc_OSError)(code, text, py::str(failure.path));
  PyErr_SetObject(reinterpret_cast<PyObject *>(Py_TYPE(error.ptr())), error.ptr());
}

}  // namespace

PyObject *call(Function function, const Signature &signature, PyObject *const *values,
               Py_ssize_t positional_count, PyObject *names) {
  try {
    const Arguments arguments(signature, values, positional_count, names);
    forget_log_record();
    try {
      return function(arguments).release().ptr();
    } catch (const Refusal &refusal) {
      const std::string text = signature.function() + ": " + refusal.text + shapes_of(arguments);
      PyErr_SetString(refusal.kind == Refusal::Kind::kType ? PyExc_TypeError : PyExc_ValueError,
                      text.c_str());
    } catch (const StatusFailure &failure) {
      set_status_error(arguments, failure);
    } catch (const FileFailure &failure) {
      set_file_error(arguments, failure);
    }
  } catch (py::error_already_set &error) {
    error.restore();
  } catch (const py::builtin_exception &error) {
    error.set_error();
  } catch (const std::bad_alloc &) {
    PyErr_NoMemory();
  } catch (const std::exception &error) {
    PyErr_SetString(PyExc_SystemError, error.what());
  }
  return nullptr;
}

void create_error_class(py::module_ &module) {
  constexpr char kDocstring[] =
      "An operation failed for another reason than its arguments or lack of memory.\n\n"
      "``status`` is the library's status code.";
  error_class = PyErr_NewExceptionWithDoc("tavrine.Error", kDocstring, PyExc_RuntimeError, nullptr);
  if (error_class == nullptr) {
    throw py::error_already_set();
  }
  // A default for errors that Python code makes.
  py::handle(error_class).attr("status") = static_cast<int32_t>(TAVRINE_FAILURE);
  module.add_object("Error", error_class);
}

}  // namespace tavrine::python
