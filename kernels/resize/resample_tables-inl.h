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

// Samples are resampled in groups of eight. A group loads one or several windows, which are runs of
// source bytes, and a shuffle picks both neighbours of each of its samples from them. RGB24 at 3:2
// needs one window of 16 bytes for a group. Columns 0 to 5 lie between the source columns 0-1, 1-2,
// 3-4, 4-5, 6-7 and 7-8, so that the first two groups pick these bytes of the row:
//
//   sample      r0    g0    b0    r1    g1    b1    r2    g2        group 0, window from byte 0
//   neighbours  0,3   1,4   2,5   3,6   4,7   5,8   9,12  10,13
//
//   sample      b2    r3    g3    b3    r4    g4    b4    r5        group 1, window from byte 11
//   neighbours  11,14 12,15 13,16 14,17 18,21 19,22 20,23 21,24
//   in window   0,3   1,4   2,5   3,6   7,10  8,11  9,12  10,13
//
// Weights alternate between 3/4, 1/4 and 1/4, 3/4 from column to column. Where a row shrinks more,
// the samples of a group lie farther apart and need more windows. No group needs more than one for
// each sample, because neighbours are at most 4 bytes apart.
constexpr int32_t kSamplesInGroup = 8;
constexpr int32_t kMaxWindows = kSamplesInGroup;

// How groups find their bytes. An instruction set lists its layouts from the fastest on; the last
// one serves any distance. A row takes the first of which the windows reach all samples of all
// groups.
struct Layout {
  const char *path;  // for trace_path()
  int32_t windows;   // of a group
  int32_t window_bytes;
  int32_t samples_in_lookup;  // these samples
  int32_t windows_in_lookup;  // pick from these windows
  bool serves_step;           // the only window serves all groups of a step
};
constexpr int32_t kMaxWindowBytes = 32;

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
