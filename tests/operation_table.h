// Every operation with every format or pair of formats that it supports, as calls on frames of any
// size.
#pragma once

#include "tests/support.h"

namespace tavrine::test {

struct CallResult {
  int32_t code;
  std::vector<uint8_t> bytes;  // of the destination frame or the tensor

  bool operator==(const CallResult &other) const {
    return code == other.code && bytes == other.bytes;
  }
};

struct TableCall {
  std::string name;
  uint32_t in_format;
  int in_width, in_height;
  uint32_t out_format;  // 0: the call makes its own tensor
  int out_width, out_height;
  std::function<CallResult(const tavrine_frame_t *in, tavrine_frame_t *out)> run;
};

// For sources of width x height. Calls with a 4:2:0 format are left out when a size is odd.
std::vector<TableCall> all_calls(int width, int height);

// On ordinary frames, with the pixels that set_source_pixels gives.
CallResult run_on_ordinary_frames(const TableCall &call);

// The same pixels for every frame of this format and size.
void set_source_pixels(tavrine_frame_t *frame);

}  // namespace tavrine::test
