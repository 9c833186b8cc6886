#include <algorithm>
#include <utility>

#include "backend/batch_item.h"
#include "common/numeric.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "common/tensor_color.h"
#include "host/operations.h"
#include "host/tensor_image.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

// Rows or columns of a tensor, `end` excluded.
struct Span {
  int32_t begin;
  int32_t end;

  bool is_empty() const { return begin >= end; }
};

// Where one axis of a region comes from and where it goes.
struct AxisPlacement {
  int32_t source;  // the part of the region inside the frame
  int32_t source_length;
  int32_t scaled_length;  // of that part in the tensor
  Span target;            // its rows or columns there
};

// Start and length are rounded separately, so the end may overshoot by one; it is clamped.
AxisPlacement place_axis(int32_t origin, int32_t length, int32_t frame_length, float ratio,
                         int32_t tensor_length) {
  const auto inside = [frame_length](int64_t position) {
    return std::max<int64_t>(std::min<int64_t>(position, frame_length), 0);
  };
  const int64_t begin = inside(origin);
  const int64_t cut = std::max<int64_t>(inside(int64_t{origin} + length) - begin, 0);
  const int32_t target =
      std::min(round_to_int32(static_cast<float>(begin - origin) / ratio), tensor_length);
  const int32_t scaled = round_to_int32(static_cast<float>(cut) / ratio);
  const int64_t target_end = std::min<int64_t>(int64_t{target} + scaled, tensor_length);
  return {saturate_to_int32(begin),
          saturate_to_int32(cut),
          scaled,
          {target, saturate_to_int32(target_end)}};
}

struct Placement {
  AxisPlacement x;
  AxisPlacement y;

  // A region that passed the checks overlaps its frame, unless its own size is not positive.
  bool is_valid() const { return x.source_length > 0 && y.source_length > 0; }
  bool is_empty() const { return x.target.is_empty() || y.target.is_empty(); }
  bool needs_scaling() const {
    return x.scaled_length != x.source_length || y.scaled_length != y.source_length;
  }
};

Placement place(const BatchItem &item, const tavrine_tensor_t *tensor) {
  const tavrine_area2d_t &area = item.area;
  return {
      place_axis(area.x, area.width, item.frame_width, item.horizontal_ratio, tensor->shape[3]),
      place_axis(area.y, area.height, item.frame_height, item.vertical_ratio, tensor->shape[2])};
}

// A view of a part of one image, with all its channels.
OwnedTensor view_of(const tavrine_tensor_t *tensor, int32_t image, const Span &rows,
                    const Span &columns) {
  const int32_t begin[4] = {image, 0, rows.begin, columns.begin};
  const int32_t end[4] = {image + 1, tensor->shape[1], rows.end, columns.end};
  return OwnedTensor(tavrine_tensor_roi(tensor, begin, end));
}

// `part` at the placement's size, as a frame over the workspace. Empty on failure. Built from the
// public resize, so that device frames and log records behave as in single calls.
OwnedFrame scale_into_workspace(const tavrine_frame_t *part, const Placement &placement,
                                tavrine_buffer_t *workspace) {
  const int32_t width = placement.x.scaled_length;
  const int32_t height = placement.y.scaled_length;
  const size_t bytes = tavrine_frame_inferred_size(part->pixel_format, width, height);
  if (bytes == 0 || tavrine_buffer_resize(workspace, bytes) != TAVRINE_OK) {
    return {};
  }
  OwnedFrame scaled(tavrine_frame_make(tavrine_frame_mem_type(part), part->pixel_format,
                                       tavrine_buffer_raw_pointer(workspace), width, height,
                                       kTightStrides, part->extra, nullptr, nullptr));
  if (scaled && tavrine_frame_resize(part, scaled.slot(), width, height) != TAVRINE_OK) {
    scaled.reset();
  }
  return scaled;
}

// Writes the region's pixels, normalised, to their place. Built from the public operation, so that
// device frames and log records behave as in single calls.
int32_t fill_region(tavrine_tensor_t *tensor, int32_t image, int32_t color_type,
                    const tavrine_frame_t *frame, const BatchItem &item, const Placement &placement,
                    const Normalization &normalization, tavrine_buffer_t *workspace) {
  OwnedFrame source(tavrine_frame_roi(frame, placement.x.source, placement.y.source,
                                      placement.x.source_length, placement.y.source_length));
  if (source && placement.needs_scaling()) {
    source = scale_into_workspace(source.get(), placement, workspace);
  }
  const OwnedTensor target = view_of(tensor, image, placement.y.target, placement.x.target);
  if (!source || !target) {
    return TAVRINE_FAILURE;
  }
  const float *mean = normalization.mean;
  const float *scale = normalization.scale;
  return tavrine_frame_to_tensor(target.get(), 0, color_type, source.get(), mean[0], mean[1],
                                 mean[2], scale[0], scale[1], scale[2], item.padding[0],
                                 item.padding[1], item.padding[2]);
}

