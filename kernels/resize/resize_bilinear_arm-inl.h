// The steps of resize_bilinear.cpp for NEON. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_ARM_INL_H_
#endif

#include "kernels/resize/resample_tables-inl.h"
#include "kernels/resize/same_bytes_arm-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// A table lookup reads 32 bytes. Where that is too little, either half of a group has a lookup.
constexpr int32_t kGroupsInStep = 2;
constexpr Layout kLayouts[] = {
    {"resize.window", 1, 16, 8, 1, false},
    {"resize.two_windows", 2, 16, 8, 2, false},
    {"resize.four_windows", 4, 8, 8, 4, false},
    {"resize.two_windows_for_half", 4, 16, 4, 2, false},
    {"resize.four_windows_for_half", 8, 8, 4, 4, false},
};

// The entries of the two groups of a step share three blocks of 32 bytes, each for one load:
//
//   controls   first and second neighbours of group 0, of group 1
//   weights    high parts of first and second neighbours, low parts of both, of group 0
//              the same of group 1
constexpr int32_t entry_bytes(const Layout & /*layout*/) { return 48; }

// Products of bytes are added as 16-bit words. Weights up to 2048 are split into bytes:
// w = 16 h + l, h <= 128, l <= 15. With bytes p, q and weights w, v
//
//   (p w + q v) >> 4 = (p h(w) + q h(v)) + ((p l(w) + q l(v)) >> 4)
//
// holds exactly, because the first term counts whole 16ths. Two weights add up to 2049 at most, as
// each is rounded by at most a half. So h(w) + h(v) <= 128, and the sums are at most
// 255 * 128 = 32640 and 255 * 30 = 7650; together at most 255 * 2049 / 16 = 32655.
HWY_INLINE void enter_group(int32_t *bases, uint8_t *entries, const Layout &layout, ptrdiff_t group,
                            const Starts &starts, const Picks &picks) {
  for (int32_t window = 0; window < layout.windows; ++window) {
    bases[group * layout.windows + window] = starts[static_cast<size_t>(window)];
  }
  uint8_t *step = entries + group / kGroupsInStep * 96;
  uint8_t *control = step + group % kGroupsInStep * 16;
  uint8_t *weights = step + 32 + group % kGroupsInStep * 32;
  for (size_t i = 0; i < kSamplesInGroup; ++i) {
    // In a lookup of half a group, the first neighbours of four samples come before the second.
    const bool is_half = layout.samples_in_lookup == 4;
    const size_t position = is_half ? i / 4 * 8 + i % 4 : i;
    const size_t distance = is_half ? 4 : 8;
    const int32_t window = picks.window[i] * layout.window_bytes % 32;
    control[position] = static_cast<uint8_t>(window + picks.first[i]);
    control[position + distance] = static_cast<uint8_t>(window + picks.second[i]);
    weights[i] = static_cast<uint8_t>(picks.first_weight[i] / 16);
    weights[i + 8] = static_cast<uint8_t>(picks.second_weight[i] / 16);
    weights[i + 16] = static_cast<uint8_t>(picks.first_weight[i] % 16);
    weights[i + 24] = static_cast<uint8_t>(picks.second_weight[i] % 16);
  }
}

// Rows point to a window, and the tables have the distances from each to the next.
HWY_INLINE int32_t finish_bases(int32_t *bases, int64_t count) {
  const int32_t first = bases[0];
  for (int64_t i = 1; i < count; ++i) {
    bases[i - 1] = bases[i] - bases[i - 1];
  }
  bases[count - 1] = 0;
  return first;
}

using Samples = int16x8_t;

struct RowStep {
  Samples low;
  Samples high;
};

struct Neighbours {
  uint8x8_t first;
  uint8x8_t second;
};

// A row's next window, and the distance to the one after it. Assembly, because GCC 12 adds the
// distance by an instruction of its own.
HWY_INLINE uint8x16_t load_window(const uint8_t *&window, int32_t distance) {
#if TAVRINE_IS_ARMV7
  using Bytes16 = uint8_t[16];
  uint8x16_t bytes;
  asm("vld1.8 {%e[bytes], %f[bytes]}, [%[window]], %[distance]"
      : [bytes] "=w"(bytes), [window] "+r"(window)
      : [distance] "r"(distance),
        "m"(*static_cast<const Bytes16 *>(static_cast<const void *>(window))));
  return bytes;
#else
  const uint8x16_t bytes = vld1q_u8(window);
  window += distance;
  return bytes;
#endif
}

