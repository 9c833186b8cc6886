// The steps of subsample.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_SUBSAMPLE_ARM_INL_H_
#endif

#include "kernels/resize/same_bytes_arm-inl.h"
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
  static constexpr int32_t kOverwritten = 0;

  HWY_INLINE void operator()(const uint8_t *row, uint8_t *out) const {
    vst1q_u8(out, vld3q_u8(row).val[1]);
  }
};

// Three channels: 8 of 24 pixels. Their 24 bytes, 9 source bytes from pixel to pixel, come from
// three windows of the row, one for each 8 of them:
//
//   bytes 0-23    3 4 5  12 13 14  21 22
//   bytes 23-54   23  30 31 32  39 40 41  48
//   bytes 48-71   49 50  57 58 59  66 67 68
template <>
struct SubsampleThirdsStep<3> {
  static constexpr int32_t kPixels = 8;
  static constexpr int32_t kOverwritten = 0;

  SubsampleThirdsStep() {
    constexpr uint8_t kFirst[8] = {3, 4, 5, 12, 13, 14, 21, 22};
    constexpr uint8_t kSecond[8] = {0, 7, 8, 9, 16, 17, 18, 25};
    constexpr uint8_t kThird[8] = {1, 2, 9, 10, 11, 18, 19, 20};
    first_ = vld1_u8(kFirst);
    second_ = vld1_u8(kSecond);
    third_ = vld1_u8(kThird);
  }

  // Interleaving elements of 64 bits changes nothing: these load and store 24 or 32 bytes in order.
  HWY_INLINE void operator()(const uint8_t *row, uint8_t *out) const {
    uint8x8x3_t bytes;
    bytes.val[0] = vtbl3_u8(same_bytes<uint8x8x3_t>(vld3_u64(as_blocks(row))), first_);
    bytes.val[1] = vtbl4_u8(same_bytes<uint8x8x4_t>(vld4_u64(as_blocks(row + 23))), second_);
    bytes.val[2] = vtbl3_u8(same_bytes<uint8x8x3_t>(vld3_u64(as_blocks(row + 48))), third_);
    vst3_u64(as_blocks(out), same_bytes<uint64x1x3_t>(bytes));
  }

 private:
  static const uint64_t *as_blocks(const uint8_t *bytes) {
    return static_cast<const uint64_t *>(static_cast<const void *>(bytes));
  }
  static uint64_t *as_blocks(uint8_t *bytes) {
    return static_cast<uint64_t *>(static_cast<void *>(bytes));
  }

  uint8x8_t first_;
  uint8x8_t second_;
  uint8x8_t third_;
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
