// What the engine calls a pixel format.
#pragma once

#include <cstdint>

#include "hisvp/mpp.h"

namespace tavrine {

// IVE_IMAGE_TYPE_BUTT for a format that the engine does not know.
IVE_IMAGE_TYPE_E hisvp_image_type(uint32_t format);

}  // namespace tavrine
