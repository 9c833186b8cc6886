// The limited-range BT.601 matrices, in units of 1/1024.
#include "engine_operations.h"

namespace tavrine::devkit {
namespace {

constexpr uint32_t kMaxWidth = 1920;

// Rounds to nearest, halves up.
template <int Divisor>
int32_t divide(int32_t sum) {
  const int32_t raised = sum + Divisor / 2;
  return raised >= 0 ? raised / Divisor : -((Divisor - 1 - raised) / Divisor);
}

uint8_t saturate(int32_t value) {
  return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

struct Weights {
  int32_t red, green, blue;

  int32_t of(const uint8_t *pixel) const {
    return red * pixel[0] + green * pixel[1] + blue * pixel[2];
  }
};

constexpr Weights kLuma = {263, 516, 100};
constexpr Weights kU = {-152, -298, 450};
constexpr Weights kV = {450, -377, -73};

// Over two by two pixels.
int32_t sum_of_block(const Weights &weights, const uint8_t *upper, const uint8_t *lower) {
  return weights.of(upper) + weights.of(upper + 3) + weights.of(lower) + weights.of(lower + 3);
}

void write_luma_row(const EngineImage &source, const EngineImage &destination, uint32_t y) {
  uint8_t luma[kMaxWidth];
  const uint8_t *pixels = source.planes[0].row(y);
  for (uint32_t x = 0; x < source.width; ++x) {
    luma[x] = saturate(divide<1024>(kLuma.of(pixels + 3 * x)) + 16);
  }
  destination.planes[0].write_row(y, luma, source.width);
}

}  // namespace

void convert_yuv_to_rgb(const EngineImage &source, const EngineImage &destination) {
  uint8_t pixels[3 * kMaxWidth];
  for (uint32_t y = 0; y < source.height; ++y) {
    const uint8_t *luma = source.planes[0].row(y);
    const uint8_t *chroma = source.planes[1].row(y / 2);
    for (uint32_t x = 0; x < source.width; ++x) {
      const int32_t base = 1192 * (luma[x] - 16);
      const int32_t u = chroma[x / 2 * 2] - 128;
      const int32_t v = chroma[x / 2 * 2 + 1] - 128;
      pixels[3 * x] = saturate(divide<1024>(base + 1634 * v));
      pixels[3 * x + 1] = saturate(divide<1024>(base - 401 * u - 832 * v));
      pixels[3 * x + 2] = saturate(divide<1024>(base + 2066 * u));
    }
    destination.planes[0].write_row(y, pixels, size_t{3} * source.width);
  }
}

void convert_rgb_to_yuv(const EngineImage &source, const EngineImage &destination) {
  uint8_t chroma[kMaxWidth];
  for (uint32_t y = 0; y < source.height; y += 2) {
    write_luma_row(source, destination, y);
    write_luma_row(source, destination, y + 1);
    for (uint32_t x = 0; x < source.width; x += 2) {
      const uint8_t *upper = source.planes[0].row(y) + 3 * x;
      const uint8_t *lower = source.planes[0].row(y + 1) + 3 * x;
      chroma[x] = saturate(divide<4096>(sum_of_block(kU, upper, lower)) + 128);
      chroma[x + 1] = saturate(divide<4096>(sum_of_block(kV, upper, lower)) + 128);
    }
    destination.planes[1].write_row(y / 2, chroma, source.width);
  }
}

}  // namespace tavrine::devkit
