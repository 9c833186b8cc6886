// Numbers, lists of numbers and sizes as users write them. The whole text must match.
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

// "0.5,-1,3"; blanks around the numbers are ignored.
std::optional<std::vector<float>> parse_numbers(const std::string &text);

// "100,50,640,480"; any integers, also an empty area.
std::optional<tavrine_area2d_t> parse_area(const std::string &text);

struct Size {
  int32_t width;
  int32_t height;
};

// "640x480"; any integers, also an empty size.
std::optional<Size> parse_size(const std::string &text);

// The value of an option. Throws UsageError, also for an empty size.
Size size_of_option(const std::string &option, const std::string &value);

inline bool is_empty(const Size &size) { return size.width <= 0 || size.height <= 0; }

std::string size_text(int32_t width, int32_t height);

}  // namespace tavrine::tool
