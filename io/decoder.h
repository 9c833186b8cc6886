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

// A picture whose header announces more pixel bytes than these is refused before memory is
// allocated: any picture, and one in a file of this size. All intact files have fewer. A PNG row of
// one-bit pixels becomes 32 times as large, after deflate expanded it at most 1032 times. A JPEG
// has at least a bit for each block; 18 blocks are at most 32 x 32 pixels of 3 bytes.
constexpr int64_t kMaxDecodedBytes = int64_t{1} << 29;
constexpr int64_t kMaxDecodedBytesOfEmptyFile = int64_t{1} << 24;
constexpr int64_t kMaxDecodedBytesPerByte = 32768;
constexpr int64_t kMaxDecodedBytesPerJpegByte = 2048;

// A truncated file is refused, whatever its kind: missing pixels would otherwise be black.
Picture decode_file(FILE *file);
Picture decode_memory(const uint8_t *data, size_t length);

}  // namespace tavrine
