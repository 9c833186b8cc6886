// NEON register tables under another type. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_SAME_BYTES_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_SAME_BYTES_ARM_INL_H_
#undef TAVRINE_KERNELS_RESIZE_SAME_BYTES_ARM_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_SAME_BYTES_ARM_INL_H_
#endif

#include <cstring>

#include "kernels/vector-inl.h"

#if TAVRINE_IS_NEON

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// Lookups want their table in adjacent registers. GCC keeps it there when the whole object changes
// its type; one that is assembled from its registers is copied first.
template <typename To, typename From>
HWY_INLINE To same_bytes(const From &from) {
  static_assert(sizeof(To) == sizeof(From));
  To to;
  std::memcpy(&to, &from, sizeof(to));
  return to;
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_NEON

#endif  // include guard of this instruction set
