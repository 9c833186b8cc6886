#include "api/tensor_checks.h"
#include "backend/operations.h"
#include "common/log.h"
#include "common/owned.h"
#include "tavrine_aux.h"

int32_t tavrine_frame_to_tensor(tavrine_tensor_t *tensor, uint32_t element_offset,
                                int32_t color_type, const tavrine_frame_t *in, float mean_r,
                                float mean_g, float mean_b, float scale_r, float scale_g,
                                float scale_b, float pad_r, float pad_g, float pad_b) {
  if (tensor == nullptr || in == nullptr || in->planes[0] == nullptr) {
    return TAVRINE_INVALID_ARGUMENT;
  }
  const int32_t memory = tavrine_tensor_mem_type(tensor);
  tavrine::OwnedFrame moved;
  if (memory != tavrine_frame_mem_type(in)) {
    const int32_t result = memory != TAVRINE_MEMORY_HOST ? tavrine_frame_upload(in, moved.slot())
                                                         : tavrine_frame_download(in, moved.slot());
    TAVRINE_LOG(tavrine::kNotice, tavrine::kTagAux,
                "[%s] Memory type not match between frame and tensor, will follow tensor memory "
                "type: %d.\n",
                __func__, memory);
    if (result != TAVRINE_OK) {
      return result;
    }
    in = moved.get();
  }
  const int32_t checked = tavrine::check_color_type(color_type, in->pixel_format, __func__);
  if (checked != TAVRINE_OK) {
    return checked;
  }
  const tavrine::Normalization normalization = {{mean_r, mean_g, mean_b},
                                                {scale_r, scale_g, scale_b}};
  const float padding[3] = {pad_r, pad_g, pad_b};
  const tavrine::BackendOps &backend =
      memory == TAVRINE_MEMORY_DEVICE ? tavrine::device_ops : tavrine::host_ops;
  return backend.to_tensor(tensor, element_offset, color_type, in, normalization, padding);
}
