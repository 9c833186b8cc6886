// The command line, read completely before anything is done.
#pragma once

#include <optional>
#include <string>
#include <variant>

#include "commands.h"

namespace tavrine::tool {

struct CommandLine {
  std::variant<InfoRequest, ConvertRequest, AlignRequest, TensorRequest, VersionRequest> request;
  bool verbose = false;
};

// Nothing when help was asked for and printed. Throws UsageError.
std::optional<CommandLine> read_command_line(int argc, const char *const *argv);

}  // namespace tavrine::tool
