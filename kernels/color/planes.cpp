#include "kernels/color/planes.h"

#include <cstring>

#include "kernels/path.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/color/planes.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/color/planes_arm-inl.h"
#include "kernels/color/planes_scalar.h"
#include "kernels/color/planes_x86-inl.h"
#include "kernels/color/row_steps-inl.h"
#include "kernels/vector-inl.h"

// The steps, each of kPairsInStep pairs, which move their pointers past them:
//
//   swap_pairs_step(in, out)                  a0 b0 a1 b1 ... -> b0 a0 b1 a1 ...
//   interleave_step(first, second, pairs)     a0 a1 ..., b0 b1 ... -> a0 b0 a1 b1 ...
//   deinterleave_step(pairs, first, second)   the reverse

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_HAS_VECTORS

constexpr bool kHasVectors = true;

void swap_pairs_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  convert_row<kPairsInStep, 2, 2>(in, columns, out, swap_pairs_step);
}

void interleave_row(const uint8_t *first, const uint8_t *second, int32_t columns, uint8_t *pairs) {
  for (; columns >= kPairsInStep; columns -= kPairsInStep) {
    interleave_step(first, second, pairs);
  }
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);
    const PaddedInput<kPairsInStep> firsts(first, count);
    const PaddedInput<kPairsInStep> seconds(second, count);
    PaddedOutput<size_t{2} * kPairsInStep> result;
    const uint8_t *from_first = firsts.data();
    const uint8_t *from_second = seconds.data();
    uint8_t *to = result.data();
    interleave_step(from_first, from_second, to);
    result.store(pairs, 2 * count);
  }
}

void deinterleave_row(const uint8_t *pairs, int32_t columns, uint8_t *first, uint8_t *second) {
  for (; columns >= kPairsInStep; columns -= kPairsInStep) {
    deinterleave_step(pairs, first, second);
  }
  if (columns > 0) {
    const auto count = static_cast<size_t>(columns);
    const PaddedInput<size_t{2} * kPairsInStep> copy(pairs, 2 * count);
    PaddedOutput<kPairsInStep> firsts;
    PaddedOutput<kPairsInStep> seconds;
    const uint8_t *from = copy.data();
    uint8_t *to_first = firsts.data();
    uint8_t *to_second = seconds.data();
    deinterleave_step(from, to_first, to_second);
    firsts.store(first, count);
    seconds.store(second, count);
  }
}

#else

constexpr bool kHasVectors = false;

using scalar::deinterleave_row;
using scalar::interleave_row;
using scalar::swap_pairs_row;

#endif

void swap_pairs_rows(const PlaneView &source, const PlaneView &destination) {
  trace_path(kHasVectors ? "planes.swap.vectors" : "planes.swap.scalar");
  for (int32_t y = 0; y < source.rows; ++y) {
    swap_pairs_row(source.row(y), source.columns, destination.row(y));
  }
}

void interleave_rows(const PlaneView &first, const PlaneView &second, const PlaneView &pairs) {
  trace_path(kHasVectors ? "planes.interleave.vectors" : "planes.interleave.scalar");
  for (int32_t y = 0; y < pairs.rows; ++y) {
    interleave_row(first.row(y), second.row(y), pairs.columns, pairs.row(y));
  }
}

void deinterleave_rows(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  trace_path(kHasVectors ? "planes.deinterleave.vectors" : "planes.deinterleave.scalar");
  for (int32_t y = 0; y < pairs.rows; ++y) {
    deinterleave_row(pairs.row(y), pairs.columns, first.row(y), second.row(y));
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(swap_pairs_rows);
HWY_EXPORT(interleave_rows);
HWY_EXPORT(deinterleave_rows);

bool fit_pairs(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  return fit(pairs, 2, first, 1) && fit(pairs, 2, second, 1);
}

}  // namespace

bool copy_plane(const PlaneView &source, const PlaneView &destination) {
  if (!fit(source, source.channels, destination, source.channels)) {
    return false;
  }
  const auto row_bytes = static_cast<size_t>(source.row_bytes());
  // The C library's memcpy is tuned for the CPU at hand, which bounds a copy by memory alone.
  if (source.is_tight() && destination.is_tight()) {
    trace_path("planes.copy.whole");
    std::memcpy(destination.data, source.data, row_bytes * static_cast<size_t>(source.rows));
    return true;
  }
  trace_path("planes.copy.rows");
  for (int32_t y = 0; y < source.rows; ++y) {
    std::memcpy(destination.row(y), source.row(y), row_bytes);
  }
  return true;
}

bool fill_plane(const PlaneView &destination, uint8_t value) {
  if (!destination.is_usable()) {
    return false;
  }
  const auto row_bytes = static_cast<size_t>(destination.row_bytes());
  if (destination.is_tight()) {
    trace_path("planes.fill.whole");
    std::memset(destination.data, value, row_bytes * static_cast<size_t>(destination.rows));
    return true;
  }
  trace_path("planes.fill.rows");
  for (int32_t y = 0; y < destination.rows; ++y) {
    std::memset(destination.row(y), value, row_bytes);
  }
  return true;
}

bool swap_pairs(const PlaneView &source, const PlaneView &destination) {
  if (!fit(source, 2, destination, 2)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(swap_pairs_rows)(source, destination);
  return true;
}

bool interleave_planes(const PlaneView &first, const PlaneView &second, const PlaneView &pairs) {
  if (!fit_pairs(pairs, first, second)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(interleave_rows)(first, second, pairs);
  return true;
}

bool deinterleave_plane(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  if (!fit_pairs(pairs, first, second)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(deinterleave_rows)(pairs, first, second);
  return true;
}

}  // namespace tavrine
#endif
