// One element at a time: the definition of the fills in tensor.h.
#pragma once

#include <type_traits>

#include "common/numeric.h"
#include "kernels/tensor/tensor.h"

namespace tavrine::scalar {

template <typename Element, typename Value>
Element to_element(Value value) {
  if constexpr (std::is_same_v<Element, float>) {
    return static_cast<float>(value);
  } else {
    return static_cast<Element>(truncate_to_uint32(value) & 0xFF);
  }
}

template <typename Element>
Element color_element(uint8_t byte, const ChannelNormalization &channel) {
  const float reciprocal = 1.0F / channel.scale;
  return to_element<Element>((static_cast<float>(byte) - channel.mean) * reciprocal);
}

template <typename Element>
Element grey_element(uint8_t byte, const ChannelNormalization &channel) {
  return to_element<Element>((static_cast<float>(byte) - channel.mean) / channel.scale);
}

template <typename Element>
Element weighted_element(uint8_t red, uint8_t green, uint8_t blue,
                         const ChannelNormalization &channel) {
  const double grey = 0.587 * green + 0.299 * red + 0.114 * blue;
  return to_element<Element>((grey - double{channel.mean}) / double{channel.scale});
}

}  // namespace tavrine::scalar
