// Options that several commands have.
#pragma once

#include <CLI/CLI.hpp>
#include <optional>
#include <string>
#include <vector>

#include "picture_tasks.h"
#include "raw_frame.h"

namespace tavrine::tool {

// Option values as the user wrote them, filled by the parser.
struct Texts {
  std::vector<std::string> paths;
  std::string layout;
  std::string instruction_set;
  std::string jobs = "1";
  bool verbose = false;
  bool on_device = false;
  bool may_replace_inputs = false;
};

constexpr char kShowNotices[] = "Show the library's notices";

CLI::App *add_command(CLI::App &app, const char *name, const char *description, Texts &texts,
                      const char *verbose_help = kShowNotices);

// For commands with exactly two files: "IN OUT".
void add_two_files(CLI::App *command, Texts &texts, const char *names, const char *description);

// For commands with any number of pictures and a file or folder: "IN... OUT".
void add_picture_set(CLI::App *command, Texts &texts, const char *names, const char *description);
PictureSet picture_set_of(const Texts &texts);  // throws UsageError

void add_layout_option(CLI::App *command, Texts &texts);
void add_device_option(CLI::App *command, Texts &texts);
std::optional<RawLayout> layout_of(const Texts &texts);

}  // namespace tavrine::tool
