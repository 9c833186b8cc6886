#include "pixel_formats.h"

#include "core_api.h"
#include "faults.h"
#include "frame_layout.h"

namespace tavrine::devkit {
namespace {

constexpr PixelFormat kPixelFormats[] = {
    {TAVRINE_FORMAT_GREY, "GREY", 1, {1}, 1},    {TAVRINE_FORMAT_NV12, "NV12", 2, {1, 2}, 2},
    {TAVRINE_FORMAT_NV21, "NV21", 2, {1, 2}, 2}, {TAVRINE_FORMAT_YU12, "YU12", 3, {1, 1, 1}, 2},
    {TAVRINE_FORMAT_RGB24, "RGB24", 1, {3}, 1},  {TAVRINE_FORMAT_BGR24, "BGR24", 1, {3}, 1},
    {TAVRINE_FORMAT_BGRA, "BGRA", 1, {4}, 1},    {TAVRINE_FORMAT_ARGB, "ARGB", 1, {4}, 1},
    {TAVRINE_FORMAT_Y16, "Y16", 1, {2}, 1},
};

}  // namespace

const PixelFormat *find_pixel_format(uint32_t code) {
  for (const PixelFormat &format : kPixelFormats) {
    if (format.code == code) {
      return &format;
    }
  }
  return nullptr;
}

PlaneExtent plane_extent(const PixelFormat &format, int32_t plane, int32_t width, int32_t height) {
  const int32_t divisor = plane == 0 ? 1 : format.chroma_divisor;
  return {int64_t{width / divisor} * format.pixel_bytes[plane], height / divisor};
}

}  // namespace tavrine::devkit

using namespace tavrine::devkit;

size_t tavrine_frame_pixel_size(uint32_t format) {
  count_call(Operation::tavrine_frame_pixel_size);
  const PixelFormat *known = find_pixel_format(format);
  return known != nullptr ? static_cast<size_t>(known->pixel_bytes[0]) : 0;
}

size_t tavrine_frame_inferred_size(uint32_t format, int32_t width, int32_t height) {
  count_call(Operation::tavrine_frame_inferred_size);
  const std::optional<FrameLayout> layout = tight_layout(format, width, height);
  return layout ? layout->total_bytes : 0;
}

const char *tavrine_frame_pixfmt_to_string(uint32_t format) {
  count_call(Operation::tavrine_frame_pixfmt_to_string);
  const PixelFormat *known = find_pixel_format(format);
  return known != nullptr ? known->name : "unknown";
}
