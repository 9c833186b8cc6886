#include "pixel_format.h"

#include <algorithm>
#include <iterator>
#include <string>

#include "refusal.h"
#include "tavrine_types.h"

namespace tavrine::python {
namespace {

// The first name of a format is the one that messages use.
constexpr PixelFormat kFormats[] = {
    {"GREY", TAVRINE_FORMAT_GREY, 1, 1, false, false},
    {"RGB", TAVRINE_FORMAT_RGB24, 3, 1, false, false},
    {"RGB24", TAVRINE_FORMAT_RGB24, 3, 1, false, false},
    {"BGR", TAVRINE_FORMAT_BGR24, 3, 1, false, false},
    {"BGR24", TAVRINE_FORMAT_BGR24, 3, 1, false, false},
    {"NV12", TAVRINE_FORMAT_NV12, 1, 1, true, true},
    {"NV21", TAVRINE_FORMAT_NV21, 1, 1, true, true},
    {"YU12", TAVRINE_FORMAT_YU12, 1, 1, true, false},
    {"BGRA", TAVRINE_FORMAT_BGRA, 4, 1, false, false},
    {"ARGB", TAVRINE_FORMAT_ARGB, 4, 1, false, false},
    {"Y16", TAVRINE_FORMAT_Y16, 1, 2, false, false},
};

std::string names() {
  std::string text;
  for (const PixelFormat &format : kFormats) {
    text += (text.empty() ? "" : ", ") + std::string(format.name);
  }
  return text;
}

}  // namespace

const PixelFormat &pixel_format_by_name(py::handle name, const char *argument) {
  if (PyUnicode_Check(name.ptr()) == 0) {
    throw Refusal(argument, "not the name of a pixel format: " + names(), Refusal::Kind::kType);
  }
  const auto *const found =
      std::find_if(std::begin(kFormats), std::end(kFormats), [name](const PixelFormat &format) {
        return PyUnicode_CompareWithASCIIString(name.ptr(), format.name) == 0;
      });
  if (found == std::end(kFormats)) {
    throw Refusal(argument,
                  "'" + std::string(py::str(name)) + "' is no pixel format; they are " + names());
  }
  return *found;
}

const PixelFormat &pixel_format_by_code(uint32_t code) {
  const auto *const found =
      std::find_if(std::begin(kFormats), std::end(kFormats),
                   [code](const PixelFormat &format) { return format.code == code; });
  if (found == std::end(kFormats)) {
    throw StatusFailure{TAVRINE_NOT_SUPPORTED};
  }
  return *found;
}

}  // namespace tavrine::python
