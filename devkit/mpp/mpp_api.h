// Declares the public functions as visible; the build hides everything else. Include this header
// instead of the public ones.
#pragma once

#pragma GCC visibility push(default)
#include "tavrine_mpp_devkit.h"
#pragma GCC visibility pop
