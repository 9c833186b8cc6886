#include "kernels/warp/warp_affine.h"

#include "common/log.h"
#include "common/pixel_format.h"
#include "host/frame_planes.h"
#include "host/operations.h"
#include "kernels/warp/warp_affine_semi_planar.h"

namespace tavrine {

int32_t host_warpaffine(const tavrine_frame_t *in, tavrine_frame_t *out, const float *matrix) {
  if (in == nullptr || out == nullptr || matrix == nullptr) {
    return TAVRINE_FAILURE;
  }
  const FormatLayout layout = layout_of(in->pixel_format);
  if (layout.plane_count == 0) {
    TAVRINE_LOG(kError, kTagHost,
                "Do WarpAffine transform for a frame in format [%s] is not supported yet!\n",
                tavrine_frame_pixfmt_to_string(in->pixel_format));
    return TAVRINE_FAILURE;
  }
  const auto view = [&layout](const tavrine_frame_t *frame, int plane) {
    return view_of_plane(frame, plane, layout.planes[plane], frame->width, frame->height);
  };
  const AffineMatrix affine = {matrix[0], matrix[1], matrix[2], matrix[3], matrix[4], matrix[5]};
  if (is_semi_planar(in->pixel_format)) {
    return warp_affine_semi_planar({view(in, 0), view(in, 1)}, affine, {view(out, 0), view(out, 1)})
               ? TAVRINE_OK
               : TAVRINE_FAILURE;
  }
  for (int plane = 0; plane < layout.plane_count; ++plane) {
    const bool is_half = layout.planes[plane].subsampling == 2;
    if (!warp_affine(view(in, plane), is_half ? at_half_size(affine) : affine, Border::kZero,
                     view(out, plane))) {
      return TAVRINE_FAILURE;
    }
  }
  return TAVRINE_OK;
}

}  // namespace tavrine
