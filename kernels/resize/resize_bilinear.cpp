#include "kernels/resize/resize_bilinear.h"

#include <algorithm>
#include <array>

#include "kernels/resize/aligned_scratch.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/resize/resize_bilinear.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/resize/horizontal_pass-inl.h"
#include "kernels/resize/horizontal_pass_scalar.h"
#include "kernels/resize/resize_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

using scalar::Tap;

#if TAVRINE_HAS_VECTORS

// What an instruction set with vectors has:
//
//   kGroupsInStep, kWindowCounts, window_bytes(), entry_bytes(), enter_group()
//                      the layout of the tables; see resample_tables-inl.h
//   Samples            a register of resampled samples; a step has two of them
//   resample_step()    resamples a step of one row or of several, whose entries it loads once, and
//                      moves the tables on to the next step
//   load_step(), store_step()   a step of a resampled row, in the order that resample_step() makes
//   RowWeights         the weights of an upper and a lower row; store_blended() stores the bytes of
//                      a step in the order of the destination

// Resamples whole rows.
template <size_t kRows>
void resample_rows(HorizontalPass &pass, std::array<const uint8_t *, kRows> rows,
                   const std::array<int16_t *, kRows> &out) {
  for (size_t row = 0; row < kRows; ++row) {
    rows[row] = pass.readable_row(rows[row], row);
  }
  with_windows(pass.windows(), [&](auto windows) {
    ResampleTables tables = pass.tables();
    const ptrdiff_t end = static_cast<ptrdiff_t>(pass.steps()) * kSamplesInStep;
    for (ptrdiff_t x = 0; x < end; x += kSamplesInStep) {
      Samples samples[kRows][2];
      resample_step<windows, kRows>(rows, tables, samples);
      for (size_t row = 0; row < kRows; ++row) {
        store_step(samples[row], out[row] + x);
      }
    }
  });
}

// Calls store(step, out) for each step of a row. One that is longer than the row goes to a copy.
template <class Store>
HWY_INLINE void for_each_stored_step(const HorizontalPass &pass, int32_t samples, uint8_t *row,
                                     Store store) {
  if (samples < kSamplesInStep) {
    PaddedOutput<kSamplesInStep> out;
    store(0, out.data());
    return out.store(row, static_cast<size_t>(samples));
  }
  const int32_t last = pass.steps() - 1;
  for (int32_t step = 0; step < last; ++step) {
    store(step, row + static_cast<ptrdiff_t>(step) * kSamplesInStep);
  }
  store(last, row + samples - kSamplesInStep);
}

// Blends two resampled rows.
void blend_rows(const HorizontalPass &pass, const int16_t *upper, const int16_t *lower,
                const Tap &tap, int32_t samples, uint8_t *destination) {
  const RowWeights weights(tap.first, tap.second);
  for_each_stored_step(pass, samples, destination, [&](int32_t step, uint8_t *out) {
    const ptrdiff_t x = static_cast<ptrdiff_t>(step) * kSamplesInStep;
    Samples above[2];
    Samples below[2];
    load_step(upper + x, above);
    load_step(lower + x, below);
    weights.store_blended(above, below, out);
  });
}

// Resamples two rows and blends them at once, for rows that no other destination row needs.
void resample_and_blend(HorizontalPass &pass, const uint8_t *upper, const uint8_t *lower,
                        const Tap &tap, int32_t samples, uint8_t *destination) {
  const std::array<const uint8_t *, 2> rows = {pass.readable_row(upper, 0),
                                               pass.readable_row(lower, 1)};
  const RowWeights weights(tap.first, tap.second);
  with_windows(pass.windows(), [&](auto windows) {
    ResampleTables tables = pass.tables();
    for_each_stored_step(pass, samples, destination, [&](int32_t /*step*/, uint8_t *out) {
      Samples resampled[2][2];
      resample_step<windows, 2>(rows, tables, resampled);
      weights.store_blended(resampled[0], resampled[1], out);
    });
  });
}

