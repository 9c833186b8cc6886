#include "operations.h"

#include <algorithm>
#include <limits>

#include "device_frames.h"
#include "failure.h"
#include "geometry_operations.h"
#include "numbers.h"
#include "pixel_format.h"
#include "refusal.h"
#include "tavrine_aux.h"

namespace tavrine::tool {

namespace {

// ---- Crop -----------------------------------------------------------------------------

bool is_inside(const tavrine_area2d_t &area, const tavrine_frame_t &frame) {
  return area.x >= 0 && area.y >= 0 && int64_t{area.x} + area.width <= frame.width &&
         int64_t{area.y} + area.height <= frame.height;
}

int32_t crop(const tavrine_frame_t &in, tavrine_frame_t **out, const tavrine_area2d_t &area) {
  // The library cuts out an odd area that is wholly inside, but no other operation accepts it.
  if (is_yuv420(in.pixel_format) && (area.width % 2 != 0 || area.height % 2 != 0)) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  // Of formats that cannot be encoded, the library leaves what lies outside undefined.
  if (is_encodable(in.pixel_format) || is_inside(area, in)) {
    return tavrine_frame_crop(&in, out, area);
  }
  const int32_t core_chooses_strides[TAVRINE_MAX_PLANES] = {};
  *out = tavrine_frame_alloc(tavrine_frame_mem_type(&in), in.pixel_format, area.width, area.height,
                             core_chooses_strides, in.extra);
  if (*out == nullptr) {
    return TAVRINE_FAILURE;
  }
  const int32_t status = tavrine_frame_reset(*out, 0);
  return status != TAVRINE_OK ? status : tavrine_frame_crop(&in, out, area);
}

Operation parse_crop(const std::string &value) {
  const auto area = parse_area(value);
  if (!area || is_empty({area->width, area->height})) {
    throw UsageError("--crop: '" + value + "' is not X,Y,WIDTH,HEIGHT, like 100,50,640,480");
  }
  const auto explain = [area = *area](const tavrine_frame_t &in, int32_t) -> std::string {
    std::string problem = explain_area(in, area);
    if (!problem.empty()) {
      return problem;
    }
    if (is_yuv420(in.pixel_format) && (area.x % 2 != 0 || area.y % 2 != 0)) {
      return std::string(pixel_format_name(in.pixel_format)) + " needs even offsets";
    }
    return explain_size(in.pixel_format, {area.width, area.height});
  };
  return {"crop " + value,
          [area = *area](const tavrine_frame_t &in, tavrine_frame_t **out) {
            return crop(in, out, area);
          },
          explain, true};
}

// ---- Resize and scale -----------------------------------------------------------------

// For a positive ratio.
Size scaled_size(const tavrine_frame_t &in, float ratio) {
  const auto scaled = [=](int32_t side) {
    const double length = static_cast<float>(side) * ratio;
    return static_cast<int32_t>(std::min<double>(length, std::numeric_limits<int32_t>::max()));
  };
  return {scaled(in.width), scaled(in.height)};
}

Operation parse_resize(const std::string &value) {
  const Size size = size_of_option("--resize", value);
  return {"resize to " + value,
          [=](const tavrine_frame_t &in, tavrine_frame_t **out) {
            return tavrine_frame_resize(&in, out, size.width, size.height);
          },
          [=](const tavrine_frame_t &in, int32_t status) {
            return explain_new_size(in, size, status, "resized");
          }};
}

Operation parse_scale(const std::string &value) {
  const auto ratio = parse_number(value);
  if (!ratio || *ratio <= 0) {
    throw UsageError("--scale: '" + value + "' is not a positive ratio, like 0.5");
  }
  return {"scale by " + value,
          [ratio = *ratio](const tavrine_frame_t &in, tavrine_frame_t **out) {
            return tavrine_frame_scale(&in, out, ratio);
          },
          [ratio = *ratio](const tavrine_frame_t &in, int32_t status) {
            const Size size = scaled_size(in, ratio);
            const std::string problem = explain_size(in.pixel_format, size);
            return problem.empty() ? explain_new_size(in, size, status, "resized")
                                   : "gives " + size_text(size.width, size.height) + ", " + problem;
          }};
}

// ---- Pixel format ---------------------------------------------------------------------

Operation parse_format(const std::string &value) {
  const auto format = pixel_format_by_name(value);
  if (!format) {
    throw UsageError("--format: '" + value + "' is not a pixel format, there are " +
                     pixel_format_names());
  }
  return conversion_to(*format);
}

}  // namespace

const std::vector<OperationKind> &operation_kinds() {
  static const std::vector<OperationKind> kinds = {
      {"--crop", "X,Y,WIDTH,HEIGHT",
       "Cut out an area; bytes outside the picture are 0: black, in 4:2:0 formats dark green",
       parse_crop},
      {"--resize", "WIDTHxHEIGHT", "Resize to exactly this size", parse_resize},
      {"--scale", "RATIO", "Multiply both sizes, 0.5 for half", parse_scale},
      {"--rotate", "90|180|270", "Rotate clockwise by this angle", parse_rotate},
      {"--warp-affine", "A,B,C,D,E,F[@WIDTHxHEIGHT]", "Map pixels with a 2x3 matrix, see below",
       parse_warp_affine},
      {"--warp-perspective", "M0,...,M8[@WIDTHxHEIGHT]", "Map pixels with a 3x3 matrix, see below",
       parse_warp_perspective},
      {"--format", "GREY|NV12|NV21|YU12|RGB24|BGR24", "Convert the pixels to this format",
       parse_format},
  };
  return kinds;
}

Operation conversion_to(uint32_t format) {
  return {std::string("convert to ") + pixel_format_name(format),
          [format](const tavrine_frame_t &in, tavrine_frame_t **out) {
            return tavrine_frame_cvt_color(&in, out, format);
          },
          [format](const tavrine_frame_t &in, int32_t status) {
            return explain_conversion(in, format, status);
          }};
}

OwnedFrame apply_operation(Environment &environment, const Operation &operation,
                           const OwnedFrame &frame, const std::string &file) {
  OwnedFrame result;
  const int32_t status = operation.apply(*frame.get(), result.slot());
  if (status != TAVRINE_OK) {
    const std::string explanation = operation.explain(*frame.get(), status);
    throw Failure(file, operation.description, refusal_reason(environment, status, explanation));
  }
  if (tavrine_frame_mem_type(frame.get()) == TAVRINE_MEMORY_DEVICE) {
    note_who_did(environment, operation, frame, result, file);
  }
  return result;
}

}  // namespace tavrine::tool
