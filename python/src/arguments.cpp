#include "arguments.h"

#include <algorithm>
#include <string_view>

namespace tavrine::python {
namespace {

std::string_view without_spaces(std::string_view text) {
  const size_t begin = text.find_first_not_of(' ');
  return begin == std::string_view::npos
             ? std::string_view()
             : text.substr(begin, text.find_last_not_of(' ') - begin + 1);
}

[[noreturn]] void refuse(const Signature &signature, const std::string &problem) {
  throw py::type_error(signature.function() + "() " + problem);
}

}  // namespace

Signature::Signature(const char *docstring) {
  const std::string_view text(docstring);
  const size_t open = text.find('(');
  const size_t close = text.find(")\n--\n");
  function_ = text.substr(0, open);
  bool is_positional = true;
  for (size_t begin = open + 1; begin < close;) {
    // No default contains a comma.
    const size_t end = std::min(text.find(',', begin), close);
    const std::string_view item = without_spaces(text.substr(begin, end - begin));
    begin = end + 1;
    if (item == "*") {
      is_positional = false;
      continue;
    }
    const size_t equals = item.find('=');
    const std::string name(item.substr(0, equals));
    parameters_.push_back(
        {name, PyUnicode_InternFromString(name.c_str()), equals == std::string_view::npos});
    positional_count_ += is_positional ? 1 : 0;
  }
  if (parameters_.size() > kMaxArguments) {
    throw std::length_error(function_ + " has too many parameters");
  }
}

size_t Signature::find(PyObject *name) const {
  // Names in source code are interned, so that the address nearly always decides.
  for (size_t index = 0; index < parameters_.size(); ++index) {
    if (parameters_[index].interned == name) {
      return index;
    }
  }
  for (size_t index = 0; index < parameters_.size(); ++index) {
    if (PyUnicode_Compare(parameters_[index].interned, name) == 0) {
      return index;
    }
  }
  return parameters_.size();
}

Arguments::Arguments(const Signature &signature, PyObject *const *values,
                     Py_ssize_t positional_count, PyObject *names)
    : signature_(signature) {
  const auto &parameters = signature.parameters();
  const auto positional = static_cast<size_t>(positional_count);
  if (positional > signature.positional_count()) {
    refuse(signature, "takes at most " + std::to_string(signature.positional_count()) +
                          " positional arguments, and " + std::to_string(positional) +
                          " were given");
  }
  std::copy_n(values, positional, values_.begin());
  const Py_ssize_t named = names != nullptr ? PyTuple_GET_SIZE(names) : 0;
  for (Py_ssize_t i = 0; i < named; ++i) {
    PyObject *name = PyTuple_GET_ITEM(names, i);
    const size_t index = signature.find(name);
    if (index == parameters.size()) {
      refuse(signature, "got an unexpected keyword argument '" + std::string(py::str(name)) + "'");
    }
    if (values_[index] != nullptr) {
      refuse(signature, "got several values for argument '" + parameters[index].name + "'");
    }
    values_[index] = values[positional_count + i];
  }
  for (size_t index = 0; index < parameters.size(); ++index) {
    if (values_[index] == Py_None) {
      values_[index] = nullptr;
    }
    if (values_[index] == nullptr && parameters[index].is_required) {
      refuse(signature, "needs the argument '" + parameters[index].name + "'");
    }
  }
}

}  // namespace tavrine::python
