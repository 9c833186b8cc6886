// Runs an operation from one picture into another, with the interpreter released.
#pragma once

#include "picture.h"
#include "refusal.h"

namespace tavrine::python {

// Copies both frames to device memory, calls operation(in, slot) there, and copies the result back.
template <typename Operation>
int32_t run_on_device(const tavrine_frame_t *in, tavrine_frame_t *out, Operation operation) {
  Frame device_in;
  Frame device_out;
  int32_t status = fill(device_in, [in](auto slot) { return tavrine_frame_upload(in, slot); });
  if (status == TAVRINE_OK) {
    // What the operation does not write keeps its value.
    status = fill(device_out, [out](auto slot) { return tavrine_frame_upload(out, slot); });
  }
  if (status == TAVRINE_OK) {
    tavrine_frame_t *slot = device_out.get();
    status = operation(device_in.get(), &slot);
  }
  return status == TAVRINE_OK ? tavrine_frame_download(device_out.get(), &out) : status;
}

// operation(in, slot) as the library's functions with a destination slot.
template <typename Operation>
py::object run(const Picture &in, Picture &out, bool on_device, Operation operation) {
  int32_t status = TAVRINE_OK;
  {
    const py::gil_scoped_release released;
    if (on_device) {
      status = run_on_device(in.frame(), out.frame(), operation);
    } else {
      tavrine_frame_t *slot = out.frame();
      status = operation(in.frame(), &slot);
    }
  }
  if (status == TAVRINE_FAILURE && (in.has_uneven_rows() || out.has_uneven_rows())) {
    throw Refusal(in.has_uneven_rows() ? "image" : "out",
                  "the rows of both arrays must be equally far apart for a conversion");
  }
  check(status);
  return out.object();
}

}  // namespace tavrine::python
