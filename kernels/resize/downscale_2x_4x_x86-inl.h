// The steps of downscale_2x_4x.cpp for SSSE3, SSE4 and AVX2. Included once for each of them.
#if defined(TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_X86_INL_H_
#undef TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_X86_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_DOWNSCALE_2X_4X_X86_INL_H_
#endif

#include "kernels/resize/overwriting_steps-inl.h"
#include "kernels/resize/steps_x86-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

template <int32_t kRatio, int32_t kChannels>
struct DownscaleStep;

template <int32_t kRatio, int32_t kChannels, int32_t kPixels, bool kIsShort>
using DownscaleRowStep =
    RowStep<kPixels, kChannels, kRatio * kChannels, kChannels == 3 ? 2 : 0, kIsShort>;

// Of three channels a block holds only four whole pixels.
template <int32_t kChannels>
constexpr int32_t kBlockToHalve = kChannels == 3 ? 12 : 16;

// 2:1. Neighbours of a channel are brought together and added in pairs, then the rows are added.
template <int32_t kChannels>
struct DownscaleStep<2, kChannels>
    : DownscaleRowStep<2, kChannels, kBlocksInRegister * kBlockToHalve<kChannels> / kChannels,
                       kChannels != 3> {
  static constexpr int32_t kBlockIn = kBlockToHalve<kChannels>;
  static constexpr int32_t kBlockOut = kBlockIn / 2;
  static constexpr int32_t kOverread = kChannels == 3 ? 1 : 0;

  DownscaleStep() {
    alignas(16) uint8_t pairs[16] = {};
    alignas(16) uint8_t triples[16] = {};
    for (int32_t i = 0; i < kBlockOut; ++i) {
      const int32_t first = i / kChannels * 2 * kChannels + i % kChannels;
      pairs[2 * i] = static_cast<uint8_t>(first);
      pairs[2 * i + 1] = static_cast<uint8_t>(first + kChannels);
      triples[i] = static_cast<uint8_t>(i);
      triples[kBlockOut + i] = static_cast<uint8_t>(8 + i);
    }
    pairs_ = hn::LoadDup128(Bytes(), pairs);
    triples_ = hn::LoadDup128(Bytes(), triples);
  }

  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    if constexpr (kChannels == 3) {
      const auto first = means(load_blocks(upper, 2 * kBlockIn), load_blocks(lower, 2 * kBlockIn));
      const auto second = means(load_blocks(upper + kBlockIn, 2 * kBlockIn),
                                load_blocks(lower + kBlockIn, 2 * kBlockIn));
      store_triples(hn::TableLookupBytes(pack_in_blocks(first, second), triples_), out);
    } else {
      const Bytes d;
      const ptrdiff_t lanes = byte_lanes();
      const auto first = means(hn::LoadU(d, upper), hn::LoadU(d, lower));
      const auto second = means(hn::LoadU(d, upper + lanes), hn::LoadU(d, lower + lanes));
      hn::StoreU(pack_in_order(first, second), d, out);
    }
    DownscaleStep::advance(out, upper, lower);
  }

 private:
  HWY_INLINE hn::VFromD<Words> sums(hn::VFromD<Bytes> bytes) const {
    return multiply_bytes(kChannels == 1 ? bytes : hn::TableLookupBytes(bytes, pairs_),
                          hn::Set(Bytes(), 1));
  }

  HWY_INLINE hn::VFromD<Words> means(hn::VFromD<Bytes> above, hn::VFromD<Bytes> below) const {
    return rounded_quarters(hn::Add(sums(above), sums(below)));
  }

  hn::VFromD<Bytes> pairs_;
  hn::VFromD<Bytes> triples_;  // the 6 bytes of either half of a block, one after the other
};

