#include "core_api.h"

const char *tavrine_device_get_name() { return "svp"; }
