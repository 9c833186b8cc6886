// Rows in steps that may write a few bytes more than their pixels. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_
#undef TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_
#endif

#include <algorithm>

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Calls step(x, out) until all columns, of which there are enough for one step, are done. A step
// makes kPixels pixels and may write up to kOverwritten pixels after them, which the next step
// replaces. Steps near the end of the row, the last of which overlaps the one before, write to a
// copy.
template <int32_t kChannels, int32_t kPixels, int32_t kOverwritten, class Step>
HWY_INLINE void for_each_overwriting_step(int32_t columns, uint8_t *row, Step step) {
  int32_t x = 0;
  for (; x <= columns - kPixels - kOverwritten; x += kPixels) {
    step(x, row + static_cast<ptrdiff_t>(x) * kChannels);
  }
  for (; x < columns; x += kPixels) {
    const int32_t start = std::min(x, columns - kPixels);
    PaddedOutput<(kPixels + kOverwritten) * kChannels> end;
    step(start, end.data());
    end.store(row + static_cast<ptrdiff_t>(start) * kChannels, kPixels * kChannels);
  }
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
