// Changes what the core returns to the library, for cores that behave in ways the devkit's does
// not.
#pragma once

#include <functional>

#include "tavrine_core.h"

namespace tavrine::test {

struct CoreHooks {
  // Receives what the core returned, and returns what the library shall see.
  std::function<int32_t(const tavrine_frame_t *frame, int32_t memory)> on_frame_mem_type;
  std::function<tavrine_frame_t *(tavrine_frame_t *frame)> on_frame_alloc;
};

// In force until this object goes. One thread only.
class WithCoreHooks {
 public:
  explicit WithCoreHooks(CoreHooks hooks);
  WithCoreHooks(const WithCoreHooks &) = delete;
  WithCoreHooks &operator=(const WithCoreHooks &) = delete;
  ~WithCoreHooks();
};

}  // namespace tavrine::test
