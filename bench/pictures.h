// Frames and tensors that the implementations share: each reads and writes the same memory, so
// that none has it warmer than the others.
#pragma once

#include <map>
#include <tuple>

#include "bench/operations.h"
#include "common/owned.h"

namespace tavrine::bench {

class Pictures {
 public:
  // Noise, the same for the same picture.
  tavrine_frame_t *source(const Picture &picture) { return frame(picture, Role::kSource); }
  tavrine_frame_t *destination(const Picture &picture) {
    return frame(picture, Role::kDestination);
  }
  // Of 3 x height x width floats an image.
  tavrine_tensor_t *tensor(int32_t images, int32_t height, int32_t width);

 private:
  enum class Role { kSource, kDestination };
  tavrine_frame_t *frame(const Picture &picture, Role role);

  std::map<std::tuple<Role, uint32_t, int32_t, int32_t>, OwnedFrame> frames_;
  std::map<std::tuple<int32_t, int32_t, int32_t>, OwnedTensor> tensors_;
};

}  // namespace tavrine::bench
