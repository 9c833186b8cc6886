// Values read from a fuzzer's bytes, 0 when there are none left.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace tavrine::fuzz {

enum class ReadFrom { kFront, kBack };

class Input {
 public:
  Input(const uint8_t *data, size_t size, ReadFrom end = ReadFrom::kFront)
      : data_(data), size_(size), end_(end) {}

  uint8_t byte() {
    if (used_ == size_) {
      return 0;
    }
    const size_t index = end_ == ReadFrom::kFront ? used_ : size_ - 1 - used_;
    ++used_;
    return data_[index];
  }

  // From `minimum` to `maximum`, at most 256 values.
  int32_t between(int32_t minimum, int32_t maximum) {
    return minimum + byte() % (maximum - minimum + 1);
  }

  bool flag() { return (byte() & 1) != 0; }

  int32_t integer() {
    uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
      value |= uint32_t{byte()} << (8 * i);
    }
    int32_t result = 0;
    std::memcpy(&result, &value, sizeof result);
    return result;
  }

  // Any bits: also infinities and NaNs.
  float number() {
    const int32_t bits = integer();
    float result = 0;
    std::memcpy(&result, &bits, sizeof result);
    return result;
  }

  // Mostly small, sometimes anything.
  int32_t coordinate() {
    const uint8_t kind = byte();
    return kind < 0xF0 ? static_cast<int8_t>(byte()) : integer();
  }

  template <typename Value, size_t Count>
  Value one_of(const Value (&values)[Count]) {
    return values[byte() % Count];
  }

 private:
  const uint8_t *data_;
  size_t size_;
  ReadFrom end_;
  size_t used_ = 0;
};

}  // namespace tavrine::fuzz
