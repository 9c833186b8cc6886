// The steps of resize_bilinear.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#endif

#include <array>

#include "kernels/resize/resample_tables-inl.h"
#include "kernels/resize/same_bytes_arm-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// A table lookup reads 32 bytes: one or two windows of 16, or four of 8. With a window for each
// sample, one lookup serves either half of a group.
constexpr int32_t kGroupsInStep = 2;
constexpr int32_t kWindowCounts[] = {1, 2, 4, 8};
constexpr int32_t window_bytes(int32_t windows) { return windows <= 2 ? 16 : 8; }

// The entries of the two groups of a step share three blocks of 32 bytes, each for one load:
//
//   controls   first and second neighbours of group 0, of group 1
//   weights    high parts of first and second neighbours, low parts of both, of group 0
//              the same of group 1
constexpr int32_t entry_bytes(int32_t /*windows*/) { return 48; }

// Products of bytes are added as 16-bit words. Weights up to 2048 are split into bytes:
// w = 16 h + l, h <= 128, l <= 15. With bytes p, q and weights w, v
//
//   (p w + q v) >> 4 = (p h(w) + q h(v)) + ((p l(w) + q l(v)) >> 4)
//
// holds exactly, because the first term counts whole 16ths. Two weights add up to 2049 at most, as
// each is rounded by at most a half. So h(w) + h(v) <= 128, and the sums are at most
// 255 * 128 = 32640 and 255 * 30 = 7650; together at most 255 * 2049 / 16 = 32655.
HWY_INLINE void enter_group(int32_t *bases, uint8_t *entries, int32_t windows, ptrdiff_t group,
                            const std::array<int32_t, kMaxWindows> &group_bases,
                            const std::array<Pick, kSamplesInGroup> &picks) {
  for (int32_t window = 0; window < windows; ++window) {
    bases[group * windows + window] = group_bases[static_cast<size_t>(window)];
  }
  uint8_t *step = entries + group / kGroupsInStep * 96;
  uint8_t *control = step + group % kGroupsInStep * 16;
  uint8_t *weights = step + 32 + group % kGroupsInStep * 32;
  for (int32_t i = 0; i < kSamplesInGroup; ++i) {
    const Pick &pick = picks[static_cast<size_t>(i)];
    // In a lookup of half a group, the first neighbours of four samples come before the second.
    const int32_t position = windows == kMaxWindows ? i / 4 * 8 + i % 4 : i;
    const int32_t distance = windows == kMaxWindows ? 4 : 8;
    const int32_t window = pick.window * window_bytes(windows) % 32;
    control[position] = static_cast<uint8_t>(window + pick.first);
    control[position + distance] = static_cast<uint8_t>(window + pick.second);
    weights[i] = static_cast<uint8_t>(pick.first_weight / 16);
    weights[i + 8] = static_cast<uint8_t>(pick.second_weight / 16);
    weights[i + 16] = static_cast<uint8_t>(pick.first_weight % 16);
    weights[i + 24] = static_cast<uint8_t>(pick.second_weight % 16);
  }
}

using Samples = int16x8_t;

struct Neighbours {
  uint8x8_t first;
  uint8x8_t second;
};

HWY_INLINE uint8x8x4_t load_windows(const uint8_t *row, const int32_t *bases) {
  return {{vld1_u8(row + bases[0]), vld1_u8(row + bases[1]), vld1_u8(row + bases[2]),
           vld1_u8(row + bases[3])}};
}

