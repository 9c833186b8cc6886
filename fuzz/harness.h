// Entry points for untrusted bytes. Each harness is a function of any bytes, which aborts on faults
// that a sanitizer does not notice.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine::fuzz {

using Harness = void(const uint8_t *data, size_t size);

// A picture file, and operations on the frame that it becomes.
Harness picture;

// Command lines, raw frame layouts and regions files of the tool.
Harness tool_arguments;

// Frames and regions of any geometry into tensors of any geometry.
Harness batch;

// Calls one after another, with frames that are alive together and share pixels.
Harness sequence;

}  // namespace tavrine::fuzz
