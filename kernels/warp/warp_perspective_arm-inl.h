// NEON: rows of the perspective warp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_
#endif

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <type_traits>

#include "kernels/path.h"
#include "kernels/warp/fused_division_arm-inl.h"
#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_grey_windows_arm-inl.h"
#include "kernels/warp/warp_neighbours_arm-inl.h"
#include "kernels/warp/warp_perspective_blend_arm-inl.h"
#include "kernels/warp/warp_perspective_positions-inl.h"
#include "kernels/warp/warp_perspective_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Pixels of a step.
template <int kChannels>
constexpr int32_t kPixelsInPerspectiveStep = kPixelsInWarpStep;

// NEON's vectors flush denormals to zero. With these matrices that changes no result:
//
// - The sums are multiples of 2^-123, the last bit of the smallest element, and below 2^93. They
// are
//   never denormal, and the scalar divisions, which keep denormals, get what the definition gets.
// - A quotient may be denormal. Let it be X; Y is alike. Then |w| > 2^126 * 2^-123 = 8, so
//   |Y| < 2^90. The fraction u = X is lost, |u| < 2^-126. 1 - u is 1 in any case, and of the four
//   terms only p01 u (1 - v) and p11 u v are lost, each below 2^8 * 2^-126 * 2^90 = 2^-28.
// - Let s be the sum of the other two terms. If |s| < 1/4, the result is 0 with the lost terms and
//   without. Otherwise rounding loses them too: half of the last bit of s is at least 2^-26, and
//   the first partial sum adds p00 (1 - v). That is 0, or at least 2^-24 where |v| < 1 and lost
//   terms are below 2^-117, or at least 2^7 where the row index is saturated and |v| at least 2^8.
//
// Whole parts of positions are kept in 16 bits.
inline bool is_fit_for_vectors(const PlaneView &source, const PerspectiveMatrix &matrix) {
  constexpr int32_t kMaxLength = std::numeric_limits<int16_t>::max();
  constexpr float kMin = 0x1p-100F;
  constexpr float kMax = 0x1p60F;
  return source.columns <= kMaxLength && source.rows <= kMaxLength &&
         std::all_of(std::begin(matrix.m), std::end(matrix.m), [](float element) {
           const float magnitude = std::fabs(element);
           return magnitude == 0 || (magnitude >= kMin && magnitude <= kMax);
         });
}

#if TAVRINE_IS_ARMV7

// Whether division in vectors may replace the scalar one. w rises or falls along rows and along
// columns, with every rounding, so all of its values lie between those at the corners. None of what
// divide_fused() computes is denormal or overflows: numerators are 0 or multiples of 2^-78, the
// last bit of the smallest element, and below 2^93, and a remainder is 0 or a multiple of 2^-48
// times its numerator.
inline bool fused_division_is_exact(const PerspectiveMatrix &matrix, const PlaneView &destination) {
  constexpr float kMinElement = 0x1p-55F;
  constexpr float kMinDivisor = 0x1p-30F;
  constexpr float kMaxDivisor = 0x1p30F;
  const float *m = matrix.m;
  if (!std::all_of(m, m + 9, [](float e) { return e == 0 || std::fabs(e) >= kMinElement; })) {
    return false;
  }
  const auto divisor = [&](int32_t x, int32_t y) {
    return static_cast<float>(y) * m[7] + static_cast<float>(x) * m[6] + m[8];
  };
  const int32_t right = destination.columns - 1;
  const int32_t bottom = destination.rows - 1;
  const auto corners = {divisor(0, 0), divisor(right, 0), divisor(0, bottom),
                        divisor(right, bottom)};
  const auto lie_between = [&](float low, float high) {
    return std::all_of(corners.begin(), corners.end(),
                       [=](float w) { return w >= low && w <= high; });
  };
  return lie_between(kMinDivisor, kMaxDivisor) || lie_between(-kMaxDivisor, -kMinDivisor);
}

#endif

// The columns that are warped together in all rows: few enough for the stack.
constexpr int32_t kStepsInStrip = 16;

// Of the columns of a step: their terms of the three sums.
struct ColumnTerms {
  float x[kPixelsInWarpStep];
  float y[kPixelsInWarpStep];
  float w[kPixelsInWarpStep];
};

