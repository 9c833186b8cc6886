#include <algorithm>

#include "common/log.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "host/frame_planes.h"
#include "host/operations.h"
#include "kernels/color/contrast_stretch.h"
#include "kernels/color/planes.h"
#include "kernels/color/rgb.h"
#include "kernels/color/yuv.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

ByteOrder byte_order(const tavrine_frame_t *frame) {
  return frame->pixel_format == TAVRINE_FORMAT_BGR24 ? ByteOrder::kBlueFirst : ByteOrder::kRedFirst;
}

ChromaOrder chroma_order(const tavrine_frame_t *frame) {
  return frame->pixel_format == TAVRINE_FORMAT_NV21 ? ChromaOrder::kVFirst : ChromaOrder::kUFirst;
}

int32_t status(bool kernel_succeeded) { return kernel_succeeded ? TAVRINE_OK : TAVRINE_FAILURE; }

int32_t weighted_luma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(weigh_luma(view_of_plane(in, 0), byte_order(in), view_of_plane(out, 0)));
}

int32_t replicate(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(replicate_grey(view_of_plane(in, 0), view_of_plane(out, 0)));
}

int32_t swap_red_blue(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(swap_red_blue(view_of_plane(in, 0), view_of_plane(out, 0)));
}

int32_t forward_yuv(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(rgb_to_yuv(view_of_plane(in, 0), byte_order(in), view_of_plane(out, 0),
                           view_of_plane(out, 1), chroma_order(out)));
}

int32_t inverse_yuv(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(yuv_to_rgb(view_of_plane(in, 0), view_of_plane(in, 1), chroma_order(in),
                           view_of_plane(out, 0), byte_order(out)));
}

void make_grey(tavrine_frame_t *frame) {
  frame->pixel_format = TAVRINE_FORMAT_GREY;
  frame->plane_count = 1;
}

int32_t extract_luma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  OwnedFrame luma(tavrine_frame_ref(in));
  if (!luma) {
    return TAVRINE_FAILURE;
  }
  make_grey(luma.get());
  return tavrine_frame_copy(luma.get(), &out);
}

// Makes a YUV frame look like GREY while in scope, so that the core copies only luma.
class TemporarilyGrey {
 public:
  explicit TemporarilyGrey(tavrine_frame_t *frame)
      : frame_(frame), format_(frame->pixel_format), plane_count_(frame->plane_count) {
    make_grey(frame);
  }
  TemporarilyGrey(const TemporarilyGrey &) = delete;
  TemporarilyGrey &operator=(const TemporarilyGrey &) = delete;
  ~TemporarilyGrey() {
    frame_->pixel_format = format_;
    frame_->plane_count = plane_count_;
  }

 private:
  tavrine_frame_t *frame_;
  uint32_t format_;
  int32_t plane_count_;
};

int32_t copy_luma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  const TemporarilyGrey luma(out);
  return tavrine_frame_copy(in, &out);
}

// An odd width leaves one byte of each row without a partner. It is filled too, where the rows
// have room for it.
int32_t fill_chroma(const tavrine_frame_t *frame, uint8_t value) {
  const PlaneRows pairs = plane_rows(frame, 1);
  if (pairs.stride < pairs.row_bytes) {
    return TAVRINE_FAILURE;
  }
  const auto columns = static_cast<int32_t>(std::min<int64_t>(frame->width, pairs.stride));
  if (columns == 0 || pairs.rows == 0) {
    return TAVRINE_OK;
  }
  return status(fill_plane(view_of_plane(frame, 1, {1, 1}, columns, pairs.rows), value));
}

int32_t add_neutral_chroma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  constexpr uint8_t kNeutral = 128;
  const int32_t copied = copy_luma(in, out);
  return copied != TAVRINE_OK ? copied : fill_chroma(out, kNeutral);
}

int32_t swap_chroma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(copy_plane(view_of_plane(in, 0), view_of_plane(out, 0)) &&
                swap_pairs(view_of_plane(in, 1), view_of_plane(out, 1)));
}

// The two chroma planes of YU12, in the order in which NV12 or NV21 stores their pairs.
struct ChromaPlanes {
  PlaneView first;
  PlaneView second;
};

