// The public headers are clean for C++ users with strict warnings (see CMakeLists.txt), and their
// constants can be compared by the preprocessor.
#include "tavrine_aux.h"
#include "tavrine_core.h"

#if TAVRINE_FORMAT_NV12 == TAVRINE_FORMAT_NV21 || TAVRINE_FORMAT_BGR24 != 0x18524742 || \
    TAVRINE_AUX_VERSION_MAJOR < 1
#error "constants must be usable in #if"
#endif

static_assert(TAVRINE_FOURCC('G', 'R', 'E', 'Y') == TAVRINE_FORMAT_GREY);
static_assert(TAVRINE_FOURCC('Y', '1', 0, 16) == TAVRINE_FORMAT_Y16);
static_assert(TAVRINE_FOURCC(255, 255, 255, 255) == UINT32_MAX);
static_assert(sizeof(TAVRINE_FORMAT_RGB24) == 4);