// Where the pixels of a step lie. Whole parts beyond 16 bits are saturated: they are outside.
struct PlacedStep {
  Fractions fractions;
  int16_t columns[kPixelsInWarpStep];
  int16_t rows[kPixelsInWarpStep];
};

struct PlacedGreyStep : PlacedStep {
  uint8_t indices[kPixelsInWarpStep];  // 16 * row + column, from the first of the window
  uint8_t reach[kPixelsInWarpStep];    // the row; more than 3 where there is no window
  int16_t first[4];                    // column and row of the window
};

struct PlacedRgbStep : PlacedStep {
  int32_t offsets[kPixelsInWarpStep];
  uint8_t outside[kPixelsInWarpStep];  // the sign bit is set where a neighbour lies outside
};

template <int kChannels>
using PlacedStepOf = std::conditional_t<kChannels == 1, PlacedGreyStep, PlacedRgbStep>;

// The three sums of a row without the terms of the columns.
struct RowVectors {
  explicit RowVectors(const RowTerms &terms)
      : x(vdupq_n_f32(terms.x)),
        y(vdupq_n_f32(terms.y)),
        w(vdupq_n_f32(terms.w)),
        last_x(vdupq_n_f32(terms.matrix.m[2])),
        last_y(vdupq_n_f32(terms.matrix.m[5])),
        last_w(vdupq_n_f32(terms.matrix.m[8])) {}

  float32x4_t x, y, w, last_x, last_y, last_w;
};

// The whole parts of a step's positions.
struct WholeParts {
  int16x8_t columns;
  int16x8_t rows;
};

// Stores the fractions and the whole parts.
template <bool kFused>
HWY_INLINE WholeParts place(const RowVectors &row, const ColumnTerms &terms, PlacedStep &step) {
  const auto sum = [](float32x4_t term, const float *column, float32x4_t last) {
    return FloatVector(vaddq_f32(vaddq_f32(term, vld1q_f32(column)), last));
  };
  const auto split = [](FloatVector position, float(&fractions)[4]) {
    const int32x4_t whole = vcvtq_s32_f32(position.raw);
    vst1q_f32(fractions, vsubq_f32(position.raw, vcvtq_f32_s32(whole)));
    return vqmovn_s32(whole);
  };
  FloatVector x[2], y[2];
  for (int i = 0; i < 2; ++i) {
    x[i] = sum(row.x, terms.x + 4 * i, row.last_x);
    y[i] = sum(row.y, terms.y + 4 * i, row.last_y);
    divide(x[i], y[i], sum(row.w, terms.w + 4 * i, row.last_w));
  }
  Fractions &fractions = step.fractions;
  const int16x8_t columns =
      vcombine_s16(split(x[0], fractions.u_low), split(x[1], fractions.u_high));
  const int16x8_t rows = vcombine_s16(split(y[0], fractions.v_low), split(y[1], fractions.v_high));
  vst1q_s16(step.columns, columns);
  vst1q_s16(step.rows, rows);
  return {columns, rows};
}

#if TAVRINE_IS_ARMV7

