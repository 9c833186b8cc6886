// What the functions of the module throw; call.cpp turns both into Python's exceptions.
#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace tavrine::python {

// An argument that cannot be used: ValueError or TypeError.
struct Refusal {
  enum class Kind { kValue, kType };

  Refusal(const char *argument, const std::string &problem, Kind given = Kind::kValue)
      : text(std::string(argument) + ": " + problem), kind(given) {}

  std::string text;
  Kind kind;
};

// A status of the library other than TAVRINE_OK.
struct StatusFailure {
  int32_t status;
  const char *reason = "";  // if the library does not log it
};

// A file that cannot be read or written: OSError.
struct FileFailure {
  int code;  // errno; 0: the file's content is the reason
  std::string path;
  const char *problem;
};

inline void check(int32_t status) {
  if (status != 0) {
    throw StatusFailure{status};
  }
}

}  // namespace tavrine::python
