// The table of the CPU.
#include "host/operations.h"

namespace tavrine {

const BackendOps host_ops = {
    host_resize,
    host_rotate,
    host_warpaffine,
    host_warpperspective,
    host_cvt_color,
    host_frame_to_tensor,
    host_transform_to_tensor_batch,
};

}  // namespace tavrine
