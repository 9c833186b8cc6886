// Which instruction set the library runs on, for --instruction-set and `version -v`.
#pragma once

#include <string>

namespace tavrine::tool {

// Those that the library is compiled for, the best first: "AVX2|SSE4|SSSE3".
std::string instruction_set_names(const char *separator = "|");

// Before the library's first operation. Throws UsageError.
void take_instruction_set(const std::string &name);

// A line for each: its name, and whether it is taken or could be.
std::string describe_instruction_sets();

}  // namespace tavrine::tool
