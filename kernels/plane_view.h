// A plane of pixels, as kernels see it. Views are built on the stack and own nothing.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine {

struct PlaneView {
  uint8_t *data;  // null: there is no such plane, or its rows do not fit its stride
  int32_t channels;
  int32_t columns;
  int32_t rows;
  ptrdiff_t step;  // bytes from row to row, at least row_bytes()

  bool is_usable() const { return data != nullptr && columns > 0 && rows > 0; }
  bool is_tight() const { return step == row_bytes(); }
  ptrdiff_t row_bytes() const { return static_cast<ptrdiff_t>(columns) * channels; }
  uint8_t *row(int32_t y) const { return data + step * y; }
};

inline bool have_same_size(const PlaneView &a, const PlaneView &b) {
  return a.columns == b.columns && a.rows == b.rows;
}

}  // namespace tavrine
