// Resize, scale, rotate and the two warps.
#include "api/checks.h"
#include "api/dispatch.h"
#include "common/numeric.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

// Both checks, in their order, for an operation with a destination slot. The second repeats what
// the first has established, and catches a core that allocated something else.
int32_t prepare_slot(const tavrine_frame_t *in, tavrine_frame_t **out, int32_t width,
                     int32_t height, const char *caller) {
  const int32_t prepared = prepare_dst_frame(in, out, width, height, caller);
  return prepared != TAVRINE_OK ? prepared : is_same_frame_fmt_and_memtype(in, *out, caller);
}

template <typename Operation>
int32_t warp(Operation BackendOps::*operation, const Caller &caller, const tavrine_frame_t *in,
             tavrine_frame_t *out, const float *matrix) {
  if (in == nullptr || out == nullptr || in->planes[0] == nullptr || out->planes[0] == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const int32_t same = is_same_frame_fmt_and_memtype(in, out, caller.name);
  if (same != TAVRINE_OK) {
    return same;
  }
  return dispatch(operation, caller, in, &out, Destination::kCallers, matrix);
}

}  // namespace
}  // namespace tavrine

using tavrine::BackendOps;
using tavrine::Destination;

int32_t tavrine_frame_resize(const tavrine_frame_t *in, tavrine_frame_t **out, int32_t width,
                             int32_t height) {
  if (in == nullptr || out == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const Destination destination =
      *out == nullptr ? Destination::kAllocatedHere : Destination::kCallers;
  const int32_t prepared = tavrine::prepare_slot(in, out, width, height, __func__);
  if (prepared != TAVRINE_OK) {
    return prepared;
  }
  if (width == in->width && height == in->height) {
    TAVRINE_LOG_AT(677, tavrine::kNotice, tavrine::kTagAux,
                   "[%s] Scale ratio is 1, degrade to tavrine_frame_copy to speed up.\n", __func__);
    const int32_t copied = tavrine_frame_copy(in, out);
    if (copied != TAVRINE_OK && destination == Destination::kAllocatedHere) {
      tavrine_frame_free(out);
    }
    return copied;
  }
  return tavrine::dispatch(&BackendOps::resize, {__func__, 691}, in, out, destination, width,
                           height);
}

int32_t tavrine_frame_scale(const tavrine_frame_t *in, tavrine_frame_t **out, float ratio) {
  if (in == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const float width = static_cast<float>(in->width) * ratio;
  const float height = static_cast<float>(in->height) * ratio;
  return tavrine_frame_resize(in, out, tavrine::truncate_to_int32(width),
                              tavrine::truncate_to_int32(height));
}

int32_t tavrine_frame_rotate(const tavrine_frame_t *in, tavrine_frame_t **out, int32_t code) {
  struct Rotation {
    float degrees;
    bool swaps_sides;
  };
  constexpr Rotation kRotations[] = {{90.0F, true}, {180.0F, false}, {270.0F, true}};
  if (in == nullptr || out == nullptr || code < 0 || code > 2) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const Rotation &rotation = kRotations[code];
  const Destination destination =
      *out == nullptr ? Destination::kAllocatedHere : Destination::kCallers;
  const int32_t prepared =
      tavrine::prepare_slot(in, out, rotation.swaps_sides ? in->height : in->width,
                            rotation.swaps_sides ? in->width : in->height, __func__);
  if (prepared != TAVRINE_OK) {
    return prepared;
  }
  return tavrine::dispatch(&BackendOps::rotate, {__func__, 758}, in, out, destination,
                           rotation.degrees);
}

int32_t tavrine_frame_warpaffine(const tavrine_frame_t *in, tavrine_frame_t *out,
                                 const float matrix[6]) {
  return tavrine::warp(&BackendOps::warpaffine, {__func__, 861}, in, out, matrix);
}

int32_t tavrine_frame_warpperspective(const tavrine_frame_t *in, tavrine_frame_t *out,
                                      const float matrix[9]) {
  return tavrine::warp(&BackendOps::warpperspective, {__func__, 886}, in, out, matrix);
}
