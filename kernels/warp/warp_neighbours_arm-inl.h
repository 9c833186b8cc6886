// NEON: loads the neighbours of scattered positions. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_NEIGHBOURS_ARM_INL_H_
#endif

#include <utility>

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Pixels of a step.
constexpr int32_t kPixelsInWarpStep = 8;

// Source columns right of the right neighbours that loading may read.
template <int kChannels>
constexpr int32_t kOverreadColumns = 0;

// The left and the right neighbours of the pixels of a step, channel by channel.
template <int kChannels>
struct NeighbourPairs {
  uint8x8_t left[kChannels];
  uint8x8_t right[kChannels];
};

// Loads one element of each register after the other. Lane numbers must be constants, hence the
// index sequence; clang's load_lane is a macro that no pack passes through, hence a function for
// one lane. The first load fills all lanes, so that the registers depend on nothing before.
#define TAVRINE_LOAD_LANES(type, load_all, load_lane)                       \
  template <size_t kLane>                                                   \
  HWY_INLINE void load_lane##_at(const uint8_t *element, type &result) {    \
    result = load_lane(element, result, kLane);                             \
  }                                                                         \
  template <size_t... kLanes>                                               \
  HWY_INLINE type load_lane##s(const uint8_t *base, const int32_t *offsets, \
                               std::index_sequence<kLanes...>) {            \
    type result = load_all(base + offsets[0]);                              \
    (load_lane##_at<kLanes + 1>(base + offsets[kLanes + 1], result), ...);  \
    return result;                                                          \
  }
TAVRINE_LOAD_LANES(uint8x8x2_t, vld2_dup_u8, vld2_lane_u8)
TAVRINE_LOAD_LANES(uint8x8x3_t, vld3_dup_u8, vld3_lane_u8)
TAVRINE_LOAD_LANES(uint8x8x4_t, vld4_dup_u8, vld4_lane_u8)
#undef TAVRINE_LOAD_LANES

// The pairs of pixels that begin at `offsets` from the base.
template <int kChannels>
HWY_INLINE NeighbourPairs<kChannels> load_pairs(const uint8_t *base, const int32_t *offsets) {
  constexpr std::make_index_sequence<kPixelsInWarpStep - 1> kOthers;
  if constexpr (kChannels == 1) {
    const uint8x8x2_t both = vld2_lane_u8s(base, offsets, kOthers);
    return {{both.val[0]}, {both.val[1]}};
  } else if constexpr (kChannels == 2) {
    const uint8x8x4_t both = vld4_lane_u8s(base, offsets, kOthers);
    return {{both.val[0], both.val[1]}, {both.val[2], both.val[3]}};
  } else if constexpr (kChannels == 3) {
    const uint8x8x3_t left = vld3_lane_u8s(base, offsets, kOthers);
    const uint8x8x3_t right = vld3_lane_u8s(base + 3, offsets, kOthers);
    return {{left.val[0], left.val[1], left.val[2]}, {right.val[0], right.val[1], right.val[2]}};
  } else {
    const uint8x8x4_t left = vld4_lane_u8s(base, offsets, kOthers);
    const uint8x8x4_t right = vld4_lane_u8s(base + 4, offsets, kOthers);
    return {{left.val[0], left.val[1], left.val[2], left.val[3]},
            {right.val[0], right.val[1], right.val[2], right.val[3]}};
  }
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
