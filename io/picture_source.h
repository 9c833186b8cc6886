// Where the decoder's bytes come from.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace tavrine {

class PictureSource {
 public:
  // Before each run of the decoder.
  bool begin() {
    buffer_ = nullptr;
    return rewind();
  }

  // The decoder's callbacks. A read ends its run when there is less than it needs: it then
  // goes on with zeros, which can take forever, and missing pixels would pass for black.
  static int on_read(void *source, char *data, int size);
  static void on_skip(void *source, int distance);
  static int on_end(void *source);

 protected:
  ~PictureSource() = default;

 private:
  virtual bool rewind() = 0;
  virtual size_t read(char *data, size_t size) = 0;
  virtual void skip(size_t distance) = 0;
  virtual bool is_at_end() = 0;

  const char *buffer_ = nullptr;  // the decoder's own
};

// A file that can seek, open at its beginning.
class FileSource final : public PictureSource {
 public:
  explicit FileSource(FILE *file) : file_(file) {}

 private:
  bool rewind() override { return fseek(file_, 0, SEEK_SET) == 0; }
  size_t read(char *data, size_t size) override { return fread(data, 1, size, file_); }
  void skip(size_t distance) override;
  bool is_at_end() override;

  FILE *file_;
};

class MemorySource final : public PictureSource {
 public:
  MemorySource(const uint8_t *data, size_t length) : data_(data), length_(length) {}

 private:
  bool rewind() override {
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
