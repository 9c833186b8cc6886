// The parts of a destination row whose source positions lie in a range. Offsets of columns rise or
// fall all along a row, so each part is one run of columns, and the ends of a run hold its
// extremes.
#pragma once

#include <algorithm>
#include <cstdint>

namespace tavrine {

// Destination columns from `first` to before `last`.
struct Run {
  int32_t first;
  int32_t last;
};

// The columns of a run whose positions, start + offset, lie from `low` to before `high`. Positions
// must not wrap.
inline Run columns_between(const int32_t *offsets, int32_t start, Run run, int32_t low,
                           int32_t high) {
  if (run.first >= run.last) {
    return {run.first, run.first};
  }
  const int32_t left = start + offsets[run.first];
  const int32_t right = start + offsets[run.last - 1];
  if (std::min(left, right) >= low && std::max(left, right) < high) {
    return run;
  }
  const bool rises = left <= right;
  const auto comes_before = [=](int32_t offset) {
    return rises ? start + offset < low : start + offset >= high;
  };
  const auto has_not_passed = [=](int32_t offset) {
    return rises ? start + offset < high : start + offset >= low;
  };
  const int32_t *end = offsets + run.last;
  const int32_t *first = std::partition_point(offsets + run.first, end, comes_before);
  const int32_t *last = std::partition_point(first, end, has_not_passed);
  return {static_cast<int32_t>(first - offsets), static_cast<int32_t>(last - offsets)};
}

}  // namespace tavrine
