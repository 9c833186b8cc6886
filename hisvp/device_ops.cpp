// The table of the image engine.
#include "hisvp/operations.h"

namespace tavrine {
namespace {

template <typename... Arguments>
int32_t hisvp_not_supported(Arguments...) {
  return TAVRINE_NOT_SUPPORTED;
}

// Media memory is mapped for the CPU, so the CPU fills device tensors in place.
int32_t hisvp_frame_to_tensor(tavrine_tensor_t *tensor, uint32_t element_offset, int32_t color_type,
                              const tavrine_frame_t *in, const Normalization &normalization,
                              const float padding[3]) {
  return host_ops.to_tensor(tensor, element_offset, color_type, in, normalization, padding);
}

int32_t hisvp_transform_to_tensor_batch(tavrine_tensor_t *tensor, int32_t color_type, int32_t count,
                                        const tavrine_frame_t *const *frames,
                                        const BatchItem *items, const Normalization &normalization,
                                        tavrine_buffer_t *workspace) {
  return host_ops.transform_to_tensor_batch(tensor, color_type, count, frames, items, normalization,
                                            workspace);
}

}  // namespace

const BackendOps device_ops = {
    hisvp_resize,
    hisvp_not_supported,
    hisvp_not_supported,
    hisvp_not_supported,
    hisvp_cvt_color,
    hisvp_frame_to_tensor,
    hisvp_transform_to_tensor_batch,
};

}  // namespace tavrine
