// NEON: rows of the perspective warp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ARM_INL_H_
#endif

#include <algorithm>
#include <cmath>

#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_neighbours_arm-inl.h"
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
inline bool is_fit_for_vectors(const PerspectiveMatrix &matrix) {
  constexpr float kMin = 0x1p-100F;
  constexpr float kMax = 0x1p60F;
  return std::all_of(std::begin(matrix.m), std::end(matrix.m), [](float element) {
    const float magnitude = std::fabs(element);
    return magnitude == 0 || (magnitude >= kMin && magnitude <= kMax);
  });
}

// The neighbours of a step's pixels when some lie outside: four bytes a pixel and channel.
template <int kChannels>
struct EdgeNeighbours {
  EdgeNeighbours(const PlaneView &source, const int32_t *columns, const int32_t *rows) {
    for (int32_t i = 0; i < kPixelsInWarpStep; ++i) {
      const scalar::Neighbours x = scalar::neighbours(columns[i], source.columns);
      const scalar::Neighbours y = scalar::neighbours(rows[i], source.rows);
      const uint8_t *upper = source.row(y.first);
      const uint8_t *lower = source.row(y.second);
      const ptrdiff_t first = static_cast<ptrdiff_t>(x.first) * kChannels;
      const ptrdiff_t second = static_cast<ptrdiff_t>(x.second) * kChannels;
      for (int channel = 0; channel < kChannels; ++channel) {
        uint8_t *pixel = bytes[channel] + 4 * i;
        pixel[0] = upper[first + channel];
        pixel[1] = upper[second + channel];
        pixel[2] = lower[first + channel];
        pixel[3] = lower[second + channel];
      }
    }
  }

  alignas(32) uint8_t bytes[kChannels][4 * kPixelsInWarpStep];
};

template <int kChannels>
HWY_INLINE void warp_step(const PlaneView &source, const RowTerms &terms, int32_t column,
                          uint8_t *out) {
  const PerspectivePositions low = compute_positions(terms, columns_from(column));
  const PerspectivePositions high = compute_positions(terms, columns_from(column + 4));
  const Weights low_weights(low.u, low.v);
  const Weights high_weights(high.u, high.v);
  const auto channel = [&](uint8x8_t p00, uint8x8_t p01, uint8x8_t p10, uint8x8_t p11) {
    const uint16x8_t w00 = vmovl_u8(p00), w01 = vmovl_u8(p01);
    const uint16x8_t w10 = vmovl_u8(p10), w11 = vmovl_u8(p11);
    const auto lower = [](uint16x8_t words) {
      return IntVector{vreinterpretq_s32_u32(vmovl_u16(vget_low_u16(words)))};
    };
    const auto upper = [](uint16x8_t words) {
      return IntVector{vreinterpretq_s32_u32(vmovl_u16(vget_high_u16(words)))};
    };
    const auto first = blend(lower(w00), lower(w01), lower(w10), lower(w11), low_weights);
    const auto second = blend(upper(w00), upper(w01), upper(w10), upper(w11), high_weights);
    return vqmovn_u16(
        vcombine_u16(vqmovn_u32(vcvtq_u32_f32(first.raw)), vqmovn_u32(vcvtq_u32_f32(second.raw))));
  };
  uint8x8_t results[kChannels];
  int32_t offsets[kPixelsInWarpStep];
  if (none_negative(hn::Or(outside<0>(source, low), outside<0>(source, high)))) {
    vst1q_s32(offsets, source_offsets<kChannels>(source, low.column, low.row).raw);
    vst1q_s32(offsets + 4, source_offsets<kChannels>(source, high.column, high.row).raw);
    const auto upper = load_pairs<kChannels>(source.data, offsets);
    const auto lower = load_pairs<kChannels>(source.data + source.stride, offsets);
    for (int i = 0; i < kChannels; ++i) {
      results[i] = channel(upper.left[i], upper.right[i], lower.left[i], lower.right[i]);
    }
  } else {
    int32_t rows[kPixelsInWarpStep];
    vst1q_s32(offsets, low.column.raw);
    vst1q_s32(offsets + 4, high.column.raw);
    vst1q_s32(rows, low.row.raw);
    vst1q_s32(rows + 4, high.row.raw);
    const EdgeNeighbours<kChannels> neighbours(source, offsets, rows);
    for (int i = 0; i < kChannels; ++i) {
      const uint8x8x4_t four = vld4_u8(neighbours.bytes[i]);
      results[i] = channel(four.val[0], four.val[1], four.val[2], four.val[3]);
    }
  }
  if constexpr (kChannels == 1) {
    vst1_u8(out, results[0]);
  } else {
    vst3_u8(out, (uint8x8x3_t{{results[0], results[1], results[2]}}));
  }
}

template <int kChannels>
HWY_INLINE void warp_row(PlaneView source, const RowsAhead &, const PerspectiveMatrix &matrix,
                         int32_t y, int32_t columns, uint8_t *row) {
  const RowTerms terms(matrix, y);
  // Inlined, steps take 6 % fewer instructions for grey, and 8 % more for three channels.
  if constexpr (kChannels == 1) {
    for_each_step(columns, kPixelsInWarpStep, [&](int32_t x) TAVRINE_INLINE_LAMBDA {
      warp_step<1>(source, terms, x, row + x);
    });
  } else {
    for_each_step(columns, kPixelsInWarpStep, [&](int32_t x) {
      warp_step<kChannels>(source, terms, x, row + static_cast<ptrdiff_t>(x) * kChannels);
    });
  }
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