// 4:1. Each block makes four 32-bit sums, of one, two or four whole destination pixels:
//
//   GREY   four blocks of pixels   . a b .  . a b .  . a b .  . a b .
//   UV     two                     . . u v u v . .   . . u v u v . .
//   BGRA   one                     . . . . b g r a b g r a . . . .
//   RGB    one, and no fourth sum  r g b r g b ...   from the second of its four pixels on
//
// A shuffle brings each pair together, a multiplication by ones adds it. Where two zero bytes
// follow each pair, the 16-bit sums are 32-bit ones. Four registers of sums are packed to bytes.
template <int32_t kChannels>
struct DownscaleStep<4, kChannels>
    : DownscaleRowStep<4, kChannels,
                       kChannels == 3 ? 4 * kBlocksInRegister : 16 * kBlocksInRegister / kChannels,
                       false> {
  static constexpr int32_t kOverread = kChannels == 3 && kBlocksInRegister == 1 ? 1 : 0;

  DownscaleStep() {
    alignas(16) uint8_t first[16];
    alignas(16) uint8_t second[16];
    for (int32_t i = 0; i < 16; ++i) {
      first[i] = second[i] = 0x80;  // a zero byte
    }
    for (int32_t i = 0; i < (kChannels == 3 ? 3 : 4); ++i) {
      const int32_t pixel = i / kChannels * 4;
      // Of three channels the loads start at the pair, and the second half of a register's 32
      // bytes holds it from byte 8 on.
      const int32_t left = (pixel + (kChannels == 3 ? 0 : 1)) * kChannels + i % kChannels;
      first[4 * i] = static_cast<uint8_t>(left);
      first[4 * i + 1] = static_cast<uint8_t>(left + kChannels);
      second[4 * i] = static_cast<uint8_t>(left + (kChannels == 3 ? 8 : 0));
      second[4 * i + 1] = static_cast<uint8_t>(left + kChannels + (kChannels == 3 ? 8 : 0));
    }
    const BytesInBlock block;
    const auto low = hn::Load(block, first);
#if HWY_TARGET == HWY_AVX2
    pairs_ = hn::Combine(Bytes(), hn::Load(block, second), low);
    // Packing works within the halves of registers: 32-bit groups of bytes come out as those of
    // the first halves of all four registers, then those of the second.
    alignas(32) constexpr int32_t kInOrder[8] = {0, 4, 1, 5, 2, 6, 3, 7};
    alignas(32) constexpr int32_t kInPixelOrder[8] = {0, 1, 4, 5, 2, 3, 6, 7};
    order_ = hn::SetTableIndices(Ints(), kChannels == 3 ? kInPixelOrder : kInOrder);
#else
    pairs_ = low;
#endif
    alignas(16) constexpr uint8_t kTriples[16] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14};
    triples_ = hn::LoadDup128(Bytes(), kTriples);
  }

  HWY_INLINE void operator()(uint8_t *&out, const uint8_t *&upper, const uint8_t *&lower) const {
    const Words d16;
    const auto words = [&](ptrdiff_t i) {
      return rounded_quarters(
          hn::ReorderDemote2To(d16, sums(upper + offset(i), lower + offset(i)),
                               sums(upper + offset(i + 1), lower + offset(i + 1))));
    };
    auto bytes = pack_in_blocks(words(0), words(2));
#if HWY_TARGET == HWY_AVX2
    bytes = hn::BitCast(Bytes(), hn::TableLookupLanes(hn::BitCast(Ints(), bytes), order_));
#endif
    if constexpr (kChannels == 3) {
      store_triples(hn::TableLookupBytes(bytes, triples_), out);
    } else {
      hn::StoreU(bytes, Bytes(), out);
    }
    DownscaleStep::advance(out, upper, lower);
  }

 private:
  // Where the i-th of four registers starts. Of three channels a destination pixel stands for 12
  // bytes. 32 bytes hold the pairs of two pixels in different halves when these are two apart:
  // pixels 0 and 2, 1 and 3, 4 and 6, 5 and 7.
  static constexpr ptrdiff_t offset(ptrdiff_t i) {
    if (kChannels != 3) {
      return 16 * kBlocksInRegister * i;
    }
    return 3 + 12 * (kBlocksInRegister == 2 ? i / 2 * 4 + i % 2 : i);
  }

  HWY_INLINE hn::VFromD<Ints> sums(const uint8_t *above, const uint8_t *below) const {
    const Bytes d;
    const auto one = hn::Set(d, 1);
    if constexpr (kChannels == 1) {
      // The pairs lie together already: weights leave the other bytes out.
      const auto middle = hn::BitCast(d, hn::Set(Ints(), 0x00010100));
      const auto words = hn::Add(multiply_bytes(hn::LoadU(d, above), middle),
                                 multiply_bytes(hn::LoadU(d, below), middle));
      return multiply_words(words, hn::Set(Words(), 1));
    } else {
      return hn::BitCast(
          Ints(),
          hn::Add(multiply_bytes(hn::TableLookupBytesOr0(hn::LoadU(d, above), pairs_), one),
                  multiply_bytes(hn::TableLookupBytesOr0(hn::LoadU(d, below), pairs_), one)));
    }
  }

  hn::VFromD<Bytes> pairs_;
  hn::VFromD<Bytes> triples_;  // of 32-bit groups, one after the other
#if HWY_TARGET == HWY_AVX2
  decltype(hn::SetTableIndices(Ints(), static_cast<const int32_t *>(nullptr))) order_;
#endif
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
