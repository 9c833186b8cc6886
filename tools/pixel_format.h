// Pixel formats: their names, and what the tool needs to know about each.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tavrine::tool {

// Upper and lower case are equal.
std::optional<uint32_t> pixel_format_by_name(const std::string &name);
const char *pixel_format_name(uint32_t format);

// "GREY, NV12, ..."
std::string pixel_format_names();

// NV12, NV21 and YU12: chroma at half width and height, so sizes and offsets must be even.
bool is_yuv420(uint32_t format);

// RGB24 and BGR24.
bool is_packed_rgb(uint32_t format);

// Whether the library can encode a frame of this format as a picture.
bool is_encodable(uint32_t format);

std::string lower_case(std::string text);

}  // namespace tavrine::tool