template <typename Element, typename Convert>
int32_t fill_band(const tavrine_tensor_t *band, const float *values, int32_t channels,
                  Convert convert) {
  const auto image = image_of<Element>(band, 0, channels);
  if (image.data == nullptr) {
    return TAVRINE_FAILURE;
  }
  for (int32_t channel = 0; channel < channels; ++channel) {
    fill_constant(image, channel, convert(values[channel]));
  }
  return TAVRINE_OK;
}

// One value for each channel of the colour type. Only the first channel of unsigned bytes is
// filled, on purpose: the others keep what the caller put there.
int32_t fill_band(const tavrine_tensor_t *band, const float *values, int32_t channels) {
  switch (band->element_type) {
    case TAVRINE_ELEMENT_FLOAT32:
      return fill_band<float>(band, values, channels, [](float value) { return value; });
    case TAVRINE_ELEMENT_INT8:
      return fill_band<uint8_t>(band, values, channels, [](float value) {
        return static_cast<uint8_t>(static_cast<uint32_t>(truncate_to_int32(value)) & 0xFF);
      });
    case TAVRINE_ELEMENT_UINT8:
      return fill_band<uint8_t>(band, values, 1, [](float value) {
        return static_cast<uint8_t>(truncate_to_uint32(value) & 0xFF);
      });
    default:
      return TAVRINE_NOT_SUPPORTED;
  }
}

// Fills the bands around the region's pixels.
int32_t fill_padding(const tavrine_tensor_t *tensor, int32_t image, int32_t color_type,
                     const BatchItem &item, const Placement &placement) {
  float values[3] = {item.padding[0], item.padding[1], item.padding[2]};
  if (color_type == TAVRINE_TENSOR_BGR) {
    std::swap(values[0], values[2]);
  } else if (color_type == TAVRINE_TENSOR_GRAY) {
    values[0] = item.padding[1];
  }
  const Span all_rows = {0, tensor->shape[2]};
  const Span all_columns = {0, tensor->shape[3]};
  const Span rows = placement.y.target;
  const Span columns = placement.x.target;
  const struct {
    Span rows;
    Span columns;
  } bands[] = {{{0, rows.begin}, all_columns},
               {{rows.end, all_rows.end}, all_columns},
               {rows, {0, columns.begin}},
               {rows, {columns.end, all_columns.end}}};
  int32_t result = TAVRINE_OK;
  for (const auto &band : bands) {
    if (band.rows.is_empty() || band.columns.is_empty()) {
      continue;
    }
    const OwnedTensor part = view_of(tensor, image, band.rows, band.columns);
    const int32_t filled =
        part ? fill_band(part.get(), values, channel_count_of(color_type)) : TAVRINE_FAILURE;
    if (filled != TAVRINE_OK) {
      result = filled;
    }
  }
  return result;
}

}  // namespace

int32_t host_transform_to_tensor_batch(tavrine_tensor_t *tensor, int32_t color_type, int32_t count,
                                       const tavrine_frame_t *const *frames, const BatchItem *items,
                                       const Normalization &normalization,
                                       tavrine_buffer_t *workspace) {
  if (channel_count_of(color_type) == 0) {
    return count == 0 ? TAVRINE_OK : TAVRINE_NOT_SUPPORTED;
  }
  int32_t result = TAVRINE_OK;
  for (int32_t i = 0; i < count; ++i) {
    const Placement placement = place(items[i], tensor);
    if (!placement.is_valid()) {
      result = TAVRINE_FAILURE;
      continue;
    }
    if (!placement.is_empty() && fill_region(tensor, i, color_type, frames[i], items[i], placement,
                                             normalization, workspace) != TAVRINE_OK) {
      result = TAVRINE_FAILURE;
    }
    if (fill_padding(tensor, i, color_type, items[i], placement) != TAVRINE_OK) {
      result = TAVRINE_FAILURE;
    }
  }
  return result;
}

}  // namespace tavrine
