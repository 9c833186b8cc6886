// The completion of the command line in bash.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace tavrine::tool {

std::string bash_completion(const CLI::App &program);

}  // namespace tavrine::tool
