#include "module.h"

#include <dlfcn.h>
#include <hwy/detect_targets.h>

#include <cstdlib>
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

bool has_instruction_set(const std::string &name) {
  return (name == "AVX2" && __builtin_cpu_supports("avx2")) ||
         (name == "SSE4" && __builtin_cpu_supports("sse4.2")) ||
         (name == "SSSE3" && __builtin_cpu_supports("ssse3"));
}

int use_instruction_set(const char *name) {
  if (!has_instruction_set(name)) {
    return -1;
  }
  // This copy of the C library is the module's own, and nothing else has started yet.
  setenv("TAVRINE_INSTRUCTION_SET", name, 1);  // NOLINT(concurrency-mt-unsafe)
  // Revisions before this variable choose by Highway's library.
  const auto set_targets = reinterpret_cast<void (*)(int64_t)>(
      dlsym(RTLD_DEFAULT, "_ZN3hwy26SetSupportedTargetsForTestEl"));
  if (set_targets != nullptr) {
    const std::string set = name;
    set_targets(set == "AVX2" ? HWY_AVX2 : set == "SSE4" ? HWY_SSE4 : HWY_SSSE3);
  }
  return 0;
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
