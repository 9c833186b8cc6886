// Any size to any other.
#pragma once

#include "kernels/plane_view.h"

namespace tavrine {

// False when memory ran out; nothing is written then. Both views are usable.
bool resize_bilinear(const PlaneView &source, const PlaneView &destination);

}  // namespace tavrine
