#include "host/kernels/rgb.h"

namespace tavrine {
namespace {

bool are_convertible(const PlaneView &source, const PlaneView &destination) {
  return source.is_usable() && destination.is_usable() && have_same_size(source, destination);
}

}  // namespace

bool weigh_luma(const PlaneView &packed, ByteOrder order, const PlaneView &grey) {
  if (!are_convertible(packed, grey)) {
    return false;
  }
  for (int32_t y = 0; y < grey.rows; ++y) {
    const uint8_t *pixel = packed.row(y);
    uint8_t *out = grey.row(y);
    for (int32_t x = 0; x < grey.columns; ++x, pixel += 3) {
      const double luma =
          pixel[1] * 0.587 + pixel[red_byte(order)] * 0.299 + pixel[blue_byte(order)] * 0.114;
      out[x] = static_cast<uint8_t>(luma);
    }
  }
  return true;
}

bool replicate_grey(const PlaneView &grey, const PlaneView &packed) {
  if (!are_convertible(grey, packed)) {
    return false;
  }
  for (int32_t y = 0; y < grey.rows; ++y) {
    const uint8_t *in = grey.row(y);
    uint8_t *pixel = packed.row(y);
    for (int32_t x = 0; x < grey.columns; ++x, pixel += 3) {
      pixel[0] = pixel[1] = pixel[2] = in[x];
    }
  }
  return true;
}

bool swap_red_blue(const PlaneView &source, const PlaneView &destination) {
  if (!are_convertible(source, destination)) {
    return false;
  }
  for (int32_t y = 0; y < source.rows; ++y) {
    const uint8_t *in = source.row(y);
    uint8_t *out = destination.row(y);
    for (int32_t x = 0; x < source.columns; ++x, in += 3, out += 3) {
      const uint8_t first = in[0];
      out[0] = in[2];
      out[1] = in[1];
      out[2] = first;
    }
  }
  return true;
}

}  // namespace tavrine
