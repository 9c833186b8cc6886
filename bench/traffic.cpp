#include "traffic.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "planes.h"
#include "tavrine_core.h"

namespace tavrine::bench {
namespace {

constexpr int64_t kFloatBytes = 4;

int64_t bytes_of(const Picture &picture) {
  return static_cast<int64_t>(
      tavrine_frame_inferred_size(picture.format, picture.width, picture.height));
}

// Counts the rows that have a weight in the result. Whole rows: their cache lines are read anyway.
int64_t rows_read(int32_t from, int32_t to) {
  constexpr double kWeightOne = 2048.0;
  std::vector<bool> is_read(static_cast<size_t>(from), false);
  const double scale = static_cast<double>(from) / to;
  for (int32_t y = 0; y < to; ++y) {
    const double position = std::clamp((y + 0.5) * scale - 0.5, 0.0, from - 1.0);
    const auto row = static_cast<size_t>(position);
    const long weight = std::lround((position - std::floor(position)) * kWeightOne);
    if (weight < static_cast<long>(kWeightOne)) {
      is_read[row] = true;
    }
    if (weight > 0) {
      is_read[row + 1] = true;
    }
  }
  return std::count(is_read.begin(), is_read.end(), true);
}

int64_t resize_reads(const tavrine_frame_t *source, const tavrine_frame_t *destination) {
  const std::vector<Plane> from = planes_of(source);
  const std::vector<Plane> to = planes_of(destination);
  int64_t bytes = 0;
  for (size_t plane = 0; plane < from.size(); ++plane) {
    bytes +=
        rows_read(from[plane].height, to[plane].height) * from[plane].width * from[plane].channels;
  }
  return bytes;
}

// Counts the source pixels that have a weight in the result.
int64_t warp_reads(const Operation &operation) {
  const Picture &source = operation.source;
  const Matrix &m = operation.matrix;
  std::vector<bool> is_read(static_cast<size_t>(source.width) * static_cast<size_t>(source.height));
  for (int32_t y = 0; y < operation.destination.height; ++y) {
    for (int32_t x = 0; x < operation.destination.width; ++x) {
      const auto u = static_cast<float>(x);
      const auto v = static_cast<float>(y);
      const float depth = m[6] * u + m[7] * v + m[8];
      const auto column = static_cast<int32_t>(std::floor((m[0] * u + m[1] * v + m[2]) / depth));
      const auto row = static_cast<int32_t>(std::floor((m[3] * u + m[4] * v + m[5]) / depth));
      for (const auto &[i, j] : {std::pair{0, 0}, {0, 1}, {1, 0}, {1, 1}}) {
        if (row + i >= 0 && row + i < source.height && column + j >= 0 &&
            column + j < source.width) {
          is_read[static_cast<size_t>(row + i) * static_cast<size_t>(source.width) +
                  static_cast<size_t>(column + j)] = true;
        }
      }
    }
  }
  return std::count(is_read.begin(), is_read.end(), true) *
         static_cast<int64_t>(tavrine_frame_pixel_size(source.format));
}

int64_t batch_reads(const Operation &operation) {
  const auto channels = static_cast<int64_t>(tavrine_frame_pixel_size(operation.source.format));
  int64_t bytes = 0;
  for (const tavrine_area2d_t &area : kRegions) {
    bytes += rows_read(area.height, operation.destination.height) * area.width * channels;
  }
  return bytes;
}

}  // namespace

int64_t traffic_of(const Operation &operation, Pictures &pictures) {
  const int64_t written = bytes_of(operation.destination);
  switch (operation.kind) {
    case Kind::kResize:
      return resize_reads(pictures.source(operation.source),
                          pictures.destination(operation.destination)) +
             written;
    case Kind::kRotate:
    case Kind::kConvert:
      return bytes_of(operation.source) + written;
    case Kind::kAffineWarp:
    case Kind::kPerspectiveWarp:
      return warp_reads(operation) + written;
    case Kind::kTensor:
      return bytes_of(operation.source) + kFloatBytes * written;
    case Kind::kBatch:
      return batch_reads(operation) + kFloatBytes * kRegionCount * written;
    case Kind::kConvertThenResize:
    case Kind::kResizeThenConvert:
    case Kind::kAlignFace:
    case Kind::kJpegToTensor:
      break;
  }
  return 0;
}

}  // namespace tavrine::bench
