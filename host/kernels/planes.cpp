#include "host/kernels/planes.h"

#include <cstring>

namespace tavrine {

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
  for (int32_t y = 0; y < source.rows; ++y) {
    const uint8_t *in = source.row(y);
    uint8_t *out = destination.row(y);
    for (int32_t x = 0; x < source.columns; ++x) {
      const uint8_t first = in[2 * x];
      out[2 * x] = in[2 * x + 1];
      out[2 * x + 1] = first;
    }
  }
  return true;
}

namespace {

bool fit_pairs(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  return pairs.is_usable() && first.is_usable() && second.is_usable() &&
         have_same_size(pairs, first) && have_same_size(pairs, second);
}

}  // namespace

bool interleave_planes(const PlaneView &first, const PlaneView &second, const PlaneView &pairs) {
  if (!fit_pairs(pairs, first, second)) {
    return false;
  }
  for (int32_t y = 0; y < pairs.rows; ++y) {
    const uint8_t *in_first = first.row(y);
    const uint8_t *in_second = second.row(y);
    uint8_t *out = pairs.row(y);
    for (int32_t x = 0; x < pairs.columns; ++x) {
      out[2 * x] = in_first[x];
      out[2 * x + 1] = in_second[x];
    }
  }
  return true;
}

bool deinterleave_plane(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  if (!fit_pairs(pairs, first, second)) {
    return false;
  }
  for (int32_t y = 0; y < pairs.rows; ++y) {
    const uint8_t *in = pairs.row(y);
    uint8_t *out_first = first.row(y);
    uint8_t *out_second = second.row(y);
    for (int32_t x = 0; x < pairs.columns; ++x) {
      out_first[x] = in[2 * x];
      out_second[x] = in[2 * x + 1];
    }
  }
  return true;
}

}  // namespace tavrine
