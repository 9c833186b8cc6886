#include <algorithm>
#include <memory>
#include <new>

#include "api/tensor_checks.h"
#include "backend/batch_item.h"
#include "common/allocate.h"
#include "common/log.h"
#include "common/owned.h"
#include "common/tensor_color.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

constexpr char kName[] = "tavrine_frame_transform_to_tensor_batch";

// What the caller passed, as far as several steps need it.
struct Batch {
  tavrine_tensor_t *tensor;
  int32_t color_type;
  int32_t count;
  tavrine_frame_t *const *frames;
  Normalization normalization;
  tavrine_buffer_t **workspace;
};

struct Ratios {
  float vertical;
  float horizontal;
};

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

void set_order(int32_t order[3], bool is_reversed) {
  for (int32_t i = 0; i < 3; ++i) {
    order[i] = is_reversed ? 2 - i : i;
  }
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

// A workspace of the wrong memory is of no use and goes; its size does not matter, since the
// slot sets it for each item.
bool prepare_workspace(tavrine_buffer_t **workspace, int32_t memory) {
  constexpr size_t kFirstBytes = 1024;
  if (*workspace != nullptr && tavrine_buffer_mem_type(*workspace) != memory) {
    tavrine_buffer_free(workspace);
  }
  if (*workspace == nullptr) {
    *workspace = tavrine_buffer_alloc(kFirstBytes, memory);
  }
  return *workspace != nullptr;
}

// Frames that live for one call. Their count has been held in larger records before, so it
// cannot wrap here.
class TemporaryFrames {
 public:
  explicit TemporaryFrames(int32_t count)
      : count_(count),
        frames_(new (std::nothrow) tavrine_frame_t *[static_cast<size_t>(count)]()) {}
  TemporaryFrames(const TemporaryFrames &) = delete;
  TemporaryFrames &operator=(const TemporaryFrames &) = delete;
  ~TemporaryFrames() {
    for (int32_t i = 0; frames_ && i < count_; ++i) {
      tavrine_frame_free(&frames_[i]);
    }
  }

  explicit operator bool() const { return frames_ != nullptr; }
  tavrine_frame_t **get() const { return frames_.get(); }

 private:
  int32_t count_;
  std::unique_ptr<tavrine_frame_t *[]> frames_;
};

int32_t run(const BackendOps &backend, const Batch &batch, const BatchItem *items,
            tavrine_frame_t *const *frames) {
  return backend.transform_to_tensor_batch(batch.tensor, batch.color_type, batch.count, frames,
                                           items, batch.normalization, *batch.workspace);
}

int32_t run_on_uploaded_frames(const Batch &batch, BatchItem *items) {
  const TemporaryFrames uploaded(batch.count);
  if (!uploaded) {
    return TAVRINE_FAILURE;
  }
  for (int32_t i = 0; i < batch.count; ++i) {
    if (tavrine_frame_upload(batch.frames[i], &uploaded.get()[i]) != TAVRINE_OK) {
      return TAVRINE_FAILURE;
    }
    items[i].pixels = uploaded.get()[i]->planes[0];
    items[i].stride = uploaded.get()[i]->strides[0];
  }
  return run(device_ops, batch, items, uploaded.get()) == TAVRINE_OK ? TAVRINE_OK : TAVRINE_FAILURE;
}

// Settles where frames and workspace live, and hands over.
int32_t place_and_run(const Batch &batch, BatchItem *items) {
  const int32_t tensor_memory = tavrine_tensor_mem_type(batch.tensor);
  const int32_t frame_memory = tavrine_frame_mem_type(batch.frames[0]);
  const bool known_frames =
      frame_memory == TAVRINE_MEMORY_HOST || frame_memory == TAVRINE_MEMORY_DEVICE;
  if (tensor_memory == TAVRINE_MEMORY_DEVICE && known_frames) {
    const bool on_host = frame_memory == TAVRINE_MEMORY_HOST;
    if (on_host) {
      TAVRINE_LOG(kWarning, kTagAux,
                  "[%s] tensor memory type: %s, frame memory type: %s, upload frame. roi frames "
                  "uploading maybe cost a lot of time，space and bandwidth\n",
                  kName, tavrine_device_get_name(), "host");
    }
    if (!prepare_workspace(batch.workspace, TAVRINE_MEMORY_DEVICE)) {
      return TAVRINE_FAILURE;
    }
    return on_host ? run_on_uploaded_frames(batch, items)
                   : run(device_ops, batch, items, batch.frames);
  }
  if (tensor_memory == TAVRINE_MEMORY_HOST && known_frames) {
    if (!prepare_workspace(batch.workspace, frame_memory)) {
      return TAVRINE_FAILURE;
    }
    if (frame_memory == TAVRINE_MEMORY_DEVICE) {
      TAVRINE_LOG(kNotice, kTagAux,
                  "[%s] tensor memory type: %s, frame memory type: %s, download frame. roi frames "
                  "downloading maybe cost a lot of time，space and bandwidth\n",
                  kName, "host", tavrine_device_get_name());
    }
    return run(host_ops, batch, items, batch.frames);
  }
  return TAVRINE_FAILURE;
}

}  // namespace
}  // namespace tavrine

