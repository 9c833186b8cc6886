#include "kernels/resize/resize_bilinear.h"

#include <algorithm>

#include "kernels/path.h"
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

// An instruction set with vectors has
//
//   kGroupsInStep, kLayouts, entry_bytes(), enter_group(), finish_bases()
//     its tables. See resample_tables-inl.h.
//   RowStep
//     a step of a resampled row, two registers.
//   resample_step()
//     resamples a step of two rows, for which it loads the table once, and moves the table on.
//   load_step(), store_step()
//     a step of a resampled row in memory, in the order that resample_step() makes. They move the
//     pointer to the next step.
//   RowWeights
//     the weights of an upper and a lower row. store_blended() blends a step of both, stores its
//     bytes in the order of the destination, and moves the pointer to the next step.
//
// A resampled sample is at most 32655, see enter_group(), so that it fits a signed word. Blended
// with weights that add up to at most 2049 it is at most 1020, and its rounded quarter fits a byte.

// Resamples two whole rows.
template <size_t kLayout>
HWY_NOINLINE void resample_rows(ResampleTables tables, int32_t steps, const uint8_t *upper,
                                const uint8_t *lower, int16_t *upper_out, int16_t *lower_out) {
  for (; steps > 0; --steps) {
    RowStep above;
    RowStep below;
    resample_step<kLayout>(upper, lower, tables, above, below);
    store_step(above, upper_out);
    store_step(below, lower_out);
  }
}

void resample_rows(HorizontalPass &pass, const uint8_t *upper, const uint8_t *lower,
                   int16_t *upper_out, int16_t *lower_out) {
  with_layout(pass.layout(), [&](auto layout) {
    resample_rows<layout>(pass.tables(), pass.steps(), pass.readable_row(upper, 0),
                          pass.readable_row(lower, 1), upper_out, lower_out);
  });
}

// Calls store(out), which moves `out` to the next step, for each step of a row. A step that is
// longer than the row goes to a copy.
template <class Store>
HWY_INLINE void for_each_stored_step(int32_t samples, uint8_t *row, Store store) {
  if (samples < kSamplesInStep) {
    PaddedOutput<kSamplesInStep> copy;
    uint8_t *out = copy.data();
    store(out);
    return copy.store(row, static_cast<size_t>(samples));
  }
  uint8_t *out = row;
  int32_t left = samples;
  // Two at a time halve what the loop itself costs.
  for (; left > 2 * kSamplesInStep; left -= 2 * kSamplesInStep) {
    store(out);
    store(out);
  }
  for (; left > kSamplesInStep; left -= kSamplesInStep) {
    store(out);
  }
  out = row + samples - kSamplesInStep;
  store(out);
}

// Blends two resampled rows.
void blend_resampled(const int16_t *upper, const int16_t *lower, const Tap &tap, int32_t samples,
                     uint8_t *destination) {
  const RowWeights weights(tap.first, tap.second);
  for_each_stored_step(samples, destination, [&](uint8_t *&out) TAVRINE_INLINE_LAMBDA {
    const RowStep above = load_step(upper);
    weights.store_blended(above, load_step(lower), out);
  });
}

// Resamples two rows and blends them at once, for rows that no other destination row needs.
template <size_t kLayout>
HWY_NOINLINE void resample_and_blend(ResampleTables tables, const uint8_t *upper,
                                     const uint8_t *lower, const Tap &tap, int32_t samples,
                                     uint8_t *destination) {
  const RowWeights weights(tap.first, tap.second);
  for_each_stored_step(samples, destination, [&](uint8_t *&out) TAVRINE_INLINE_LAMBDA {
    RowStep above;
    RowStep below;
    resample_step<kLayout>(upper, lower, tables, above, below);
    weights.store_blended(above, below, out);
  });
}

void resample_and_blend(HorizontalPass &pass, const uint8_t *upper, const uint8_t *lower,
                        const Tap &tap, int32_t samples, uint8_t *destination) {
  with_layout(pass.layout(), [&](auto layout) {
    resample_and_blend<layout>(pass.tables(), pass.readable_row(upper, 0),
                               pass.readable_row(lower, 1), tap, samples, destination);
  });  // NOLINT(clang-analyzer-cplusplus.NewDeleteLeaks): the pass owns its tables
}

using Pass = HorizontalPass;

#else

using Pass = scalar::HorizontalPass;  // one sample at a time

void resample_rows(Pass &pass, const uint8_t *upper, const uint8_t *lower, int16_t *upper_out,
                   int16_t *lower_out) {
  pass.run(upper, upper_out);
  pass.run(lower, lower_out);
}

void blend_resampled(const int16_t *upper, const int16_t *lower, const Tap &tap, int32_t samples,
                     uint8_t *destination) {
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
    resample_rows(pass_, source_.row(index), source_.row(next), oldest.samples,
                  oldest.samples + row_samples_);
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

bool resample_by_rows(const PlaneView &source, const PlaneView &destination, float scale,
                      Pass &pass) {
  const auto samples = static_cast<int32_t>(destination.row_bytes());
  const int64_t row_samples = (int64_t{samples} + 31) / 32 * 32;  // whole steps
  AlignedScratch<int16_t> memory;
  if (!memory.allocate(4 * row_samples)) {
    return false;
  }
  trace_path("resize.bilinear.rows");
  ResampledRows rows(source, pass, memory.data(), row_samples);
  for (int32_t y = 0; y < destination.rows; ++y) {
    const Tap tap = scalar::row_tap(y, scale);
    const RowSpan span = rows_of(tap, source.rows);
    const int16_t *upper = rows.row(span.upper);
    const int16_t *lower = rows.row(span.lower);
    blend_resampled(upper, lower, tap, samples, destination.row(y));
  }
  return true;
}

bool resize_bilinear(const PlaneView &source, const PlaneView &destination) {
  Pass pass(source, destination);
  if (!pass.prepare()) {
    return false;
  }
  trace_path(pass.path());
  const float scale = scalar::reciprocal_scale(source.rows, destination.rows);
#if TAVRINE_HAS_VECTORS
  if (scale >= 2) {
    trace_path("resize.bilinear.fused");
    for (int32_t y = 0; y < destination.rows; ++y) {
      const Tap tap = scalar::row_tap(y, scale);
      const RowSpan span = rows_of(tap, source.rows);
      resample_and_blend(pass, source.row(span.upper), source.row(span.lower), tap,
                         static_cast<int32_t>(destination.row_bytes()), destination.row(y));
    }
    return true;
  }
#endif
  return resample_by_rows(source, destination, scale, pass);
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
