// Files to read, standard input among them.
#pragma once

#include <string>
#include <vector>

#include "owned_file.h"

namespace tavrine::tool {

// Null when it cannot be opened; errno says why. kStandardStream opens standard input.
OwnedFile open_input(const std::string &path);

// How messages name a file.
std::string input_name(const std::string &path);

// All bytes of standard input. Throws Failure.
std::vector<unsigned char> read_standard_input();

// Throws UsageError when standard input is named more than once.
void check_inputs(const std::vector<std::string> &paths);

}  // namespace tavrine::tool
