// What is measured: one entry an operation, the same for every implementation.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "tavrine_types.h"

namespace tavrine::bench {

struct Picture {
  uint32_t format;
  int32_t width;
  int32_t height;
};

enum class Work { kResize, kTurn, kConvert, kAffineWarp, kPerspectiveWarp, kTensor, kBatch };

// Operations that are judged together.
enum class Group { kResize, kReduction, kTurn, kCopy, kColor, kWarp, kTensor, kBatch };
const char *name_of(Group group);

// Row-major, from destination to source; an affine map leaves the last row alone.
using Matrix = std::array<float, 9>;

struct Operation {
  std::string name;
  Group group;
  Work work;
  Picture source;
  Picture destination;  // of a tensor: its columns and rows, as pixels of the source's format
  int32_t turn = 0;     // code of tavrine_frame_rotate
  Matrix matrix = {};
};

inline constexpr float kTensorMean = 127.5F;
inline constexpr float kTensorScale = 127.5F;

// The regions of a frame that a detector's second stage looks at.
inline constexpr int32_t kRegionCount = 8;
extern const std::array<tavrine_area2d_t, kRegionCount> kRegions;

std::vector<Operation> all_operations();

int64_t output_pixels(const Operation &operation);

}  // namespace tavrine::bench
