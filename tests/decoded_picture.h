// The decoder on bytes, and the fuzzers' inputs.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "io/decoder.h"

namespace tavrine::test {

using Bytes = std::string;

inline std::filesystem::path picture_folder(const char *kind) {
  return std::filesystem::path(TAVRINE_FUZZ_FOLDER) / kind / "picture";
}

inline Bytes read_picture(const std::filesystem::path &path) {
  std::ifstream file(path, std::ios::binary);
  Bytes bytes{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  EXPECT_FALSE(bytes.empty()) << path;
  return bytes;
}

inline Picture decode(const Bytes &bytes) {
  return decode_memory(reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size());
}

// Empty when there is no picture.
inline Bytes pixels_of(const Picture &picture) {
  const size_t size = static_cast<size_t>(picture.width) * static_cast<size_t>(picture.height) *
                      static_cast<size_t>(picture.channels);
  return picture.pixels ? Bytes(picture.pixels.get(), picture.pixels.get() + size) : Bytes();
}

inline Bytes decoded(const Bytes &bytes) { return pixels_of(decode(bytes)); }

}  // namespace tavrine::test
