// The row passes of the resampler in vectors. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_ROWS_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_ROWS_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_ROWS_INL_H_
#endif

#include <algorithm>
#include <cstring>

#include "kernels/resize/resize_scalar.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Samples are resampled four at a time. Such a group sees one to four windows of source bytes,
// each from a base of its own, and its controls pick the bytes of both neighbours of each sample
// and bring them where its weights lie.
constexpr int32_t kSamplesInGroup = 4;
constexpr int32_t kSamplesInStep = 16;  // rows of taps and samples are padded to whole steps
constexpr int32_t kMostWindows = 4;

struct GroupTables {
  int32_t *bases;     // one for each window
  uint8_t *controls;  // see control_bytes
  int16_t *weights;   // 8 a group
};

#if TAVRINE_IS_NEON

// One table lookup covers all windows, up to 32 bytes. NEON multiplies halves of a register, so
// the first neighbours stand before the second ones.
constexpr int32_t window_bytes(int32_t windows) { return windows == 4 ? 8 : 16; }
constexpr int32_t control_bytes(int32_t /*windows*/) { return 2 * kSamplesInGroup; }

#else

// A lookup for each window, of which each leaves zeros where another one has the bytes. They are
// widened to words at once: multiplying words in pairs and adding each pair is one instruction.
constexpr int32_t window_bytes(int32_t /*windows*/) { return 16; }
constexpr int32_t control_bytes(int32_t windows) { return 16 * windows; }

#endif

// What to pick for one sample of a group: bytes at offsets in a window, and their weights.
struct Pick {
  int32_t window;
  int32_t first;
  int32_t second;
  int16_t first_weight;
  int16_t second_weight;
};

// Enters a group into the tables, in the order in which resample_groups reads them.
HWY_INLINE void enter_group(const GroupTables &tables, int32_t windows, ptrdiff_t group,
                            const int32_t (&bases)[kMostWindows],
                            const Pick (&picks)[kSamplesInGroup]) {
#if TAVRINE_IS_NEON
  uint8_t *control = tables.controls + group * control_bytes(windows);
  int16_t *weights = tables.weights + 8 * group;
  std::copy_n(bases, windows, tables.bases + group * windows);
  for (int32_t i = 0; i < kSamplesInGroup; ++i) {
    const Pick &pick = picks[i];
    const int32_t window = pick.window * window_bytes(windows);
    control[i] = static_cast<uint8_t>(window + pick.first);
    control[i + kSamplesInGroup] = static_cast<uint8_t>(window + pick.second);
    weights[i] = pick.first_weight;
    weights[i + kSamplesInGroup] = pick.second_weight;
  }
#else
  // Registers of two blocks are packed block by block. To come out in order, the groups of a
  // step enter them as 0, 2 and 1, 3.
  constexpr int32_t kTwoBlocks[4] = {0, 2, 1, 3};
  const ptrdiff_t blocks = byte_lanes() / 16;
  const ptrdiff_t position = blocks == 2 ? group / 4 * 4 + kTwoBlocks[group % 4] : group;
  const ptrdiff_t in_register = position / blocks;
  const ptrdiff_t block = position % blocks;
  int16_t *weights = tables.weights + 8 * position;
  for (int32_t window = 0; window < windows; ++window) {
    const ptrdiff_t at = (in_register * windows + window) * blocks + block;
    uint8_t *control = tables.controls + 16 * at;
    tables.bases[at] = bases[window];
    std::fill_n(control, 16, uint8_t{0x80});  // zero bytes
    for (int32_t i = 0; i < kSamplesInGroup; ++i) {
      if (picks[i].window == window) {
        control[4 * i] = static_cast<uint8_t>(picks[i].first);
        control[4 * i + 2] = static_cast<uint8_t>(picks[i].second);
      }
    }
  }
  for (int32_t i = 0; i < kSamplesInGroup; ++i) {
    weights[2 * i] = picks[i].first_weight;
    weights[2 * i + 1] = picks[i].second_weight;
  }
#endif
}

#if TAVRINE_IS_NEON

// Registers of a table must follow each other, which the compiler only achieves when they are
// one object from the start.
template <typename To, typename From>
HWY_INLINE To same_bytes(const From &from) {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  std::memcpy(&to, &from, sizeof(to));
  return to;
}

template <int32_t kWindows>
HWY_INLINE uint8x8_t look_up(const uint8_t *source, const int32_t *bases, uint8x8_t control) {
  if constexpr (kWindows == 1) {
    return vtbl2_u8(same_bytes<uint8x8x2_t>(vld1q_u8(source + bases[0])), control);
  } else if constexpr (kWindows == 2) {
    const uint8x16x2_t windows = {{vld1q_u8(source + bases[0]), vld1q_u8(source + bases[1])}};
    return vtbl4_u8(same_bytes<uint8x8x4_t>(windows), control);
  } else {
    return vtbl4_u8({{vld1_u8(source + bases[0]), vld1_u8(source + bases[1]),
                      vld1_u8(source + bases[2]), vld1_u8(source + bases[3])}},
                    control);
  }
}

HWY_INLINE int16x4_t resample_group(uint8x8_t bytes, int16x8_t weights) {
  const int16x8_t words = vreinterpretq_s16_u16(vmovl_u8(bytes));
  const int32x4_t first = vmull_s16(vget_low_s16(words), vget_low_s16(weights));
  return vshrn_n_s32(vmlal_s16(first, vget_high_s16(words), vget_high_s16(weights)), 4);
}

