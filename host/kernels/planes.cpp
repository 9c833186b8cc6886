#include "host/kernels/planes.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "host/kernels/planes.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "host/kernels/planes_scalar.h"
#include "host/kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

void swap_row(const uint8_t *in, int32_t pairs, uint8_t *out) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const hn::ScalableTag<uint16_t> d16;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d16));
  for (; x <= pairs - lanes; x += lanes) {
    const auto pair = hn::BitCast(d16, hn::LoadU(Bytes(), in + 2 * x));
    const auto swapped = hn::Or(hn::ShiftLeft<8>(pair), hn::ShiftRight<8>(pair));
    hn::StoreU(hn::BitCast(Bytes(), swapped), Bytes(), out + 2 * x);
  }
#endif
  scalar::swap_pairs(in + 2 * x, pairs - x, out + 2 * x);
}

void interleave_row(const uint8_t *first, const uint8_t *second, int32_t columns, uint8_t *pairs) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Bytes d;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (; x <= columns - lanes; x += lanes) {
    hn::StoreInterleaved2(hn::LoadU(d, first + x), hn::LoadU(d, second + x), d, pairs + 2 * x);
  }
#endif
  scalar::interleave(first + x, second + x, columns - x, pairs + 2 * x);
}

void deinterleave_row(const uint8_t *pairs, int32_t columns, uint8_t *first, uint8_t *second) {
  int32_t x = 0;
#if TAVRINE_HAS_VECTORS
  const Bytes d;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (; x <= columns - lanes; x += lanes) {
    hn::VFromD<Bytes> a;
    hn::VFromD<Bytes> b;
    hn::LoadInterleaved2(d, pairs + 2 * x, a, b);
    hn::StoreU(a, d, first + x);
    hn::StoreU(b, d, second + x);
  }
#endif
  scalar::deinterleave(pairs + 2 * x, columns - x, first + x, second + x);
}

void swap_rows(const PlaneView &source, const PlaneView &destination) {
  for (int32_t y = 0; y < source.rows; ++y) {
    swap_row(source.row(y), source.columns, destination.row(y));
  }
}

void interleave_rows(const PlaneView &first, const PlaneView &second, const PlaneView &pairs) {
  for (int32_t y = 0; y < pairs.rows; ++y) {
    interleave_row(first.row(y), second.row(y), pairs.columns, pairs.row(y));
  }
}

void deinterleave_rows(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
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

HWY_EXPORT(swap_rows);
HWY_EXPORT(interleave_rows);
HWY_EXPORT(deinterleave_rows);

bool fit_pairs(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  return pairs.is_usable() && first.is_usable() && second.is_usable() &&
         have_same_size(pairs, first) && have_same_size(pairs, second);
}

}  // namespace

bool copy_plane(const PlaneView &source, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || !have_same_size(source, destination)) {
    return false;
  }
  const auto row_bytes = static_cast<size_t>(source.row_bytes());
  if (source.is_tight() && destination.is_tight()) {
    std::memcpy(destination.data, source.data, row_bytes * static_cast<size_t>(source.rows));
    return true;
  }
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
    std::memset(destination.data, value, row_bytes * static_cast<size_t>(destination.rows));
    return true;
  }
  for (int32_t y = 0; y < destination.rows; ++y) {
    std::memset(destination.row(y), value, row_bytes);
  }
  return true;
}

bool swap_pairs(const PlaneView &source, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || !have_same_size(source, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(swap_rows)(source, destination);
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
