// The public functions of both libraries. This build hides every symbol that is not declared
// visible, so the sources here see the declarations through this header alone.
#pragma once

#include "tavrine_types.h"

#pragma GCC visibility push(default)
#include "tavrine_core.h"
#include "tavrine_devkit.h"
#pragma GCC visibility pop
