#include "api/batch_items.h"

#include <algorithm>

#include "tavrine_aux.h"
#include "tavrine_core.h"

namespace tavrine {
namespace {

void set_order(int32_t order[3], bool is_reversed) {
  for (int32_t i = 0; i < 3; ++i) {
    order[i] = is_reversed ? 2 - i : i;
  }
}

}  // namespace

Ratios ratios_of(const tavrine_area2d_t &area, const tavrine_tensor_t *tensor,
                 int32_t resize_mode) {
  const float vertical = static_cast<float>(area.height) / static_cast<float>(tensor->shape[2]);
  const float horizontal = static_cast<float>(area.width) / static_cast<float>(tensor->shape[3]);
  if (resize_mode == TAVRINE_RESIZE_STRETCH) {
    return {vertical, horizontal};
  }
  const float larger = std::max(horizontal, vertical);
  return {larger, larger};
}

bool touches(const tavrine_area2d_t &area, const tavrine_frame_t *frame) {
  return area.x < frame->width && area.y < frame->height && int64_t{area.x} + area.width >= 1 &&
         int64_t{area.y} + area.height >= 1;
}

BatchItem make_item(const tavrine_frame_t *frame, const tavrine_area2d_t &area,
                    const Ratios &ratios, int32_t color_type, const float *padding) {
  BatchItem item = {};
  item.pixels = frame->planes[0];
  item.pixel_bytes = tavrine_frame_pixel_size(frame->pixel_format);
  item.frame_height = frame->height;
  item.frame_width = frame->width;
  item.stride = frame->strides[0];
  if (item.pixel_bytes == 3) {
    const bool is_blue_first = frame->pixel_format == TAVRINE_FORMAT_BGR24;
    set_order(item.output_channels, is_blue_first != (color_type == TAVRINE_TENSOR_BGR));
    set_order(item.source_channels, is_blue_first);
  }
  item.vertical_ratio = ratios.vertical;
  item.horizontal_ratio = ratios.horizontal;
  if (padding != nullptr) {
    std::copy_n(padding, 3, item.padding);
  }
  item.area = area;
  item.pixel_format = frame->pixel_format;
  return item;
}

}  // namespace tavrine
