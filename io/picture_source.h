// Supplies the decoder with bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string_view>

namespace tavrine {

class PictureSource {
 public:
  // Call before each run of the decoder.
  bool rewind() {
    buffer_ = nullptr;
    return seek_to_start();
  }

  // Of the file, in bytes; 0 when it is unknown.
  virtual int64_t size() = 0;

  // Moves the position.
  bool begins_with(std::string_view signature);

  // The decoder's callbacks. They throw CodecStopped when the file ends too early: the decoder
  // would continue with zeros, which can take very long and makes missing pixels black.
  static int on_read(void *source, char *data, int size);
  static void on_skip(void *source, int distance);
  static int on_end(void *source);

 protected:
  ~PictureSource() = default;

 private:
  virtual bool seek_to_start() = 0;
  virtual size_t read(char *data, size_t size) = 0;
  virtual void skip(size_t distance) = 0;
  virtual bool is_at_end() = 0;

  const char *buffer_ = nullptr;  // the one inside the decoder
};

// A file that supports seeking.
class FileSource final : public PictureSource {
 public:
  explicit FileSource(FILE *file) : file_(file) {}

  int64_t size() override;

 private:
  bool seek_to_start() override { return fseek(file_, 0, SEEK_SET) == 0; }
  size_t read(char *data, size_t size) override { return fread(data, 1, size, file_); }
  void skip(size_t distance) override;
  bool is_at_end() override;

  FILE *file_;
};

class MemorySource final : public PictureSource {
 public:
  MemorySource(const uint8_t *data, size_t length) : data_(data), length_(length) {}

  int64_t size() override { return static_cast<int64_t>(length_); }

 private:
  bool seek_to_start() override {
    position_ = 0;
    return true;
  }
  size_t read(char *data, size_t size) override;
  void skip(size_t distance) override;
  bool is_at_end() override { return position_ == length_; }

  const uint8_t *data_;
  size_t length_;
  size_t position_ = 0;
};

}  // namespace tavrine
