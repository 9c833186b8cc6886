#include "host/kernels/yuv.h"

#include "core/numeric.h"

namespace tavrine {
namespace {

constexpr int32_t u_byte(ChromaOrder order) { return static_cast<int32_t>(order); }
constexpr int32_t v_byte(ChromaOrder order) { return 1 - static_cast<int32_t>(order); }

bool fit_each_other(const PlaneView &packed, const PlaneView &luma, const PlaneView &chroma) {
  return packed.is_usable() && luma.is_usable() && chroma.is_usable() && luma.columns % 2 == 0 &&
         luma.rows % 2 == 0 && have_same_size(packed, luma) && chroma.columns == luma.columns / 2 &&
         chroma.rows == luma.rows / 2 && chroma.step == luma.step;
}

void luma_row(const uint8_t *pixel, ByteOrder order, int32_t columns, uint8_t *luma) {
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    const int32_t sum =
        38 * pixel[red_byte(order)] + 74 * pixel[1] + 16 * pixel[blue_byte(order)] + 64;
    luma[x] = saturate_to_uint8(sum >> 7);
  }
}

void chroma_row(const uint8_t *pixel, ByteOrder order, int32_t pairs, uint8_t *chroma,
                ChromaOrder chroma_order) {
  for (int32_t x = 0; x < pairs; ++x, pixel += 6, chroma += 2) {
    const int32_t red = pixel[red_byte(order)];
    const int32_t green = pixel[1];
    const int32_t blue = pixel[blue_byte(order)];
    const int32_t u = (-22 * red - 43 * green + 65 * blue + 64) >> 7;
    const int32_t v = (67 * red - 55 * green - 12 * blue + 64) >> 7;
    chroma[u_byte(chroma_order)] = saturate_to_uint8(u + 128);
    chroma[v_byte(chroma_order)] = saturate_to_uint8(v + 128);
  }
}

void packed_row(const uint8_t *luma, const uint8_t *chroma, ChromaOrder chroma_order,
                int32_t columns, uint8_t *pixel, ByteOrder order) {
  for (int32_t x = 0; x < columns; ++x, pixel += 3) {
    const uint8_t *pair = chroma + (x & ~1);
    const int32_t u = pair[u_byte(chroma_order)] - 128;
    const int32_t v = pair[v_byte(chroma_order)] - 128;
    const int32_t base = 64 * luma[x] + 32;
    pixel[red_byte(order)] = saturate_to_uint8((base + 86 * v) >> 6);
    pixel[1] = saturate_to_uint8((base - 44 * v - 24 * u) >> 6);
    pixel[blue_byte(order)] = saturate_to_uint8((base + 110 * u) >> 6);
  }
}

}  // namespace

bool rgb_to_yuv(const PlaneView &packed, ByteOrder order, const PlaneView &luma,
                const PlaneView &chroma, ChromaOrder chroma_order) {
  if (!fit_each_other(packed, luma, chroma)) {
    return false;
  }
  for (int32_t y = 0; y < luma.rows; ++y) {
    luma_row(packed.row(y), order, luma.columns, luma.row(y));
  }
  for (int32_t y = 0; y < chroma.rows; ++y) {
    chroma_row(packed.row(2 * y), order, chroma.columns, chroma.row(y), chroma_order);
  }
  return true;
}

bool yuv_to_rgb(const PlaneView &luma, const PlaneView &chroma, ChromaOrder chroma_order,
                const PlaneView &packed, ByteOrder order) {
  if (!fit_each_other(packed, luma, chroma)) {
    return false;
  }
  for (int32_t y = 0; y < luma.rows; ++y) {
    packed_row(luma.row(y), chroma.row(y / 2), chroma_order, luma.columns, packed.row(y), order);
  }
  return true;
}

}  // namespace tavrine
