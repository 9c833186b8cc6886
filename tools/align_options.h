// The command line of `align`.
#pragma once

#include "commands.h"
#include "common_options.h"

namespace tavrine::tool {

struct AlignTexts {
  std::string points;
  std::string size = "112x112";
};

CLI::App *add_align_command(CLI::App &app, Texts &texts, AlignTexts &align);
AlignRequest align_request(const Texts &texts, const AlignTexts &align);  // throws UsageError

}  // namespace tavrine::tool
