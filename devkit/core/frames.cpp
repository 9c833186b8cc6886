#include <new>

#include "faults.h"
#include "frame_record.h"

namespace tavrine::devkit {
namespace {

struct FrameRecord : tavrine_frame_t {
  explicit FrameRecord(const tavrine_frame_t &fields) : tavrine_frame_t(fields) {}

  const LiveCount live{ObjectKind::kFrame};
};

// A record with the public fields of `fields` and a reference to `storage`.
tavrine_frame_t *new_record(const tavrine_frame_t &fields, StorageRef storage) {
  if (!storage) {
    return nullptr;
  }
  auto *record = new (std::nothrow) FrameRecord(fields);
  if (record != nullptr) {
    record->core_words[0] = storage.into_word();
  }
  return record;
}

tavrine_frame_t describe(int32_t mem_type, const FrameLayout &layout, void *data, int32_t width,
                         int32_t height, uint64_t extra) {
  tavrine_frame_t frame = {};
  frame.core_word = static_cast<uint32_t>(mem_type);
  frame.pixel_format = layout.format->code;
  frame.width = width;
  frame.height = height;
  frame.plane_count = layout.format->plane_count;
  frame.extra = extra;
  for (int32_t plane = 0; plane < frame.plane_count; ++plane) {
    frame.strides[plane] = layout.strides[plane];
    frame.planes[plane] = static_cast<uint8_t *>(data) + layout.offsets[plane];
  }
  return frame;
}

}  // namespace

tavrine_frame_t *allocate_frame(int32_t mem_type, const FrameLayout &layout, int32_t width,
                                int32_t height, uint64_t extra) {
  StorageRef storage = Storage::allocate(mem_type, layout.total_bytes);
  if (!storage) {
    return nullptr;
  }
  const tavrine_frame_t frame = describe(mem_type, layout, storage->data(), width, height, extra);
  return new_record(frame, std::move(storage));
}

}  // namespace tavrine::devkit

using namespace tavrine::devkit;

tavrine_frame_t *tavrine_frame_alloc(int32_t mem_type, uint32_t format, int32_t width,
                                     int32_t height, const int32_t strides[4], uint64_t extra) {
  if (should_inject_fault(Operation::tavrine_frame_alloc)) {
    return nullptr;
  }
  const std::optional<FrameLayout> layout =
      default_layout(mem_type, format, width, height, strides);
  return layout ? allocate_frame(mem_type, *layout, width, height, extra) : nullptr;
}

tavrine_frame_t *tavrine_frame_make(int32_t mem_type, uint32_t format, void *data, int32_t width,
                                    int32_t height, const int32_t strides[4], uint64_t extra,
                                    tavrine_release_fn release, void *arg) {
  if (should_inject_fault(Operation::tavrine_frame_make) || !is_memory_type(mem_type) ||
      data == nullptr) {
    return nullptr;
  }
  const std::optional<FrameLayout> layout = wrapped_layout(format, width, height, strides);
  if (!layout) {
    return nullptr;
  }
  StorageRef storage = Storage::wrap(data);
  Storage *wrapped = storage.get();
  tavrine_frame_t *frame =
      new_record(describe(mem_type, *layout, data, width, height, extra), std::move(storage));
  // Set last: after a failure the memory stays the caller's.
  if (frame != nullptr) {
    wrapped->set_release(release, arg);
  }
  return frame;
}

tavrine_frame_t *tavrine_frame_ref(const tavrine_frame_t *frame) {
  if (should_inject_fault(Operation::tavrine_frame_ref) || frame == nullptr) {
    return nullptr;
  }
  return new_record(*frame, StorageRef::share_word(frame->core_words[0]));
}

void tavrine_frame_free(tavrine_frame_t **frame) {
  count_call(Operation::tavrine_frame_free);
  if (frame == nullptr || *frame == nullptr) {
    return;
  }
  const StorageRef last = StorageRef::adopt_word((*frame)->core_words[0]);
  delete static_cast<FrameRecord *>(*frame);
  *frame = nullptr;
}

int32_t tavrine_frame_mem_type(const tavrine_frame_t *frame) {
  count_call(Operation::tavrine_frame_mem_type);
  return frame != nullptr ? memory_type(*frame) : static_cast<int32_t>(TAVRINE_INVALID_ARGUMENT);
}

int32_t tavrine_frame_is_contiguous(const tavrine_frame_t *frame) {
  count_call(Operation::tavrine_frame_is_contiguous);
  const std::optional<FrameRows> rows = frame != nullptr ? frame_rows(*frame) : std::nullopt;
  if (!rows) {
    return 0;
  }
  const uint8_t *expected = rows->planes[0].data;
  for (int32_t index = 0; index < rows->format->plane_count; ++index) {
    const PlaneRows &plane = rows->planes[index];
    if (plane.stride != plane.row_bytes || plane.data != expected) {
      return 0;
    }
    expected += plane.stride * static_cast<size_t>(plane.rows);
  }
  return 1;
}

tavrine_frame_t *tavrine_frame_roi(const tavrine_frame_t *frame, int32_t x, int32_t y,
                                   int32_t width, int32_t height) {
  if (should_inject_fault(Operation::tavrine_frame_roi) || frame == nullptr) {
    return nullptr;
  }
  const std::optional<FrameRows> parent = frame_rows(*frame);
  if (!parent || x < 0 || y < 0 || width < 1 || height < 1 || x > frame->width - width ||
      y > frame->height - height) {
    return nullptr;
  }
  const PixelFormat &format = *parent->format;
  if (x % format.chroma_divisor != 0 || y % format.chroma_divisor != 0) {
    return nullptr;
  }
  tavrine_frame_t area = *frame;
  area.width = width;
  area.height = height;
  for (int32_t index = 0; index < format.plane_count; ++index) {
    const PlaneRows &plane = parent->planes[index];
    // Stored explicitly: a stride of 0 would now mean the smaller width.
    area.strides[index] = static_cast<int32_t>(plane.stride);
    // An area one pixel wide or high may have no chroma, and would start past the parent's.
    if (!plane_extent(format, index, width, height).is_empty()) {
      const PlaneExtent before = plane_extent(format, index, x, y);
      area.planes[index] = plane.data + static_cast<size_t>(before.rows) * plane.stride +
                           static_cast<size_t>(before.row_bytes);
    }
  }
  return new_record(area, StorageRef::share_word(frame->core_words[0]));
}
