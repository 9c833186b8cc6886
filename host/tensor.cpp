#include <utility>

#include "common/tensor_color.h"
#include "host/frame_planes.h"
#include "host/operations.h"
#include "host/tensor_image.h"

namespace tavrine {
namespace {

// The arguments of a fill, with the channels in the tensor's order.
struct Request {
  int32_t color_type;
  const tavrine_frame_t *frame;
  PlaneView pixels;
  ChannelNormalization channels[3];
};

Request make_request(int32_t color_type, const tavrine_frame_t *in,
                     const Normalization &normalization, const float padding[3]) {
  const int32_t pixel_bytes = is_packed_rgb(in->pixel_format) ? 3 : 1;
  Request request = {
      color_type, in, view_of_plane(in, 0, {pixel_bytes, 1}, in->width, in->height), {}};
  for (int32_t i = 0; i < 3; ++i) {
    request.channels[i] = {normalization.mean[i], normalization.scale[i], padding[i]};
  }
  if (color_type == TAVRINE_TENSOR_BGR) {
    std::swap(request.channels[0], request.channels[2]);
  }
  return request;
}

template <typename Element>
int32_t fill(const Request &request, tavrine_tensor_t *tensor, uint32_t element_offset) {
  const auto image =
      image_of<Element>(tensor, element_offset, channel_count_of(request.color_type));
  if (image.data == nullptr || !request.pixels.is_usable()) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const uint32_t format = request.frame->pixel_format;
  const ByteOrder order =
      format == TAVRINE_FORMAT_BGR24 ? ByteOrder::kBlueFirst : ByteOrder::kRedFirst;
  if (request.color_type != TAVRINE_TENSOR_GRAY) {
    const bool is_red_first = request.color_type == TAVRINE_TENSOR_RGB;
    const int32_t first = is_red_first ? red_byte(order) : blue_byte(order);
    const int32_t bytes[3] = {first, 1, 2 - first};
    fill_color(request.pixels, bytes, request.channels, image);
  } else if (format == TAVRINE_FORMAT_GREY) {
    fill_grey(request.pixels, request.channels[0], image);
  } else {
    fill_weighted_grey(request.pixels, order, request.channels[0], image);
  }
  return TAVRINE_OK;
}

}  // namespace

int32_t host_frame_to_tensor(tavrine_tensor_t *tensor, uint32_t element_offset, int32_t color_type,
                             const tavrine_frame_t *in, const Normalization &normalization,
                             const float padding[3]) {
  if (!accepts_format(color_type, in->pixel_format)) {
    return TAVRINE_NOT_SUPPORTED;
  }
  const Request request = make_request(color_type, in, normalization, padding);
  switch (tensor->element_type) {
    case TAVRINE_ELEMENT_FLOAT32:
      return fill<float>(request, tensor, element_offset);
    case TAVRINE_ELEMENT_UINT8:
      return fill<uint8_t>(request, tensor, element_offset);
    default:
      return TAVRINE_NOT_SUPPORTED;
  }
}

}  // namespace tavrine
