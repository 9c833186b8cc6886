// Numbers, lists of numbers and sizes as people write them. The whole text must be one.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tavrine_types.h"

namespace tavrine::tool {

std::optional<int32_t> parse_integer(const std::string &text);

// Plain decimal numbers that are finite in single precision.
std::optional<float> parse_number(const std::string &text);

// "0.5,-1,3"; blanks around the numbers do not matter.
std::optional<std::vector<float>> parse_numbers(const std::string &text);

// "100,50,640,480"; any numbers, also those that no area can have.
std::optional<tavrine_area2d_t> parse_area(const std::string &text);

struct Size {
  int32_t width;
  int32_t height;
};

// "640x480"; any numbers, also those that no picture can have.
std::optional<Size> parse_size(const std::string &text);
std::string size_text(int32_t width, int32_t height);

}  // namespace tavrine::tool
