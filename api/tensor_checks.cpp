#include "api/tensor_checks.h"

#include "common/log.h"
#include "common/tensor_color.h"

namespace tavrine {

int32_t check_color_type(int32_t color_type, uint32_t format, const char *caller) {
  if (accepts_format(color_type, format)) {
    return TAVRINE_OK;
  }
  switch (channel_count_of(color_type)) {
    case 3:
      TAVRINE_LOG(kError, kTagAux,
                  "[%s] RGB/GBR tensor needs RGB/BGR frame, given frame's format: %s\n", caller,
                  tavrine_frame_pixfmt_to_string(format));
      break;
    case 1:
      TAVRINE_LOG(kError, kTagAux,
                  "[%s] GRAY tensor needs RGB/BGR/GRAY frame, given frame's format: %s\n", caller,
                  tavrine_frame_pixfmt_to_string(format));
      break;
    default:
      TAVRINE_LOG(kError, kTagAux, "[%s] Unknown tensor color type: %d\n", caller, color_type);
  }
  return TAVRINE_NOT_SUPPORTED;
}

}  // namespace tavrine
