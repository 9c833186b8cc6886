// The engine's tasks. The caller holds the platform's mutex.
#pragma once

#include "mpp_api.h"

namespace tavrine::devkit {

enum class EngineOperation { kYuvToRgb, kRgbToYuv, kResize };

struct Task {
  EngineOperation operation;
  IVE_IMAGE_S source;
  IVE_IMAGE_S destination;
};

// Refuses images that are not in media memory or do not fit the engine's rules.
HI_S32 submit_task(const Task &task, IVE_HANDLE *handle);

HI_S32 query_task(IVE_HANDLE handle, HI_BOOL *is_finished, HI_BOOL is_blocking);

}  // namespace tavrine::devkit