// In assembly, because GCC keeps some of the registers in memory: three instructions a pixel more.
template <>
HWY_INLINE WholeParts place<true>(const RowVectors &row, const ColumnTerms &terms,
                                  PlacedStep &step) {
  const ColumnTerms *from = &terms;
  PlacedStep *to = &step;
  register int16x8_t columns asm("q12");
  register int16x8_t rows asm("q13");
  asm("vldm %[row], {d0-d11}\n\t"
      "vld1.32 {d12-d15}, [%[from]]!\n\t"  // x
      "vld1.32 {d16-d19}, [%[from]]!\n\t"  // y
      "vld1.32 {d20-d23}, [%[from]]\n\t"   // w
      "vadd.f32 q10, q10, q2\n\t"
      "vadd.f32 q11, q11, q2\n\t"
      "vadd.f32 q6, q6, q0\n\t"
      "vadd.f32 q7, q7, q0\n\t"
      "vadd.f32 q10, q10, q5\n\t"
      "vadd.f32 q11, q11, q5\n\t"
      "vadd.f32 q8, q8, q1\n\t"
      "vadd.f32 q9, q9, q1\n\t"
      "vadd.f32 q6, q6, q3\n\t"
      "vadd.f32 q7, q7, q3\n\t"
      "vadd.f32 q8, q8, q4\n\t"
      "vadd.f32 q9, q9, q4\n\t"  //
      TAVRINE_DIVIDE_FUSED("q6", "q7", "q8", "q9", "q10", "q11", "q12", "q13", "q14", "q15")
      "vcvt.s32.f32 q8, q14\n\t"
      "vcvt.s32.f32 q9, q15\n\t"
      "vcvt.s32.f32 q10, q6\n\t"
      "vcvt.s32.f32 q11, q7\n\t"
      "vqmovn.s32 d24, q8\n\t"
      "vcvt.f32.s32 q8, q8\n\t"
      "vqmovn.s32 d25, q9\n\t"
      "vcvt.f32.s32 q9, q9\n\t"
      "vqmovn.s32 d26, q10\n\t"
      "vcvt.f32.s32 q10, q10\n\t"
      "vqmovn.s32 d27, q11\n\t"
      "vcvt.f32.s32 q11, q11\n\t"
      "vsub.f32 q8, q14, q8\n\t"   // u, low
      "vsub.f32 q14, q15, q9\n\t"  // u, high
      "vsub.f32 q9, q6, q10\n\t"
      "vsub.f32 q15, q7, q11\n\t"
      "vst1.32 {d16-d19}, [%[to]]!\n\t"
      "vst1.32 {d28-d31}, [%[to]]!\n\t"
      "vst1.16 {d24-d27}, [%[to]]"
      : "=w"(columns), "=w"(rows), [from] "+r"(from), [to] "+r"(to), "=m"(step)
      : [row] "r"(&row), "m"(row), "m"(terms)
      : "q0", "q1", "q2", "q3", "q4", "q5", "q6", "q7", "q8", "q9", "q10", "q11", "q14", "q15");
  return {columns, rows};
}

#endif

// What placing steps needs of the source.
template <int kChannels>
class Placement;

// The sign bit is set where a neighbour, or a column that is read with them, lies outside.
HWY_INLINE uint8x8_t outside(const WholeParts &at, int16x8_t last_column, int16x8_t last_row) {
  const int16x8_t bits = vorrq_s16(vorrq_s16(at.columns, vqsubq_s16(last_column, at.columns)),
                                   vorrq_s16(at.rows, vqsubq_s16(last_row, at.rows)));
  return vreinterpret_u8_s8(vshrn_n_s16(bits, 8));
}

HWY_INLINE uint32_t any_bits(const uint8_t (&bytes)[8]) {
  uint32_t words[2];
  std::memcpy(words, bytes, sizeof words);
  return words[0] | words[1];
}

constexpr uint32_t kSignBits = 0x80808080;

template <>
class Placement<1> {
 public:
  explicit Placement(const PlaneView &source) : last_first_(vdup_n_s16(0)), beyond_(vdup_n_u8(0)) {
    if (source.columns >= kColumns && source.rows >= kRows) {
      const auto column = static_cast<int16_t>(source.columns - kColumns);
      const auto row = static_cast<int16_t>(source.rows - kRows);
      const int16_t limits[4] = {column, row, column, row};
      last_first_ = vld1_s16(limits);
      beyond_ = vdup_n_u8(kColumns - 1);
    }
  }

  HWY_INLINE void place(const WholeParts &whole, PlacedGreyStep &step) const {
    const auto [columns, rows] = whole;
    // Columns and rows in turn.
    int16x4_t first = vpmin_s16(vmin_s16(vget_low_s16(columns), vget_high_s16(columns)),
                                vmin_s16(vget_low_s16(rows), vget_high_s16(rows)));
    first = vmin_s16(vmax_s16(vpmin_s16(first, first), vdup_n_s16(0)), last_first_);
    const auto from_first = [](int16x8_t positions, int16x8_t begin) {
      return vqmovn_u16(vreinterpretq_u16_s16(vqsubq_s16(positions, begin)));
    };
    const uint8x8_t across = from_first(columns, vdupq_lane_s16(first, 0));
    const uint8x8_t down = from_first(rows, vdupq_lane_s16(first, 1));
    vst1_u8(step.indices, vsli_n_u8(across, down, 4));
    vst1_u8(step.reach, vorr_u8(down, vcge_u8(across, beyond_)));
    vst1_s16(step.first, first);
  }

