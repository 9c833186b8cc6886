// The memory that the engine works with during a resize.
#pragma once

#include "hisvp/mpp.h"

namespace tavrine {

class ScratchBlock {
 public:
  static constexpr HI_U32 kBytes = 1024;

  ScratchBlock()
      : code_(HI_MPI_SYS_MmzAlloc_Cached(&physical_, &address_, "BUFF", nullptr, kBytes)) {}
  // Also frees what a failed allocation may have left in the variables.
  ~ScratchBlock() {
    if (!is_abandoned_) {
      HI_MPI_SYS_MmzFree(physical_, address_);
    }
  }
  ScratchBlock(const ScratchBlock &) = delete;
  ScratchBlock &operator=(const ScratchBlock &) = delete;

  // The allocation's result.
  HI_S32 code() const { return code_; }
  HI_U64 physical() const { return physical_; }
  const void *address() const { return address_; }

  // Never frees the block.
  void abandon() { is_abandoned_ = true; }

 private:
  HI_U64 physical_ = 0;
  void *address_ = nullptr;
  bool is_abandoned_ = false;
  const HI_S32 code_;
};

}  // namespace tavrine
