#include "frame_layout.h"

namespace tavrine::devkit {
namespace {

// Sizes are computed in 64 bits; size_t has 32 on the camera.
constexpr uint64_t kAddressableBytes = PTRDIFF_MAX;

constexpr int32_t kDeviceRowPixels = 16;

enum class ChromaRows { kTight, kPaddedLikeLuma };

struct Defaults {
  int32_t luma_row_pixels;  // rows are padded to a multiple of this
  ChromaRows chroma;
};

constexpr Defaults kTightRows = {1, ChromaRows::kTight};

int64_t default_stride(const PixelFormat &format, const Defaults &defaults, int32_t plane,
                       const PlaneExtent &extent, int64_t luma_stride, int32_t width) {
  if (plane == 0) {
    const int64_t unit = defaults.luma_row_pixels;
    return (width + unit - 1) / unit * unit * format.pixel_bytes[0];
  }
  const bool luma_is_tight = luma_stride == width;
  if (defaults.chroma == ChromaRows::kTight || luma_is_tight) {
    return extent.row_bytes;
  }
  return luma_stride * format.pixel_bytes[plane] / format.chroma_divisor;
}

std::optional<FrameLayout> make_layout(uint32_t code, int32_t width, int32_t height,
                                       const int32_t *strides, const Defaults &defaults) {
  const PixelFormat *format = find_pixel_format(code);
  if (format == nullptr || width < 1 || height < 1) {
    return std::nullopt;
  }
  FrameLayout layout = {};
  layout.format = format;
  uint64_t total = 0;
  for (int32_t plane = 0; plane < format->plane_count; ++plane) {
    const PlaneExtent extent = plane_extent(*format, plane, width, height);
    int64_t stride = strides != nullptr ? strides[plane] : 0;
    if (stride == 0) {
      stride = default_stride(*format, defaults, plane, extent, layout.strides[0], width);
    }
    if (stride < extent.row_bytes || stride > INT32_MAX) {
      return std::nullopt;
    }
    layout.strides[plane] = static_cast<int32_t>(stride);
    layout.offsets[plane] = static_cast<size_t>(total);
    total += static_cast<uint64_t>(stride) * static_cast<uint64_t>(extent.rows);
    if (total > kAddressableBytes) {
      return std::nullopt;
    }
  }
  layout.total_bytes = static_cast<size_t>(total);
  return layout;
}

}  // namespace

std::optional<FrameLayout> tight_layout(uint32_t format, int32_t width, int32_t height) {
  return make_layout(format, width, height, nullptr, kTightRows);
}

std::optional<FrameLayout> wrapped_layout(uint32_t format, int32_t width, int32_t height,
                                          const int32_t *strides) {
  return make_layout(format, width, height, strides, kTightRows);
}

std::optional<FrameLayout> default_layout(int32_t mem_type, uint32_t format, int32_t width,
                                          int32_t height, const int32_t *strides) {
  const int32_t row_pixels = mem_type == TAVRINE_MEMORY_DEVICE ? kDeviceRowPixels : 1;
  return make_layout(format, width, height, strides, {row_pixels, ChromaRows::kPaddedLikeLuma});
}

std::optional<FrameRows> frame_rows(const tavrine_frame_t &frame) {
  const PixelFormat *format = find_pixel_format(frame.pixel_format);
  if (format == nullptr || frame.width < 1 || frame.height < 1 ||
      frame.plane_count < format->plane_count) {
    return std::nullopt;
  }
  FrameRows result = {};
  result.format = format;
  for (int32_t plane = 0; plane < format->plane_count; ++plane) {
    const PlaneExtent extent = plane_extent(*format, plane, frame.width, frame.height);
    const int64_t stride = frame.strides[plane] != 0 ? frame.strides[plane] : extent.row_bytes;
    void *data = frame.planes[plane];
    if (stride < extent.row_bytes || (data == nullptr && !extent.is_empty())) {
      return std::nullopt;
    }
    // No plane can be this large: the record is invalid.
    if (static_cast<uint64_t>(stride) * static_cast<uint64_t>(extent.rows) > kAddressableBytes) {
      return std::nullopt;
    }
    result.planes[plane] = {static_cast<uint8_t *>(data), static_cast<size_t>(stride),
                            static_cast<size_t>(extent.row_bytes), extent.rows};
  }
  return result;
}

}  // namespace tavrine::devkit
