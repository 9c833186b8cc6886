// Brings source pixels of later destination rows into the cache. A destination row that slopes
// across the source leaves a line of the cache after a few pixels for a line of the next row, which
// the CPU does not foresee.
#pragma once

#include <hwy/base.h>

#include <cstdint>

#include "kernels/plane_view.h"

namespace tavrine {

class RowsAhead {
 public:
  // Far enough ahead to load from memory; near enough that the pixels are still there when needed.
  static constexpr int32_t kRows = 8;

  // Over kRows destination rows, positions move by so many columns and rows of the source.
  RowsAhead(const PlaneView &source, int32_t columns, int32_t rows)
      : distance_(static_cast<uintptr_t>(source.stride) * static_cast<uintptr_t>(rows) +
                  static_cast<uintptr_t>(source.channels) * static_cast<uintptr_t>(columns)) {}

  // The address may lie outside the source: nothing is read. GCC leaves a prefetch out that it does
  // not inline at once.
  HWY_INLINE void prefetch(const uint8_t *pixel) const {
    __builtin_prefetch(
        reinterpret_cast<const void *>(reinterpret_cast<uintptr_t>(pixel) + distance_));
  }

 private:
  uintptr_t distance_;
};

}  // namespace tavrine
