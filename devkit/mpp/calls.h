// Every call of the platform goes through serve(): one at a time, with the faults that a test
// injects, and reported to its observer.
#pragma once

#include <mutex>
#include <optional>

#include "mpp_api.h"

namespace tavrine::devkit {

#define TAVRINE_MPP_FUNCTIONS(EACH) \
  EACH(HI_MPI_SYS_GetVirMemInfo)    \
  EACH(HI_MPI_SYS_MmzAlloc_Cached)  \
  EACH(HI_MPI_SYS_MmzFree)          \
  EACH(HI_MPI_SYS_MmzFlushCache)    \
  EACH(HI_MPI_SYS_MflushCache)      \
  EACH(HI_MPI_IVE_CSC)              \
  EACH(HI_MPI_IVE_Resize)           \
  EACH(HI_MPI_IVE_Query)

#define TAVRINE_ENUMERATOR(name) name,
enum class MppFunction { TAVRINE_MPP_FUNCTIONS(TAVRINE_ENUMERATOR) };
#undef TAVRINE_ENUMERATOR

struct Fault {
  HI_S32 code;
  bool does_its_work;
};

// Guards all state of the platform. Recursive, because an observer may call the platform.
std::recursive_mutex &platform_mutex();

const char *name_of(MppFunction function);
std::optional<Fault> consume_fault(MppFunction function);
void notify_observer(const tavrine_devkit_mpp_call_t &call);

// Serves a call whose record holds the arguments. `work` returns the code and may add results.
template <typename Work>
HI_S32 serve(MppFunction function, tavrine_devkit_mpp_call_t &call, Work work) {
  const std::lock_guard<std::recursive_mutex> lock(platform_mutex());
  call.name = name_of(function);
  const std::optional<Fault> fault = consume_fault(function);
  if (!fault || fault->does_its_work) {
    call.code = work();
  }
  if (fault) {
    call.code = fault->code;
  }
  notify_observer(call);
  return call.code;
}

}  // namespace tavrine::devkit
