// How an entry point reaches a backend: the device first for device frames, then the host on
// temporary copies. The engine's refusal is not reported, and neither are the results of the
// transfers: a copy that is missing shows as the host slot's refusal of a null frame.
#pragma once

#include "backend/operations.h"
#include "common/log.h"
#include "common/owned.h"

namespace tavrine {

// Who dispatches, and the line of its fallback notice.
struct Caller {
  const char *name;
  int32_t fallback_line;
};

enum class Destination { kCallers, kAllocatedHere };

// Runs an operation of the tables on `in` and `*out`. A destination that the entry point
// allocated is freed again when the operation fails.
template <typename Operation, typename... Extra>
int32_t dispatch(Operation BackendOps::*operation, const Caller &caller, const tavrine_frame_t *in,
                 tavrine_frame_t **out, Destination destination, Extra... extra) {
  const int32_t memory = tavrine_frame_mem_type(in);
  int32_t result = TAVRINE_FAILURE;
  if (memory == TAVRINE_MEMORY_DEVICE) {
    if ((device_ops.*operation)(in, *out, extra...) == TAVRINE_OK) {
      return TAVRINE_OK;
    }
    TAVRINE_LOG_AT(caller.fallback_line, kNotice, kTagAux,
                   "Device api not support, fallback to CPU - [%s]!\n", caller.name);
    OwnedFrame host_in;
    OwnedFrame host_out;
    tavrine_frame_download(in, host_in.slot());
    tavrine_frame_download(*out, host_out.slot());
    result = (host_ops.*operation)(host_in.get(), host_out.get(), extra...);
    if (result == TAVRINE_OK) {
      tavrine_frame_upload(host_out.get(), out);
    }
  } else {
    result = (host_ops.*operation)(in, *out, extra...);
  }
  const bool known_memory = memory == TAVRINE_MEMORY_HOST || memory == TAVRINE_MEMORY_DEVICE;
  if (result != TAVRINE_OK && destination == Destination::kAllocatedHere && known_memory) {
    tavrine_frame_free(out);
  }
  return result;
}

}  // namespace tavrine
