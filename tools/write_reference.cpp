// Writes the tool's manual pages and its completion for bash, when the tool is built.
//
//   write_reference FOLDER DATE
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "command_line.h"
#include "completion.h"
#include "failure.h"
#include "manual_page.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

namespace fs = std::filesystem;

void write(const fs::path &path, const std::string &text) {
  fs::create_directories(path.parent_path());
  std::ofstream file(path);
  file << text << std::flush;
  if (!file) {
    throw Failure(path.string(), "write", std::strerror(errno));
  }
}

void write_page(const fs::path &folder, const CLI::App &command, const CLI::App *program,
                const Release &release) {
  const std::string page = manual_page(command, program, release);
  write(folder / "man1" / (manual_page_name(command, program) + ".1"), page);
}

void write_reference(const fs::path &folder, const Release &release) {
  describe_command_line([&](const CLI::App &program) {
    write_page(folder, program, nullptr, release);
    for (const CLI::App *command : program.get_subcommands({})) {
      write_page(folder, *command, &program, release);
    }
    write(folder / "completions" / program.get_name(), bash_completion(program));
  });
}

}  // namespace

}  // namespace tavrine::tool

int main(int argc, char **argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: %s FOLDER DATE\n", argv[0]);
    return 2;
  }
  try {
    tavrine::tool::write_reference(argv[1], {argv[2], tavrine_aux_version()});
  } catch (const std::exception &error) {
    std::fprintf(stderr, "%s: %s\n", argv[0], error.what());
    return 1;
  }
  return 0;
}
