// The definition of downscaling by odd whole ratios, for one row.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavrine::scalar {

// Takes pixels `ratio` apart, the first of them at `centre`.
template <int32_t kChannels>
void subsample_row(const uint8_t *centre, int32_t ratio, int32_t columns, uint8_t *destination) {
  const ptrdiff_t distance = static_cast<ptrdiff_t>(ratio) * kChannels;
  // Copying four bytes is faster than copying three. The next pixel replaces the fourth.
  constexpr size_t kCopied = kChannels == 3 ? 4 : kChannels;
  for (int32_t x = 1; x < columns; ++x, centre += distance, destination += kChannels) {
    std::memcpy(destination, centre, kCopied);
  }
  if (columns > 0) {
    std::memcpy(destination, centre, kChannels);
  }
}

}  // namespace tavrine::scalar
