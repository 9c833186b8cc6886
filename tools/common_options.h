// What the commands' options have in common.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "numbers.h"
#include "raw_frame.h"

namespace tavrine::tool {

// Texts that the parser stores: options keep their value as it was written.
struct Texts {
  std::vector<std::string> paths;
  std::string layout;
  bool verbose = false;
  bool on_device = false;
};

constexpr char kShowNotices[] = "Show the library's notices";

CLI::App *add_command(CLI::App &app, const char *name, const char *description, Texts &texts,
                      const char *verbose_help = kShowNotices);

// For commands that read one picture and write one file: "IN OUT".
void add_in_and_out(CLI::App *command, Texts &texts, const char *names, const char *description);

void add_layout_option(CLI::App *command, Texts &texts);
void add_device_option(CLI::App *command, Texts &texts);
std::optional<RawLayout> layout_of(const Texts &texts);

// Throws UsageError, also for sizes that are not positive.
Size size_of_option(const std::string &option, const std::string &value);

}  // namespace tavrine::tool
