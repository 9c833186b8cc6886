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

// Where two rows that are converted together have come to.
template <class Byte>
struct RowPair {
  Byte *upper;
  Byte *lower;
};

#if TAVRINE_HAS_VECTORS

// Of the conversions from and to packed pixels.
constexpr int32_t kPixelsInStep = 32;

// A step(in, out) converts kColumns pixels of kBytesIn to kBytesOut bytes and moves both pointers
// past them, which NEON's loads and stores do on the way. It touches no other pixels.

// Takes the last columns of a row, fewer than a step, through it on copies.
template <int32_t kColumns, size_t kBytesIn, size_t kBytesOut, class Step>
HWY_INLINE void finish_row(const uint8_t *in, int32_t columns, uint8_t *out, Step step) {
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);
    const PaddedInput<kColumns * kBytesIn> copy(in, kBytesIn * count);
    PaddedOutput<kColumns * kBytesOut> result;
    const uint8_t *from = copy.data();
    uint8_t *to = result.data();
    step(from, to);
    result.store(out, kBytesOut * count);
  }
}

// Takes a row of any length through steps. A row can be converted in place if its pixels keep their
// size.
template <int32_t kColumns, size_t kBytesIn, size_t kBytesOut, class Step>
HWY_INLINE void convert_row(const uint8_t *in, int32_t columns, uint8_t *out, Step step) {
  for (; columns >= kColumns; columns -= kColumns) {
    step(in, out);
  }
  finish_row<kColumns, kBytesIn, kBytesOut>(in, columns, out, step);
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
