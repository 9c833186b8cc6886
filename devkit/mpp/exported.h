// The public functions. This build hides every symbol that is not declared visible, so the
// sources here see the declarations through this header alone.
#pragma once

#pragma GCC visibility push(default)
#include "tavrine_mpp_devkit.h"
#pragma GCC visibility pop
