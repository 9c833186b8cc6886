// Frames whose planes begin or end at pages that must not be touched.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <deque>

#include "tests/support.h"

namespace tavrine::test {

// Bytes at one end of readable memory: accessing the byte before the first, or the one after the
// last, faults.
class GuardedMemory {
 public:
  enum class Edge { kFirst, kLast };

  GuardedMemory(size_t bytes, Edge edge) {
    const size_t body = (bytes + kPage - 1) / kPage * kPage;
    mapped_ = body + 2 * kPage;
    mapping_ = static_cast<uint8_t *>(
        mmap(nullptr, mapped_, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0));
    EXPECT_NE(mapping_, MAP_FAILED);
    EXPECT_EQ(mprotect(begin(), body, PROT_READ | PROT_WRITE), 0);
    data_ = edge == Edge::kFirst ? begin() : end() - bytes;
  }
  GuardedMemory(const GuardedMemory &) = delete;
  GuardedMemory &operator=(const GuardedMemory &) = delete;
  ~GuardedMemory() { munmap(mapping_, mapped_); }

  uint8_t *data() const { return data_; }
  // All readable memory.
  uint8_t *begin() const { return mapping_ + kPage; }
  uint8_t *end() const { return mapping_ + mapped_ - kPage; }

 private:
  inline static const auto kPage = static_cast<size_t>(sysconf(_SC_PAGESIZE));

  uint8_t *mapping_;
  size_t mapped_;
  uint8_t *data_;
};

// A host frame with padded rows, but no padding after the last row's pixels. Every plane has memory
// of its own.
class GuardedFrame {
 public:
  // Bytes between the rows of each plane; kNoStride: none, and a stride of 0 in the record.
  using Padding = std::array<int, 3>;
  static constexpr int kNoStride = -1;

  GuardedFrame(uint32_t format, int width, int height, GuardedMemory::Edge edge,
               const Padding &padding = {5, 5, 5})
      : frame_(make_frame(format, width, height)) {
    size_t next = 0;
    for (const Plane &plane : planes_of(format, width, height)) {
      const int row = plane.columns * plane.channels;
      const int stride = row + std::max(padding[next], 0);
      memory_.emplace_back(static_cast<size_t>(stride * (plane.rows - 1) + row), edge);
      frame_->planes[next] = memory_.back().data();
      frame_->strides[next] = padding[next] == kNoStride ? 0 : stride;
      ++next;
    }
  }

  tavrine_frame_t *get() const { return frame_.get(); }

 private:
  std::deque<GuardedMemory> memory_;
  OwnedFrame frame_;
};

}  // namespace tavrine::test
