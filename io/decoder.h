// The bytes of picture files to pixels.
#pragma once

#include <cstdint>
#include <cstdio>
#include <memory>

namespace tavrine {

struct FreePixels {
  void operator()(uint8_t *pixels) const;
};

// Rows without padding, `channels` bytes a pixel, as many as the file stores.
struct Picture {
  std::unique_ptr<uint8_t, FreePixels> pixels;  // null: no picture
  int width = 0;
  int height = 0;
  int channels = 0;
};

// A picture of more bytes than this is refused before memory is asked for.
constexpr int64_t kMostDecodedBytes = int64_t{1} << 29;

// A file that ends before its picture does is no picture, whatever its kind: uncompressed
// pixels that are missing would otherwise pass for black.
Picture decode_file(FILE *file);
Picture decode_memory(const uint8_t *data, size_t length);

}  // namespace tavrine
