#include "api/checks.h"

#include "common/log.h"
#include "common/pixel_format.h"

namespace tavrine {
namespace {

bool has_valid_parity(const tavrine_frame_t *frame, const char *caller) {
  if (!is_yuv420(frame->pixel_format) || (frame->width % 2 == 0 && frame->height % 2 == 0)) {
    return true;
  }
  TAVRINE_LOG_AT(73, kError, kTagAux,
                 "[%s] Width and height should be even numbers for NV21/12 or YU12, current "
                 "frame:\n\twidth: %d\n\theight: %d\n",
                 caller, frame->width, frame->height);
  return false;
}

bool can_take_result(const tavrine_frame_t *in, const tavrine_frame_t *given, int32_t width,
                     int32_t height, const char *caller) {
  const int32_t required_memory = tavrine_frame_mem_type(in);
  const int32_t given_memory = tavrine_frame_mem_type(given);
  if (given->pixel_format == in->pixel_format && given->width >= width && given->height >= height &&
      given_memory == required_memory) {
    return true;
  }
  TAVRINE_LOG_AT(100, kError, kTagAux,
                 "[%s] Required_frame and given_frame not match:\n\treq:\tgiven:\nmem:\t%d\t%d\n"
                 "fmt:\t%s\t%s\nwidth:\t%d\t%d\nheight:\t%d\t%d\n",
                 caller, required_memory, given_memory,
                 tavrine_frame_pixfmt_to_string(in->pixel_format),
                 tavrine_frame_pixfmt_to_string(given->pixel_format), width, given->width, height,
                 given->height);
  return false;
}

}  // namespace

int32_t prepare_dst_frame(const tavrine_frame_t *in, tavrine_frame_t **out, int32_t width,
                          int32_t height, const char *caller) {
  if (in == nullptr || out == nullptr || !has_valid_parity(in, caller)) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  if (*out == nullptr) {
    *out = tavrine_frame_alloc(tavrine_frame_mem_type(in), in->pixel_format, width, height,
                               kTightStrides, in->extra);
    if (*out == nullptr) {
      return TAVRINE_FAILURE;
    }
  } else if (!can_take_result(in, *out, width, height, caller)) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  return has_valid_parity(*out, caller) ? TAVRINE_OK : TAVRINE_INVALID_ARGUMENT;
}

int32_t is_same_frame_fmt_and_memtype(const tavrine_frame_t *a, const tavrine_frame_t *b,
                                      const char *caller) {
  const int32_t memory_a = tavrine_frame_mem_type(a);
  const int32_t memory_b = tavrine_frame_mem_type(b);
  if (memory_a != memory_b || a->pixel_format != b->pixel_format) {
    TAVRINE_LOG_AT(90, kError, kTagAux,
                   "[%s] Required_frame and given_frame not match:\n\treq:\tgiven:\n"
                   "mem:\t%d\t%d\nfmt:\t%s\t%s\n",
                   caller, memory_a, memory_b, tavrine_frame_pixfmt_to_string(a->pixel_format),
                   tavrine_frame_pixfmt_to_string(b->pixel_format));
    return TAVRINE_FAILURE;
  }
  // The parity message names this check, not the caller.
  return has_valid_parity(a, __func__) && has_valid_parity(b, __func__) ? TAVRINE_OK
                                                                        : TAVRINE_FAILURE;
}

}  // namespace tavrine
