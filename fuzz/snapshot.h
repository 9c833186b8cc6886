// Finds what a call has changed beside its destination, and pixels that differ.
#pragma once

#include <vector>

#include "common/owned.h"
#include "common/pixel_format.h"

namespace tavrine::fuzz {

inline bool is_on_device(const tavrine_frame_t *frame) {
  return tavrine_frame_mem_type(frame) == TAVRINE_MEMORY_DEVICE;
}

// Whether a byte of a pixel belongs to both.
bool share_pixels(const tavrine_frame_t *a, const tavrine_frame_t *b);

// Aborts if `area` of the frames differs. Does nothing if nothing is expected.
void require_same(const tavrine_frame_t *actual, const OwnedFrame &expected, const char *what,
                  const tavrine_area2d_t &area);

// The records of all frames, and all bytes of host frames from the first row to the last.
class Snapshot {
 public:
  template <size_t Count>
  explicit Snapshot(const OwnedFrame (&frames)[Count]) {
    for (const OwnedFrame &frame : frames) {
      if (frame) {
        add(frame.get());
      }
    }
  }

  // Aborts if anything has changed except `written` in `destination`, which may be null.
  void check(const tavrine_frame_t *destination, const tavrine_area2d_t &written) const;
  // Except the whole of `destination`.
  void check(const tavrine_frame_t *destination) const;

 private:
  struct Record {
    const tavrine_frame_t *frame;
    tavrine_frame_t before;
  };

  struct Block {
    const uint8_t *data;
    std::vector<uint8_t> before;
  };

  void add(const tavrine_frame_t *frame);

  std::vector<Record> records_;
  std::vector<Block> blocks_;
};

}  // namespace tavrine::fuzz
