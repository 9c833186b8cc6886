// Operations, and what each of them returns when one of its core calls fails.
#pragma once

#include <functional>

#include "tests/support.h"

namespace tavrine::test {

constexpr int32_t kInjected = TAVRINE_DEVKIT_INJECTED_FAILURE;

// Runs an operation from `in` into a slot, which may hold a frame.
using Operation = std::function<int32_t(const tavrine_frame_t *in, tavrine_frame_t **out)>;

// What an operation returns when its nth call of a core function fails.
struct Outcome {
  static constexpr int32_t kEvery = 0;

  const char *call;
  int32_t nth;
  int32_t result;
};

// `in` has 20 x 16 pixels, or 96 x 64, which the engine accepts.
struct Scenario {
  const char *name;
  uint32_t format;
  int32_t memory;
  Operation run;
  std::vector<Outcome> outcomes;  // with an empty slot
  bool is_large = false;

  OwnedFrame make_input() const;
};

const std::vector<Scenario> &failure_scenarios();

}  // namespace tavrine::test
