// Scratch memory for vectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "common/allocate.h"

namespace tavrine {

// Elements from an address that is a multiple of 32 on, so that no load of a register crosses a
// cache line: those cost twice.
template <typename Element>
class AlignedScratch {
 public:
  // False when memory ran out.
  bool allocate(int64_t count) {
    constexpr size_t kAlignment = 32;
    memory_ =
        tavrine::allocate<Element>(count + static_cast<int64_t>(kAlignment / sizeof(Element)));
    if (!memory_) {
      return false;
    }
    const size_t past = reinterpret_cast<uintptr_t>(memory_.get()) % kAlignment;
    data_ = memory_.get() + (past == 0 ? 0 : kAlignment - past) / sizeof(Element);
    return true;
  }

  Element *data() const { return data_; }

 private:
  std::unique_ptr<Element[]> memory_;
  Element *data_ = nullptr;
};

}  // namespace tavrine
