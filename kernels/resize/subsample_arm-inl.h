// The steps of subsample.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

template <int32_t kChannels>
struct SubsampleThirdsStep;

// One channel: a load takes triples apart.
template <>
struct SubsampleThirdsStep<1> {
  static constexpr int32_t kPixels = 16;
  static constexpr int32_t kPixelBytes = 1;
  static constexpr int32_t kSourceBytes = 3;
  static constexpr int32_t kOverwritten = 0;
  static constexpr bool kIsShort = true;

  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&row) const {
    vst1q_u8(out, vld3q_u8(row).val[1]);
    row += 48;
    out += 16;
  }
};

// Three channels: 8 of 24 pixels, 9 source bytes apart. Three windows hold their 24 bytes, 8 each,
// and a table lookup takes them from each:
//
//   bytes  0-23    3 4 5  12 13 14  21 22
//   bytes 23-54    23  30 31 32  39 40 41  48
//   bytes 48-71    49 50  57 58 59  66 67 68
template <>
struct SubsampleThirdsStep<3> {
  static constexpr int32_t kPixels = 8;
  static constexpr int32_t kPixelBytes = 3;
  static constexpr int32_t kSourceBytes = 9;
  static constexpr int32_t kOverwritten = 0;
  static constexpr bool kIsShort = true;

  SubsampleThirdsStep() {
    uint8_t order[24];
    for (int32_t i = 0; i < 24; ++i) {
      order[i] = static_cast<uint8_t>(i / 3 * 9 + 3 + i % 3 - kWindows[i / 8]);
    }
    first_ = vld1_u8(order);
    second_ = vld1_u8(order + 8);
    third_ = vld1_u8(order + 16);
  }

#if TAVRINE_IS_ARMV7

  // Assembly, because GCC 12 has no intrinsics that load or store three or four registers in order
  // and adds to pointers by instructions of their own: 1.3 instructions a pixel, not 1.9.
  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&row) const {
    asm("vld1.8 {d16-d18}, [%[row]], %[to_second]\n\t"
        "vld1.8 {d20-d23}, [%[row]], %[to_third]\n\t"
        "vld1.8 {d24-d26}, [%[row]]!\n\t"
        "vtbl.8 d28, {d16-d18}, %P[first]\n\t"
        "vtbl.8 d29, {d20-d23}, %P[second]\n\t"
        "vtbl.8 d30, {d24-d26}, %P[third]\n\t"
        "vst1.8 {d28-d30}, [%[out]]!"
        : [row] "+&r"(row), [out] "+&r"(out), "=m"(*static_cast<Result *>(static_cast<void *>(out)))
        : [to_second] "r"(kWindows[1] - kWindows[0]), [to_third] "r"(kWindows[2] - kWindows[1]),
          [first] "w"(first_), [second] "w"(second_), [third] "w"(third_),
          "m"(*static_cast<const Source *>(static_cast<const void *>(row)))
        : "d16", "d17", "d18", "d20", "d21", "d22", "d23", "d24", "d25", "d26", "d28", "d29",
          "d30");
  }

#else

  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&row) const {
    const uint8x8x3_t bytes = {{vtbl3_u8(vld1_u8_x3(row + kWindows[0]), first_),
                                vtbl4_u8(vld1_u8_x4(row + kWindows[1]), second_),
                                vtbl3_u8(vld1_u8_x3(row + kWindows[2]), third_)}};
    vst1_u8_x3(out, bytes);
    row += 72;
    out += 24;
  }

#endif

 private:
  static constexpr int32_t kWindows[3] = {0, 23, 48};
  using Source = uint8_t[kPixels * kSourceBytes];
  using Result = uint8_t[kPixels * kPixelBytes];

  uint8x8_t first_;
  uint8x8_t second_;
  uint8x8_t third_;
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
