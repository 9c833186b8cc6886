// Rows in steps that may write a few bytes more than their pixels. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_
#undef TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_OVERWRITING_STEPS_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// The constants of a step, and the way to the next one.
template <int32_t kPixels_, int32_t kPixelBytes_, int32_t kSourceBytes_, int32_t kOverwritten_,
          bool kIsShort_>
struct RowStep {
  static constexpr int32_t kPixels = kPixels_;
  static constexpr int32_t kPixelBytes = kPixelBytes_;
  static constexpr int32_t kSourceBytes = kSourceBytes_;
  static constexpr int32_t kOverwritten = kOverwritten_;
  static constexpr bool kIsShort = kIsShort_;

  template <class... Sources>
  static HWY_INLINE void advance(uint8_t *&out, Sources &...sources) {
    ((sources += kPixels * kSourceBytes), ...);
    out += kPixels * kPixelBytes;
  }
};

// Makes a row in steps, at least one. A step has
//
//   static constexpr int32_t kPixels;       // destination pixels that it makes
//   static constexpr int32_t kPixelBytes;   // bytes of one
//   static constexpr int32_t kSourceBytes;  // bytes of each source row that it stands for
//   static constexpr int32_t kOverwritten;  // pixels that it may write after its own
//   static constexpr bool kIsShort;         // the loop costs as much: it takes four at a time
//   void operator()(uint8_t *&out, const uint8_t *&source...) const;  // moves pointers to the next
//
// A RowStep has all but the last. The next step replaces what one has overwritten. Steps near the
// end of the row, the last of which overlaps the one before, write to a copy.
template <class Step, class... Sources>
HWY_INLINE void for_each_overwriting_step(const Step &step, int32_t columns, uint8_t *out,
                                          Sources... sources) {
  constexpr int32_t kPixels = Step::kPixels;
  int32_t left = columns;
  if constexpr (Step::kIsShort) {
    for (; left >= 4 * kPixels + Step::kOverwritten; left -= 4 * kPixels) {
      step(out, sources...);
      step(out, sources...);
      step(out, sources...);
      step(out, sources...);
    }
  }
  for (; left >= kPixels + Step::kOverwritten; left -= kPixels) {
    step(out, sources...);
  }
  for (; left > 0; left -= kPixels) {
    const ptrdiff_t back = left < kPixels ? kPixels - left : 0;
    out -= back * Step::kPixelBytes;
    ((sources -= back * Step::kSourceBytes), ...);
    PaddedOutput<size_t{kPixels + Step::kOverwritten} * Step::kPixelBytes> end;
    uint8_t *end_out = end.data();
    step(end_out, sources...);
    end.store(out, size_t{kPixels} * Step::kPixelBytes);
    out += ptrdiff_t{kPixels} * Step::kPixelBytes;
  }
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
