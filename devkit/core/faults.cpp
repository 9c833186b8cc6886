#include "faults.h"

#include <atomic>
#include <cstring>

#include "core_api.h"

namespace tavrine::devkit {
namespace {

// Calls until the one that fails; 0: none will.
using CallsUntilFault = std::atomic<int32_t>;

struct OperationState {
  const char *name;
  bool can_fail;
  std::atomic<int32_t> calls{0};
  CallsUntilFault fault{0};
};

#define TAVRINE_FALLIBLE(name) {#name, true},
#define TAVRINE_INFALLIBLE(name) {#name, false},
OperationState states[] = {TAVRINE_OPERATIONS(TAVRINE_FALLIBLE, TAVRINE_INFALLIBLE)};
#undef TAVRINE_FALLIBLE
#undef TAVRINE_INFALLIBLE

CallsUntilFault fault_of_any{0};

OperationState &state_of(Operation operation) { return states[static_cast<size_t>(operation)]; }

OperationState *find(const char *name) {
  for (OperationState &state : states) {
    if (std::strcmp(state.name, name) == 0) {
      return &state;
    }
  }
  return nullptr;
}

bool is_any(const char *name) { return std::strcmp(name, "*") == 0; }

// True for exactly one of the calls, also when several threads call at once.
bool consume_fault(CallsUntilFault &fault) {
  int32_t left = fault.load();
  while (left > 0) {
    if (fault.compare_exchange_weak(left, left - 1)) {
      return left == 1;
    }
  }
  return false;
}

}  // namespace

bool should_inject_fault(Operation operation) {
  count_call(operation);
  const bool named = consume_fault(state_of(operation).fault);
  return consume_fault(fault_of_any) || named;
}

void count_call(Operation operation) { ++state_of(operation).calls; }

}  // namespace tavrine::devkit

using namespace tavrine::devkit;

int32_t tavrine_devkit_inject_fault(const char *name, int32_t n) {
  if (name == nullptr || n < 1) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (is_any(name)) {
    fault_of_any = n;
    return TAVRINE_OK;
  }
  OperationState *state = find(name);
  if (state == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!state->can_fail) {
    return TAVRINE_NOT_SUPPORTED;
  }
  state->fault = n;
  return TAVRINE_OK;
}

int32_t tavrine_devkit_clear_faults() {
  int32_t pending = fault_of_any.exchange(0) > 0 ? 1 : 0;
  for (OperationState &state : states) {
    pending += state.fault.exchange(0) > 0 ? 1 : 0;
  }
  return pending;
}

int32_t tavrine_devkit_call_count(const char *name) {
  if (name == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (is_any(name)) {
    int32_t sum = 0;
    for (const OperationState &state : states) {
      sum += state.can_fail ? state.calls.load() : 0;
    }
    return sum;
  }
  const OperationState *state = find(name);
  return state != nullptr ? state->calls.load() : static_cast<int32_t>(TAVRINE_INVALID_ARGUMENT);
}

void tavrine_devkit_reset_call_counts() {
  for (OperationState &state : states) {
    state.calls = 0;
  }
}