int32_t tavrine_frame_transform_to_tensor_batch(
    tavrine_tensor_t *tensor, int32_t color_type, int32_t n, tavrine_frame_t *const *frames,
    const tavrine_area2d_t *areas, int32_t resize_mode, float mean_r, float mean_g, float mean_b,
    float scale_r, float scale_g, float scale_b, const float (*paddings)[3],
    tavrine_buffer_t **workspace, float *vertical_ratios, float *horizontal_ratios) {
  using namespace tavrine;
  if (tensor == nullptr || n < 1 || n != tensor->shape[0] || tensor->shape[2] < 1 ||
      tensor->shape[3] < 1 || frames == nullptr || areas == nullptr || workspace == nullptr ||
      tavrine_tensor_raw_pointer(tensor) == nullptr ||
      (resize_mode != TAVRINE_RESIZE_FIT && resize_mode != TAVRINE_RESIZE_STRETCH)) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const auto items = allocate<BatchItem>(n);
  if (!items) {
    return TAVRINE_FAILURE;
  }
  for (int32_t i = 0; i < n; ++i) {
    const tavrine_frame_t *frame = frames[i];
    const tavrine_area2d_t &area = areas[i];
    if (frame == nullptr) {
      return TAVRINE_INVALID_ARGUMENT;
    }
    if (tavrine_frame_mem_type(frame) != tavrine_frame_mem_type(frames[0])) {
      TAVRINE_LOG(kError, kTagAux, "[%s] input frame list memory type is not homogeneous\n", kName);
      return TAVRINE_INVALID_ARGUMENT;
    }
    const int32_t checked = check_color_type(color_type, frame->pixel_format, kName);
    if (checked != TAVRINE_OK) {
      return checked;
    }
    const Ratios ratios = ratios_of(area, tensor, resize_mode);
    if (vertical_ratios != nullptr) {
      vertical_ratios[i] = ratios.vertical;
    }
    if (horizontal_ratios != nullptr) {
      horizontal_ratios[i] = ratios.horizontal;
    }
    if (!touches(area, frame)) {
      TAVRINE_LOG(kError, kTagAux, "[%s] invalid roi: {%d, %d, %d, %d}\n", kName, area.x, area.y,
                  area.width, area.height);
      return TAVRINE_INVALID_ARGUMENT;
    }
    items[i] =
        make_item(frame, area, ratios, color_type, paddings != nullptr ? paddings[i] : nullptr);
  }
  if (tensor->shape[1] < channel_count_of(color_type)) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const Batch batch = {
      tensor,   color_type, n, frames, {{mean_r, mean_g, mean_b}, {scale_r, scale_g, scale_b}},
      workspace};
  return place_and_run(batch, items.get());
}
