// The rows of the benchmark: what is done to which pictures, the same for every implementation.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tavrine_types.h"

namespace tavrine::bench {

enum class Content {
  kNoise,
  kGrey,        // red, green and blue are equal in every pixel, as infrared cameras deliver
  kTenthGrey,   // they are equal in one pixel of ten
  kPhotograph,  // smooth areas, edges and a little noise, as a JPEG encoder expects
};

struct Picture {
  uint32_t format;
  int32_t width;
  int32_t height;
  Content content = Content::kNoise;
};

// What a row does.
enum class Kind {
  kResize,
  kRotate,
  kConvert,
  kAffineWarp,
  kPerspectiveWarp,
  kTensor,
  kBatch,
  kConvertThenResize,  // and fill a tensor
  kResizeThenConvert,  // and fill a tensor
  kAlignFace,          // from points, into a tensor
  kJpegToTensor,
};
inline constexpr size_t kKindCount = static_cast<size_t>(Kind::kJpegToTensor) + 1;

// Rows that are averaged together.
enum class Group {
  kResize,
  kDownscale,
  kQuarterRotation,
  kMove,
  kColor,
  kWarp,
  kTensor,
  kBatch,
  kPipeline
};
const char *name_of(Group group);

// Row-major, from destination to source; an affine map leaves the last row alone.
using Matrix = std::array<float, 9>;

struct Operation {
  std::string name;
  Group group;
  Kind kind;
  Picture source;
  Picture destination;   // of a tensor: its columns and rows, as RGB24 pixels
  int32_t rotation = 0;  // code of tavrine_frame_rotate
  Matrix matrix = {};
};

inline constexpr float kTensorMean = 127.5F;
inline constexpr float kTensorScale = 127.5F;

// The regions of a frame that a detector's second stage looks at.
inline constexpr int32_t kRegionCount = 8;
extern const std::array<tavrine_area2d_t, kRegionCount> kRegions;

// Eyes and mouth in a frame, and where a recognition network expects them.
inline constexpr int32_t kPointCount = 3;
extern const std::array<tavrine_point2f_t, kPointCount> kFacePoints;
extern const std::array<tavrine_point2f_t, kPointCount> kFaceTemplate;

std::vector<Operation> all_operations();

int64_t output_pixels(const Operation &operation);

}  // namespace tavrine::bench
