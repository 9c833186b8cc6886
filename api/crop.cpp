#include <algorithm>

#include "api/checks.h"
#include "common/log.h"
#include "common/numeric.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

// A new frame's plane is cleared as one block: its padding is nobody else's picture.
bool clear_plane(const tavrine_frame_t *frame, int plane, int32_t rows, int32_t tight_stride) {
  const int32_t stride = frame->strides[plane] != 0 ? frame->strides[plane] : tight_stride;
  const size_t bytes = static_cast<size_t>(stride) * static_cast<size_t>(rows);
  OwnedBuffer buffer(tavrine_buffer_make(frame->planes[plane], bytes, tavrine_frame_mem_type(frame),
                                         nullptr, nullptr));
  return buffer && tavrine_buffer_set(buffer.get(), 0) == TAVRINE_OK;
}

// What the source does not cover is byte 0, in chroma too. Four-byte formats stay as they are.
void clear_new_frame(tavrine_frame_t *frame) {
  const uint32_t format = frame->pixel_format;
  if (is_packed_rgb(format) || format == TAVRINE_FORMAT_GREY) {
    tavrine_frame_reset(frame, 0);
  } else if (is_semi_planar(format)) {
    if (clear_plane(frame, 0, frame->height, frame->width)) {
      clear_plane(frame, 1, frame->height / 2, frame->width);
    }
  } else if (format == TAVRINE_FORMAT_YU12) {
    if (clear_plane(frame, 0, frame->height, frame->width) &&
        clear_plane(frame, 1, frame->height / 2, frame->width / 2)) {
      clear_plane(frame, 2, frame->height / 2, frame->width / 2);
    }
  }
}

bool is_wholly_inside(const tavrine_frame_t *frame, const tavrine_area2d_t &area) {
  return area.x >= 0 && area.y >= 0 && static_cast<int64_t>(area.x) + area.width <= frame->width &&
         static_cast<int64_t>(area.y) + area.height <= frame->height;
}

// One axis of the part that area and source share: where it starts in the source and in the
// destination, and its length, which is not positive when they do not meet.
struct Overlap {
  int32_t source;
  int32_t destination;
  int32_t length;
};

Overlap overlap(int32_t origin, int32_t length, int32_t source_length) {
  const int64_t begin = std::max<int64_t>(origin, 0);
  const int64_t end = std::min<int64_t>(static_cast<int64_t>(origin) + length, source_length);
  return {saturate_to_int32(begin), saturate_to_int32(begin - origin),
          saturate_to_int32(end - begin)};
}

}  // namespace
}  // namespace tavrine

int32_t tavrine_frame_crop(const tavrine_frame_t *in, tavrine_frame_t **out,
                           tavrine_area2d_t area) {
  using tavrine::OwnedFrame;
  if (in == nullptr || out == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (tavrine::is_wholly_inside(in, area)) {
    OwnedFrame part(tavrine_frame_roi(in, area.x, area.y, area.width, area.height));
    return tavrine_frame_copy(part.get(), out);
  }

  const bool allocated_here = *out == nullptr;
  const int32_t prepared = tavrine::prepare_dst_frame(in, out, area.width, area.height, __func__);
  if (prepared != TAVRINE_OK) {
    return prepared;
  }
  if (allocated_here) {
    tavrine::clear_new_frame(*out);
  }

  const tavrine::Overlap x = tavrine::overlap(area.x, area.width, in->width);
  const tavrine::Overlap y = tavrine::overlap(area.y, area.height, in->height);
  OwnedFrame source_part(tavrine_frame_roi(in, x.source, y.source, x.length, y.length));
  OwnedFrame destination_part(
      tavrine_frame_roi(*out, x.destination, y.destination, x.length, y.length));
  if (!source_part || !destination_part) {
    TAVRINE_LOG_AT(636, tavrine::kError, tavrine::kTagAux,
                   "[%s] Illegal RoI. Cannot get sub frame of Area2D{%d, %d, %d, %d} from frame of "
                   "Size2D{ %d, %d }!\n",
                   __func__, area.x, area.y, area.width, area.height, in->width, in->height);
  }
  // The destination's part shares its pixels, so the copy lands in the destination. Without
  // that part nothing may be copied, and the core answers so for a null source.
  const int32_t result =
      tavrine_frame_copy(destination_part ? source_part.get() : nullptr, destination_part.slot());
  if (allocated_here && result != TAVRINE_OK) {
    tavrine_frame_free(out);
  }
  return result;
}
