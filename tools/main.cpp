#include <cerrno>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "command_line.h"
#include "failure.h"

namespace tavrine::tool {

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int run(Environment &environment, const CommandLine &command_line) {
  return std::visit(
      [&](const auto &request) {
        using Request = std::decay_t<decltype(request)>;
        if constexpr (std::is_same_v<Request, InfoRequest>) {
          return run_info(environment, request);
        } else if constexpr (std::is_same_v<Request, ConvertRequest>) {
          return run_convert(environment, request);
        } else if constexpr (std::is_same_v<Request, AlignRequest>) {
          return run_align(environment, request);
        } else if constexpr (std::is_same_v<Request, TensorRequest>) {
          return run_tensor(environment, request);
        } else {
          return run_version(request);
        }
      },
      command_line.request);
}

int run_program(Console &console, int argc, char **argv) {
  try {
    int status = 0;
    if (const auto command_line = read_command_line(argc, argv)) {
      LogRecords log(console, command_line->verbose);
      Environment environment{console, log};
      status = run(environment, *command_line);
    }
    if (std::fflush(stdout) != 0) {
      throw Failure("standard output", "write", std::strerror(errno));
    }
    return status;
  } catch (const UsageError &error) {
    console.line(error.what());
    console.line("'tavrine-aux --help' and 'tavrine-aux COMMAND --help' tell more");
    return kWrongUsage;
  } catch (const std::exception &error) {
    console.line(error.what());
    return kFailed;
  }
}

}  // namespace

}  // namespace tavrine::tool

int main(int argc, char **argv) {
  tavrine::tool::Console console;
  return tavrine::tool::run_program(console, argc, argv);
}