  // The rows of a window at most, and its columns.
  static constexpr int32_t kRows = 5;
  static constexpr int32_t kColumns = 16;

 private:
  int16x4_t last_first_;  // of windows that lie in the source
  uint8x8_t beyond_;      // columns from here on have no right neighbour in the window
};

template <>
class Placement<3> {
 public:
  explicit Placement(const PlaneView &source)
      : last_column_(vdupq_n_s16(static_cast<int16_t>(source.columns - 2 - kOverreadColumns))),
        last_row_(vdupq_n_s16(static_cast<int16_t>(source.rows - 2))),
        stride_(vdupq_n_s32(static_cast<int32_t>(source.stride))) {}

  HWY_INLINE void place(const WholeParts &whole, PlacedRgbStep &step) const {
    const auto [columns, rows] = whole;
    vst1_u8(step.outside, outside(whole, last_column_, last_row_));
    const auto offsets = [&](int16x4_t column, int16x4_t row) {
      return vmlaq_s32(vmull_s16(column, vdup_n_s16(3)), vmovl_s16(row), stride_);
    };
    vst1q_s32(step.offsets, offsets(vget_low_s16(columns), vget_low_s16(rows)));
    vst1q_s32(step.offsets + 4, offsets(vget_high_s16(columns), vget_high_s16(rows)));
  }

 private:
  // A pixel and the one right of it are read with two bytes more.
  static constexpr int32_t kOverreadColumns = 1;

  int16x8_t last_column_;
  int16x8_t last_row_;
  int32x4_t stride_;
};

HWY_INLINE uint8x8_t blend_channel(const WindowNeighbours &n, const PlacedStep &step) {
  return blend_eight(n, step.fractions);
}

// One pixel after the other, for steps with neighbours outside.
template <int kChannels>
void warp_edge_step(const PlaneView &source, const PlacedStep &step, uint8_t *out) {
  uint8_t bytes[kChannels][4][kPixelsInWarpStep];
  for (int32_t i = 0; i < kPixelsInWarpStep; ++i) {
    const scalar::Neighbours x = scalar::neighbours(step.columns[i], source.columns);
    const scalar::Neighbours y = scalar::neighbours(step.rows[i], source.rows);
    const uint8_t *upper = source.row(y.first);
    const uint8_t *lower = source.row(y.second);
    const ptrdiff_t first = static_cast<ptrdiff_t>(x.first) * kChannels;
    const ptrdiff_t second = static_cast<ptrdiff_t>(x.second) * kChannels;
    for (int channel = 0; channel < kChannels; ++channel) {
      bytes[channel][0][i] = upper[first + channel];
      bytes[channel][1][i] = upper[second + channel];
      bytes[channel][2][i] = lower[first + channel];
      bytes[channel][3][i] = lower[second + channel];
    }
  }
  const auto channel = [&](int i) {
    const auto &b = bytes[i];
    return blend_channel({vld1_u8(b[0]), vld1_u8(b[1]), vld1_u8(b[2]), vld1_u8(b[3])}, step);
  };
  if constexpr (kChannels == 1) {
    vst1_u8(out, channel(0));
  } else {
    vst3_u8(out, (uint8x8x3_t{{channel(0), channel(1), channel(2)}}));
  }
}

// Inside the source, but too far apart for a window.
inline void warp_scattered_step(const PlaneView &source, const PlacedGreyStep &step, uint8_t *out) {
  int32_t offsets[kPixelsInWarpStep];
  const auto stride = static_cast<int32_t>(source.stride);
  for (int32_t i = 0; i < kPixelsInWarpStep; i += 4) {
    vst1q_s32(offsets + i, vmlaq_n_s32(vmovl_s16(vld1_s16(step.columns + i)),
                                       vmovl_s16(vld1_s16(step.rows + i)), stride));
  }
  const auto upper = load_pairs<1>(source.data, offsets);
  const auto lower = load_pairs<1>(source.data + source.stride, offsets);
  vst1_u8(out, blend_channel({upper.left[0], upper.right[0], lower.left[0], lower.right[0]}, step));
}

