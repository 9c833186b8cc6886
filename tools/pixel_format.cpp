#include "pixel_format.h"

#include <algorithm>

#include "tavrine_types.h"

namespace tavrine::tool {

namespace {

struct NamedFormat {
  const char *name;
  uint32_t format;
};

constexpr NamedFormat kFormats[] = {
    {"GREY", TAVRINE_FORMAT_GREY}, {"NV12", TAVRINE_FORMAT_NV12},   {"NV21", TAVRINE_FORMAT_NV21},
    {"YU12", TAVRINE_FORMAT_YU12}, {"RGB24", TAVRINE_FORMAT_RGB24}, {"BGR24", TAVRINE_FORMAT_BGR24},
    {"BGRA", TAVRINE_FORMAT_BGRA}, {"ARGB", TAVRINE_FORMAT_ARGB},   {"Y16", TAVRINE_FORMAT_Y16},
};

}  // namespace

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return text;
}

std::optional<uint32_t> pixel_format_by_name(const std::string &name) {
  for (const NamedFormat &entry : kFormats) {
    if (lower_case(name) == lower_case(entry.name)) {
      return entry.format;
    }
  }
  return std::nullopt;
}

const char *pixel_format_name(uint32_t format) {
  for (const NamedFormat &entry : kFormats) {
    if (entry.format == format) {
      return entry.name;
    }
  }
  return "unknown format";
}

std::string pixel_format_names() {
  std::string names;
  for (const NamedFormat &entry : kFormats) {
    names += (names.empty() ? "" : ", ") + std::string(entry.name);
  }
  return names;
}

}  // namespace tavrine::tool
