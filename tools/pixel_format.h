// Pixel formats by name.
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

}  // namespace tavrine::tool