using Pass = HorizontalPass;

#else

using Pass = scalar::HorizontalPass;

template <size_t kRows>
void resample_rows(Pass &pass, const std::array<const uint8_t *, kRows> &rows,
                   const std::array<int16_t *, kRows> &out) {
  for (size_t row = 0; row < kRows; ++row) {
    pass.run(rows[row], out[row]);
  }
}

void blend_rows(const Pass & /*pass*/, const int16_t *upper, const int16_t *lower, const Tap &tap,
                int32_t samples, uint8_t *destination) {
  scalar::blend_rows(upper, lower, tap, samples, destination);
}

#endif  // TAVRINE_HAS_VECTORS

// The rows of the source between which a destination row lies.
struct RowSpan {
  int32_t upper;
  int32_t lower;
};

// Rows beyond the plane are read at its edge, and a row without weight is not read.
RowSpan rows_of(const Tap &tap, int32_t rows) {
  const int32_t upper = std::clamp(tap.index, 0, rows - 1);
  const int32_t lower = tap.index >= rows - 1 ? rows - 1 : std::max(tap.index + 1, 0);
  return {tap.first != 0 ? upper : lower, tap.second != 0 ? lower : upper};
}

// Horizontally resampled rows. Destination rows go down the source, and where they lie less than
// two source rows apart they need every one: rows are resampled in pairs then, which share what
// is loaded from the tables, and the last two pairs are kept.
class ResampledRows {
 public:
  ResampledRows(const PlaneView &source, Pass &pass, int16_t *memory, int64_t row_samples)
      : source_(source), pass_(pass), row_samples_(row_samples) {
    for (Pair &pair : pairs_) {
      pair.samples = memory;
      memory += 2 * row_samples;
    }
  }

  const int16_t *row(int32_t index) {
    for (const Pair &pair : pairs_) {
      if (index == pair.first || index == pair.first + 1) {
        return pair.samples + (index - pair.first) * row_samples_;
      }
    }
    Pair &oldest = pairs_[0].first < pairs_[1].first ? pairs_[0] : pairs_[1];
    oldest.first = index;
    const int32_t next = std::min(index + 1, source_.rows - 1);
    resample_rows<2>(pass_, {source_.row(index), source_.row(next)},
                     {oldest.samples, oldest.samples + row_samples_});
    return oldest.samples;
  }

 private:
  struct Pair {
    int32_t first = -2;  // no row
    int16_t *samples = nullptr;
  };

  const PlaneView &source_;
  Pass &pass_;
  int64_t row_samples_;
  Pair pairs_[2];
};

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  const auto samples = static_cast<int32_t>(destination.row_bytes());
  const int64_t row_samples = (int64_t{samples} + 31) / 32 * 32;  // whole steps
  AlignedScratch<int16_t> memory;
  Pass pass(source, destination);
  if (!memory.allocate(4 * row_samples) || !pass.prepare()) {
    return false;
  }
  const float scale = scalar::reciprocal_scale(source.rows, destination.rows);
  ResampledRows rows(source, pass, memory.data(), row_samples);
  for (int32_t y = 0; y < destination.rows; ++y) {
    const Tap tap = scalar::row_tap(y, scale);
    const RowSpan span = rows_of(tap, source.rows);
#if TAVRINE_HAS_VECTORS
    if (scale >= 2) {
      resample_and_blend(pass, source.row(span.upper), source.row(span.lower), tap, samples,
                         destination.row(y));
      continue;
    }
#endif
    const int16_t *upper = rows.row(span.upper);
    const int16_t *lower = rows.row(span.lower);
    blend_rows(pass, upper, lower, tap, samples, destination.row(y));
  }
  return true;
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {
HWY_EXPORT(resize_bilinear);
}  // namespace

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  return HWY_DYNAMIC_DISPATCH(resize_bilinear)(source, destination);
}

}  // namespace tavrine
#endif
