// The CPU's table.
#include "host/slots.h"

namespace tavrine {
namespace {

template <typename... Arguments>
int32_t host_not_supported(Arguments...) {
  return TAVRINE_NOT_SUPPORTED;
}

}  // namespace

const BackendOps host_ops = {
    host_resize,    host_not_supported, host_not_supported, host_not_supported,
    host_cvt_color, host_not_supported, host_not_supported,
};

}  // namespace tavrine
