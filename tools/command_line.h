// The command line, read completely before anything is done.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <variant>

#include "commands.h"

namespace CLI {
class App;
}

namespace tavrine::tool {

struct CommandLine {
  std::variant<InfoRequest, ConvertRequest, AlignRequest, TensorRequest, CompareRequest,
               VersionRequest>
      request;
  bool verbose = false;
};

// Empty when the command line asked for help or the version, which is printed. Throws UsageError.
std::optional<CommandLine> read_command_line(int argc, const char *const *argv);

// Calls `describe` with all commands and options, for the manual and the completion.
void describe_command_line(const std::function<void(const CLI::App &)> &describe);

}  // namespace tavrine::tool
