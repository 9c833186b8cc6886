// The steps of subsample.cpp for SSSE3, SSE4 and AVX2. Included once for each of them.
#if defined(TAVRINE_KERNELS_RESIZE_SUBSAMPLE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_SUBSAMPLE_X86_INL_H_
#undef TAVRINE_KERNELS_RESIZE_SUBSAMPLE_X86_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_SUBSAMPLE_X86_INL_H_
#endif

#include "kernels/resize/overwriting_steps-inl.h"
#include "kernels/resize/steps_x86-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

template <int32_t kChannels>
struct SubsampleThirdsStep;

// One channel: three blocks of 16 bytes hold the middle bytes of 16 triples at bytes 1, 4, 7, 10,
// 13, then 0, 3, ... 15, then 2, 5, ... 14.
template <>
struct SubsampleThirdsStep<1> : RowStep<16 * kBlocksInRegister, 1, 3, 0, true> {
  SubsampleThirdsStep() {
    constexpr uint8_t kZero = 0x80;
    static constexpr ShuffleTable kFirst({1, 4, 7, 10, 13, kZero, kZero, kZero, kZero, kZero, kZero,
                                          kZero, kZero, kZero, kZero, kZero});
    static constexpr ShuffleTable kSecond(
        {kZero, kZero, kZero, kZero, kZero, 0, 3, 6, 9, 12, 15, kZero, kZero, kZero, kZero, kZero});
    static constexpr ShuffleTable kThird({kZero, kZero, kZero, kZero, kZero, kZero, kZero, kZero,
                                          kZero, kZero, kZero, 2, 5, 8, 11, 14});
    first_ = kFirst.load();
    second_ = kSecond.load();
    third_ = kThird.load();
  }

  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&row) const {
    const auto first = hn::TableLookupBytesOr0(load_blocks(row, 48), first_);
    const auto second = hn::TableLookupBytesOr0(load_blocks(row + 16, 48), second_);
    const auto third = hn::TableLookupBytesOr0(load_blocks(row + 32, 48), third_);
    hn::StoreU(hn::Or(hn::Or(first, second), third), Bytes(), out);
    advance(out, row);
  }

 private:
  hn::VFromD<Bytes> first_;
  hn::VFromD<Bytes> second_;
  hn::VFromD<Bytes> third_;
};

// Three channels: four of 12 pixels, which are bytes 3-5, 12-14, 21-23 and 30-32. A block from
// byte 3 and one from byte 17 hold them where every other four bytes of either make one block:
//
//   from byte  3   0 0 0 .  . . . .  . 1 1 1  . . . .
//   from byte 17   . . . .  2 2 2 .  . . . .  . 3 3 3
template <>
struct SubsampleThirdsStep<3> : RowStep<4 * kBlocksInRegister, 3, 9, 2, false> {
  SubsampleThirdsStep() {
    static constexpr ShuffleTable kOrder({0, 1, 2, 9, 10, 11, 4, 5, 6, 13, 14, 15});
    order_ = kOrder.load();
  }

  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&row) const {
    const auto mixed = hn::OddEven(hn::BitCast(Ints(), load_blocks(row + 17, 36)),
                                   hn::BitCast(Ints(), load_blocks(row + 3, 36)));
    const auto bytes = hn::TableLookupBytes(hn::BitCast(Bytes(), mixed), order_);
    store_triples(bytes, out);
    advance(out, row);
  }

 private:
  hn::VFromD<Bytes> order_;
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
