// The row passes of the resampler in vectors. Included once for each instruction set.
#if defined(TAVRINE_HOST_KERNELS_RESIZE_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_HOST_KERNELS_RESIZE_ROWS_INL_H_
#undef TAVRINE_HOST_KERNELS_RESIZE_ROWS_INL_H_
#else
#define TAVRINE_HOST_KERNELS_RESIZE_ROWS_INL_H_
#endif

#include "host/kernels/resize_scalar.h"
#include "host/kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Samples are resampled four at a time. A group loads 16 source bytes from its base, and its
// control picks the bytes of both neighbours of each sample, widened to words, where its weights
// lie. Multiplying words in pairs and adding each pair is one instruction on x86; NEON
// multiplies halves, so there the first neighbours fill the lower half of the block.
constexpr int32_t kSamplesInGroup = 4;
constexpr int32_t kSamplesInStep = 16;  // rows of taps and samples are padded to whole steps

struct GroupTables {
  int32_t *bases;
  uint8_t *controls;  // 16 a group
  int16_t *weights;   // 8 a group
};

// Where the words of a sample stand in its group's block.
HWY_INLINE int32_t first_word(int32_t sample) { return TAVRINE_IS_NEON ? sample : 2 * sample; }
HWY_INLINE int32_t second_word(int32_t sample) {
  return TAVRINE_IS_NEON ? sample + kSamplesInGroup : 2 * sample + 1;
}

// The order in which the groups of a step are loaded. Registers of two blocks are packed block
// by block, which brings them back into order.
HWY_INLINE int32_t group_at(int32_t position) {
  constexpr int32_t kTwoBlocks[4] = {0, 2, 1, 3};
  return hn::MaxLanes(Bytes()) == 32 ? kTwoBlocks[position] : position;
}

// Resamples one row of whole steps.
HWY_INLINE void resample_groups(const uint8_t *source, const GroupTables &tables, int32_t samples,
                                int16_t *row) {
#if TAVRINE_IS_NEON
  const uint8_t *control = tables.controls;
  const int16_t *weights = tables.weights;
  const int32_t *base = tables.bases;
  const auto group = [&]() {
    const uint8x16_t bytes = vld1q_u8(source + *base++);
    const uint8x8x2_t table = {{vget_low_u8(bytes), vget_high_u8(bytes)}};
    const int16x4_t first = vreinterpret_s16_u8(vtbl2_u8(table, vld1_u8(control)));
    const int16x4_t second = vreinterpret_s16_u8(vtbl2_u8(table, vld1_u8(control + 8)));
    const int32x4_t product = vmull_s16(first, vld1_s16(weights));
    const int16x4_t sum = vshrn_n_s32(vmlal_s16(product, second, vld1_s16(weights + 4)), 4);
    control += 16;
    weights += 8;
    return sum;
  };
  for (int32_t i = 0; i < samples; i += 8) {
    const int16x4_t low = group();
    const int16x4_t high = group();
    vst1q_s16(row + i, vcombine_s16(low, high));
  }
#else
  const Bytes d8;
  const Words d16;
  const hn::ScalableTag<int32_t> d32;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  const int32_t groups_in_register = lanes / 16;
  const auto products = [&](int32_t group) {
    hn::VFromD<Bytes> bytes;
#if HWY_TARGET == HWY_AVX2
    const BytesInBlock block;
    bytes = hn::Combine(d8, hn::LoadU(block, source + tables.bases[group + 1]),
                        hn::LoadU(block, source + tables.bases[group]));
#else
    bytes = hn::LoadU(d8, source + tables.bases[group]);
#endif
    const auto control = hn::LoadU(d8, tables.controls + 16 * group);
    const auto words = hn::BitCast(d16, hn::TableLookupBytesOr0(bytes, control));
    auto unused = hn::Zero(d32);
    return hn::ShiftRight<4>(hn::ReorderWidenMulAccumulate(
        d32, words, hn::LoadU(d16, tables.weights + 8 * group), hn::Zero(d32), unused));
  };
  for (int32_t i = 0; i < samples; i += lanes / 2) {
    const int32_t group = i / kSamplesInGroup;
    hn::StoreU(hn::ReorderDemote2To(d16, products(group), products(group + groups_in_register)),
               d16, row + i);
  }
#endif
}

HWY_INLINE hn::VFromD<BytesInBlock> blend_16(const int16_t *upper, const int16_t *lower,
                                             hn::VFromD<Words> first, hn::VFromD<Words> second) {
  const Words d16;
  const auto two = hn::Set(d16, 2);
  const auto blend = [&](int32_t i) {
    const auto sum = hn::Add(hn::MulHigh(hn::LoadU(d16, upper + i), first),
                             hn::MulHigh(hn::LoadU(d16, lower + i), second));
    return hn::ShiftRight<2>(hn::Add(sum, two));
  };
#if HWY_TARGET == HWY_AVX2
  return hn::DemoteTo(BytesInBlock(), blend(0));
#else
  return saturate_to_bytes(blend(0), blend(8));
#endif
}

#endif  // TAVRINE_HAS_VECTORS

HWY_INLINE void blend_row(const int16_t *upper, const int16_t *lower, const scalar::Tap &tap,
                          int32_t samples, uint8_t *destination) {
#if TAVRINE_HAS_VECTORS
  if (samples >= 16) {
    const BytesInBlock d8;
    const auto first = hn::Set(Words(), tap.first);
    const auto second = hn::Set(Words(), tap.second);
    int32_t i = 0;
    for (; i <= samples - 16; i += 16) {
      hn::StoreU(blend_16(upper + i, lower + i, first, second), d8, destination + i);
    }
    if (i != samples) {  // the last block overlaps the one before
      i = samples - 16;
      hn::StoreU(blend_16(upper + i, lower + i, first, second), d8, destination + i);
    }
    return;
  }
#endif
  scalar::blend_rows(upper, lower, tap, samples, destination);
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
