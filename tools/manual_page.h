// A page of the manual, in the language of man(7), from the texts that --help prints.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

namespace tavrine::tool {

// "tavrine-aux" or "tavrine-aux-convert". `program` is the command's parent, or null.
std::string manual_page_name(const CLI::App &command, const CLI::App *program);

// `release` is the date and the version that the page's foot shows.
struct Release {
  std::string date, version;
};

std::string manual_page(const CLI::App &command, const CLI::App *program, const Release &release);

}  // namespace tavrine::tool
