// How an entry point reaches a backend: the device first for device frames, then the CPU on
// temporary copies.
//
// Transfer results are ignored on purpose: a failed download makes the host operation refuse a
// null frame, and a failed upload is not reported. The source's memory type is asked for afresh
// at each step, because a core may move a frame in between.
#pragma once

#include "backend/operations.h"
#include "common/log.h"
#include "common/owned.h"

namespace tavrine {

// The entry point that dispatches, and the line number of its fallback notice.
struct Caller {
  const char *name;
  int32_t fallback_line;
};

enum class Destination { kCallers, kAllocatedHere };

inline bool is_on_device(const tavrine_frame_t *frame) {
  return tavrine_frame_mem_type(frame) == TAVRINE_MEMORY_DEVICE;
}

inline bool is_in_known_memory(const tavrine_frame_t *frame) {
  const int32_t memory = tavrine_frame_mem_type(frame);
  return memory == TAVRINE_MEMORY_HOST || memory == TAVRINE_MEMORY_DEVICE;
}

// Runs an operation on the CPU. Device frames are copied to host memory first, and the result
// back.
template <typename Operation, typename... Extra>
int32_t run_on_host(Operation BackendOps::*operation, const Caller &caller,
                    const tavrine_frame_t *in, tavrine_frame_t **out, Extra... extra) {
  OwnedFrame host_in;
  OwnedFrame host_out;
  const tavrine_frame_t *source = in;
  tavrine_frame_t *destination = *out;
  if (is_on_device(in)) {
    TAVRINE_LOG_AT(caller.fallback_line, kNotice, kTagAux,
                   "Device api not support, fallback to CPU - [%s]!\n", caller.name);
    tavrine_frame_download(in, host_in.slot());
    tavrine_frame_download(*out, host_out.slot());
    source = host_in.get();
    destination = host_out.get();
  }
  const int32_t result = (host_ops.*operation)(source, destination, extra...);
  if (result == TAVRINE_OK && is_on_device(in)) {
    tavrine_frame_upload(destination, out);
  }
  return result;
}

// Runs an operation on `in` and `*out`. A destination that the entry point allocated is freed
// again when the operation fails.
template <typename Operation, typename... Extra>
int32_t dispatch(Operation BackendOps::*operation, const Caller &caller, const tavrine_frame_t *in,
                 tavrine_frame_t **out, Destination destination, Extra... extra) {
  // The engine's refusal is not reported: the CPU can do all that it can.
  if (is_on_device(in) && (device_ops.*operation)(in, *out, extra...) == TAVRINE_OK) {
    return TAVRINE_OK;
  }
  const int32_t result = run_on_host(operation, caller, in, out, extra...);
  if (result != TAVRINE_OK && destination == Destination::kAllocatedHere &&
      is_in_known_memory(in)) {
    tavrine_frame_free(out);
  }
  return result;
}

}  // namespace tavrine
