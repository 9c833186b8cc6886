// Float-to-integer conversions, defined for every input (C++ leaves out-of-range values
// undefined).
#pragma once

#include <cstdint>
#include <limits>

#include "common/strict_floating_point.h"

namespace tavrine {

// Toward zero, saturated, NaN to 0: as the camera's floating-point unit does it.
constexpr int32_t truncate_to_int32(double value) {
  if (!(value > std::numeric_limits<int32_t>::min())) {
    return value != value ? 0 : std::numeric_limits<int32_t>::min();
  }
  if (value >= std::numeric_limits<int32_t>::max()) {
    return std::numeric_limits<int32_t>::max();
  }
  return static_cast<int32_t>(value);
}

// The same in single precision.
constexpr int32_t truncate_to_int32(float value) {
  constexpr float kEnd = 2147483648.0F;
  if (!(value > -kEnd)) {
    return value != value ? 0 : std::numeric_limits<int32_t>::min();
  }
  return value >= kEnd ? std::numeric_limits<int32_t>::max() : static_cast<int32_t>(value);
}

// The same to an unsigned integer: values below 0 become 0.
constexpr uint32_t truncate_to_uint32(double value) {
  if (!(value > 0)) {
    return 0;
  }
  if (value >= std::numeric_limits<uint32_t>::max()) {
    return std::numeric_limits<uint32_t>::max();
  }
  return static_cast<uint32_t>(value);
}

// To the nearest integer, halves away from zero; saturated, NaN to 0. In single precision the sum
// could round up to an integer that is not the nearest; in double precision it cannot.
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
