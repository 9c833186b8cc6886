// Rows of pixels in steps of a fixed length. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_ROW_STEPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_ROW_STEPS_INL_H_
#undef TAVRINE_KERNELS_COLOR_ROW_STEPS_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_ROW_STEPS_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Of the conversions from and to packed pixels.
constexpr int32_t kPixelsInStep = 32;

// Calls step(in, out) for the last columns of a row, fewer than the kColumns of a step, on copies.
template <int32_t kColumns, size_t kBytesIn, size_t kBytesOut, class Step>
HWY_INLINE void finish_row(const uint8_t *in, int32_t columns, uint8_t *out, Step step) {
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);
    const PaddedInput<kColumns * kBytesIn> copy(in, kBytesIn * count);
    PaddedOutput<kColumns * kBytesOut> result;
    step(copy.data(), result.data());
    result.store(out, kBytesOut * count);
  }
}

// Calls step(in, out), which converts kColumns pixels of kBytesIn to kBytesOut bytes, for a row of
// any length. A step may not touch other pixels, so that a row can be converted in place if its
// pixels keep their size.
template <int32_t kColumns, size_t kBytesIn, size_t kBytesOut, class Step>
HWY_INLINE void convert_row(const uint8_t *in, int32_t columns, uint8_t *out, Step step) {
  for (; columns >= kColumns; columns -= kColumns) {
    step(in, out);
    in += kColumns * kBytesIn;
    out += kColumns * kBytesOut;
  }
  finish_row<kColumns, kBytesIn, kBytesOut>(in, columns, out, step);
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
