// SSSE3, SSE4 and AVX2: rows of the perspective warp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_X86_INL_H_
#endif

#include <algorithm>

#include "kernels/path.h"
#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_perspective_edge_x86-inl.h"
#include "kernels/warp/warp_perspective_neighbours_x86-inl.h"
#include "kernels/warp/warp_perspective_positions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// Nothing is flushed to zero here: every matrix gives what the definition gives.
inline bool is_fit_for_vectors(const PlaneView &, const PerspectiveMatrix &) { return true; }

template <int kChannels>
constexpr int32_t kPixelsInPerspectiveStep = kPixelsInWarpStep;

// Steps of grey pixels take two registers of positions, so that words hold their columns and rows.
template <int kChannels>
constexpr int32_t kPixelsInBatchStep =
    kChannels == 1 ? GreyWindows::kRegisters *kPixelsInWarpStep : kPixelsInWarpStep;

// With all neighbours inside, sums are numbers and fit 32 bits: only what is stored is saturated.
HWY_INLINE IntVector blend_inside(const Samples &p, const Weights &weights) {
  return truncate(blend(p.p00, p.p01, p.p10, p.p11, weights));
}

// The positions of consecutive pixels, computed before pixels are loaded, so that divisions
// overlap.
struct BatchPositions {
  static constexpr int32_t kPixels = 128;

  HWY_INLINE void store_fractions(const PerspectivePositions &at, int32_t i) {
    hn::Store(at.u, Floats(), u + i);
    hn::Store(at.v, Floats(), v + i);
  }

  HWY_INLINE Weights weights(int32_t i) const {
    return Weights(hn::Load(Floats(), u + i), hn::Load(Floats(), v + i));
  }

  alignas(32) int32_t offsets[kPixels];
  alignas(32) float u[kPixels];
  alignas(32) float v[kPixels];
};

template <int kChannels>
void warp_edge(const PlaneView &source, const RowTerms &terms, int32_t column, uint8_t *out) {
  for (int32_t i = 0; i < kPixelsInBatchStep<kChannels>; i += kPixelsInWarpStep) {
    warp_edge_step<kChannels>(source, compute_positions(terms, columns_from(column + i)),
                              out + i * kChannels);
  }
}

// A row of grey pixels that is too short for batches.
HWY_NOINLINE void warp_short_row(PlaneView source, const PerspectiveMatrix &matrix, int32_t y,
                                 int32_t columns, uint8_t *row) {
  const RowTerms terms(matrix, y);
  for_each_step(columns, kPixelsInWarpStep, [&](int32_t x) TAVRINE_INLINE_LAMBDA {
    const PerspectivePositions at = compute_positions(terms, columns_from(x));
    if (!none_negative(outside<0>(source, at))) {
      warp_edge_step<1>(source, at, row + x);
      return;
    }
    alignas(32) int32_t offsets[kPixelsInWarpStep];
    hn::Store(source_offsets<1>(source, at.column, at.row), Ints(), offsets);
    const Samples samples = samples_of(load_grey_one_by_one(source, offsets));
    const hn::Rebind<uint8_t, Ints> bytes;
    hn::StoreU(hn::DemoteTo(bytes, blend_inside(samples, Weights(at.u, at.v))), bytes, row + x);
  });
}

// Whether any of some positions has neighbours outside.
template <int32_t kOverreadColumns>
class PositionsOutside {
 public:
#if HWY_TARGET == HWY_SSSE3
  PositionsOutside() : any_(hn::Zero(Ints())) {}

  HWY_INLINE void include(const PlaneView &source, const PerspectivePositions &at) {
    any_ = hn::Or(any_, outside<kOverreadColumns>(source, at));
  }

  HWY_INLINE bool is_empty(const PlaneView &) const { return none_negative(any_); }

 private:
  IntVector any_;  // negative where there is one
#else
  PositionsOutside() : column_(hn::Zero(Unsigned())), row_(hn::Zero(Unsigned())) {}

  // Without sign, a negative column or row is larger than all others.
  HWY_INLINE void include(const PlaneView &, const PerspectivePositions &at) {
    column_ = hn::Max(column_, hn::BitCast(Unsigned(), at.column));
    row_ = hn::Max(row_, hn::BitCast(Unsigned(), at.row));
  }