ChromaPlanes chroma_planes(const tavrine_frame_t *planar, const tavrine_frame_t *semi_planar) {
  const int u_first = chroma_order(semi_planar) == ChromaOrder::kUFirst ? 1 : 2;
  return {view_of_plane(planar, u_first), view_of_plane(planar, 3 - u_first)};
}

int32_t interleave(const tavrine_frame_t *in, tavrine_frame_t *out) {
  const ChromaPlanes chroma = chroma_planes(in, out);
  return status(copy_plane(view_of_plane(in, 0), view_of_plane(out, 0)) &&
                interleave_planes(chroma.first, chroma.second, view_of_plane(out, 1)));
}

int32_t deinterleave(const tavrine_frame_t *in, tavrine_frame_t *out) {
  const ChromaPlanes chroma = chroma_planes(out, in);
  return status(copy_plane(view_of_plane(in, 0), view_of_plane(out, 0)) &&
                deinterleave_plane(view_of_plane(in, 1), chroma.first, chroma.second));
}

// Built from public operations, so that log records and failures are those of single conversions.
int32_t through_nv12(const tavrine_frame_t *in, tavrine_frame_t *out) {
  OwnedFrame nv12;
  const int32_t result = tavrine_frame_cvt_color(in, nv12.slot(), TAVRINE_FORMAT_NV12);
  return result != TAVRINE_OK ? result
                              : tavrine_frame_cvt_color(nv12.get(), &out, out->pixel_format);
}

int32_t stretch(const tavrine_frame_t *in, tavrine_frame_t *out) {
  constexpr int32_t kBytesPerSample = 2;
  return status(stretch_contrast(view_of_plane(in, 0, {kBytesPerSample, 1}, in->width, in->height),
                                 view_of_plane(out, 0)));
}

struct Conversion {
  uint32_t source;
  uint32_t target;
  int32_t (*convert)(const tavrine_frame_t *in, tavrine_frame_t *out);
};

constexpr Conversion kConversions[] = {
    {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24, replicate},
    {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_BGR24, replicate},
    {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_NV12, add_neutral_chroma},
    {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_NV21, add_neutral_chroma},
    {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_YU12, through_nv12},

    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_GREY, weighted_luma},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24, swap_red_blue},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV12, forward_yuv},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV21, forward_yuv},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_YU12, through_nv12},

    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_GREY, weighted_luma},
    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_RGB24, swap_red_blue},
    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV12, forward_yuv},
    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV21, forward_yuv},
    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_YU12, through_nv12},

    {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_GREY, extract_luma},
    {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_RGB24, inverse_yuv},
    {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_BGR24, inverse_yuv},
    {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21, swap_chroma},
    {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_YU12, deinterleave},

    {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_GREY, extract_luma},
    {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_RGB24, inverse_yuv},
    {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_BGR24, inverse_yuv},
    {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_NV12, swap_chroma},
    {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_YU12, through_nv12},

    {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_GREY, extract_luma},
    {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_RGB24, through_nv12},
    {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_BGR24, through_nv12},
    {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_NV12, interleave},
    {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_NV21, interleave},

    {TAVRINE_FORMAT_Y16, TAVRINE_FORMAT_GREY, stretch},
};

}  // namespace

// The target is what the destination's record says, whatever the caller asked for: the core may
// have allocated another format, and only its record says how long its rows are.
int32_t host_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out,
                       [[maybe_unused]] uint32_t requested) {
  if (in == nullptr || out == nullptr) {
    return TAVRINE_FAILURE;
  }
  for (const Conversion &conversion : kConversions) {
    if (conversion.source == in->pixel_format && conversion.target == out->pixel_format) {
      return conversion.convert(in, out);
    }
  }
  TAVRINE_LOG(kError, kTagHost, "Unsupported frame convert from %s to %s!\n",
              tavrine_frame_pixfmt_to_string(in->pixel_format),
              tavrine_frame_pixfmt_to_string(out->pixel_format));
  return TAVRINE_NOT_SUPPORTED;
}

}  // namespace tavrine
