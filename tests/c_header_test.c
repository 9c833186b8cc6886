/* The public headers are C: this file compiles them as C11 and measures the records. */
#include "tavrine_aux.h"
#include "tavrine_core.h"
#include "tavrine_devkit.h"
#include "tavrine_mpp_devkit.h"

#define POINTER_SIZED(bytes32, bytes64) (sizeof(void *) == 4 ? (bytes32) : (bytes64))

_Static_assert(offsetof(tavrine_frame_t, strides) == 16, "frame record");
_Static_assert(offsetof(tavrine_frame_t, plane_count) == POINTER_SIZED(40, 48), "frame record");
_Static_assert(offsetof(tavrine_frame_t, planes) == POINTER_SIZED(44, 56), "frame record");
_Static_assert(offsetof(tavrine_frame_t, extra) == POINTER_SIZED(64, 88), "frame record");
_Static_assert(sizeof(tavrine_frame_t) == POINTER_SIZED(72, 96), "frame record");
_Static_assert(offsetof(tavrine_tensor_t, strides) == 24, "tensor record");
_Static_assert(sizeof(tavrine_tensor_t) == POINTER_SIZED(48, 56), "tensor record");
_Static_assert(sizeof(tavrine_area2d_t) == 16, "area record");
_Static_assert(sizeof(tavrine_matrix3x3f_t) == 36, "matrix record");

/* Called by the C++ side, so that the linker sees every declaration with C linkage. */
const char *version_seen_from_c(void);

const char *version_seen_from_c(void) { return tavrine_aux_version(); }
