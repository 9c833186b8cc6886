// The tables of the horizontal pass of resize_bilinear.cpp. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_RESAMPLE_TABLES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESAMPLE_TABLES_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESAMPLE_TABLES_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESAMPLE_TABLES_INL_H_
#endif

#include <array>
#include <cstddef>
#include <cstdint>

#include "kernels/vector-inl.h"

#if TAVRINE_HAS_VECTORS

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// How a group finds its bytes.
struct Layout {
  int32_t windows;
  int32_t window_bytes;
  int32_t samples_in_lookup;
  int32_t windows_in_lookup;
  bool serves_step;  // its only window serves all groups of a step
};

// Samples are resampled in groups of eight. A group loads one or several windows, runs of source
// bytes that hold both neighbours of some of its samples, and a shuffle picks the neighbours from
// them. RGB24 at 3:2 needs one window of 16 bytes for a group. Its first two groups pick
//
//   sample      r0   g0   b0   r1   g1   b1   r2   g2    b2   r3   g3   b3   r4   g4   b4   r5
//   neighbours  0,3  1,4  2,5  3,6  4,7  5,8  9,12 10,13 11,14 12,15 ...
//   window      from byte 0                              from byte 11
//
// One window suffices while the neighbours lie within 16 bytes, as in upscales, GREY up to 2:1 and
// RGB24 up to 1.5:1. Beyond about 8:1 each sample of GREY has a window of its own. That is the most
// that a group needs: neighbours are at most 4 bytes apart.
constexpr int32_t kSamplesInGroup = 8;
constexpr int32_t kMaxWindows = kSamplesInGroup;

struct ResampleTables {
  const int32_t *bases;    // where the windows start, in bytes of a row
  const uint8_t *entries;  // how groups pick and weigh, in the order in which a step reads them
};

// What to pick for each sample of a group: bytes at offsets in a window, and their weights.
template <typename Element>
using EachSample = std::array<Element, kSamplesInGroup>;
struct Picks {
  EachSample<int32_t> window;
  EachSample<int32_t> first;
  EachSample<int32_t> second;
  EachSample<uint16_t> first_weight;
  EachSample<uint16_t> second_weight;
};

// Where the windows of a group start, in bytes of a row.
using Starts = std::array<int32_t, kMaxWindows>;

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_HAS_VECTORS

#endif  // include guard of this instruction set
