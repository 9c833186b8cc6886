// Decodes picture files to pixels.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

namespace tavrine {

struct FreePixels {
  void operator()(uint8_t *pixels) const;
};

// Rows without padding; `channels` bytes per pixel, as many as the file stores.
struct Picture {
  std::unique_ptr<uint8_t, FreePixels> pixels;  // null: not a picture
  int width = 0;
  int height = 0;
  int channels = 0;
};

// A picture with more bytes than this is refused before memory is allocated.
constexpr int64_t kMaxDecodedBytes = int64_t{1} << 29;

// A truncated file is refused, whatever its kind: missing pixels would otherwise be black.
Picture decode_file(FILE *file);
Picture decode_memory(const uint8_t *data, size_t length);

}  // namespace tavrine
