// A plane of pixels, as kernels see it. Views are built on the stack and own nothing.
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace tavrine {

struct PlaneView {
  uint8_t *data;  // null: there is no such plane, or its rows do not fit its stride
  int32_t channels;
  int32_t columns;
  int32_t rows;
  ptrdiff_t stride;  // bytes from row to row, at least row_bytes()

  bool is_usable() const { return data != nullptr && columns > 0 && rows > 0; }
  bool is_tight() const { return stride == row_bytes(); }
  ptrdiff_t row_bytes() const { return static_cast<ptrdiff_t>(columns) * channels; }
  uint8_t *row(int32_t y) const { return data + stride * y; }
};

inline bool have_same_size(const PlaneView &a, const PlaneView &b) {
  return a.columns == b.columns && a.rows == b.rows;
}

// Whether a kernel that goes from pixel to pixel can work on the two.
inline bool fit(const PlaneView &source, int32_t source_channels, const PlaneView &destination,
                int32_t destination_channels) {
  return source.is_usable() && destination.is_usable() && have_same_size(source, destination) &&
         source.channels == source_channels && destination.channels == destination_channels;
}

// Whether a kernel for every channel count can take pixels from one to the other, of any size.
inline bool have_same_channels(const PlaneView &source, const PlaneView &destination) {
  return source.is_usable() && destination.is_usable() && source.channels == destination.channels &&
         source.channels >= 1 && source.channels <= 4;
}

// Calls run with the number of channels, 1 to 4, as a constant: std::integral_constant.
template <typename Run>
auto with_channels(int32_t channels, Run run) {
  switch (channels) {
    case 1:
      return run(std::integral_constant<int32_t, 1>());
    case 2:
      return run(std::integral_constant<int32_t, 2>());
    case 3:
      return run(std::integral_constant<int32_t, 3>());
    default:
      return run(std::integral_constant<int32_t, 4>());
  }
}

}  // namespace tavrine
