// Rows of the perspective warp in vectors. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ROWS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ROWS_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ROWS_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_ROWS_INL_H_
#endif

#include <algorithm>
#include <cmath>

#include "kernels/warp/warp_neighbours-inl.h"
#include "kernels/warp/warp_perspective_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

using Floats = hn::RebindToFloat<Ints>;
using IntVector = hn::VFromD<Ints>;
using FloatVector = hn::VFromD<Floats>;

// What a row adds to the three sums, and the matrix for the rest of them.
struct RowTerms {
  RowTerms(const PerspectiveMatrix &elements, int32_t row)
      : matrix(elements),
        x(static_cast<float>(row) * matrix.m[1]),
        y(static_cast<float>(row) * matrix.m[4]),
        w(static_cast<float>(row) * matrix.m[7]) {}

  PerspectiveMatrix matrix;
  float x, y, w;
};

// Divides both by the third, correctly rounded. NEON's own division is not: lanes go one by one.
HWY_INLINE void divide(FloatVector &x, FloatVector &y, FloatVector w) {
#if TAVRINE_IS_NEON
  alignas(16) float lanes[3][4];
  vst1q_f32(lanes[0], x.raw);
  vst1q_f32(lanes[1], y.raw);
  vst1q_f32(lanes[2], w.raw);
  for (int i = 0; i < 4; ++i) {
    const float divisor = lanes[2][i];
    lanes[0][i] /= divisor;
    lanes[1][i] /= divisor;
  }
  x.raw = vld1q_f32(lanes[0]);
  y.raw = vld1q_f32(lanes[1]);
#else
  x = hn::Div(x, w);
  y = hn::Div(y, w);
#endif
}

// Toward zero. On x86, what has no 32-bit integer becomes the smallest one.
HWY_INLINE IntVector truncate(FloatVector value) {
#if TAVRINE_IS_NEON
  return hn::ConvertTo(Ints(), value);
#elif HWY_TARGET == HWY_AVX2
  return IntVector{_mm256_cvttps_epi32(value.raw)};
#else
  return IntVector{_mm_cvttps_epi32(value.raw)};
#endif
}

// Of a register of pixels: positions, truncated, and what was cut off.
struct Located {
  FloatVector x, y;
  IntVector column, row;
  FloatVector u, v;
};

