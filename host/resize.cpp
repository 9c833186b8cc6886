#include "kernels/resize/resize.h"

#include "common/log.h"
#include "host/frame_planes.h"
#include "host/operations.h"

namespace tavrine {

int32_t host_resize(const tavrine_frame_t *in, tavrine_frame_t *out, int32_t width,
                    int32_t height) {
  if (in == nullptr || out == nullptr) {
    return TAVRINE_FAILURE;
  }
  const FormatLayout layout = layout_of(in->pixel_format);
  if (layout.plane_count == 0) {
    TAVRINE_LOG(kError, kTagHost, "Resizing a frame in format [%s] is not supported yet!\n",
                tavrine_frame_pixfmt_to_string(in->pixel_format));
    return TAVRINE_FAILURE;
  }
  for (int plane = 0; plane < layout.plane_count; ++plane) {
    const PlaneLayout &of_plane = layout.planes[plane];
    if (!resize_plane(view_of_plane(in, plane, of_plane, in->width, in->height),
                      view_of_plane(out, plane, of_plane, width, height))) {
      return TAVRINE_FAILURE;
    }
  }
  return TAVRINE_OK;
}

}  // namespace tavrine
