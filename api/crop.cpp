#include <algorithm>

#include "api/checks.h"
#include "common/log.h"
#include "common/numeric.h"
#include "common/owned.h"
#include "common/pixel_format.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

// Clears a plane as one block, its padding too: nobody shares the memory of a new frame.
bool clear_plane(const tavrine_frame_t *frame, int plane) {
  const PlaneRows rows = plane_rows(frame, plane);
  const size_t bytes = static_cast<size_t>(rows.stride) * static_cast<size_t>(rows.rows);
  OwnedBuffer buffer(
      tavrine_buffer_make(rows.data, bytes, tavrine_frame_mem_type(frame), nullptr, nullptr));
  return buffer && tavrine_buffer_set(buffer.get(), 0) == TAVRINE_OK;
}

// Sets what the source will not cover to byte 0, chroma included. BGRA, ARGB and Y16 are not
// cleared, and a failure is not reported: callers rely on both.
void clear_new_frame(tavrine_frame_t *frame) {
  const FormatLayout layout = layout_of(frame->pixel_format);
  if (is_packed_rgb(frame->pixel_format) || frame->pixel_format == TAVRINE_FORMAT_GREY) {
    tavrine_frame_reset(frame, 0);
    return;
  }
  for (int plane = 0; plane < layout.plane_count && is_yuv420(layout.code); ++plane) {
    if (!clear_plane(frame, plane)) {
      return;
    }
  }
}

bool is_wholly_inside(const tavrine_frame_t *frame, const tavrine_area2d_t &area) {
  return area.x >= 0 && area.y >= 0 && static_cast<int64_t>(area.x) + area.width <= frame->width &&
         static_cast<int64_t>(area.y) + area.height <= frame->height;
}

// One axis of the part that area and source share: where it starts in the source and in the
// destination, and its length. The length is not positive when they do not overlap.
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
  // The destination's part shares its pixels, so the copy writes the destination itself. Without
  // that part the core is given a null source: it must copy nothing and return a code.
  const int32_t result =
      tavrine_frame_copy(destination_part ? source_part.get() : nullptr, destination_part.slot());
  if (allocated_here && result != TAVRINE_OK) {
    tavrine_frame_free(out);
  }
  return result;
}
