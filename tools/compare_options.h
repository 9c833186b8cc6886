// The command line of `compare`.
#pragma once

#include "commands.h"
#include "common_options.h"

namespace tavrine::tool {

struct CompareTexts {
  std::string tolerance;
  std::string picture;
};

CLI::App *add_compare_command(CLI::App &app, Texts &texts, CompareTexts &compare);
CompareRequest compare_request(const Texts &texts, const CompareTexts &compare);

}  // namespace tavrine::tool
