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

// The same, without a detour through double precision.
constexpr int32_t truncate_to_int32(float value) {
  constexpr float kEnd = 2147483648.0F;
  if (!(value > -kEnd)) {
    return value != value ? 0 : std::numeric_limits<int32_t>::min();
  }
  return value >= kEnd ? std::numeric_limits<int32_t>::max() : static_cast<int32_t>(value);
}

// The same without a sign: what is below 0 becomes 0.
constexpr uint32_t truncate_to_uint32(double value) {
  if (!(value > 0)) {
    return 0;
  }
  if (value >= std::numeric_limits<uint32_t>::max()) {
    return std::numeric_limits<uint32_t>::max();
  }
  return static_cast<uint32_t>(value);
}

// To the nearest, halves away from zero; otherwise as the truncation. In double precision the
// half that is added never lifts a float to an integer that it is not nearest to.
constexpr int32_t round_to_int32(float value) {
  return truncate_to_int32(static_cast<double>(value) + (value < 0 ? -0.5 : 0.5));
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
