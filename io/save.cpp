// Saves frames as picture files and encodes them into buffers.
#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string_view>

#include "common/log.h"
#include "io/encoder.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

bool ends_with(std::string_view path, std::string_view extension) {
  return path.size() >= extension.size() &&
         std::equal(extension.rbegin(), extension.rend(), path.rbegin(), [](char a, char b) {
           return a == std::tolower(static_cast<unsigned char>(b));
         });
}

std::optional<PictureFormat> format_of(const char *path) {
  struct Extension {
    std::string_view text;
    PictureFormat format;
  };
  constexpr Extension kExtensions[] = {{".jpg", PictureFormat::kJpeg},
                                       {".jpeg", PictureFormat::kJpeg},
                                       {".bmp", PictureFormat::kBmp},
                                       {".png", PictureFormat::kPng}};
  if (path != nullptr) {
    for (const Extension &extension : kExtensions) {
      if (ends_with(path, extension.text)) {
        return extension.format;
      }
    }
  }
  return std::nullopt;
}

class FileSink final : public ByteSink {
 public:
  explicit FileSink(const char *path) : file_(fopen(path, "wb")) {}
  FileSink(const FileSink &) = delete;
  FileSink &operator=(const FileSink &) = delete;
  ~FileSink() { close(); }

  bool is_open() const { return file_ != nullptr; }

  bool append(const void *data, size_t size) override {
    return fwrite(data, 1, size, file_) == size;
  }

  // A full disk may be reported only here.
  bool close() {
    FILE *file = std::exchange(file_, nullptr);
    return file == nullptr || fclose(file) == 0;
  }

 private:
  FILE *file_;
};

// Buffers the encoder's small writes, since a core buffer may move its bytes each time it grows.
class BufferSink final : public ByteSink {
 public:
  explicit BufferSink(tavrine_buffer_t *buffer) : buffer_(buffer) {}

  bool append(const void *data, size_t size) override {
    if (size > pending_.size() - pending_size_ && !flush()) {
      return false;
    }
    if (size > pending_.size()) {
      return append_to_buffer(data, size);
    }
    std::memcpy(pending_.data() + pending_size_, data, size);
    pending_size_ += size;
    return true;
  }

  bool flush() { return append_to_buffer(pending_.data(), std::exchange(pending_size_, 0)); }

 private:
  bool append_to_buffer(const void *data, size_t size) {
    if (size == 0) {
      return true;
    }
    const size_t end = tavrine_buffer_size(buffer_);
    if (tavrine_buffer_resize(buffer_, end + size) != TAVRINE_OK) {
      return false;
    }
    std::memcpy(static_cast<uint8_t *>(tavrine_buffer_raw_pointer(buffer_)) + end, data, size);
    return true;
  }

  tavrine_buffer_t *buffer_;
  std::array<uint8_t, 16384> pending_;
  size_t pending_size_ = 0;
};

std::optional<PictureFormat> format_of(int32_t code) {
  switch (code) {
    case TAVRINE_ENCODE_JPEG:
      return PictureFormat::kJpeg;
    case TAVRINE_ENCODE_BMP:
      return PictureFormat::kBmp;
    case TAVRINE_ENCODE_PNG:
      return PictureFormat::kPng;
    default:
      return std::nullopt;
  }
}

bool encode_into(tavrine_buffer_t *buffer, OwnedFrame &copy, PictureFormat format) {
  BufferSink sink(buffer);
  return tavrine_buffer_resize(buffer, 0) == TAVRINE_OK && convert_for(format, copy) &&
         encode(copy.get(), format, sink) && sink.flush();
}

}  // namespace
}  // namespace tavrine

int32_t tavrine_frame_save(const tavrine_frame_t *frame, const char *path) {
  using namespace tavrine;
  const std::optional<PictureFormat> format = format_of(path);
  if (!format) {
    TAVRINE_LOG_AT(391, kError, kTagAux,
                   "Unsuppported save format, only support jp[e]g/bmp/png!\n");
    return TAVRINE_NOT_SUPPORTED;
  }
  if (frame == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  OwnedFrame copy;
  const int32_t taken = take_host_copy(frame, copy);
  if (taken != TAVRINE_OK) {
    return taken;
  }
  // Converts first, so that a failure leaves an existing file unchanged.
  if (!convert_for(*format, copy)) {
    return TAVRINE_FAILURE;
  }
  FileSink file(path);
  const bool written = file.is_open() && encode(copy.get(), *format, file);
  return file.close() && written ? TAVRINE_OK : TAVRINE_FAILURE;
}

int32_t tavrine_frame_encode(const tavrine_frame_t *frame, int32_t format,
                             tavrine_buffer_t *buffer) {
  using namespace tavrine;
  const std::optional<PictureFormat> picture_format = format_of(format);
  if (!picture_format) {
    TAVRINE_LOG_AT(475, kError, kTagAux, "Unsupported save format, only support JPG/BMP/PNG\n");
    return TAVRINE_NOT_SUPPORTED;
  }
  if (frame == nullptr) {
    TAVRINE_LOG_AT(480, kError, kTagAux, "Invalid input frame!\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (buffer == nullptr || tavrine_buffer_mem_type(buffer) != TAVRINE_MEMORY_HOST) {
    TAVRINE_LOG_AT(485, kError, kTagAux,
                   "Invalid buffer, expect a tavrine_buffer with HOST memory!\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  OwnedFrame copy;
  if (take_host_copy(frame, copy) != TAVRINE_OK) {
    if (tavrine_frame_mem_type(frame) != TAVRINE_MEMORY_HOST) {
      TAVRINE_LOG_AT(498, kError, kTagAux, "Download failed!\n");
    }
    return TAVRINE_FAILURE;
  }
  const int32_t failure_line = keeps_grey(copy.get(), *picture_format) ? 520 : 554;
  if (!encode_into(buffer, copy, *picture_format)) {
    TAVRINE_LOG_AT(failure_line, kError, kTagAux, "Monochrome frame serialize failed error!\n");
    return TAVRINE_FAILURE;
  }
  return TAVRINE_OK;
}
