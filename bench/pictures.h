// Frames and tensors that the implementations share: each reads and writes the same memory, so
// that none has it warmer than the others.
#pragma once

#include <map>
#include <string>

#include "bench/module.h"
#include "bench/operations.h"
#include "common/owned.h"

namespace tavrine::bench {

class Pictures {
 public:
  Pictures(TavrineBenchMemory memory, void *arg) : memory_(memory), arg_(arg) {}

  // Noise, the same for the same picture.
  tavrine_frame_t *source(const Picture &picture) { return frame("source", picture); }
  tavrine_frame_t *destination(const Picture &picture) { return frame("destination", picture); }
  // Of 3 x height x width floats an image.
  tavrine_tensor_t *tensor(int32_t images, int32_t height, int32_t width);

 private:
  tavrine_frame_t *frame(const char *role, const Picture &picture);
  uint8_t *block(const std::string &name, size_t size, bool &is_new);

  TavrineBenchMemory memory_;
  void *arg_;
  std::map<std::string, OwnedFrame> frames_;
  std::map<std::string, OwnedTensor> tensors_;
};

}  // namespace tavrine::bench
