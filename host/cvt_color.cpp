#include "common/log.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "host/operations.h"
#include "host/frame_planes.h"
#include "kernels/color/contrast_stretch.h"
#include "kernels/color/planes.h"
#include "kernels/color/rgb.h"
#include "kernels/color/yuv.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

// A plane of a frame in one of the 8-bit formats.
PlaneView plane_of(const tavrine_frame_t *frame, int plane) {
  return view_of_plane(frame, plane, layout_of(frame->pixel_format).planes[plane], frame->width,
                       frame->height);
}

ByteOrder byte_order(const tavrine_frame_t *frame) {
  return frame->pixel_format == TAVRINE_FORMAT_BGR24 ? ByteOrder::kBlueFirst : ByteOrder::kRedFirst;
}

ChromaOrder chroma_order(const tavrine_frame_t *frame) {
  return frame->pixel_format == TAVRINE_FORMAT_NV21 ? ChromaOrder::kVFirst : ChromaOrder::kUFirst;
}

int32_t status(bool kernel_succeeded) { return kernel_succeeded ? TAVRINE_OK : TAVRINE_FAILURE; }

int32_t weighted_luma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(weigh_luma(plane_of(in, 0), byte_order(in), plane_of(out, 0)));
}

int32_t replicate(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(replicate_grey(plane_of(in, 0), plane_of(out, 0)));
}

int32_t swap_ends(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(swap_red_blue(plane_of(in, 0), plane_of(out, 0)));
}

int32_t forward_yuv(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(rgb_to_yuv(plane_of(in, 0), byte_order(in), plane_of(out, 0), plane_of(out, 1),
                           chroma_order(out)));
}

int32_t inverse_yuv(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(yuv_to_rgb(plane_of(in, 0), plane_of(in, 1), chroma_order(in), plane_of(out, 0),
                           byte_order(out)));
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

// Lets the core copy a grey frame into the luma of a YUV frame, whose record shows a grey
// frame for as long as this lives.
class GreyDisguise {
 public:
  explicit GreyDisguise(tavrine_frame_t *frame)
      : frame_(frame), format_(frame->pixel_format), plane_count_(frame->plane_count) {
    make_grey(frame);
  }
  GreyDisguise(const GreyDisguise &) = delete;
  GreyDisguise &operator=(const GreyDisguise &) = delete;
  ~GreyDisguise() {
    frame_->pixel_format = format_;
    frame_->plane_count = plane_count_;
  }

 private:
  tavrine_frame_t *frame_;
  uint32_t format_;
  int32_t plane_count_;
};

int32_t add_neutral_chroma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  int32_t copied;
  {
    const GreyDisguise disguise(out);
    tavrine_frame_t *slot = out;
    copied = tavrine_frame_copy(in, &slot);
  }
  constexpr uint8_t kNeutral = 128;
  return copied != TAVRINE_OK ? copied : status(fill_plane(plane_of(out, 1), kNeutral));
}

int32_t swap_chroma(const tavrine_frame_t *in, tavrine_frame_t *out) {
  return status(copy_plane(plane_of(in, 0), plane_of(out, 0)) &&
                swap_pairs(plane_of(in, 1), plane_of(out, 1)));
}

// The planar side of a weave, in the order in which the semi-planar side stores its pairs.
struct ChromaPlanes {
  PlaneView first;
  PlaneView second;
};

ChromaPlanes chroma_planes(const tavrine_frame_t *planar, const tavrine_frame_t *semi_planar) {
  const int u_first = chroma_order(semi_planar) == ChromaOrder::kUFirst ? 1 : 2;
  return {plane_of(planar, u_first), plane_of(planar, 3 - u_first)};
}

int32_t interleave(const tavrine_frame_t *in, tavrine_frame_t *out) {
  const ChromaPlanes chroma = chroma_planes(in, out);
  return status(copy_plane(plane_of(in, 0), plane_of(out, 0)) &&
                interleave_planes(chroma.first, chroma.second, plane_of(out, 1)));
}

int32_t deinterleave(const tavrine_frame_t *in, tavrine_frame_t *out) {
  const ChromaPlanes chroma = chroma_planes(out, in);
  return status(copy_plane(plane_of(in, 0), plane_of(out, 0)) &&
                deinterleave_plane(plane_of(in, 1), chroma.first, chroma.second));
}

int32_t through_nv12(const tavrine_frame_t *in, tavrine_frame_t *out) {
  OwnedFrame nv12;
  const int32_t result = tavrine_frame_cvt_color(in, nv12.slot(), TAVRINE_FORMAT_NV12);
  return result != TAVRINE_OK ? result
                              : tavrine_frame_cvt_color(nv12.get(), &out, out->pixel_format);
}

int32_t stretch(const tavrine_frame_t *in, tavrine_frame_t *out) {
  constexpr int32_t kBytesPerSample = 2;
  return status(stretch_contrast(view_of_plane(in, 0, in->width, in->height, kBytesPerSample),
                                 plane_of(out, 0)));
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
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24, swap_ends},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV12, forward_yuv},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV21, forward_yuv},
    {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_YU12, through_nv12},

    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_GREY, weighted_luma},
    {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_RGB24, swap_ends},
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

int32_t host_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t format) {
  if (in == nullptr || out == nullptr) {
    return TAVRINE_FAILURE;
  }
  for (const Conversion &conversion : kConversions) {
    if (conversion.source == in->pixel_format && conversion.target == format) {
      return conversion.convert(in, out);
    }
  }
  TAVRINE_LOG(kError, kTagHost, "Unsupported frame convert from %s to %s!\n",
              tavrine_frame_pixfmt_to_string(in->pixel_format),
              tavrine_frame_pixfmt_to_string(format));
  return TAVRINE_NOT_SUPPORTED;
}

}  // namespace tavrine
