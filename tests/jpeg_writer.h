// Writes JPEG files with any coefficients, scans and faults.
#pragma once

#include <array>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>
#include <string>

namespace tavrine::test {

// Bits from high to low, as in JPEG: a byte 0xFF is followed by a zero byte.
class JpegBits {
 public:
  void put(uint32_t value, int count) {
    for (int i = count - 1; i >= 0; --i) {
      byte_ = byte_ << 1 | (value >> i & 1);
      if (++used_ == 8) {
        flush_byte();
      }
    }
  }

  // The entropy-coded bytes, the last of them filled with ones.
  std::string take() {
    if (used_ > 0) {
      put(0xFF, 8 - used_);
    }
    return std::move(bytes_);
  }

 private:
  void flush_byte() {
    bytes_ += static_cast<char>(byte_);
    if (byte_ == 0xFF) {
      bytes_ += '\0';
    }
    byte_ = 0;
    used_ = 0;
  }

  std::string bytes_;
  uint32_t byte_ = 0;
  int used_ = 0;
};

class JpegWriter {
 public:
  enum class Process : char { kBaseline = '\xC0', kProgressive = '\xC2' };

  // Every component has the sampling factors 1 x 1. All quantizers are `quantizer`.
  JpegWriter(Process process, int width, int height, int components, int quantizer = 1) {
    segment(0xDB, std::string(1, '\0') + std::string(64, static_cast<char>(quantizer)));
    std::string frame = {8};
    append16(frame, height);
    append16(frame, width);
    frame += static_cast<char>(components);
    for (int i = 1; i <= components; ++i) {
      frame += {static_cast<char>(i), '\x11', '\0'};
    }
    segment(static_cast<uint8_t>(process), frame);
    // DC: the 16 sizes, each with a code of 4 bits. AC: each size without zeros before it and
    // after one zero, with codes of 5 bits; the first is the end of the block.
    std::string dc = {'\x00', 0, 0, 0, 16, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    std::string ac = {'\x10', 0, 0, 0, 0, 32, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0};
    for (int i = 0; i < 16; ++i) {
      dc += static_cast<char>(i);
      ac += static_cast<char>(i);
    }
    for (int i = 0; i < 16; ++i) {
      ac += static_cast<char>(0x10 + i);
    }
    segment(0xC4, dc);
    segment(0xC4, ac);
  }

  JpegWriter &restart_interval(int blocks) {
    std::string interval;
    append16(interval, blocks);
    segment(0xDD, interval);
    return *this;
  }

  JpegWriter &scan(std::initializer_list<int> components, int first, int last,
                   const std::string &data) {
    std::string header(1, static_cast<char>(components.size()));
    for (const int component : components) {
      header += {static_cast<char>(component), '\0'};
    }
    header += {static_cast<char>(first), static_cast<char>(last), '\0'};
    segment(0xDA, header);
    file_ += data;
    return *this;
  }

  std::string finish() { return file_ + "\xFF\xD9"; }

  // One block of a baseline scan, coefficients in zigzag order, the first as a difference. No two
  // zeros in a row may stand before a coefficient that is not 0.
  static void put_block(JpegBits &bits, const std::array<int, 64> &coefficients) {
    put_value(bits, 0, 4, coefficients[0]);
    size_t end = 64;
    while (end > 1 && coefficients[end - 1] == 0) {
      --end;
    }
    for (size_t i = 1; i < end; ++i) {
      const bool follows_zero = coefficients[i] == 0;
      i += follows_zero ? 1 : 0;
      put_value(bits, follows_zero ? 16 : 0, 5, coefficients[i]);
    }
    if (end < 64) {
      bits.put(0, 5);
    }
  }

 private:
  static void append16(std::string &bytes, int value) {
    bytes += {static_cast<char>(value >> 8), static_cast<char>(value)};
  }

  void segment(uint8_t marker, const std::string &content) {
    file_ += {'\xFF', static_cast<char>(marker)};
    append16(file_, static_cast<int>(content.size()) + 2);
    file_ += content;
  }

  static void put_value(JpegBits &bits, int first_code, int code_bits, int value) {
    int size = 0;
    while (std::abs(value) >> size != 0) {
      ++size;
    }
    bits.put(static_cast<uint32_t>(first_code + size), code_bits);
    bits.put(static_cast<uint32_t>(value < 0 ? value - 1 : value), size);
  }

  std::string file_ = "\xFF\xD8";
};

}  // namespace tavrine::test
