#include "pixel_format.h"

#include <algorithm>

#include "tavrine_types.h"

namespace tavrine::tool {

namespace {

enum class Kind { kGrey, kYuv420, kPackedRgb, kOther };

struct KnownFormat {
  const char *name;
  uint32_t format;
  Kind kind;
};

constexpr KnownFormat kFormats[] = {
    {"GREY", TAVRINE_FORMAT_GREY, Kind::kGrey},
    {"NV12", TAVRINE_FORMAT_NV12, Kind::kYuv420},
    {"NV21", TAVRINE_FORMAT_NV21, Kind::kYuv420},
    {"YU12", TAVRINE_FORMAT_YU12, Kind::kYuv420},
    {"RGB24", TAVRINE_FORMAT_RGB24, Kind::kPackedRgb},
    {"BGR24", TAVRINE_FORMAT_BGR24, Kind::kPackedRgb},
    {"BGRA", TAVRINE_FORMAT_BGRA, Kind::kOther},
    {"ARGB", TAVRINE_FORMAT_ARGB, Kind::kOther},
    {"Y16", TAVRINE_FORMAT_Y16, Kind::kOther},
};

const KnownFormat *find(uint32_t format) {
  const auto *const found =
      std::find_if(std::begin(kFormats), std::end(kFormats),
                   [=](const KnownFormat &entry) { return entry.format == format; });
  return found == std::end(kFormats) ? nullptr : found;
}

Kind kind_of(uint32_t format) {
  const KnownFormat *known = find(format);
  return known == nullptr ? Kind::kOther : known->kind;
}

}  // namespace

std::string lower_case(std::string text) {
  std::transform(text.begin(), text.end(), text.begin(), [](char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
  });
  return text;
}

std::optional<uint32_t> pixel_format_by_name(const std::string &name) {
  for (const KnownFormat &entry : kFormats) {
    if (lower_case(name) == lower_case(entry.name)) {
      return entry.format;
    }
  }
  return std::nullopt;
}

const char *pixel_format_name(uint32_t format) {
  const KnownFormat *known = find(format);
  return known == nullptr ? "unknown format" : known->name;
}

std::string pixel_format_names() {
  std::string names;
  for (const KnownFormat &entry : kFormats) {
    names += (names.empty() ? "" : ", ") + std::string(entry.name);
  }
  return names;
}

bool is_yuv420(uint32_t format) { return kind_of(format) == Kind::kYuv420; }

bool is_packed_rgb(uint32_t format) { return kind_of(format) == Kind::kPackedRgb; }

bool is_encodable(uint32_t format) { return kind_of(format) != Kind::kOther; }

}  // namespace tavrine::tool
