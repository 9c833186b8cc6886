#include "fuzz/snapshot.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

#include "fuzz/definitions.h"
#include "fuzz/watch.h"

namespace tavrine::fuzz {

// Rows follow each other upwards in memory, in planes and from plane to plane.
bool share_pixels(const tavrine_frame_t *a, const tavrine_frame_t *b) {
  std::array<std::vector<std::pair<const uint8_t *, const uint8_t *>>, 2> rows;
  for (const size_t side : {size_t{0}, size_t{1}}) {
    for (const PlaneRows &plane : planes_of(side == 0 ? a : b)) {
      for (int64_t y = 0; y < plane.rows && plane.row_bytes > 0; ++y) {
        const uint8_t *first = plane.data + y * plane.stride;
        rows[side].emplace_back(first, first + plane.row_bytes);
      }
    }
  }
  for (size_t i = 0, j = 0; i < rows[0].size() && j < rows[1].size();) {
    if (rows[0][i].second <= rows[1][j].first) {
      ++i;
    } else if (rows[1][j].second <= rows[0][i].first) {
      ++j;
    } else {
      return true;
    }
  }
  return false;
}

void require_same(const tavrine_frame_t *actual, const OwnedFrame &expected, const char *what,
                  const tavrine_area2d_t &area) {
  if (!expected) {
    return;
  }
  const OwnedFrame host = host_copy(actual);
  require(static_cast<bool>(host), "a result cannot be read");
  const std::vector<PlaneRows> is = planes_of(host.get(), area);
  const std::vector<PlaneRows> should = planes_of(expected.get(), area);
  for (size_t plane = 0; plane < is.size(); ++plane) {
    for (int64_t y = 0; y < is[plane].rows && is[plane].row_bytes > 0; ++y) {
      require(std::memcmp(is[plane].data + y * is[plane].stride,
                          should[plane].data + y * should[plane].stride,
                          static_cast<size_t>(is[plane].row_bytes)) == 0,
              what);
    }
  }
}

void Snapshot::add(const tavrine_frame_t *frame) {
  records_.push_back({frame, *frame});
  if (is_on_device(frame)) {
    return;
  }
  for (const PlaneRows &plane : planes_of(frame)) {
    if (plane.rows > 0 && plane.row_bytes > 0) {
      blocks_.push_back(
          {plane.data,
           {plane.data, plane.data + (plane.rows - 1) * plane.stride + plane.row_bytes}});
    }
  }
}

void Snapshot::check(const tavrine_frame_t *destination, const tavrine_area2d_t &written) const {
  for (const auto &[frame, before] : records_) {
    require(frame->pixel_format == before.pixel_format && frame->width == before.width &&
                frame->height == before.height &&
                std::equal(frame->planes, frame->planes + 3, before.planes) &&
                std::equal(frame->strides, frame->strides + 3, before.strides),
            "a record has changed");
  }
  std::vector<PlaneRows> planes;
  if (destination != nullptr && !is_on_device(destination)) {
    planes = planes_of(destination, written);
  }
  for (const auto &[data, before] : blocks_) {
    std::vector<uint8_t> expected = before;
    for (const PlaneRows &plane : planes) {
      for (int64_t y = 0; y < plane.rows; ++y) {
        const uint8_t *row = plane.data + y * plane.stride;
        const uint8_t *begin = std::max(row, data);
        const uint8_t *end = std::min(row + plane.row_bytes, data + before.size());
        if (begin < end) {
          std::copy(begin, end, expected.begin() + (begin - data));
        }
      }
    }
    require(std::memcmp(data, expected.data(), expected.size()) == 0,
            "bytes outside the destination have changed");
  }
}

void Snapshot::check(const tavrine_frame_t *destination) const {
  check(destination, destination != nullptr
                         ? tavrine_area2d_t{0, 0, destination->width, destination->height}
                         : tavrine_area2d_t{});
}

}  // namespace tavrine::fuzz