// Looks up bytes in the next 32 bytes of windows: two of 16, or four of 8.
#if TAVRINE_IS_ARMV7

// Assembly, because GCC 12 puts the four registers of a table together on the stack: 18.2
// instructions a pixel of RGB24 at 6.4:1 become 16.5.
#define TAVRINE_LOAD_TWO_WINDOWS                  \
  "vld1.8 {d16, d17}, [%[row]], %[distance0]\n\t" \
  "vld1.8 {d18, d19}, [%[row]], %[distance1]\n\t"
#define TAVRINE_LOAD_FOUR_WINDOWS            \
  "vld1.8 {d16}, [%[row]], %[distance0]\n\t" \
  "vld1.8 {d17}, [%[row]], %[distance1]\n\t" \
  "vld1.8 {d18}, [%[row]], %[distance2]\n\t" \
  "vld1.8 {d19}, [%[row]], %[distance3]\n\t"

template <int32_t kWindowBytes>
HWY_INLINE uint8x8_t look_up_32(const uint8_t *&row, const int32_t *distances, uint8x8_t control) {
  uint8x8_t bytes;
  if constexpr (kWindowBytes == 16) {
    asm volatile(
        TAVRINE_LOAD_TWO_WINDOWS "vtbl.8 %P[bytes], {d16-d19}, %P[control]"
        : [bytes] "=w"(bytes), [row] "+&r"(row)
        : [distance0] "r"(distances[0]), [distance1] "r"(distances[1]), [control] "w"(control)
        : "d16", "d17", "d18", "d19", "memory");
  } else {
    asm volatile(
        TAVRINE_LOAD_FOUR_WINDOWS "vtbl.8 %P[bytes], {d16-d19}, %P[control]"
        : [bytes] "=w"(bytes), [row] "+&r"(row)
        : [distance0] "r"(distances[0]), [distance1] "r"(distances[1]),
          [distance2] "r"(distances[2]), [distance3] "r"(distances[3]), [control] "w"(control)
        : "d16", "d17", "d18", "d19", "memory");
  }
  return bytes;
}

template <int32_t kWindowBytes>
HWY_INLINE Neighbours look_up_32(const uint8_t *&row, const int32_t *distances, uint8x8_t first,
                                 uint8x8_t second) {
  Neighbours bytes;
  if constexpr (kWindowBytes == 16) {
    asm volatile(
        TAVRINE_LOAD_TWO_WINDOWS
        "vtbl.8 %P[first_bytes], {d16-d19}, %P[first]\n\t"
        "vtbl.8 %P[second_bytes], {d16-d19}, %P[second]"
        : [first_bytes] "=&w"(bytes.first), [second_bytes] "=w"(bytes.second), [row] "+&r"(row)
        : [distance0] "r"(distances[0]), [distance1] "r"(distances[1]), [first] "w"(first),
          [second] "w"(second)
        : "d16", "d17", "d18", "d19", "memory");
  } else {
    asm volatile(
        TAVRINE_LOAD_FOUR_WINDOWS
        "vtbl.8 %P[first_bytes], {d16-d19}, %P[first]\n\t"
        "vtbl.8 %P[second_bytes], {d16-d19}, %P[second]"
        : [first_bytes] "=&w"(bytes.first), [second_bytes] "=w"(bytes.second), [row] "+&r"(row)
        : [distance0] "r"(distances[0]), [distance1] "r"(distances[1]),
          [distance2] "r"(distances[2]), [distance3] "r"(distances[3]), [first] "w"(first),
          [second] "w"(second)
        : "d16", "d17", "d18", "d19", "memory");
  }
  return bytes;
}

#undef TAVRINE_LOAD_TWO_WINDOWS
#undef TAVRINE_LOAD_FOUR_WINDOWS

#else

