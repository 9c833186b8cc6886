// Groups of samples, as the horizontal pass of resize_bilinear.cpp resamples them. Included once
// for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_SAMPLE_GROUPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_SAMPLE_GROUPS_INL_H_
#undef TAVRINE_KERNELS_RESIZE_SAMPLE_GROUPS_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_SAMPLE_GROUPS_INL_H_
#endif

#include "kernels/vector-inl.h"

#if TAVRINE_HAS_VECTORS

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// Samples are resampled four at a time. Such a group sees one to four windows of source bytes,
// each from a base of its own, and its controls pick the bytes of both neighbours of each sample
// and bring them where its weights lie.
constexpr int32_t kSamplesInGroup = 4;
constexpr int32_t kSamplesInStep = 16;  // rows of taps and samples are padded to whole steps
constexpr int32_t kMostWindows = 4;

struct GroupTables {
  int32_t *bases;     // one for each window
  uint8_t *controls;  // see control_bytes
  int16_t *weights;   // 8 a group
};

// What to pick for one sample of a group: bytes at offsets in a window, and their weights.
struct Pick {
  int32_t window;
  int32_t first;
  int32_t second;
  int16_t first_weight;
  int16_t second_weight;
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_HAS_VECTORS

#endif  // include guard of this instruction set
