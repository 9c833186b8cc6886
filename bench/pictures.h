// Frames and tensors over memory that all implementations share, so that none of them has it
// warmer in the cache than the others.
#pragma once

#include <map>
#include <memory>
#include <string>

#include "module.h"
#include "operations.h"
#include "tavrine_core.h"

namespace tavrine::bench {

struct Release {
  void operator()(tavrine_frame_t *frame) const { tavrine_frame_free(&frame); }
  void operator()(tavrine_tensor_t *tensor) const { tavrine_tensor_free(&tensor); }
  void operator()(tavrine_buffer_t *buffer) const { tavrine_buffer_free(&buffer); }
};
using OwnedFrame = std::unique_ptr<tavrine_frame_t, Release>;
using OwnedTensor = std::unique_ptr<tavrine_tensor_t, Release>;
using OwnedBuffer = std::unique_ptr<tavrine_buffer_t, Release>;

struct Bytes {
  const uint8_t *data;
  size_t size;
};

class Pictures {
 public:
  Pictures(TavrineBenchMemory memory, void *arg) : memory_(memory), arg_(arg) {}

  // The same content for the same picture.
  tavrine_frame_t *source(const Picture &picture) { return frame("source", picture); }
  tavrine_frame_t *destination(const Picture &picture) { return frame("destination", picture); }
  // Of 3 x height x width floats an image.
  tavrine_tensor_t *tensor(int32_t images, int32_t height, int32_t width);
  // A source picture as a JPEG file, or no bytes if no module has encoded it yet.
  Bytes jpeg_file(const Picture &picture);
  void set_jpeg_file(const Picture &picture, const Bytes &file);

 private:
  tavrine_frame_t *frame(const char *role, const Picture &picture);
  uint8_t *block(const std::string &name, size_t size, bool &is_new);
  uint8_t *jpeg_block(const Picture &picture);

  TavrineBenchMemory memory_;
  void *arg_;
  std::map<std::string, OwnedFrame> frames_;
  std::map<std::string, OwnedTensor> tensors_;
};

}  // namespace tavrine::bench
