// Builds of the library, loaded side by side into one process.
#pragma once

#include <string>

#include "module.h"

namespace tavrine::bench {

// Loads a library and the benchmark's module over it into a namespace of the dynamic linker of
// their own, with their own copies of the libraries that they need. Throws std::runtime_error.
const TavrineBenchModule &load_apart(const std::string &library, const std::string &module);

}  // namespace tavrine::bench
