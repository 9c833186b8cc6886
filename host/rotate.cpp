#include "kernels/rotate/rotate.h"

#include <algorithm>
#include <iterator>
#include <optional>

#include "common/log.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "host/frame_planes.h"
#include "host/operations.h"

namespace tavrine {
namespace {

// The table of operations takes degrees. Only three values occur, and they compare exactly.
std::optional<Rotation> rotation_by(float degrees) {
  if (degrees == 90.0F) {
    return Rotation::k90;
  }
  if (degrees == 180.0F) {
    return Rotation::k180;
  }
  if (degrees == 270.0F) {
    return Rotation::k270;
  }
  return std::nullopt;
}

// A copy of the record with the strides to use: rows of a contiguous YU12 frame have no padding,
// whatever its strides say.
tavrine_frame_t with_true_strides(const tavrine_frame_t &frame) {
  tavrine_frame_t result = frame;
  if (frame.pixel_format == TAVRINE_FORMAT_YU12 && tavrine_frame_is_contiguous(&frame) != 0) {
    std::copy(std::begin(kTightStrides), std::end(kTightStrides), result.strides);
  }
  return result;
}

int32_t rotate_planes(const tavrine_frame_t &in, Rotation rotation, const tavrine_frame_t &out) {
  const FormatLayout layout = layout_of(in.pixel_format);
  for (int plane = 0; plane < layout.plane_count; ++plane) {
    const PlaneLayout &of_plane = layout.planes[plane];
    if (!rotate_plane(view_of_plane(&in, plane, of_plane, in.width, in.height), rotation,
                      view_of_plane(&out, plane, of_plane, out.width, out.height))) {
      return TAVRINE_FAILURE;
    }
  }
  return TAVRINE_OK;
}

}  // namespace

int32_t host_rotate(const tavrine_frame_t *in, tavrine_frame_t *out, float degrees) {
  if (in == nullptr || out == nullptr) {
    return TAVRINE_FAILURE;
  }
  if (layout_of(in->pixel_format).plane_count == 0) {
    TAVRINE_LOG(kError, kTagHost, "Rotating a frame in format [%s] is not supported yet!\n",
                tavrine_frame_pixfmt_to_string(in->pixel_format));
    return TAVRINE_FAILURE;
  }
  const std::optional<Rotation> rotation = rotation_by(degrees);
  if (!rotation) {
    return TAVRINE_FAILURE;
  }
  // The kernels need no copy; it stays because callers see TAVRINE_FAILURE when it fails.
  OwnedFrame contiguous;
  if (is_semi_planar(in->pixel_format) && tavrine_frame_is_contiguous(in) == 0) {
    contiguous = OwnedFrame(tavrine_frame_duplicate(in));
    if (!contiguous) {
      return TAVRINE_FAILURE;
    }
    in = contiguous.get();
  }
  return rotate_planes(with_true_strides(*in), *rotation, with_true_strides(*out));
}

}  // namespace tavrine
