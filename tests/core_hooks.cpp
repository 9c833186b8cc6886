#include "tests/core_hooks.h"

#include <dlfcn.h>

#include <utility>

namespace tavrine::test {
namespace {

CoreHooks active;

template <typename Function>
Function core_function(const char *name) {
  return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace

WithCoreHooks::WithCoreHooks(CoreHooks hooks) { active = std::move(hooks); }

WithCoreHooks::~WithCoreHooks() { active = {}; }

}  // namespace tavrine::test

// A program's functions take the place of a library's, also for the other libraries.
#define TAVRINE_EXPORTED extern "C" __attribute__((visibility("default")))

TAVRINE_EXPORTED int32_t tavrine_frame_mem_type(const tavrine_frame_t *frame) {
  static const auto in_core =
      tavrine::test::core_function<decltype(&tavrine_frame_mem_type)>("tavrine_frame_mem_type");
  const int32_t memory = in_core(frame);
  const auto &hook = tavrine::test::active.on_frame_mem_type;
  return hook ? hook(frame, memory) : memory;
}

TAVRINE_EXPORTED tavrine_frame_t *tavrine_frame_alloc(int32_t mem_type, uint32_t format,
                                                      int32_t width, int32_t height,
                                                      const int32_t strides[4], uint64_t extra) {
  static const auto in_core =
      tavrine::test::core_function<decltype(&tavrine_frame_alloc)>("tavrine_frame_alloc");
  tavrine_frame_t *frame = in_core(mem_type, format, width, height, strides, extra);
  const auto &hook = tavrine::test::active.on_frame_alloc;
  return hook ? hook(frame) : frame;
}
