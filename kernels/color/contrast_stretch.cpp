#include "kernels/color/contrast_stretch.h"

#include <array>
#include <memory>
#include <new>

#include "kernels/path.h"

namespace tavrine {
namespace {

constexpr int32_t kValues = 65536;

// An entry for each value of a sample.
using Table = std::array<uint32_t, kValues>;

uint16_t read_sample(const uint8_t *bytes) {
  return static_cast<uint16_t>(bytes[0] | (bytes[1] << 8));
}

uint32_t entry(const Table &table, int32_t value) { return table[static_cast<size_t>(value)]; }

struct Bounds {
  int32_t low;
  int32_t high;
};

// The running counts and the number of pixels to clip are 16 bits wide and wrap, as
// contrast_stretch.h says. Zero stands for a value that does not occur, so `lowest` and `highest`
// are the ends of the histogram.
Bounds find_bounds(const Table &histogram, uint16_t clip_count) {
  Bounds bounds = {-1, -1};
  int32_t lowest = -1;
  int32_t highest = -1;
  uint16_t below = 0;
  for (int32_t value = 0; value < kValues; ++value) {
    if (entry(histogram, value) == 0) {
      continue;
    }
    lowest = lowest < 0 ? value : lowest;
    highest = value;
    if (bounds.low < 0 && below >= clip_count) {
      bounds.low = value;
    }
    below = static_cast<uint16_t>(below + entry(histogram, value));
  }
  uint16_t at_or_above = 0;
  for (int32_t value = highest; value >= 0 && bounds.high < 0; --value) {
    at_or_above = static_cast<uint16_t>(at_or_above + entry(histogram, value));
    if (at_or_above >= clip_count) {
      bounds.high = value;
    }
  }
  return {bounds.low < 0 ? lowest : bounds.low, bounds.high < 0 ? highest : bounds.high};
}

uint32_t stretch(int32_t value, const Bounds &bounds) {
  if (value < bounds.low) {
    return 0;
  }
  if (value > bounds.high) {
    return 255;
  }
  const int32_t range = bounds.high - bounds.low;
  return range == 0 ? 0 : static_cast<uint32_t>((value - bounds.low) * 255.0 / range);
}

}  // namespace

bool stretch_contrast(const PlaneView &source, const PlaneView &destination) {
  if (!fit(source, 2, destination, 1)) {
    return false;
  }
  // Scratch memory rather than the stack: threads on cameras have little of that.
  const std::unique_ptr<Table> scratch(new (std::nothrow) Table());
  if (!scratch) {
    return false;
  }
  Table &table = *scratch;
  trace_path("contrast_stretch");
  for (int32_t y = 0; y < source.rows; ++y) {
    const uint8_t *sample = source.row(y);
    for (int32_t x = 0; x < source.columns; ++x) {
      ++table[read_sample(sample + 2 * x)];
    }
  }
  const double clip_count = source.columns * 0.0001 * source.rows;
  const Bounds bounds = find_bounds(table, static_cast<uint16_t>(static_cast<int64_t>(clip_count)));
  // The histogram is no longer needed; reuse it as the lookup table.
  for (int32_t value = 0; value < kValues; ++value) {
    uint32_t &result = table[static_cast<size_t>(value)];
    if (result != 0) {
      result = stretch(value, bounds);
    }
  }
  for (int32_t y = 0; y < source.rows; ++y) {
    const uint8_t *sample = source.row(y);
    uint8_t *out = destination.row(y);
    for (int32_t x = 0; x < source.columns; ++x) {
      out[x] = static_cast<uint8_t>(table[read_sample(sample + 2 * x)]);
    }
  }
  return true;
}

}  // namespace tavrine
