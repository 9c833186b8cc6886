#include "io/picture_source.h"

#include <algorithm>
#include <cstring>

#include "io/codec_memory.h"

namespace tavrine {

// The decoder's first read fills a buffer inside the decoder, which it refills when it is used up.
// Larger blocks are read directly to their place. An empty refill or a short block means that the
// decoder needs more bytes than there are.
int PictureSource::on_read(void *source, char *data, int size) {
  auto *self = static_cast<PictureSource *>(source);
  if (self->buffer_ == nullptr) {
    self->buffer_ = data;
  }
  const auto got = static_cast<int>(self->read(data, static_cast<size_t>(size)));
  if (got == 0 || (data != self->buffer_ && got < size)) {
    throw CodecStopped();
  }
  return got;
}

void PictureSource::on_skip(void *source, int distance) {
  static_cast<PictureSource *>(source)->skip(static_cast<size_t>(std::max(distance, 0)));
}

int PictureSource::on_end(void *source) {
  return static_cast<PictureSource *>(source)->is_at_end() ? 1 : 0;
}

bool PictureSource::begins_with(std::string_view signature) {
  char start[8];
  const size_t size = std::min(signature.size(), sizeof(start));
  return rewind() && read(start, size) == size && signature == std::string_view(start, size);
}

int64_t FileSource::size() {
  const long end = fseek(file_, 0, SEEK_END) == 0 ? ftell(file_) : 0;
  return std::max(end, 0L);
}

void FileSource::skip(size_t distance) {
  if (fseek(file_, static_cast<long>(distance), SEEK_CUR) != 0) {
    throw CodecStopped();
  }
}

bool FileSource::is_at_end() {
  const int next = fgetc(file_);
  if (next != EOF) {
    ungetc(next, file_);
  }
  return next == EOF;
}

size_t MemorySource::read(char *data, size_t size) {
  size = std::min(size, length_ - position_);
  if (size > 0) {
    std::memcpy(data, data_ + position_, size);
  }
  position_ += size;
  return size;
}

void MemorySource::skip(size_t distance) { position_ += std::min(length_ - position_, distance); }

}  // namespace tavrine
