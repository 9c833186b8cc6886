// Declares the public functions of both libraries as visible; the build hides everything else.
// Include this header instead of the public ones.
#pragma once

#include "tavrine_types.h"

#pragma GCC visibility push(default)
#include "tavrine_core.h"
#include "tavrine_devkit.h"
#pragma GCC visibility pop
