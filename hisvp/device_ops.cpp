// The image engine's table.
#include "core/backend_ops.h"

namespace tavrine {
namespace {

template <typename... Arguments>
int32_t hisvp_not_supported(Arguments...) {
  return TAVRINE_NOT_SUPPORTED;
}

}  // namespace

const BackendOps device_ops = {
    hisvp_not_supported, hisvp_not_supported, hisvp_not_supported, hisvp_not_supported,
    hisvp_not_supported, hisvp_not_supported, hisvp_not_supported,
};

}  // namespace tavrine
