// What `convert` can do to a picture. A new operation is a new entry in the table.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "environment.h"
#include "handles.h"

namespace tavrine::tool {

// An operation with its arguments.
struct Operation {
  std::string description;  // in failures: "resize to 640x480"
  std::function<int32_t(const tavrine_frame_t &in, tavrine_frame_t **out)> apply;
  // Why the arguments do not fit this picture; empty when they look right.
  std::function<std::string(const tavrine_frame_t &in, int32_t status)> explain;
  bool only_copies = false;  // so the engine has nothing to do
};

struct OperationKind {
  const char *option;
  const char *value_name;
  const char *help;
  Operation (*parse)(const std::string &value);  // throws UsageError
};

const std::vector<OperationKind> &operation_kinds();

Operation conversion_to(uint32_t format);

// `file` is the picture's name in failures. Throws Failure.
OwnedFrame apply_operation(Environment &environment, const Operation &operation,
                           const OwnedFrame &frame, const std::string &file);

}  // namespace tavrine::tool
