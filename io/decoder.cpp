#include "io/decoder.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>

#include "io/codec_memory.h"
#include "io/picture_source.h"
#include "io/stb.h"

namespace tavrine {
namespace {

constexpr stbi_io_callbacks kCallbacks = {PictureSource::on_read, PictureSource::on_skip,
                                          PictureSource::on_end};

constexpr int64_t kMaxSide = int64_t{1} << 24;  // the decoder's

// Fuzz builds use a smaller limit: large pictures add time, not coverage.
#ifdef FUZZING_BUILD_MODE_UNSAFE_FOR_PRODUCTION
constexpr int64_t kMaxPixelBytes = int64_t{1} << 22;
constexpr uint64_t kMinBudget = uint64_t{1} << 23;
#else
constexpr int64_t kMaxPixelBytes = kMaxDecodedBytes;
constexpr uint64_t kMinBudget = uint64_t{1} << 26;
#endif

// Every decoder needs at most a small multiple of the pixels' bytes; interlaced 16-bit PNG needs
// the most, since its buffers double while they grow. A stream that expands beyond that is
// refused.
size_t budget_for(int64_t pixel_bytes) {
  constexpr uint64_t kMaxTimesPixels = 16;
  const uint64_t budget = kMinBudget + kMaxTimesPixels * static_cast<uint64_t>(pixel_bytes);
  constexpr auto kMax = static_cast<uint64_t>(std::numeric_limits<size_t>::max());
  return static_cast<size_t>(std::min(budget, kMax));
}

// How many bytes the pixels have according to the header; empty if it has no valid size.
std::optional<int64_t> announced_bytes(PictureSource &source) {
  const CodecMemory memory(kMinBudget);
  int width = 0;
  int height = 0;
  int channels = 0;
  if (stbi_info_from_callbacks(&kCallbacks, &source, &width, &height, &channels) == 0) {
    return std::nullopt;
  }
  // A negative height means that rows are stored from top to bottom.
  const int64_t rows = std::abs(int64_t{height});
  if (width <= 0 || rows == 0 || width > kMaxSide || rows > kMaxSide) {
    return std::nullopt;
  }
  return width * rows * channels;
}

int64_t max_pixel_bytes(PictureSource &source) {
  const int64_t ratio =
      source.begins_with("\xFF\xD8") ? kMaxDecodedBytesPerJpegByte : kMaxDecodedBytesPerByte;
  const int64_t ratio_limit = kMaxPixelBytes / ratio;
  return std::min(kMaxPixelBytes,
                  kMaxDecodedBytesOfEmptyFile + ratio * std::min(source.size(), ratio_limit));
}

Picture run_decoder(PictureSource &source) {
  const int64_t max_bytes = max_pixel_bytes(source);
  if (!source.rewind()) {
    return {};
  }
  const std::optional<int64_t> pixel_bytes = announced_bytes(source);
  if (!pixel_bytes || *pixel_bytes > max_bytes || !source.rewind()) {
    return {};
  }
  CodecMemory memory(budget_for(*pixel_bytes));
  Picture picture;
  uint8_t *pixels = stbi_load_from_callbacks(&kCallbacks, &source, &picture.width, &picture.height,
                                             &picture.channels, 0);
  picture.pixels.reset(static_cast<uint8_t *>(memory.keep(pixels)));
  return picture;
}

Picture decode(PictureSource &source) {
  try {
    return run_decoder(source);
  } catch (const CodecStopped &) {
    return {};
  }
}

struct FreeBytes {
  void operator()(uint8_t *bytes) const { std::free(bytes); }
};

// Reads all of a pipe first, since decoding needs two passes.
Picture decode_stream(FILE *file) {
  constexpr size_t kMaxBytes = std::numeric_limits<int32_t>::max();
  std::unique_ptr<uint8_t, FreeBytes> bytes;
  size_t capacity = 0;
  size_t length = 0;
  for (size_t got = 1; got > 0; length += got) {
    if (length == capacity) {
      capacity = capacity == 0 ? size_t{1} << 16 : 2 * capacity;
      auto *grown = capacity <= kMaxBytes
                        ? static_cast<uint8_t *>(std::realloc(bytes.get(), capacity))
                        : nullptr;
      if (grown == nullptr) {
        return {};
      }
      static_cast<void>(bytes.release());
      bytes.reset(grown);
    }
    got = fread(bytes.get() + length, 1, capacity - length, file);
  }
  return decode_memory(bytes.get(), length);
}

}  // namespace

void FreePixels::operator()(uint8_t *pixels) const { CodecMemory::release_kept(pixels); }

Picture decode_file(FILE *file) {
  if (fseek(file, 0, SEEK_CUR) != 0) {
    return decode_stream(file);
  }
  FileSource source(file);
  return decode(source);
}

Picture decode_memory(const uint8_t *data, size_t length) {
  MemorySource source(data, length);
  return decode(source);
}

}  // namespace tavrine
