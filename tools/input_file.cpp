#include "input_file.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "failure.h"
#include "output_file.h"

namespace tavrine::tool {

OwnedFile open_input(const std::string &path) {
  if (path != kStandardStream) {
    return OwnedFile(std::fopen(path.c_str(), "rb"));
  }
  const int descriptor = dup(STDIN_FILENO);
  return OwnedFile(descriptor < 0 ? nullptr : fdopen(descriptor, "rb"));
}

std::string input_name(const std::string &path) {
  return path == kStandardStream ? "standard input" : path;
}

std::vector<unsigned char> read_standard_input() {
  constexpr size_t kChunkBytes = size_t{1} << 16;
  const OwnedFile file = open_input(kStandardStream);
  std::vector<unsigned char> bytes;
  size_t used = 0;
  for (size_t got = 1; file && got > 0; used += got) {
    bytes.resize(used + kChunkBytes);
    got = std::fread(bytes.data() + used, 1, kChunkBytes, file.get());
  }
  if (!file || std::ferror(file.get()) != 0) {
    throw Failure(input_name(kStandardStream), "read", std::strerror(errno));
  }
  bytes.resize(used);
  return bytes;
}

void check_inputs(const std::vector<std::string> &paths) {
  if (std::count(paths.begin(), paths.end(), kStandardStream) > 1) {
    throw UsageError("-: standard input can be read only once");
  }
}

}  // namespace tavrine::tool
