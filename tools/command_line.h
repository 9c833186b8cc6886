// The command line, read completely before anything is done.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "commands.h"

namespace tavrine::tool {

struct CommandLine {
  std::variant<InfoRequest, ConvertRequest, AlignRequest, TensorRequest, CompareRequest,
               VersionRequest>
      request;
  bool verbose = false;
};

// Empty when the command line asked for help or the version, which is printed. Throws UsageError.
std::optional<CommandLine> read_command_line(int argc, const char *const *argv);

}  // namespace tavrine::tool
