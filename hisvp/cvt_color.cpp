// NV12 to RGB24 and back.
#include <cstdio>
#include <optional>

#include "common/log.h"
#include "hisvp/addresses.h"
#include "hisvp/operations.h"
#include "hisvp/task.h"

namespace tavrine {
namespace {

constexpr int32_t kUnsupportedDestination = -6;
constexpr TaskTraits kTask = {"", "HI_MPI_IVE_CSC", 10};

bool is_accepted(uint32_t format) {
  return format == TAVRINE_FORMAT_NV12 || format == TAVRINE_FORMAT_RGB24;
}

// The engine is given the low 16 bits of sizes and strides.
uint32_t low_half(int32_t value) { return static_cast<uint32_t>(value) & 0xFFFF; }

uint32_t stride_in_pixels(const tavrine_frame_t *frame) {
  const uint32_t bytes = low_half(frame->strides[0]);
  return frame->pixel_format == TAVRINE_FORMAT_RGB24 ? bytes / 3 : bytes;
}

bool is_in_range(const tavrine_frame_t *frame) {
  const uint32_t width = low_half(frame->width);
  const uint32_t height = low_half(frame->height);
  return width >= 64 && width <= 1920 && height >= 64 && height <= 1080;
}

// The chroma plane must follow the luma plane directly: the frame's second pointer is not used.
IVE_IMAGE_S describe(const tavrine_frame_t *frame, uint64_t physical, uint32_t stride) {
  IVE_IMAGE_S image = {};
  image.enType = hisvp_image_type(frame->pixel_format);
  image.u32Width = low_half(frame->width);
  image.u32Height = low_half(frame->height);
  image.au64PhyAddr[0] = physical;
  image.au32Stride[0] = stride;
  if (image.enType == IVE_IMAGE_TYPE_YUV420SP) {
    const auto luma_bytes = static_cast<int32_t>(stride * static_cast<uint32_t>(frame->height));
    image.au64PhyAddr[1] = physical + static_cast<uint64_t>(int64_t{luma_bytes});
    image.au32Stride[1] = stride;
  }
  return image;
}

std::optional<IVE_CSC_MODE_E> find_mode(IVE_IMAGE_TYPE_E from, IVE_IMAGE_TYPE_E to) {
  const auto is_yuv = [](IVE_IMAGE_TYPE_E type) {
    return type == IVE_IMAGE_TYPE_YUV420SP || type == IVE_IMAGE_TYPE_YUV420P;
  };
  if (is_yuv(from) && to == IVE_IMAGE_TYPE_U8C3_PACKAGE) {
    return IVE_CSC_MODE_PIC_BT601_YUV2RGB;
  }
  if (from == IVE_IMAGE_TYPE_U8C3_PACKAGE && is_yuv(to)) {
    return IVE_CSC_MODE_PIC_BT601_RGB2YUV;
  }
  return std::nullopt;
}

}  // namespace

IVE_IMAGE_TYPE_E hisvp_image_type(uint32_t format) {
  switch (format) {
    case TAVRINE_FORMAT_GREY:
      return IVE_IMAGE_TYPE_U8C1;
    case TAVRINE_FORMAT_NV12:
      return IVE_IMAGE_TYPE_YUV420SP;
    case TAVRINE_FORMAT_YU12:
      return IVE_IMAGE_TYPE_YUV420P;
    case TAVRINE_FORMAT_RGB24:
      return IVE_IMAGE_TYPE_U8C3_PACKAGE;
    default:
      std::puts("Do not support this pixel format!");
      return IVE_IMAGE_TYPE_BUTT;
  }
}

int32_t hisvp_cvt_color(const tavrine_frame_t *in, tavrine_frame_t *out, uint32_t) {
  if (in == nullptr || out == nullptr) {
    TAVRINE_LOG(kNotice, kTagHisvp, "in or out is NULL.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!is_accepted(in->pixel_format)) {
    TAVRINE_LOG(kNotice, kTagHisvp, "Unsupported src pix fmt.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!is_accepted(out->pixel_format)) {
    TAVRINE_LOG(kNotice, kTagHisvp, "Unsupported dst pix fmt.\n");
    return kUnsupportedDestination;
  }
  if (in->width != out->width || in->height != out->height) {
    TAVRINE_LOG(kNotice, kTagHisvp, "w/h of src must same as w/h of dst.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (!is_in_range(in)) {
    TAVRINE_LOG(kNotice, kTagHisvp, "w/h range : 64x64 -- 1920x1080.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  const uint32_t in_stride = stride_in_pixels(in);
  const uint32_t out_stride = stride_in_pixels(out);
  if (((in_stride | out_stride) & 15) != 0) {
    TAVRINE_LOG(kNotice, kTagHisvp, "stride must 16 bytes align.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  const MmzAddress in_address = find_in_mmz(in->planes[0]);
  const MmzAddress out_address = find_in_mmz(out->planes[0]);
  if (in_address.physical == 0 || out_address.physical == 0) {
    TAVRINE_LOG(kNotice, kTagHisvp, "src or dst not in mmz.\n");
    return TAVRINE_INVALID_ARGUMENT;
  }
  const IVE_IMAGE_S source = describe(in, in_address.physical, in_stride);
  IVE_IMAGE_S destination = describe(out, out_address.physical, out_stride);
  destination.au64VirAddr[0] = widen_address(out->planes[0]);
  const std::optional<IVE_CSC_MODE_E> mode = find_mode(source.enType, destination.enType);
  if (!mode) {
    std::puts("do not support this csc type.");
    return TAVRINE_NOT_SUPPORTED;
  }
  const IVE_CSC_CTRL_S control = {*mode};
  const TaskOutcome outcome = run_task(kTask, [&](IVE_HANDLE *handle) {
    return HI_MPI_IVE_CSC(handle, &source, &destination, &control, HI_TRUE);
  });
  return outcome == TaskOutcome::kDone ? TAVRINE_OK : TAVRINE_FAILURE;
}

}  // namespace tavrine