  HWY_INLINE bool is_empty(const PlaneView &source) const {
    PerspectivePositions largest;
    largest.column = hn::BitCast(Ints(), column_);
    largest.row = hn::BitCast(Ints(), row_);
    return none_negative(outside<kOverreadColumns>(source, largest));
  }

 private:
  using Unsigned = hn::RebindToUnsigned<Ints>;
  hn::VFromD<Unsigned> column_;  // the largest
  hn::VFromD<Unsigned> row_;
#endif
};

template <int kChannels>
class PositionBatch;

template <>
class PositionBatch<1> {
 public:
  static constexpr int32_t kPixelsInStep = kPixelsInBatchStep<1>;
  static constexpr int32_t kSteps = BatchPositions::kPixels / kPixelsInStep;

  // The windows of grey pixels gain nothing from rows ahead.
  PositionBatch(const PlaneView &source, const RowsAhead &)
      : may_share_(GreyWindows::may_serve(source)) {}

  // Columns of the first register of a step: the first four of each block.
  static HWY_INLINE IntVector columns_of(int32_t first) {
    alignas(32) static constexpr int32_t kColumns[8] = {0, 1, 2, 3, 8, 9, 10, 11};
    const Ints d;
    return hn::Add(hn::Set(d, first), hn::Load(d, kColumns));
  }

  HWY_INLINE void compute_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                               IntVector columns) {
    const PerspectivePositions at[2] = {
        compute_positions(terms, columns),
        compute_positions(terms, hn::Add(columns, hn::Set(Ints(), 4)))};
    const int32_t i = step * kPixelsInStep;
    positions_.store_fractions(at[0], i);
    positions_.store_fractions(at[1], i + kPixelsInWarpStep);
    if (may_share_ && windows_[step].place(source, at)) {
      ways_[step] = Way::kWindows;
      return;
    }
    const bool is_inside =
        none_negative(hn::Or(outside<0>(source, at[0]), outside<0>(source, at[1])));
    ways_[step] = is_inside ? Way::kOneByOne : Way::kEdge;
    for (int32_t k = 0; k < 2; ++k) {
      hn::Store(source_offsets<1>(source, at[k].column, at[k].row), Ints(),
                positions_.offsets + i + k * kPixelsInWarpStep);
    }
  }

  HWY_INLINE void warp_steps(const PlaneView &source, const RowTerms &terms, int32_t steps,
                             int32_t column, uint8_t *out) const {
    for (int32_t i = 0; i < steps; ++i) {
      const int32_t x = i * kPixelsInStep;
      warp_step(source, terms, i, column + x, out + x);
    }
  }

 private:
  enum class Way : uint8_t { kWindows, kOneByOne, kEdge };

  HWY_INLINE void warp_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                            int32_t column, uint8_t *out) const {
    if (ways_[step] == Way::kEdge) {
      warp_edge<1>(source, terms, column, out);
      return;
    }
    const int32_t i = step * kPixelsInStep;
    Samples samples[2];
    if (ways_[step] == Way::kWindows) {
      windows_[step].load(source, samples);
    } else {
      const int32_t *offsets = positions_.offsets + i;
      samples[0] = samples_of(load_grey_one_by_one(source, offsets));
      samples[1] = samples_of(load_grey_one_by_one(source, offsets + kPixelsInWarpStep));
    }
    const hn::Half<Bytes> half;
    const auto words =
        hn::ReorderDemote2To(Words(), blend_inside(samples[0], positions_.weights(i)),
                             blend_inside(samples[1], positions_.weights(i + kPixelsInWarpStep)));
    hn::StoreU(hn::LowerHalf(half, pack_in_order(words, words)), half, out);
  }

  BatchPositions positions_;
  GreyWindows windows_[kSteps];
  Way ways_[kSteps];
  const bool may_share_;
};

template <>
class PositionBatch<3> {
 public:
  static constexpr int32_t kPixelsInStep = kPixelsInBatchStep<3>;
  static constexpr int32_t kSteps = BatchPositions::kPixels / kPixelsInStep;

  // Loading reads 16 bytes from the left neighbour on: six columns, of which it needs two.
  static constexpr int32_t kOverreadColumns = 4;

  PositionBatch(const PlaneView &, const RowsAhead &ahead) : ahead_(ahead) {}

  static HWY_INLINE IntVector columns_of(int32_t first) { return columns_from(first); }

