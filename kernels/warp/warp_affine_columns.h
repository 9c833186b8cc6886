// What an affine warp needs to know of the destination's columns.
#pragma once

#include <algorithm>
#include <cstdint>

#include "common/numeric.h"
#include "kernels/warp/warp_affine_scalar.h"

namespace tavrine {

// For each destination column, what it adds to the source position along both axes. Rises or falls
// from column to column, so that the ends of a run of columns hold its extremes.
struct ColumnOffsets {
  const int32_t *x;
  const int32_t *y;
};

// By how many source pixels the first and the last of `count` consecutive destination pixels differ
// at most, wherever in the row they are.
inline uint32_t pixels_between(const int32_t *offsets, int32_t columns, int32_t count) {
  // Differences need all 32 bits, and no sign.
  const bool rises = offsets[0] <= offsets[columns - 1];
  uint32_t largest = 0;
  for (int32_t x = 0; x <= columns - count; ++x) {
    const auto first = static_cast<uint32_t>(offsets[x]);
    const auto last = static_cast<uint32_t>(offsets[x + count - 1]);
    largest = std::max(largest, rises ? last - first : first - last);
  }
  constexpr uint32_t kPixel = 1U << scalar::kPositionBits;
  return largest / kPixel + (largest % kPixel != 0 ? 1 : 0);
}

// Destination columns from `first` to before `last`.
struct Run {
  int32_t first;
  int32_t last;
};

// Finds the columns whose positions, start + offset, lie in a range. Positions must not wrap.
class ColumnSearch {
 public:
  ColumnSearch(const int32_t *offsets, int32_t columns)
      : offsets_(offsets), rises_(offsets[0] <= offsets[columns - 1]) {
    const float span = static_cast<float>(offsets[columns - 1]) - static_cast<float>(offsets[0]);
    columns_per_unit_ = span == 0 ? 0 : static_cast<float>(columns - 1) / span;
  }

  // The columns of a run whose positions lie from `low` to before `high`.
  Run between(int32_t start, Run run, int32_t low, int32_t high) const {
    if (run.first >= run.last) {
      return {run.first, run.first};
    }
    const int32_t left = start + offsets_[run.first];
    const int32_t right = start + offsets_[run.last - 1];
    if (std::min(left, right) >= low && std::max(left, right) < high) {
      return run;
    }
    const auto pass = [&](int32_t limit, Run part) {
      return rises_ ? first_without(start, limit, part, [=](int32_t x) { return x < limit; })
                    : first_without(start, limit, part, [=](int32_t x) { return x >= limit; });
    };
    const int32_t first = pass(rises_ ? low : high, run);
    return {first, pass(rises_ ? high : low, {first, run.last})};
  }

 private:
  // The first column of the run whose position does not have a property. A straight line through
  // the ends of the row finds it to within a column, unless it is almost level or offsets are
  // saturated.
  template <class Property>
  int32_t first_without(int32_t start, int32_t limit, Run run, Property property) const {
    const auto has_it = [&](int32_t offset) { return property(start + offset); };
    const float distance =
        static_cast<float>(limit) - static_cast<float>(start) - static_cast<float>(offsets_[0]);
    const int32_t guess =
        std::clamp(truncate_to_int32(distance * columns_per_unit_), run.first, run.last);
    Run near = {std::max(guess - 1, run.first), std::min(guess + 2, run.last)};
    if ((near.first != run.first && !has_it(offsets_[near.first - 1])) ||
        (near.last != run.last && has_it(offsets_[near.last]))) {
      near = run;
    }
    const int32_t *const end = offsets_ + near.last;
    return static_cast<int32_t>(std::partition_point(offsets_ + near.first, end, has_it) -
                                offsets_);
  }

  const int32_t *offsets_;
  float columns_per_unit_;
  bool rises_;
};

// The ways through windows that an instruction set has, the preferred ones first.
template <class... Shapes>
struct ShapeList {};

}  // namespace tavrine
