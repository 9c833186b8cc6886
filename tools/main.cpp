#include <cerrno>
#include <cstdio>
#include <cstring>
#include <new>

#include "command_line.h"
#include "failure.h"

namespace tavrine::tool {

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

int run_request(Environment &environment, const CommandLine &command_line) {
  return std::visit([&](const auto &request) { return run(environment, request); },
                    command_line.request);
}

int run_program(Console &console, int argc, char **argv) {
  try {
    int status = 0;
    if (const auto command_line = read_command_line(argc, argv)) {
      LogRecords log(console, command_line->verbose);
      Environment environment{console, log};
      status = run_request(environment, *command_line);
    }
    if (std::fflush(stdout) != 0) {
      throw Failure("standard output", "write", std::strerror(errno));
    }
    return status;
  } catch (const UsageError &error) {
    console.line(error.what());
    console.line("see 'tavrine-aux --help' and 'tavrine-aux COMMAND --help'");
    return kWrongUsage;
  } catch (const std::bad_alloc &) {
    console.line("out of memory");
    return kFailed;
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
