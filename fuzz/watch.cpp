#include "fuzz/watch.h"

#include <cstdio>
#include <cstdlib>

#include "tavrine_devkit.h"
#include "tavrine_mpp_devkit.h"

namespace tavrine::fuzz {

void require(bool holds, const char *what) {
  if (!holds) {
    std::fprintf(stderr, "fuzz: %s\n", what);
    std::abort();
  }
}

Watch::Watch() {
  tavrine_log_set_sink([](void *, int32_t, const char *, int32_t, const char *) {}, nullptr);
}

Watch::~Watch() {
  tavrine_devkit_clear_faults();
  tavrine_devkit_mpp_clear_faults();
  const tavrine_devkit_objects_t alive = tavrine_devkit_live_objects();
  require(alive.frames == 0, "leaked frames");
  require(alive.buffers == 0, "leaked buffers");
  require(alive.tensors == 0, "leaked tensors");
  require(alive.storage_blocks == 0, "leaked memory of frames or tensors");
  require(tavrine_devkit_live_mmz().blocks == 0, "leaked media memory");
}

void Watch::order_failures(Input &input) {
  constexpr const char *kPlatformCalls[] = {
      "HI_MPI_IVE_CSC",           "HI_MPI_IVE_Resize",          "HI_MPI_IVE_Query",
      "HI_MPI_SYS_GetVirMemInfo", "HI_MPI_SYS_MmzAlloc_Cached", "HI_MPI_SYS_MmzFlushCache",
      "HI_MPI_SYS_MflushCache"};
  constexpr HI_S32 kCodes[] = {-1, TAVRINE_DEVKIT_SYS_NO_MEMORY, TAVRINE_DEVKIT_IVE_ILLEGAL_PARAM,
                               HI_ERR_IVE_BUF_FULL, HI_ERR_IVE_QUERY_TIMEOUT};
  const uint8_t kind = input.byte();
  if ((kind & 7) == 1) {
    tavrine_devkit_inject_fault("*", input.between(1, 32));
  } else if ((kind & 7) == 2) {
    const char *name = input.one_of(kPlatformCalls);
    const HI_S32 code = input.one_of(kCodes);
    const int32_t first = input.between(1, 8);
    tavrine_devkit_mpp_inject_fault(name, first, input.between(1, 4), code,
                                    TAVRINE_DEVKIT_MPP_NOTHING);
  }
}

}  // namespace tavrine::fuzz
