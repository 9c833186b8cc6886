// A stream that is closed on every path. Writers close it themselves, to see whether that fails.
#pragma once

#include <cstdio>
#include <memory>

namespace tavrine::tool {

struct CloseFile {
  void operator()(std::FILE *file) const { std::fclose(file); }
};
using OwnedFile = std::unique_ptr<std::FILE, CloseFile>;

}  // namespace tavrine::tool
