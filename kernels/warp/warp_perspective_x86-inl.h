// SSSE3, SSE4 and AVX2: rows of the perspective warp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_
#endif

#include <algorithm>

#include "kernels/warp/warp_perspective_positions-inl.h"
#include "kernels/warp/warp_perspective_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// Nothing is flushed to zero here: every matrix gives what the definition gives.
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
  // Max returns its second operand when the first is NaN: 0.
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

// Loads four bytes from each of some offsets in a plane. Where they would end past the plane, loads
// its last four and shifts them.
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

// For pixels with neighbours outside: each neighbour is loaded from its own clamped place.
template <int kChannels>
HWY_INLINE void warp_edge_step(const PlaneView &source, PerspectivePositions at, uint8_t *out) {
  const Ints d;
  const Floats df;
  // Saturated. The weights of a NaN position are NaN, so its index does not matter.
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

// The positions of a few steps, computed before pixels are loaded, so that divisions overlap.
template <int kChannels>
class PositionBatch {
 public:
  static constexpr int32_t kSteps = 8;

  HWY_INLINE void compute_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                               int32_t column) {
    const PerspectivePositions at = compute_positions(terms, column);
    const int32_t i = step * kPixelsInWarpStep;
    hn::Store(source_offsets<kChannels>(source, at), Ints(), offsets_ + i);
    hn::Store(at.u, Floats(), u_ + i);
    hn::Store(at.v, Floats(), v_ + i);
    is_inside_[step] = none_negative(outside<kChannels>(source, at));
  }

  HWY_INLINE void warp_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                            int32_t column, uint8_t *out) const {
    if (!is_inside_[step]) {
      warp_edge_step<kChannels>(source, compute_positions(terms, column), out);
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
  using Batch = PositionBatch<kChannels>;
  const RowTerms terms(matrix, y);
  // The last step overlaps the one before.
  const auto column_of = [&](int32_t step) {
    return std::min(step * kPixelsInWarpStep, columns - kPixelsInWarpStep);
  };
  const int32_t all = (columns + kPixelsInWarpStep - 1) / kPixelsInWarpStep;
  for (int32_t done = 0, count; done < all; done += count) {
    count = std::min(Batch::kSteps, all - done);
    Batch batch;
    for (int32_t i = 0; i < count; ++i) {
      batch.compute_step(source, terms, i, column_of(done + i));
    }
    for (int32_t i = 0; i < count; ++i) {
      const int32_t column = column_of(done + i);
      batch.warp_step(source, terms, i, column, row + static_cast<ptrdiff_t>(column) * kChannels);
    }
  }
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
