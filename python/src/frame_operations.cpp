// Operations from one picture to another.
#include <cmath>

#include "frame_operation.h"
#include "operations.h"
#include "tavrine_aux.h"
#include "values.h"

namespace tavrine::python {
namespace {

// The side of a scaled picture, as the library computes it; 0 if that is no size.
int32_t scaled(int32_t side, float ratio) {
  const float product = static_cast<float>(side) * ratio;
  return product >= 1 && product < 0x1p31F ? static_cast<int32_t>(product) : 0;
}

bool is_inside(const tavrine_area2d_t &area, Size size) {
  return area.x >= 0 && area.y >= 0 && int64_t{area.x} + area.width <= size.width &&
         int64_t{area.y} + area.height <= size.height;
}

int32_t rotation_code(const Arguments &arguments, size_t index) {
  switch (int_value(arguments, index, 0)) {
    case 90:
      return TAVRINE_ROTATE_90;
    case 180:
      return TAVRINE_ROTATE_180;
    case 270:
      return TAVRINE_ROTATE_270;
    default:
      throw Refusal(arguments.name(index), "must be 90, 180 or 270 degrees, clockwise");
  }
}

// Both warps. They need an existing destination, which is of the size of the source unless the
// caller says otherwise.
template <typename Warp>
py::object warp(const Arguments &arguments, size_t smallest, size_t largest, Warp function) {
  enum { kImage, kMatrix, kSize, kOut, kFormat, kDevice };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const std::vector<float> matrix = float_values(arguments[kMatrix], arguments.name(kMatrix));
  if (matrix.size() != smallest && matrix.size() != largest) {
    throw Refusal(
        arguments.name(kMatrix),
        "must have the shape " + std::string(smallest == 6 ? "(2, 3) or " : "") + "(3, 3)");
  }
  const Size size = arguments[kSize] ? size_value(arguments, kSize) : in.size();
  Picture out = destination_picture(arguments, kOut, in, in.format(), size);
  if (arguments[kSize] && (out.size().width != size.width || out.size().height != size.height)) {
    throw Refusal(arguments.name(kOut), "it has another size than `size`");
  }
  return run(in, out, bool_value(arguments, kDevice),
             [&](const tavrine_frame_t *from, tavrine_frame_t **to) {
               return function(from, *to, matrix.data());
             });
}

}  // namespace

py::object resize(const Arguments &arguments) {
  enum { kImage, kSize, kOut, kFormat, kDevice };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const Size size = size_value(arguments, kSize);
  Picture out = destination_picture(arguments, kOut, in, in.format(), size);
  return run(in, out, bool_value(arguments, kDevice),
             [size](const tavrine_frame_t *from, tavrine_frame_t **to) {
               return tavrine_frame_resize(from, to, size.width, size.height);
             });
}

py::object scale(const Arguments &arguments) {
  enum { kImage, kRatio, kOut, kFormat, kDevice };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const float ratio = float_value(arguments, kRatio);
  const Size size = {scaled(in.size().width, ratio), scaled(in.size().height, ratio)};
  if (size.width < 1 || size.height < 1) {
    throw Refusal(arguments.name(kRatio), "the picture would have no pixels or too many");
  }
  Picture out = destination_picture(arguments, kOut, in, in.format(), size);
  return run(in, out, bool_value(arguments, kDevice),
             [ratio](const tavrine_frame_t *from, tavrine_frame_t **to) {
               return tavrine_frame_scale(from, to, ratio);
             });
}

py::object crop(const Arguments &arguments) {
  enum { kImage, kArea, kOut, kFormat, kDevice };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const tavrine_area2d_t area = area_value(arguments[kArea], arguments.name(kArea));
  if (in.format().is_yuv420 && (area.x % 2 != 0 || area.y % 2 != 0)) {
    throw Refusal(arguments.name(kArea),
                  std::string("x and y must be even in ") + in.format().name);
  }
  Picture out = destination_picture(arguments, kOut, in, in.format(), {area.width, area.height});
  if (!arguments[kOut] && !is_inside(area, in.size())) {
    out.clear();
  }
  return run(in, out, bool_value(arguments, kDevice),
             [&area](const tavrine_frame_t *from, tavrine_frame_t **to) {
               return tavrine_frame_crop(from, to, area);
             });
}

py::object rotate(const Arguments &arguments) {
  enum { kImage, kDegrees, kOut, kFormat, kDevice };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const int32_t code = rotation_code(arguments, kDegrees);
  const Size size = in.size();
  const Size turned = {size.height, size.width};
  Picture out = destination_picture(arguments, kOut, in, in.format(),
                                    code == TAVRINE_ROTATE_180 ? size : turned);
  return run(in, out, bool_value(arguments, kDevice),
             [code](const tavrine_frame_t *from, tavrine_frame_t **to) {
               return tavrine_frame_rotate(from, to, code);
             });
}

py::object warp_affine(const Arguments &arguments) {
  return warp(arguments, 6, 9, tavrine_frame_warpaffine);
}

py::object warp_perspective(const Arguments &arguments) {
  return warp(arguments, 9, 9, tavrine_frame_warpperspective);
}

py::object cvt_color(const Arguments &arguments) {
  enum { kImage, kTo, kOut, kFormat, kDevice };
  const Picture in = source_picture(arguments, kImage, kFormat);
  const PixelFormat &to = pixel_format_by_name(arguments[kTo], arguments.name(kTo));
  if (to.is_yuv420 && (in.size().width % 2 != 0 || in.size().height % 2 != 0)) {
    throw Refusal(arguments.name(kImage), std::string(to.name) + " needs an even width and height");
  }
  Picture out = destination_picture(arguments, kOut, in, to, in.size());
  return run(in, out, bool_value(arguments, kDevice),
             [&to](const tavrine_frame_t *from, tavrine_frame_t **slot) {
               return tavrine_frame_cvt_color(from, slot, to.code);
             });
}

}  // namespace tavrine::python
