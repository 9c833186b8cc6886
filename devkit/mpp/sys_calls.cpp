// The platform's memory functions.
#include "calls.h"
#include "mmz.h"

using namespace tavrine::devkit;

namespace {

HI_S32 serve_flush(MppFunction function, HI_U64 physical, void *address, HI_U32 size) {
  tavrine_devkit_mpp_call_t call = {};
  call.physical_address = physical;
  call.address = address;
  call.length = size;
  return serve(function, call, [&] { return flush_mmz(physical, address, size); });
}

}  // namespace

HI_S32 HI_MPI_SYS_GetVirMemInfo(const void *address, SYS_VIRMEM_INFO_S *info) {
  tavrine_devkit_mpp_call_t call = {};
  call.address = address;
  return serve(MppFunction::HI_MPI_SYS_GetVirMemInfo, call, [&] {
    if (info == nullptr) {
      return TAVRINE_DEVKIT_SYS_NULL_POINTER;
    }
    const std::optional<uint64_t> physical = physical_address_of(address);
    if (!physical) {
      return TAVRINE_DEVKIT_SYS_ILLEGAL_PARAM;
    }
    call.physical_address = *physical;
    info->u64PhyAddr = *physical;
    info->bCached = HI_TRUE;
    return HI_SUCCESS;
  });
}

HI_S32 HI_MPI_SYS_MmzAlloc_Cached(HI_U64 *physical, void **address, const HI_CHAR *block_name,
                                  const HI_CHAR *zone_name, HI_U32 size) {
  tavrine_devkit_mpp_call_t call = {};
  call.length = size;
  call.block_name = block_name;
  call.zone_name = zone_name;
  return serve(MppFunction::HI_MPI_SYS_MmzAlloc_Cached, call, [&] {
    const HI_S32 code = allocate_mmz(size, physical, address);
    if (code == HI_SUCCESS) {
      call.physical_address = *physical;
      call.address = *address;
    }
    return code;
  });
}

HI_S32 HI_MPI_SYS_MmzFree(HI_U64 physical, void *address) {
  tavrine_devkit_mpp_call_t call = {};
  call.physical_address = physical;
  call.address = address;
  return serve(MppFunction::HI_MPI_SYS_MmzFree, call, [&] { return free_mmz(physical, address); });
}

HI_S32 HI_MPI_SYS_MmzFlushCache(HI_U64 physical, void *address, HI_U32 size) {
  return serve_flush(MppFunction::HI_MPI_SYS_MmzFlushCache, physical, address, size);
}

HI_S32 HI_MPI_SYS_MflushCache(HI_U64 physical, void *address, HI_U32 size) {
  return serve_flush(MppFunction::HI_MPI_SYS_MflushCache, physical, address, size);
}