HWY_INLINE Located locate(const RowTerms &terms, int32_t first_column) {
  const Ints d;
  const Floats df;
  alignas(32) static constexpr int32_t kFirst[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  const auto columns = hn::Add(hn::Set(d, first_column), hn::Load(d, kFirst));
  const auto across = hn::ConvertTo(df, columns);
  const auto sum = [&](float term, float factor, float last) {
    return hn::Add(hn::Add(hn::Set(df, term), hn::Mul(across, hn::Set(df, factor))),
                   hn::Set(df, last));
  };
  const float *m = terms.matrix.m;
  Located at;
  at.x = sum(terms.x, m[0], m[2]);
  at.y = sum(terms.y, m[3], m[5]);
  divide(at.x, at.y, sum(terms.w, m[6], m[8]));
  at.column = truncate(at.x);
  at.row = truncate(at.y);
  at.u = hn::Sub(at.x, hn::ConvertTo(df, at.column));
  at.v = hn::Sub(at.y, hn::ConvertTo(df, at.row));
  return at;
}

template <int kChannels>
HWY_INLINE IntVector source_offsets(const PlaneView &source, const Located &at) {
  const Ints d;
  const auto start = kChannels == 1 ? at.column : hn::Add(hn::ShiftLeft<1>(at.column), at.column);
  return hn::Add(hn::Mul(at.row, hn::Set(d, static_cast<int32_t>(source.stride))), start);
}

// Negative where a neighbour, or what loading looks at beyond it, is no pixel of the source.
template <int kChannels>
HWY_INLINE IntVector outside(const PlaneView &source, const Located &at) {
  const Ints d;
  const auto last_column = hn::Set(d, source.columns - 2 - kColumnsSeenBeyond<kChannels>);
  const auto last_row = hn::Set(d, source.rows - 2);
  return hn::Or(hn::Or(at.column, hn::Sub(last_column, at.column)),
                hn::Or(at.row, hn::Sub(last_row, at.row)));
}

HWY_INLINE bool none_negative(IntVector v) {
#if TAVRINE_IS_NEON
  const int32x2_t pair = vorr_s32(vget_low_s32(v.raw), vget_high_s32(v.raw));
  return (vget_lane_s32(pair, 0) | vget_lane_s32(pair, 1)) >= 0;
#else
  return hn::AllFalse(Ints(), hn::Lt(v, hn::Zero(Ints())));
#endif
}

struct Weights {
  Weights(FloatVector u, FloatVector v) {
    const auto one = hn::Set(Floats(), 1.0F);
    const auto not_u = hn::Sub(one, u);
    const auto not_v = hn::Sub(one, v);
    w01 = hn::Mul(u, not_v);
    w00 = hn::Mul(not_u, not_v);
    w10 = hn::Mul(v, not_u);
    w11 = hn::Mul(u, v);
  }

  FloatVector w00, w01, w10, w11;
};

HWY_INLINE FloatVector blend(IntVector p00, IntVector p01, IntVector p10, IntVector p11,
                             const Weights &weights) {
  const Floats d;
  const auto term = [&](IntVector sample, FloatVector weight) {
    return hn::Mul(hn::ConvertTo(d, sample), weight);
  };
  auto sum = hn::Add(term(p01, weights.w01), term(p00, weights.w00));
  sum = hn::Add(sum, term(p10, weights.w10));
  sum = hn::Add(sum, term(p11, weights.w11));
  return hn::Add(sum, hn::Set(d, 0.5F));
}

#endif  // TAVRINE_HAS_VECTORS

#if TAVRINE_IS_NEON

// Vectors take tiny numbers for zero. With these matrices, sums are zero or not tiny: they are
// multiples of the last bit of the smallest element. A tiny position then stands beside one below
// 2^90, and all that is lost in fractions, weights and products stays below the last bit of the
// half that is added.
inline bool is_fit_for_vectors(const PerspectiveMatrix &matrix) {
  constexpr float kLeast = 0x1p-100F;
  constexpr float kMost = 0x1p60F;
  return std::all_of(std::begin(matrix.m), std::end(matrix.m), [](float element) {
    const float size = std::fabs(element);
    return size == 0 || (size >= kLeast && size <= kMost);
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
  const Located low = locate(terms, column);
  const Located high = locate(terms, column + 4);
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
  if (none_negative(hn::Or(outside<kChannels>(source, low), outside<kChannels>(source, high)))) {
    vst1q_s32(offsets, source_offsets<kChannels>(source, low).raw);
    vst1q_s32(offsets + 4, source_offsets<kChannels>(source, high).raw);
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
    vst3_u8(out, {{results[0], results[1], results[2]}});
  }
}

template <int kChannels>
HWY_INLINE void warp_row(PlaneView source, const PerspectiveMatrix &matrix, int32_t y,
                         int32_t columns, uint8_t *row) {
  const RowTerms terms(matrix, y);
  for (int32_t x = 0; x < columns; x += kPixelsInWarpStep) {
    // The last step overlaps the one before.
    const int32_t left = std::min(x, columns - kPixelsInWarpStep);
    warp_step<kChannels>(source, terms, left, row + static_cast<ptrdiff_t>(left) * kChannels);
  }
}

#elif TAVRINE_IS_X86

inline bool is_fit_for_vectors(const PerspectiveMatrix &) { return true; }

// The four neighbours of each channel, from both registers of load_neighbours of both rows.
HWY_INLINE void split_channels(hn::VFromD<Bytes> upper_low, hn::VFromD<Bytes> lower_low,
                               hn::VFromD<Bytes> upper_high, hn::VFromD<Bytes> lower_high,
                               IntVector (&channels)[3]) {
  const Ints d;
  const Words d16;
  const hn::Repartition<int64_t, Ints> d64;
  const auto pixel = [&](hn::VFromD<Bytes> upper, hn::VFromD<Bytes> lower, bool is_first) {
    const auto above = hn::BitCast(d16, upper);
    const auto below = hn::BitCast(d16, lower);
    return hn::BitCast(d, is_first ? hn::InterleaveLower(d16, above, below)
                                   : hn::InterleaveUpper(d16, above, below));
  };
  const auto p0 = pixel(upper_low, lower_low, true);
  const auto p1 = pixel(upper_low, lower_low, false);
  const auto p2 = pixel(upper_high, lower_high, true);
  const auto p3 = pixel(upper_high, lower_high, false);
  const auto both01 = hn::BitCast(d64, hn::InterleaveLower(d, p0, p1));
  const auto both23 = hn::BitCast(d64, hn::InterleaveLower(d, p2, p3));
  const auto last01 = hn::BitCast(d64, hn::InterleaveUpper(d, p0, p1));
  const auto last23 = hn::BitCast(d64, hn::InterleaveUpper(d, p2, p3));
  channels[0] = hn::BitCast(d, hn::InterleaveLower(d64, both01, both23));
  channels[1] = hn::BitCast(d, hn::InterleaveUpper(d64, both01, both23));
  channels[2] = hn::BitCast(d, hn::InterleaveLower(d64, last01, last23));
}

HWY_INLINE IntVector finish(FloatVector value) {
  // The order of the operands makes zero of what is no number.
  const auto positive = hn::Max(value, hn::Zero(Floats()));
  return truncate(hn::Min(positive, hn::Set(Floats(), 255.0F)));
}

template <int kByte>
HWY_INLINE IntVector byte_of(IntVector lanes) {
  const hn::RebindToUnsigned<Ints> d;
  const auto shifted = hn::ShiftRight<8 * kByte>(hn::BitCast(d, lanes));
  return hn::BitCast(Ints(), kByte == 3 ? shifted : hn::And(shifted, hn::Set(d, 0xFF)));
}

// From the four neighbours of a channel in a lane.
HWY_INLINE IntVector blend_lanes(IntVector neighbours, const Weights &weights) {
  return finish(blend(byte_of<0>(neighbours), byte_of<1>(neighbours), byte_of<2>(neighbours),
                      byte_of<3>(neighbours), weights));
}

template <int kChannels>
HWY_INLINE void store(IntVector first, IntVector second, IntVector third, uint8_t *out) {
  if constexpr (kChannels == 1) {
    const hn::Rebind<uint8_t, Ints> bytes;
    hn::StoreU(hn::DemoteTo(bytes, first), bytes, out);
  } else {
    const auto pixels = hn::Or(hn::Or(first, hn::ShiftLeft<8>(second)), hn::ShiftLeft<16>(third));
    store_three_channels(hn::BitCast(Bytes(), pixels), out);
  }
}

// Loads four bytes from each of some places of a plane, in which they lie, or end, as a whole.
class PixelGatherer {
 public:
  static constexpr int32_t kBytes = 4;

  explicit PixelGatherer(const PlaneView &plane)
      : data_(plane.data),
        last_(static_cast<int32_t>(plane.stride * (plane.rows - 1) + plane.row_bytes()) - kBytes) {}

  HWY_INLINE IntVector operator()(IntVector offset) const {
    const Ints d;
    const hn::RebindToUnsigned<Ints> unsigned_d;
    const auto place = hn::Min(offset, hn::Set(d, last_));
    const auto bits = hn::ShiftLeft<3>(hn::Sub(offset, place));
    const auto loaded = hn::GatherOffset(d, reinterpret_cast<const int32_t *>(data_), place);
    return hn::BitCast(d, hn::Shr(hn::BitCast(unsigned_d, loaded), hn::BitCast(unsigned_d, bits)));
  }

 private:
  const uint8_t *data_;
  int32_t last_;
};

// Pixels with neighbours outside.
template <int kChannels>
HWY_INLINE void warp_edge_step(const PlaneView &source, Located at, uint8_t *out) {
  const Ints d;
  const Floats df;
  // Saturated. What is no number has weights that are none, whatever its index.
  at.column = hn::ConvertTo(d, at.x);
  at.row = hn::ConvertTo(d, at.y);
  at.u = hn::Sub(at.x, hn::ConvertTo(df, at.column));
  at.v = hn::Sub(at.y, hn::ConvertTo(df, at.row));
  const auto first = [&](IntVector index, int32_t length) {
    return hn::Min(hn::Max(index, hn::Zero(d)), hn::Set(d, length - 1));
  };
  const auto second = [&](IntVector index, int32_t length) {
    const auto one = hn::Set(d, 1);
    return hn::Add(hn::Min(hn::Max(index, hn::Set(d, -1)), hn::Set(d, length - 2)), one);
  };
  const auto along_row = [](IntVector column) {
    return kChannels == 1 ? column : hn::Add(hn::ShiftLeft<1>(column), column);
  };
  const auto step = hn::Set(d, static_cast<int32_t>(source.stride));
  const auto left = along_row(first(at.column, source.columns));
  const auto right = along_row(second(at.column, source.columns));
  const auto upper = hn::Mul(first(at.row, source.rows), step);
  const auto lower = hn::Mul(second(at.row, source.rows), step);
  const PixelGatherer gather(source);
  const auto p00 = gather(hn::Add(upper, left));
  const auto p01 = gather(hn::Add(upper, right));
  const auto p10 = gather(hn::Add(lower, left));
  const auto p11 = gather(hn::Add(lower, right));
  const Weights weights(at.u, at.v);
  const auto result = [&](IntVector a, IntVector b, IntVector c, IntVector e) {
    return finish(blend(a, b, c, e, weights));
  };
  store<kChannels>(result(byte_of<0>(p00), byte_of<0>(p01), byte_of<0>(p10), byte_of<0>(p11)),
                   result(byte_of<1>(p00), byte_of<1>(p01), byte_of<1>(p10), byte_of<1>(p11)),
                   result(byte_of<2>(p00), byte_of<2>(p01), byte_of<2>(p10), byte_of<2>(p11)), out);
}

// Positions of a few steps, settled before pixels are touched: that way many divisions are under
// way at a time.
template <int kChannels>
class LocatedSteps {
 public:
  static constexpr int32_t kSteps = 8;

  HWY_INLINE void locate_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                              int32_t column) {
    const Located at = locate(terms, column);
    const int32_t i = step * kPixelsInWarpStep;
    hn::Store(source_offsets<kChannels>(source, at), Ints(), offsets_ + i);
    hn::Store(at.u, Floats(), u_ + i);
    hn::Store(at.v, Floats(), v_ + i);
    is_inside_[step] = none_negative(outside<kChannels>(source, at));
  }

  HWY_INLINE void warp_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                            int32_t column, uint8_t *out) const {
    if (!is_inside_[step]) {
      warp_edge_step<kChannels>(source, locate(terms, column), out);
      return;
    }
    const Ints d;
    const int32_t i = step * kPixelsInWarpStep;
    const Weights weights(hn::Load(Floats(), u_ + i), hn::Load(Floats(), v_ + i));
    const int32_t *offsets = offsets_ + i;
    const uint8_t *lower = source.data + source.stride;
    if constexpr (kChannels == 1) {
      const auto neighbours = load_grey_neighbours<true>(source.data, lower, offsets);
      const auto grey = blend_lanes(hn::BitCast(d, neighbours), weights);
      store<1>(grey, grey, grey, out);
    } else {
      IntVector channels[3];
      split_channels(load_neighbours<3>(source.data, offsets, 0),
                     load_neighbours<3>(lower, offsets, 0),
                     load_neighbours<3>(source.data, offsets, 2),
                     load_neighbours<3>(lower, offsets, 2), channels);
      store<3>(blend_lanes(channels[0], weights), blend_lanes(channels[1], weights),
               blend_lanes(channels[2], weights), out);
    }
  }

 private:
  alignas(32) int32_t offsets_[kSteps * kPixelsInWarpStep];
  alignas(32) float u_[kSteps * kPixelsInWarpStep];
  alignas(32) float v_[kSteps * kPixelsInWarpStep];
  bool is_inside_[kSteps];
};

template <int kChannels>
HWY_INLINE void warp_row(PlaneView source, const PerspectiveMatrix &matrix, int32_t y,
                         int32_t columns, uint8_t *row) {
  using Steps = LocatedSteps<kChannels>;
  const RowTerms terms(matrix, y);
  // The last step overlaps the one before.
  const auto column_of = [&](int32_t step) {
    return std::min(step * kPixelsInWarpStep, columns - kPixelsInWarpStep);
  };
  const int32_t all = (columns + kPixelsInWarpStep - 1) / kPixelsInWarpStep;
  for (int32_t done = 0, count; done < all; done += count) {
    count = std::min(Steps::kSteps, all - done);
    Steps steps;
    for (int32_t i = 0; i < count; ++i) {
      steps.locate_step(source, terms, i, column_of(done + i));
    }
    for (int32_t i = 0; i < count; ++i) {
      const int32_t column = column_of(done + i);
      steps.warp_step(source, terms, i, column, row + static_cast<ptrdiff_t>(column) * kChannels);
    }
  }
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
