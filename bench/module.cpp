#include "module.h"

#include <hwy/highway.h>

#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "calls.h"
#include "tavrine_aux.h"

namespace tavrine::bench {
namespace {

struct PreparedCall {
  PreparedCall(const Operation &operation, TavrineBenchMemory memory, void *arg)
      : pictures(memory, arg), call(library_call(operation, pictures)) {}

  Pictures pictures;
  Call call;
};

const std::vector<Operation> &operations() {
  static const std::vector<Operation> all = all_operations();
  return all;
}

int use_instruction_set(const char *name) {
  for (int64_t bits = hwy::SupportedTargets(); bits != 0; bits &= bits - 1) {
    const int64_t target = bits & -bits;
    if (std::strcmp(hwy::TargetName(target), name) == 0) {
      hwy::SetSupportedTargetsForTest(target);
      return 0;
    }
  }
  return -1;
}

int row_count() { return static_cast<int>(operations().size()); }

const char *row_name(int row) { return operations()[static_cast<size_t>(row)].name.c_str(); }

void *prepare(int row, TavrineBenchMemory memory, void *arg) try {
  auto prepared =
      std::make_unique<PreparedCall>(operations()[static_cast<size_t>(row)], memory, arg);
  return prepared->call ? prepared.release() : nullptr;
} catch (const std::exception &) {
  return nullptr;
}

int run(void *call, int64_t times) {
  const Call &prepared = static_cast<PreparedCall *>(call)->call;
  bool is_done = true;
  for (int64_t i = 0; i < times; ++i) {
    is_done = prepared() && is_done;
  }
  return is_done ? 0 : -1;
}

void release(void *call) { delete static_cast<PreparedCall *>(call); }

}  // namespace
}  // namespace tavrine::bench

extern "C" __attribute__((visibility("default"))) const TavrineBenchModule *tavrine_bench_module() {
  using namespace tavrine::bench;
  static const TavrineBenchModule module = {
      tavrine_aux_version, use_instruction_set, row_count, row_name, prepare, run, release};
  return &module;
}
