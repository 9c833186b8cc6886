#include "bench/traffic.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "host/frame_planes.h"
#include "tavrine_core.h"

namespace tavrine::bench {
namespace {

constexpr int64_t kFloatBytes = 4;

int64_t bytes_of(const Picture &picture) {
  return static_cast<int64_t>(
      tavrine_frame_inferred_size(picture.format, picture.width, picture.height));
}

// Rows that have a weight in the result. A column is always close to another one that has.
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

int64_t resize_reads(const Operation &operation) {
  const FormatLayout layout = layout_of(operation.source.format);
  int64_t bytes = 0;
  for (int plane = 0; plane < layout.plane_count; ++plane) {
    const auto [channels, subsampling] = layout.planes[plane];
    bytes += rows_read(operation.source.height / subsampling,
                       operation.destination.height / subsampling) *
             (operation.source.width / subsampling) * channels;
  }
  return bytes;
}

// The pixels under the outline of the warped picture.
int64_t warp_reads(const Operation &operation) {
  const Picture &source = operation.source;
  const Matrix &m = operation.matrix;
  std::vector<bool> is_read(static_cast<size_t>(source.width) * static_cast<size_t>(source.height));
  for (int32_t y = 0; y < operation.destination.height; ++y) {
    for (int32_t x = 0; x < operation.destination.width; ++x) {
      const float depth = m[6] * x + m[7] * y + m[8];
      const auto column = static_cast<int32_t>(std::floor((m[0] * x + m[1] * y + m[2]) / depth));
      const auto row = static_cast<int32_t>(std::floor((m[3] * x + m[4] * y + m[5]) / depth));
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
         layout_of(source.format).planes[0].channels;
}

int64_t batch_reads(const Operation &operation) {
  const int32_t channels = layout_of(operation.source.format).planes[0].channels;
  int64_t bytes = 0;
  for (const tavrine_area2d_t &area : kRegions) {
    bytes += rows_read(area.height, operation.destination.height) * area.width * channels;
  }
  return bytes;
}

}  // namespace

int64_t traffic_of(const Operation &operation) {
  const int64_t written = bytes_of(operation.destination);
  switch (operation.work) {
    case Work::kResize:
      return resize_reads(operation) + written;
    case Work::kTurn:
    case Work::kConvert:
      return bytes_of(operation.source) + written;
    case Work::kAffineWarp:
    case Work::kPerspectiveWarp:
      return warp_reads(operation) + written;
    case Work::kTensor:
      return bytes_of(operation.source) + kFloatBytes * written;
    case Work::kBatch:
      return batch_reads(operation) + kFloatBytes * kRegionCount * written;
  }
  return 0;
}

}  // namespace tavrine::bench
