// What went wrong, as the one line on standard error that reports it.
#pragma once

#include <stdexcept>
#include <string>

namespace tavrine::tool {

// A picture that could not be processed: exit status 1.
class Failure : public std::runtime_error {
 public:
  Failure(const std::string &file, const std::string &operation, const std::string &reason)
      : std::runtime_error(file + ": " + operation + ": " + reason) {}
};

// A command line that is wrong, whatever the pictures: exit status 2, before any picture is read.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tavrine::tool