inline bool is_inside(const PlaneView &source, const PlacedStep &step) {
  const WholeParts at = {vld1q_s16(step.columns), vld1q_s16(step.rows)};
  uint8_t bits[8];
  vst1_u8(bits, outside(at, vdupq_n_s16(static_cast<int16_t>(source.columns - 2)),
                        vdupq_n_s16(static_cast<int16_t>(source.rows - 2))));
  return (any_bits(bits) & kSignBits) == 0;
}

HWY_INLINE void warp_placed_step(const PlaneView &source, const PlacedGreyStep &step,
                                 uint8_t *out) {
  const uint32_t reach = any_bits(step.reach);
  const uint8_t *window = source.data + step.first[1] * source.stride + step.first[0];
  const uint8x8_t left = vld1_u8(step.indices);
  const uint8x16_t indices = vcombine_u8(left, vadd_u8(left, vdup_n_u8(1)));
  if ((reach & 0xFEFEFEFE) == 0) {
    vst1_u8(out, blend_channel(take_from_window<3>(window, source.stride, indices), step));
  } else if ((reach & 0xFCFCFCFC) == 0) {
    vst1_u8(out, blend_channel(take_from_window<5>(window, source.stride, indices), step));
  } else if (is_inside(source, step)) {
    warp_scattered_step(source, step, out);
  } else {
    warp_edge_step<1>(source, step, out);
  }
}

HWY_INLINE void warp_placed_step(const PlaneView &source, const PlacedRgbStep &step, uint8_t *out) {
  if ((any_bits(step.outside) & kSignBits) != 0) {
    warp_edge_step<3>(source, step, out);
    return;
  }
  blend_eight_rgb(source.data, source.stride, step.offsets, step.fractions, out);
}

// Warps `steps` steps of all rows, from a column on. Positions of a row come first, then its
// pixels: two loops that have registers enough, each with two independent chains or more. Between
// them everything goes through memory, so that no step waits for a vector register to reach the
// core.
template <int kChannels, bool kFused>
void warp_strip(PlaneView source, const PerspectiveMatrix &matrix, int32_t first, int32_t steps,
                PlaneView destination) {
  ColumnTerms columns[kStepsInStrip];
  PlacedStepOf<kChannels> placed[kStepsInStrip];
  for (int32_t i = 0; i < steps; ++i) {
    for (int32_t k = 0; k < kPixelsInWarpStep; ++k) {
      const auto column = static_cast<float>(first + i * kPixelsInWarpStep + k);
      columns[i].x[k] = column * matrix.m[0];
      columns[i].y[k] = column * matrix.m[3];
      columns[i].w[k] = column * matrix.m[6];
    }
  }
  const Placement<kChannels> placement(source);
  for (int32_t y = 0; y < destination.rows; ++y) {
    const RowVectors row(RowTerms(matrix, y));
    for (int32_t i = 0; i < steps; ++i) {
      placement.place(place<kFused>(row, columns[i], placed[i]), placed[i]);
    }
    uint8_t *out = destination.row(y) + static_cast<ptrdiff_t>(first) * kChannels;
    for (int32_t i = 0; i < steps; ++i) {
      warp_placed_step(source, placed[i], out);
      out += kChannels * kPixelsInWarpStep;
    }
  }
}

template <int kChannels, bool kFused>
void warp_strips(const PlaneView &source, const PerspectiveMatrix &matrix,
                 const PlaneView &destination) {
  const int32_t steps = destination.columns / kPixelsInWarpStep;
  for (int32_t i = 0; i < steps; i += kStepsInStrip) {
    warp_strip<kChannels, kFused>(source, matrix, i * kPixelsInWarpStep,
                                  std::min(kStepsInStrip, steps - i), destination);
  }
  if (destination.columns % kPixelsInWarpStep != 0) {  // the last step overlaps the one before
    warp_strip<kChannels, kFused>(source, matrix, destination.columns - kPixelsInWarpStep, 1,
                                  destination);
  }
}

template <int kChannels>
void warp_plane(const PlaneView &source, const RowsAhead &, const PerspectiveMatrix &matrix,
                const PlaneView &destination) {
#if TAVRINE_IS_ARMV7
  if (has_fused_multiply_add() && fused_division_is_exact(matrix, destination)) {
    trace_path("warp_perspective.fused_division");
    warp_strips<kChannels, true>(source, matrix, destination);
    return;
  }
#endif
  trace_path("warp_perspective.vectors");
  warp_strips<kChannels, false>(source, matrix, destination);
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