  HWY_INLINE void compute_step(const PlaneView &source, const RowTerms &terms, int32_t step,
                               IntVector columns) {
    const PerspectivePositions at = compute_positions(terms, columns);
    const int32_t i = step * kPixelsInStep;
    positions_.store_fractions(at, i);
    hn::Store(source_offsets<3>(source, at.column, at.row), Ints(), positions_.offsets + i);
    outside_.include(source, at);
  }

  HWY_INLINE void warp_steps(const PlaneView &source, const RowTerms &terms, int32_t steps,
                             int32_t column, uint8_t *out) const {
    if (outside_.is_empty(source)) {
      for (int32_t i = 0; i < steps; ++i) {
        warp_inside(source, i, out + static_cast<ptrdiff_t>(i) * 3 * kPixelsInStep);
      }
      return;
    }
    for (int32_t i = 0; i < steps; ++i) {
      const int32_t x = i * kPixelsInStep;
      const PerspectivePositions at = compute_positions(terms, columns_of(column + x));
      if (none_negative(outside<kOverreadColumns>(source, at))) {
        warp_inside(source, i, out + 3 * x);
      } else {
        warp_edge_step<3>(source, at, out + 3 * x);
      }
    }
  }

 private:
  HWY_INLINE void warp_inside(const PlaneView &source, int32_t step, uint8_t *out) const {
    // Four pixels a block: channel by channel, then pixel by pixel.
    static constexpr ShuffleTable kPixels(
        {0, 4, 8, 1, 5, 9, 2, 6, 10, 3, 7, 11, 0x80, 0x80, 0x80, 0x80});
    const Words d;
    const int32_t i = step * kPixelsInStep;
    const Weights weights = positions_.weights(i);
    Samples samples[3];
    ahead_.prefetch(source.data + positions_.offsets[i]);
    load_three_channels_one_by_one(source, positions_.offsets + i, samples);
    const auto first = blend_inside(samples[0], weights);
    const auto second = blend_inside(samples[1], weights);
    const auto third = blend_inside(samples[2], weights);
    const auto channels = pack_in_blocks(hn::ReorderDemote2To(d, first, second),
                                         hn::ReorderDemote2To(d, third, third));
    store_packed_pixels(hn::TableLookupBytesOr0(channels, kPixels.load()), out);
  }

  const RowsAhead ahead_;
  BatchPositions positions_;
  PositionsOutside<kOverreadColumns> outside_;
};

template <int kChannels>
HWY_INLINE void warp_steps(const PlaneView &source, const RowsAhead &ahead, const RowTerms &terms,
                           int32_t column, int32_t steps, uint8_t *out) {
  using Batch = PositionBatch<kChannels>;
  Batch batch(source, ahead);
  auto columns = Batch::columns_of(column);
  for (int32_t i = 0; i < steps; ++i) {
    batch.compute_step(source, terms, i, columns);
    columns = hn::Add(columns, hn::Set(Ints(), Batch::kPixelsInStep));
  }
  batch.warp_steps(source, terms, steps, column, out);
}

template <int kChannels>
HWY_INLINE void warp_row(PlaneView source, RowsAhead ahead, const PerspectiveMatrix &matrix,
                         int32_t y, int32_t columns, uint8_t *row) {
  using Batch = PositionBatch<kChannels>;
  if constexpr (kChannels == 1) {
    if (columns < Batch::kPixelsInStep) {
      warp_short_row(source, matrix, y, columns, row);
      return;
    }
  }
  const RowTerms terms(matrix, y);
  int32_t x = 0;
  for (int32_t steps; x <= columns - Batch::kPixelsInStep; x += steps * Batch::kPixelsInStep) {
    steps = std::min(Batch::kSteps, (columns - x) / Batch::kPixelsInStep);
    warp_steps<kChannels>(source, ahead, terms, x, steps,
                          row + static_cast<ptrdiff_t>(x) * kChannels);
  }
  if (x != columns) {  // the last step overlaps the one before
    x = columns - Batch::kPixelsInStep;
    warp_steps<kChannels>(source, ahead, terms, x, 1, row + static_cast<ptrdiff_t>(x) * kChannels);
  }
}

template <int kChannels>
void warp_plane(const PlaneView &source, const RowsAhead &ahead, const PerspectiveMatrix &matrix,
                const PlaneView &destination) {
  trace_path("warp_perspective.vectors");
  for (int32_t y = 0; y < destination.rows; ++y) {
    warp_row<kChannels>(source, ahead, matrix, y, destination.columns, destination.row(y));
  }
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