// Resamples one row of whole steps.
template <int32_t kWindows>
HWY_NOINLINE void resample_groups(const uint8_t *source, const GroupTables &tables, int32_t samples,
                                  int16_t *row) {
  const int32_t *bases = tables.bases;
  const uint8_t *controls = tables.controls;
  const int16_t *weights = tables.weights;
  for (; samples > 0; samples -= 8) {
    const uint8x16_t control = vld1q_u8(controls);
    advance(controls, 16);
    const int16x8_t low_weights = vld1q_s16(weights);
    advance(weights, 8);
    const int16x8_t high_weights = vld1q_s16(weights);
    advance(weights, 8);
    const uint8x8_t low = look_up<kWindows>(source, bases, vget_low_u8(control));
    const uint8x8_t high = look_up<kWindows>(source, bases + kWindows, vget_high_u8(control));
    bases += 2 * kWindows;
    const int16x4x2_t sums = {
        {resample_group(low, low_weights), resample_group(high, high_weights)}};
    vst1q_s16(row, same_bytes<int16x8_t>(sums));
    advance(row, 8);
  }
}

HWY_INLINE uint8x8_t blend_8(int16x8_t upper, int16x8_t lower, int16x8_t first, int16x8_t second) {
  // The doubled high half, halved, is the high half.
  const int16x8_t sum =
      vsraq_n_s16(vshrq_n_s16(vqdmulhq_s16(upper, first), 1), vqdmulhq_s16(lower, second), 1);
  return vqrshrun_n_s16(sum, 2);
}

using RowWeight = int16x8_t;
HWY_INLINE RowWeight row_weight(int16_t weight) { return vdupq_n_s16(weight); }

// Samples go to two registers in turns: that takes one instruction for 16 of them, not two.
HWY_INLINE void blend_step(const int16_t *upper, const int16_t *lower, RowWeight first,
                           RowWeight second, uint8_t *destination) {
  const int16x8x2_t above = vld2q_s16(upper);
  const int16x8x2_t below = vld2q_s16(lower);
  vst2_u8(destination, {{blend_8(above.val[0], below.val[0], first, second),
                         blend_8(above.val[1], below.val[1], first, second)}});
}

#else

// Resamples one row of whole steps.
template <int32_t kWindows>
HWY_NOINLINE void resample_groups(const uint8_t *source, const GroupTables &tables, int32_t samples,
                                  int16_t *row) {
  const Bytes d8;
  const Words d16;
  const ptrdiff_t lanes = byte_lanes();
  const int32_t *bases = tables.bases;
  const uint8_t *controls = tables.controls;
  const int16_t *weights = tables.weights;
  const auto look_up = [&]() {
#if HWY_TARGET == HWY_AVX2
    const auto bytes = hn::Combine(d8, hn::LoadU(BytesInBlock(), source + bases[1]),
                                   hn::LoadU(BytesInBlock(), source + bases[0]));
#else
    const auto bytes = hn::LoadU(d8, source + bases[0]);
#endif
    const auto control = hn::LoadU(d8, controls);
    bases += lanes / 16;
    controls += lanes;
    return hn::TableLookupBytesOr0(bytes, control);
  };
  const auto products = [&]() {
    auto bytes = look_up();
    for (int32_t window = 1; window < kWindows; ++window) {
      bytes = hn::Or(bytes, look_up());
    }
    const auto weight = hn::LoadU(d16, weights);
    weights += lanes / 2;
    return hn::ShiftRight<4>(multiply_words(hn::BitCast(d16, bytes), weight));
  };
  for (const int16_t *end = row + samples; row < end; row += lanes / 2) {
    const auto low = products();
    hn::StoreU(hn::ReorderDemote2To(d16, low, products()), d16, row);
  }
}

using RowWeight = hn::VFromD<Words>;
HWY_INLINE RowWeight row_weight(int16_t weight) { return hn::Set(Words(), weight); }

HWY_INLINE void blend_step(const int16_t *upper, const int16_t *lower, RowWeight first,
                           RowWeight second, uint8_t *destination) {
  const Words d16;
  const auto quarter = hn::Set(d16, 1 << 13);  // times this, >> 15: a rounded quarter
  const auto blend = [&](ptrdiff_t i) {
    const auto sum = hn::Add(hn::MulHigh(hn::LoadU(d16, upper + i), first),
                             hn::MulHigh(hn::LoadU(d16, lower + i), second));
    return hn::MulFixedPoint15(sum, quarter);
  };
  hn::StoreU(pack_in_order(blend(0), blend(byte_lanes() / 2)), Bytes(), destination);
}

#endif

#endif  // TAVRINE_HAS_VECTORS

HWY_INLINE void blend_row(const int16_t *upper, const int16_t *lower, const scalar::Tap &tap,
                          int32_t samples, uint8_t *destination) {
#if TAVRINE_HAS_VECTORS
  const auto step = static_cast<int32_t>(byte_lanes());
  if (samples >= step) {
    const RowWeight first = row_weight(tap.first);
    const RowWeight second = row_weight(tap.second);
    int32_t i = 0;
    for (; i <= samples - step; i += step) {
      blend_step(upper + i, lower + i, first, second, destination + i);
    }
    if (i != samples) {  // the last step overlaps the one before
      i = samples - step;
      blend_step(upper + i, lower + i, first, second, destination + i);
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
