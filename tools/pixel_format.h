// Pixel formats by name, and sizes as people write them.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tavrine::tool {

// In any case.
std::optional<uint32_t> pixel_format_by_name(const std::string &name);
const char *pixel_format_name(uint32_t format);

// "GREY, NV12, ..."
std::string pixel_format_names();

std::string lower_case(std::string text);

// The whole text must be a decimal number.
std::optional<int32_t> parse_integer(const std::string &text);

struct Size {
  int32_t width;
  int32_t height;
};

// "640x480"; any numbers, also those that no picture can have.
std::optional<Size> parse_size(const std::string &text);
std::string size_text(int32_t width, int32_t height);

}  // namespace tavrine::tool