template <int32_t kWindowBytes>
HWY_INLINE uint8x8x4_t load_windows(const uint8_t *&row, const int32_t *distances) {
  uint8x8x4_t windows;
  if constexpr (kWindowBytes == 16) {
    for (int32_t i = 0; i < 2; ++i) {
      const uint8x16_t window = vld1q_u8(row);
      windows.val[2 * i] = vget_low_u8(window);
      windows.val[2 * i + 1] = vget_high_u8(window);
      row += distances[i];
    }
  } else {
    for (int32_t i = 0; i < 4; ++i) {
      windows.val[i] = vld1_u8(row);
      row += distances[i];
    }
  }
  return windows;
}

template <int32_t kWindowBytes>
HWY_INLINE uint8x8_t look_up_32(const uint8_t *&row, const int32_t *distances, uint8x8_t control) {
  return vtbl4_u8(load_windows<kWindowBytes>(row, distances), control);
}

template <int32_t kWindowBytes>
HWY_INLINE Neighbours look_up_32(const uint8_t *&row, const int32_t *distances, uint8x8_t first,
                                 uint8x8_t second) {
  const uint8x8x4_t table = load_windows<kWindowBytes>(row, distances);
  return {vtbl4_u8(table, first), vtbl4_u8(table, second)};
}

#endif

template <size_t kLayout>
HWY_INLINE Neighbours look_up(const uint8_t *&row, const int32_t *distances, uint8x8_t first,
                              uint8x8_t second) {
  constexpr Layout kHow = kLayouts[kLayout];
  if constexpr (kHow.windows == 1) {
    const auto table = same_bytes<uint8x8x2_t>(load_window(row, distances[0]));
    return {vtbl2_u8(table, first), vtbl2_u8(table, second)};
  } else if constexpr (kHow.samples_in_lookup == kSamplesInGroup) {
    return look_up_32<kHow.window_bytes>(row, distances, first, second);
  } else {
    const uint8x8_t low = look_up_32<kHow.window_bytes>(row, distances, first);
    const uint8x8_t high =
        look_up_32<kHow.window_bytes>(row, distances + kHow.windows_in_lookup, second);
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

template <size_t kLayout>
HWY_INLINE void resample_step(const uint8_t *&upper, const uint8_t *&lower, ResampleTables &tables,
                              RowStep &above, RowStep &below) {
  constexpr int32_t kWindows = kLayouts[kLayout].windows;
  const uint8x8x4_t controls = load_in_order(tables.entries);
  advance(tables.entries, 32);
  const uint8x8x4_t low = load_in_order(tables.entries);
  advance(tables.entries, 32);
  above.low = weigh(look_up<kLayout>(upper, tables.bases, controls.val[0], controls.val[1]), low);
  below.low = weigh(look_up<kLayout>(lower, tables.bases, controls.val[0], controls.val[1]), low);
  tables.bases += kWindows;
  const uint8x8x4_t high = load_in_order(tables.entries);
  advance(tables.entries, 32);
  above.high = weigh(look_up<kLayout>(upper, tables.bases, controls.val[2], controls.val[3]), high);
  below.high = weigh(look_up<kLayout>(lower, tables.bases, controls.val[2], controls.val[3]), high);
  tables.bases += kWindows;
}

HWY_INLINE RowStep load_step(const int16_t *&row) {
  const auto step = same_bytes<int16x8x2_t>(
      vld4_u64(static_cast<const uint64_t *>(static_cast<const void *>(row))));
  advance(row, 16);
  return {step.val[0], step.val[1]};
}

HWY_INLINE void store_step(const RowStep &samples, int16_t *&row) {
  vst1q_s16(row, samples.low);
  advance(row, 8);
  vst1q_s16(row, samples.high);
  advance(row, 8);
}

class RowWeights {
 public:
  HWY_INLINE RowWeights(int16_t upper, int16_t lower)
      : upper_(vdupq_n_s16(upper)), lower_(vdupq_n_s16(lower)) {}

  HWY_INLINE void store_blended(const RowStep &upper, const RowStep &lower, uint8_t *&out) const {
    vst1q_u8(out, vcombine_u8(blend(upper.low, lower.low), blend(upper.high, lower.high)));
    advance(out, 16);
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
