#include "api/dispatch.h"
#include "common/pixel_format.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

int32_t reference(const tavrine_frame_t *in, tavrine_frame_t **out) {
  *out = tavrine_frame_ref(in);
  return *out != nullptr ? TAVRINE_OK : TAVRINE_FAILURE;
}

int32_t reference_luma(const tavrine_frame_t *in, tavrine_frame_t **out) {
  const int32_t result = reference(in, out);
  if (result == TAVRINE_OK) {
    (*out)->pixel_format = TAVRINE_FORMAT_GREY;
    (*out)->plane_count = 1;
  }
  return result;
}

// Unlike the geometric operations, a conversion needs a destination of exactly the source's size.
bool can_take_conversion(const tavrine_frame_t *in, const tavrine_frame_t *given, uint32_t format,
                         const char *caller) {
  const int32_t required_memory = tavrine_frame_mem_type(in);
  const int32_t given_memory = tavrine_frame_mem_type(given);
  if (given_memory == required_memory && given->pixel_format == format &&
      given->width == in->width && given->height == in->height) {
    return true;
  }
  TAVRINE_LOG_AT(777, kError, kTagAux,
                 "[%s] Required_frame and given_frame not match:\n\treq:\tgiven:\nmem:\t%d\t%d\n"
                 "fmt:\t%s\t%s\nwidth:\t%d\t%d\nheight:\t%d\t%d\n",
                 caller, required_memory, given_memory, tavrine_frame_pixfmt_to_string(format),
                 tavrine_frame_pixfmt_to_string(given->pixel_format), in->width, given->width,
                 in->height, given->height);
  return false;
}

}  // namespace
}  // namespace tavrine

int32_t tavrine_frame_cvt_color(const tavrine_frame_t *in, tavrine_frame_t **out, uint32_t format) {
  using namespace tavrine;
  if (in == nullptr || out == nullptr || in->pixel_format == 0) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  Destination destination = Destination::kCallers;
  if (*out == nullptr) {
    if (is_yuv420(in->pixel_format) && format == TAVRINE_FORMAT_GREY) {
      return reference_luma(in, out);
    }
    if (format == in->pixel_format) {
      TAVRINE_LOG_AT(813, kNotice, kTagAux,
                     "[%s] Converting a frame to the same color space, degrade to "
                     "tavrine_frame_ref to speed up!\n",
                     __func__);
      return reference(in, out);
    }
    *out = tavrine_frame_alloc(tavrine_frame_mem_type(in), format, in->width, in->height,
                               kTightStrides, in->extra);
    if (*out == nullptr) {
      return TAVRINE_FAILURE;
    }
    destination = Destination::kAllocatedHere;
  } else {
    if (!can_take_conversion(in, *out, format, __func__)) {
      return TAVRINE_INVALID_ARGUMENT;
    }
    if (format == in->pixel_format) {
      TAVRINE_LOG_AT(794, kWarning, kTagAux,
                     "[%s] Converting a frame to the same color space, degrade to "
                     "tavrine_frame_copy to speed up!\n",
                     __func__);
      return tavrine_frame_copy(in, out);
    }
  }
  return dispatch(&BackendOps::cvt_color, {__func__, 837}, in, out, destination, format);
}
