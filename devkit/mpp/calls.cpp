#include "calls.h"

#include <cstring>

namespace tavrine::devkit {
namespace {

struct FunctionState {
  const char *name;
  int32_t calls_before;  // calls that still succeed
  int32_t calls_left;    // calls that fail after these; 0: no fault pending
  Fault fault;
};

#define TAVRINE_STATE(name) {#name, 0, 0, {}},
FunctionState states[] = {TAVRINE_MPP_FUNCTIONS(TAVRINE_STATE)};
#undef TAVRINE_STATE

tavrine_devkit_mpp_observer_fn observer = nullptr;
void *observer_arg = nullptr;

FunctionState &state_of(MppFunction function) { return states[static_cast<size_t>(function)]; }

}  // namespace

std::recursive_mutex &platform_mutex() {
  static std::recursive_mutex mutex;
  return mutex;
}

const char *name_of(MppFunction function) { return state_of(function).name; }

std::optional<Fault> consume_fault(MppFunction function) {
  FunctionState &state = state_of(function);
  if (state.calls_left == 0) {
    return std::nullopt;
  }
  if (state.calls_before > 0) {
    --state.calls_before;
    return std::nullopt;
  }
  --state.calls_left;
  return state.fault;
}

void notify_observer(const tavrine_devkit_mpp_call_t &call) {
  if (observer != nullptr) {
    observer(observer_arg, &call);
  }
}

}  // namespace tavrine::devkit

using namespace tavrine::devkit;

int32_t tavrine_devkit_mpp_inject_fault(const char *name, int32_t first, int32_t count, HI_S32 code,
                                        int32_t does) {
  const std::lock_guard<std::recursive_mutex> lock(platform_mutex());
  for (FunctionState &state : states) {
    if (name != nullptr && std::strcmp(state.name, name) == 0 && first >= 1 && count >= 1) {
      state.calls_before = first - 1;
      state.calls_left = count;
      state.fault = {code, does != TAVRINE_DEVKIT_MPP_NOTHING};
      return 0;
    }
  }
  return -1;
}

int32_t tavrine_devkit_mpp_clear_faults() {
  const std::lock_guard<std::recursive_mutex> lock(platform_mutex());
  int32_t pending = 0;
  for (FunctionState &state : states) {
    pending += state.calls_left > 0 ? 1 : 0;
    state.calls_left = 0;
  }
  return pending;
}

void tavrine_devkit_mpp_set_observer(tavrine_devkit_mpp_observer_fn function, void *arg) {
  const std::lock_guard<std::recursive_mutex> lock(platform_mutex());
  observer = function;
  observer_arg = arg;
}
