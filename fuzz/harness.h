// The library's doors to strangers, each with one function that takes any bytes. It aborts when
// something went wrong that no sanitizer would notice.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tavrine::fuzz {

using Harness = void(const uint8_t *data, size_t size);

// A picture file, and what an application does with the frame that comes of it.
Harness picture;

// Command lines, raw frame layouts and regions files of the tool.
Harness tool_arguments;

// Frames and regions of any geometry into tensors of any geometry.
Harness batch;

}  // namespace tavrine::fuzz
