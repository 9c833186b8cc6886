// NEON: the neighbours of eight grey pixels that lie in a window of a few rows. Included once for
// each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_GREY_WINDOWS_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_GREY_WINDOWS_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_GREY_WINDOWS_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_GREY_WINDOWS_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// The left and the right neighbours of eight pixels in two rows.
struct WindowNeighbours {
  uint8x8_t p00, p01, p10, p11;
};

// Of a window of 16 columns and kRows rows. The lower half of `indices` has those of the left
// neighbours in the upper row, 16 * row + column, the upper half those of the right ones.
//
// A table look-up takes two rows that lie in registers one after the other. Those of the lower
// neighbours begin a row further down, at the same indices. Where an index is beyond a table, the
// first look-up gives 0, and later ones keep what was there.
#if TAVRINE_IS_ARMV7

// In assembly, because the rows must lie in consecutive registers.
// clang-format off
#define TAVRINE_LOAD_ROW(registers) "vld1.8 {" registers "}, [%[row]], %[stride]\n\t"
#define TAVRINE_LOOK_UP(instruction, upper_rows, lower_rows, indices) \
  instruction " %P[p00], {" upper_rows "}, %e[" indices "]\n\t"       \
  instruction " %P[p01], {" upper_rows "}, %f[" indices "]\n\t"       \
  instruction " %P[p10], {" lower_rows "}, %e[" indices "]\n\t"       \
  instruction " %P[p11], {" lower_rows "}, %f[" indices "]\n\t"
#define TAVRINE_TAKE(instructions, ...)                                                       \
  asm(instructions                                                                            \
      : [p00] "=&w"(n.p00), [p01] "=&w"(n.p01), [p10] "=&w"(n.p10), [p11] "=&w"(n.p11),       \
        [row] "+r"(row)                                                                       \
      : [stride] "r"(stride), [first] "w"(indices), [third] "w"(from_third),                \
        [fifth] "w"(from_fifth)                                                               \
      : __VA_ARGS__, "memory")
#define TAVRINE_LOAD_TWO TAVRINE_LOAD_ROW("d0-d1") TAVRINE_LOAD_ROW("d2-d3")
#define TAVRINE_LOAD_THREE TAVRINE_LOAD_TWO TAVRINE_LOAD_ROW("d4-d5")

template <int32_t kRows>
HWY_INLINE WindowNeighbours take_from_window(const uint8_t *row, ptrdiff_t stride,
                                             uint8x16_t indices) {
  static_assert(2 <= kRows && kRows <= 6);
  WindowNeighbours n;
  const uint8x16_t from_third = kRows < 4 ? indices : vsubq_u8(indices, vdupq_n_u8(32));
  const uint8x16_t from_fifth = kRows < 6 ? indices : vsubq_u8(indices, vdupq_n_u8(64));
  if constexpr (kRows == 2) {
    TAVRINE_TAKE(TAVRINE_LOAD_TWO
                 TAVRINE_LOOK_UP("vtbl.8", "d0-d1", "d2-d3", "first"),
                 "q0", "q1");
  } else if constexpr (kRows == 3) {
    TAVRINE_TAKE(TAVRINE_LOAD_THREE
                 TAVRINE_LOOK_UP("vtbl.8", "d0-d3", "d2-d5", "first"),
                 "q0", "q1", "q2");
  } else if constexpr (kRows == 4) {
    TAVRINE_TAKE(TAVRINE_LOAD_THREE
                 TAVRINE_LOAD_ROW("d6-d7")
                 TAVRINE_LOOK_UP("vtbl.8", "d0-d3", "d2-d5", "first")
                 TAVRINE_LOOK_UP("vtbx.8", "d4-d5", "d6-d7", "third"),
                 "q0", "q1", "q2", "q3");
  } else if constexpr (kRows == 5) {
    TAVRINE_TAKE(TAVRINE_LOAD_THREE
                 TAVRINE_LOAD_ROW("d6-d7")
                 TAVRINE_LOAD_ROW("d8-d9")
                 TAVRINE_LOOK_UP("vtbl.8", "d0-d3", "d2-d5", "first")
                 TAVRINE_LOOK_UP("vtbx.8", "d4-d7", "d6-d9", "third"),
                 "q0", "q1", "q2", "q3", "q4");
  } else {
    TAVRINE_TAKE(TAVRINE_LOAD_THREE
                 TAVRINE_LOAD_ROW("d6-d7")
                 TAVRINE_LOAD_ROW("d8-d9")
                 TAVRINE_LOAD_ROW("d10-d11")
                 TAVRINE_LOOK_UP("vtbl.8", "d0-d3", "d2-d5", "first")
                 TAVRINE_LOOK_UP("vtbx.8", "d4-d7", "d6-d9", "third")
                 TAVRINE_LOOK_UP("vtbx.8", "d8-d9", "d10-d11", "fifth"),
                 "q0", "q1", "q2", "q3", "q4", "q5");
  }
  return n;
}
// clang-format on

#undef TAVRINE_LOAD_ROW
#undef TAVRINE_LOOK_UP
#undef TAVRINE_TAKE
#undef TAVRINE_LOAD_TWO
#undef TAVRINE_LOAD_THREE

#else

// From row kRow on, two rows at a time.
template <int32_t kRows, int32_t kRow = 0>
HWY_INLINE WindowNeighbours take_from_window(const uint8_t *row, ptrdiff_t stride,
                                             uint8x16_t indices,
                                             WindowNeighbours n = WindowNeighbours()) {
  const auto row_at = [&](int32_t y) {
    return vld1q_u8(row + (y < kRows ? y : kRows - 1) * stride);
  };
  const uint8x16x2_t upper = {{row_at(kRow), row_at(kRow + 1)}};
  const uint8x16x2_t lower = {{row_at(kRow + 1), row_at(kRow + 2)}};
  const uint8x8_t left = vget_low_u8(indices);
  const uint8x8_t right = vget_high_u8(indices);
  n = {vqtbx2_u8(n.p00, upper, left), vqtbx2_u8(n.p01, upper, right), vqtbx2_u8(n.p10, lower, left),
       vqtbx2_u8(n.p11, lower, right)};
  if constexpr (kRow + 3 < kRows) {
    return take_from_window<kRows, kRow + 2>(row, stride, vsubq_u8(indices, vdupq_n_u8(32)), n);
  } else {
    return n;
  }
}

#endif

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
