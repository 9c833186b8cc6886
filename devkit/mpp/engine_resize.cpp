#include "engine_operations.h"

namespace tavrine::devkit {
namespace {

constexpr uint32_t kMaxWidth = 1920;

// The two source neighbours of a destination pixel on one axis, and their weights of 256.
struct Sample {
  uint32_t first, second;
  uint32_t first_weight, second_weight;
};

Sample sample_at(uint32_t index, uint32_t source, uint32_t destination) {
  // Positions are in units of 1 / (2 * destination).
  const uint32_t unit = 2 * destination;
  const auto position = static_cast<int32_t>((2 * index + 1) * source - destination);
  const uint32_t inside = position < 0 ? 0 : static_cast<uint32_t>(position);
  const uint32_t first = inside / unit;
  const uint32_t second_weight = inside % unit * 256 / unit;
  const uint32_t last = source - 1;
  return {first < last ? first : last, first < last ? first + 1 : last, 256 - second_weight,
          second_weight};
}

}  // namespace

void resize_grey(const EngineImage &source, const EngineImage &destination) {
  const EnginePlane &from = source.planes[0];
  uint8_t pixels[kMaxWidth];
  for (uint32_t y = 0; y < destination.height; ++y) {
    const Sample vertical = sample_at(y, source.height, destination.height);
    const uint8_t *upper = from.row(vertical.first);
    const uint8_t *lower = from.row(vertical.second);
    for (uint32_t x = 0; x < destination.width; ++x) {
      const Sample at = sample_at(x, source.width, destination.width);
      const uint32_t above =
          at.first_weight * upper[at.first] + at.second_weight * upper[at.second];
      const uint32_t below =
          at.first_weight * lower[at.first] + at.second_weight * lower[at.second];
      const uint32_t sum = vertical.first_weight * above + vertical.second_weight * below;
      pixels[x] = static_cast<uint8_t>((sum + 32768) / 65536);
    }
    destination.planes[0].write_row(y, pixels, destination.width);
  }
}

}  // namespace tavrine::devkit
