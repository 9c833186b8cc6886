#include <memory>
#include <new>

#include "api/batch_items.h"
#include "api/tensor_checks.h"
#include "common/allocate.h"
#include "common/log.h"
#include "common/owned.h"
#include "common/tensor_color.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

constexpr char kName[] = "tavrine_frame_transform_to_tensor_batch";

// The arguments that several steps need.
struct Batch {
  tavrine_tensor_t *tensor;
  int32_t color_type;
  int32_t count;
  tavrine_frame_t *const *frames;
  Normalization normalization;
  tavrine_buffer_t **workspace;
};

// Replaces a workspace of the wrong memory type. The size does not matter: the operation sets it
// for each item.
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

// Frames that live for one call. No overflow check: BatchItem is larger, and `count` of those
// have been allocated already.
class TemporaryFrames {
 public:
  explicit TemporaryFrames(int32_t count)
      : count_(count),
        frames_(new (std::nothrow) tavrine_frame_t *[static_cast<size_t>(count)]()) {}
  TemporaryFrames(const TemporaryFrames &) = delete;
  TemporaryFrames &operator=(const TemporaryFrames &) = delete;
  ~TemporaryFrames() {
    for (int32_t i = 0; frames_ && i < count_; ++i) {
      tavrine_frame_free(&(*this)[i]);
    }
  }

  explicit operator bool() const { return frames_ != nullptr; }
  tavrine_frame_t *&operator[](int32_t i) const { return frames_[static_cast<size_t>(i)]; }
  tavrine_frame_t *const *get() const { return frames_.get(); }

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
    if (tavrine_frame_upload(batch.frames[i], &uploaded[i]) != TAVRINE_OK) {
      return TAVRINE_FAILURE;
    }
    items[i].pixels = uploaded[i]->planes[0];
    items[i].stride = uploaded[i]->strides[0];
  }
  return run(device_ops, batch, items, uploaded.get()) == TAVRINE_OK ? TAVRINE_OK : TAVRINE_FAILURE;
}

// Brings frames and workspace into the memory that the tensor needs, and runs the operation.
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
    items[static_cast<size_t>(i)] =
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