template <int32_t kWindows>
HWY_INLINE Neighbours look_up(const uint8_t *row, const int32_t *bases, uint8x8_t first,
                              uint8x8_t second) {
  if constexpr (kWindows == 1) {
    const auto table = same_bytes<uint8x8x2_t>(vld1q_u8(row + bases[0]));
    return {vtbl2_u8(table, first), vtbl2_u8(table, second)};
  } else if constexpr (kWindows == 2) {
    const uint8x16x2_t windows = {{vld1q_u8(row + bases[0]), vld1q_u8(row + bases[1])}};
    const auto table = same_bytes<uint8x8x4_t>(windows);
    return {vtbl4_u8(table, first), vtbl4_u8(table, second)};
  } else if constexpr (kWindows == 4) {
    const uint8x8x4_t table = load_windows(row, bases);
    return {vtbl4_u8(table, first), vtbl4_u8(table, second)};
  } else {
    const uint8x8_t low = vtbl4_u8(load_windows(row, bases), first);
    const uint8x8_t high = vtbl4_u8(load_windows(row, bases + 4), second);
    const uint32x2x2_t halves = vtrn_u32(vreinterpret_u32_u8(low), vreinterpret_u32_u8(high));
    return {vreinterpret_u8_u32(halves.val[0]), vreinterpret_u8_u32(halves.val[1])};
  }
}

HWY_INLINE Samples weigh(const Neighbours &bytes, const uint8x8x4_t &weights) {
  const uint16x8_t high =
      vmlal_u8(vmull_u8(bytes.first, weights.val[0]), bytes.second, weights.val[1]);
  const uint16x8_t low =
      vmlal_u8(vmull_u8(bytes.first, weights.val[2]), bytes.second, weights.val[3]);
  return vreinterpretq_s16_u16(vsraq_n_u16(high, low, 4));
}

// 32 bytes in order. Only loads of several registers that take elements apart are at hand, and
// there is nothing to take apart where an element fills a register.
HWY_INLINE uint8x8x4_t load_in_order(const uint8_t *aligned) {
  return same_bytes<uint8x8x4_t>(
      vld4_u64(static_cast<const uint64_t *>(static_cast<const void *>(aligned))));
}

template <int32_t kWindows, size_t kRows>
HWY_INLINE void resample_step(const std::array<const uint8_t *, kRows> &rows,
                              ResampleTables &tables, Samples (&samples)[kRows][2]) {
  const uint8x8x4_t controls = load_in_order(tables.entries);
  advance(tables.entries, 32);
  for (size_t i = 0; i < 2; ++i) {
    const uint8x8x4_t weights = load_in_order(tables.entries);
    advance(tables.entries, 32);
    for (size_t row = 0; row < kRows; ++row) {
      samples[row][i] = weigh(
          look_up<kWindows>(rows[row], tables.bases, controls.val[2 * i], controls.val[2 * i + 1]),
          weights);
    }
    tables.bases += kWindows;
  }
}

// A step of a resampled row goes to two registers alternately: one instruction loads or stores 32
// bytes then, where doing so in order takes two.
HWY_INLINE void load_step(const int16_t *row, Samples (&samples)[2]) {
  const int16x8x2_t step = vld2q_s16(row);
  samples[0] = step.val[0];
  samples[1] = step.val[1];
}

HWY_INLINE void store_step(const Samples (&samples)[2], int16_t *row) {
  vst2q_s16(row, (int16x8x2_t{{samples[0], samples[1]}}));
}

class RowWeights {
 public:
  HWY_INLINE RowWeights(int16_t upper, int16_t lower)
      : upper_(vdupq_n_s16(upper)), lower_(vdupq_n_s16(lower)) {}

  HWY_INLINE void store_blended(const Samples (&upper)[2], const Samples (&lower)[2],
                                uint8_t *out) const {
    vst1q_u8(out, vcombine_u8(blend(upper[0], lower[0]), blend(upper[1], lower[1])));
  }

 private:
  HWY_INLINE uint8x8_t blend(Samples upper, Samples lower) const {
    // The doubled high half, halved, is the high half.
    const int16x8_t sum =
        vsraq_n_s16(vshrq_n_s16(vqdmulhq_s16(upper, upper_), 1), vqdmulhq_s16(lower, lower_), 1);
    return vqrshrun_n_s16(sum, 2);
  }

  int16x8_t upper_;
  int16x8_t lower_;
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
