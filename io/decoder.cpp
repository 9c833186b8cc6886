#include "io/decoder.h"

#include <algorithm>
#include <cstring>

#include "io/stb.h"

namespace tavrine {
namespace {

// Where the decoder's bytes come from. It fills a buffer of its own when it has used that up, and
// asks for larger blocks directly: an empty buffer, or a block cut short, means that it needed
// more than there is.
class Source {
 public:
  static constexpr size_t kBufferSize = 128;

  virtual size_t read(char *data, size_t size) = 0;
  virtual void skip(int distance) = 0;  // backward when negative
  virtual bool is_at_end() = 0;

  bool ran_dry() const { return ran_dry_; }

  static int on_read(void *source, char *data, int size) {
    auto *self = static_cast<Source *>(source);
    const size_t got = self->read(data, static_cast<size_t>(size));
    const bool is_block = static_cast<size_t>(size) != kBufferSize;
    self->ran_dry_ = self->ran_dry_ || got == 0 || (is_block && got < static_cast<size_t>(size));
    return static_cast<int>(got);
  }
  static void on_skip(void *source, int distance) { static_cast<Source *>(source)->skip(distance); }
  static int on_end(void *source) { return static_cast<Source *>(source)->is_at_end() ? 1 : 0; }

 protected:
  ~Source() = default;

 private:
  bool ran_dry_ = false;
};

class FileSource final : public Source {
 public:
  explicit FileSource(FILE *file) : file_(file) {}

  size_t read(char *data, size_t size) override { return fread(data, 1, size, file_); }

  void skip(int distance) override {
    // A pipe cannot seek; what lies ahead can still be read away.
    if (fseek(file_, distance, SEEK_CUR) != 0) {
      while (distance-- > 0 && fgetc(file_) != EOF) {
      }
    }
  }

  bool is_at_end() override {
    const int next = fgetc(file_);
    if (next != EOF) {
      ungetc(next, file_);
    }
    return next == EOF;
  }

 private:
  FILE *file_;
};

class MemorySource final : public Source {
 public:
  MemorySource(const uint8_t *data, size_t length) : data_(data), length_(length) {}

  size_t read(char *data, size_t size) override {
    size = std::min(size, length_ - position_);
    std::memcpy(data, data_ + position_, size);
    position_ += size;
    return size;
  }

  void skip(int distance) override {
    if (distance < 0) {
      position_ -= std::min(position_, static_cast<size_t>(-static_cast<int64_t>(distance)));
    } else {
      position_ += std::min(length_ - position_, static_cast<size_t>(distance));
    }
  }

  bool is_at_end() override { return position_ == length_; }

 private:
  const uint8_t *data_;
  size_t length_;
  size_t position_ = 0;
};

Picture decode(Source &source) {
  constexpr stbi_io_callbacks kCallbacks = {Source::on_read, Source::on_skip, Source::on_end};
  Picture picture;
  picture.pixels.reset(stbi_load_from_callbacks(&kCallbacks, &source, &picture.width,
                                                &picture.height, &picture.channels, 0));
  if (source.ran_dry()) {
    picture.pixels.reset();
  }
  return picture;
}

}  // namespace

void FreePixels::operator()(uint8_t *pixels) const { stbi_image_free(pixels); }

Picture decode_file(FILE *file) {
  FileSource source(file);
  return decode(source);
}

Picture decode_memory(const uint8_t *data, size_t length) {
  MemorySource source(data, length);
  return decode(source);
}

}  // namespace tavrine
