// The engine's tasks. The caller holds the platform's mutex.
#pragma once

#include "exported.h"

namespace tavrine::devkit {

enum class Work { kYuvToRgb, kRgbToYuv, kResize };

struct Task {
  Work work;
  IVE_IMAGE_S source;
  IVE_IMAGE_S destination;
};

// Refuses images that do not lie in media memory as the engine needs them.
HI_S32 submit_task(const Task &task, IVE_HANDLE *handle);

HI_S32 query_task(IVE_HANDLE handle, HI_BOOL *is_finished, HI_BOOL is_blocking);

}  // namespace tavrine::devkit
