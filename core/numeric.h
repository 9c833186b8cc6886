// The conversions whose result the machine would otherwise decide.
#pragma once

#include <cstdint>
#include <limits>

namespace tavrine {

// Toward zero, saturated, NaN as 0: what the camera's floating-point unit does.
constexpr int32_t truncate_to_int32(double value) {
  if (!(value > std::numeric_limits<int32_t>::min())) {
    return value != value ? 0 : std::numeric_limits<int32_t>::min();
  }
  if (value >= std::numeric_limits<int32_t>::max()) {
    return std::numeric_limits<int32_t>::max();
  }
  return static_cast<int32_t>(value);
}

constexpr int32_t saturate_to_int32(int64_t value) {
  if (value < std::numeric_limits<int32_t>::min()) {
    return std::numeric_limits<int32_t>::min();
  }
  if (value > std::numeric_limits<int32_t>::max()) {
    return std::numeric_limits<int32_t>::max();
  }
  return static_cast<int32_t>(value);
}

constexpr uint8_t saturate_to_uint8(int32_t value) {
  return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

}  // namespace tavrine
