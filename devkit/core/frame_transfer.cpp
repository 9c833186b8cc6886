#include <cstring>

#include "device_memory.h"
#include "faults.h"
#include "frame_record.h"

namespace tavrine::devkit {
namespace {

void copy_rows(const PlaneRows &from, const PlaneRows &to) {
  for (int32_t row = 0; row < from.rows && from.row_bytes > 0; ++row) {
    const auto index = static_cast<size_t>(row);
    // Source and destination may be the same rows.
    std::memmove(to.data + index * to.stride, from.data + index * from.stride, from.row_bytes);
  }
}

bool is_on_device(const tavrine_frame_t &frame) {
  return memory_type(frame) == TAVRINE_MEMORY_DEVICE;
}

void copy_planes(const FrameRows &from, const FrameRows &to) {
  for (int32_t plane = 0; plane < from.format->plane_count; ++plane) {
    copy_rows(from.planes[plane], to.planes[plane]);
  }
}

void synchronize(const tavrine_frame_t &frame, const FrameRows &rows) {
  for (int32_t index = 0; index < rows.format->plane_count && is_on_device(frame); ++index) {
    const PlaneRows &plane = rows.planes[index];
    if (plane.rows > 0 && plane.row_bytes > 0) {
      synchronize_device_memory(
          plane.data, static_cast<size_t>(plane.rows - 1) * plane.stride + plane.row_bytes);
    }
  }
}

void copy_pixels(const tavrine_frame_t &from, const FrameRows &from_rows, const tavrine_frame_t &to,
                 const FrameRows &to_rows) {
  const DeviceAccess access(is_on_device(from) || is_on_device(to));
  synchronize(from, from_rows);
  copy_planes(from_rows, to_rows);
  synchronize(to, to_rows);
}

bool can_hold(const tavrine_frame_t &destination, const tavrine_frame_t &source) {
  return destination.pixel_format == source.pixel_format && destination.width >= source.width &&
         destination.height >= source.height;
}

// Copies into a new frame with the given layout; null when memory is exhausted.
tavrine_frame_t *copy_into_new(const tavrine_frame_t &source, const FrameRows &rows,
                               int32_t mem_type, const std::optional<FrameLayout> &layout) {
  tavrine_frame_t *copy =
      layout ? allocate_frame(mem_type, *layout, source.width, source.height, source.extra)
             : nullptr;
  if (copy != nullptr) {
    copy_pixels(source, rows, *copy, *frame_rows(*copy));
  }
  return copy;
}

// Copies from a frame of memory type `from` to one of type `to`.
int32_t transfer(const tavrine_frame_t &source, int32_t from, tavrine_frame_t **destination,
                 int32_t to) {
  const std::optional<FrameRows> source_rows = frame_rows(source);
  if (!source_rows || memory_type(source) != from) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (*destination == nullptr) {
    *destination = copy_into_new(
        source, *source_rows, to,
        default_layout(to, source.pixel_format, source.width, source.height, nullptr));
    return *destination != nullptr ? TAVRINE_OK : TAVRINE_FAILURE;
  }
  const std::optional<FrameRows> rows = frame_rows(**destination);
  if (!rows || memory_type(**destination) != to || !can_hold(**destination, source)) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  copy_pixels(source, *source_rows, **destination, *rows);
  return TAVRINE_OK;
}

}  // namespace
}  // namespace tavrine::devkit

using namespace tavrine::devkit;

int32_t tavrine_frame_copy(const tavrine_frame_t *source, tavrine_frame_t **destination) {
  if (should_inject_fault(Operation::tavrine_frame_copy)) {
    return TAVRINE_DEVKIT_INJECTED_FAILURE;
  }
  if (source == nullptr || destination == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  return transfer(*source, memory_type(*source), destination, memory_type(*source));
}

tavrine_frame_t *tavrine_frame_duplicate(const tavrine_frame_t *frame) {
  if (should_inject_fault(Operation::tavrine_frame_duplicate) || frame == nullptr) {
    return nullptr;
  }
  const std::optional<FrameRows> rows = frame_rows(*frame);
  if (!rows) {
    return nullptr;
  }
  return copy_into_new(*frame, *rows, memory_type(*frame),
                       tight_layout(frame->pixel_format, frame->width, frame->height));
}

int32_t tavrine_frame_download(const tavrine_frame_t *device, tavrine_frame_t **host) {
  if (should_inject_fault(Operation::tavrine_frame_download)) {
    return TAVRINE_DEVKIT_INJECTED_FAILURE;
  }
  if (device == nullptr || host == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  return transfer(*device, TAVRINE_MEMORY_DEVICE, host, TAVRINE_MEMORY_HOST);
}

int32_t tavrine_frame_upload(const tavrine_frame_t *host, tavrine_frame_t **device) {
  if (should_inject_fault(Operation::tavrine_frame_upload)) {
    return TAVRINE_DEVKIT_INJECTED_FAILURE;
  }
  if (host == nullptr || device == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  return transfer(*host, TAVRINE_MEMORY_HOST, device, TAVRINE_MEMORY_DEVICE);
}

int32_t tavrine_frame_reset(tavrine_frame_t *frame, int32_t value) {
  if (should_inject_fault(Operation::tavrine_frame_reset)) {
    return TAVRINE_DEVKIT_INJECTED_FAILURE;
  }
  const std::optional<FrameRows> rows = frame != nullptr ? frame_rows(*frame) : std::nullopt;
  if (!rows) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const DeviceAccess access(is_on_device(*frame));
  for (int32_t index = 0; index < rows->format->plane_count; ++index) {
    const PlaneRows &plane = rows->planes[index];
    for (int32_t row = 0; row < plane.rows && plane.row_bytes > 0; ++row) {
      std::memset(plane.data + static_cast<size_t>(row) * plane.stride, value & 0xFF,
                  plane.row_bytes);
    }
  }
  synchronize(*frame, *rows);
  return TAVRINE_OK;
}
