// The texts by which the library identifies itself.
#pragma once

#include "build_description.h"

#define TAVRINE_REVISION_TEXT "1b2e6d4f90a3c5e7d8f60a1b2c3d4e5f60718293"

namespace tavrine {

extern const char kBanner[];

}  // namespace tavrine
