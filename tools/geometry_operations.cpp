#include "geometry_operations.h"

#include <algorithm>

#include "failure.h"
#include "pixel_format.h"
#include "refusal.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

using PerspectiveMatrix = std::array<float, 9>;

template <typename Matrix>
struct Warp {
  Matrix matrix;
  std::optional<Size> size;
};

// "1,0,0,0,1,0" or "1,0,0,0,1,0@640x480".
template <typename Matrix>
std::optional<Warp<Matrix>> parse_warp(const std::string &text) {
  Warp<Matrix> warp{};
  const size_t at = text.find('@');
  const auto numbers = parse_numbers(text.substr(0, at));
  if (!numbers || numbers->size() != warp.matrix.size()) {
    return std::nullopt;
  }
  std::copy(numbers->begin(), numbers->end(), warp.matrix.begin());
  if (at != std::string::npos) {
    warp.size = parse_size(text.substr(at + 1));
    if (!warp.size || is_empty(*warp.size)) {
      return std::nullopt;
    }
  }
  return warp;
}

Size size_of(const tavrine_frame_t &frame) { return {frame.width, frame.height}; }

// The library warps into an existing frame.
tavrine_frame_t *destination(const tavrine_frame_t &in, uint32_t format, const Size &size) {
  const int32_t core_chooses_strides[TAVRINE_MAX_PLANES] = {};
  return tavrine_frame_alloc(tavrine_frame_mem_type(&in), format, size.width, size.height,
                             core_chooses_strides, in.extra);
}

int32_t warp_perspective(const tavrine_frame_t &in, tavrine_frame_t **out,
                         const PerspectiveMatrix &matrix, const Size &size) {
  if (!is_yuv420(in.pixel_format)) {
    *out = destination(in, in.pixel_format, size);
    return *out == nullptr ? TAVRINE_FAILURE
                           : tavrine_frame_warpperspective(&in, *out, matrix.data());
  }
  // The library would do the same conversions, but returns success when memory runs out for them.
  OwnedFrame rgb;
  int32_t status = tavrine_frame_cvt_color(&in, rgb.slot(), TAVRINE_FORMAT_RGB24);
  if (status != TAVRINE_OK) {
    return status;
  }
  const OwnedFrame warped(destination(in, TAVRINE_FORMAT_RGB24, size));
  if (!warped) {
    return TAVRINE_FAILURE;
  }
  status = tavrine_frame_warpperspective(rgb.get(), warped.get(), matrix.data());
  return status != TAVRINE_OK ? status
                              : tavrine_frame_cvt_color(warped.get(), out, in.pixel_format);
}

std::string explain_perspective(const tavrine_frame_t &in, const Size &size, int32_t status) {
  const uint32_t format = in.pixel_format;
  if (format == TAVRINE_FORMAT_BGRA || format == TAVRINE_FORMAT_ARGB) {
    return std::string(pixel_format_name(format)) + " cannot be warped in perspective";
  }
  return explain_new_size(in, size, status, "warped");
}

}  // namespace

Operation affine_warp(const std::string &description, const AffineMatrix &matrix,
                      const std::optional<Size> &size) {
  return {description,
          [=](const tavrine_frame_t &in, tavrine_frame_t **out) {
            *out = destination(in, in.pixel_format, size.value_or(size_of(in)));
            return *out == nullptr ? TAVRINE_FAILURE
                                   : tavrine_frame_warpaffine(&in, *out, matrix.data());
          },
          [=](const tavrine_frame_t &in, int32_t status) {
            return explain_new_size(in, size.value_or(size_of(in)), status, "warped");
          }};
}

Operation parse_rotate(const std::string &value) {
  constexpr const char *kDegrees[] = {"90", "180", "270"};
  const auto *const found = std::find(std::begin(kDegrees), std::end(kDegrees), value);
  if (found == std::end(kDegrees)) {
    throw UsageError("--rotate: '" + value + "' is not 90, 180 or 270");
  }
  const auto code = static_cast<int32_t>(found - std::begin(kDegrees));
  return {"rotate by " + value,
          [=](const tavrine_frame_t &in, tavrine_frame_t **out) {
            return tavrine_frame_rotate(&in, out, code);
          },
          [](const tavrine_frame_t &in, int32_t status) {
            return explain_new_size(in, size_of(in), status, "rotated");
          }};
}

Operation parse_warp_affine(const std::string &value) {
  const auto warp = parse_warp<AffineMatrix>(value);
  if (!warp) {
    throw UsageError("--warp-affine: '" + value +
                     "' is not six numbers with an optional size, like 1,0,-8,0,1,-8@640x480");
  }
  return affine_warp("warp by " + value, warp->matrix, warp->size);
}

Operation parse_warp_perspective(const std::string &value) {
  const auto warp = parse_warp<PerspectiveMatrix>(value);
  if (!warp) {
    throw UsageError(
        "--warp-perspective: '" + value +
        "' is not nine numbers with an optional size, like 1,0,0,0,1,0,0,0.001,1@64x48");
  }
  return {"warp by " + value,
          [warp = *warp](const tavrine_frame_t &in, tavrine_frame_t **out) {
            return warp_perspective(in, out, warp.matrix, warp.size.value_or(size_of(in)));
          },
          [warp = *warp](const tavrine_frame_t &in, int32_t status) {
            return explain_perspective(in, warp.size.value_or(size_of(in)), status);
          }};
}

}  // namespace tavrine::tool
