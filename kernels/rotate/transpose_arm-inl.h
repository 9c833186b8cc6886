// Tiles of pixels, transposed in registers on NEON: the steps of rotate.cpp. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_ROTATE_TRANSPOSE_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_ROTATE_TRANSPOSE_ARM_INL_H_
#undef TAVRINE_KERNELS_ROTATE_TRANSPOSE_ARM_INL_H_
#else
#define TAVRINE_KERNELS_ROTATE_TRANSPOSE_ARM_INL_H_
#endif

#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Exchanges the odd lanes of `above` with the even ones of `below`.
template <class Lane>
HWY_INLINE void exchange_lanes(uint8x16_t &above, uint8x16_t &below) {
  if constexpr (sizeof(Lane) == 1) {
    const uint8x16x2_t both = vtrnq_u8(above, below);
    above = both.val[0];
    below = both.val[1];
  } else if constexpr (sizeof(Lane) == 2) {
    const uint16x8x2_t both = vtrnq_u16(vreinterpretq_u16_u8(above), vreinterpretq_u16_u8(below));
    above = vreinterpretq_u8_u16(both.val[0]);
    below = vreinterpretq_u8_u16(both.val[1]);
  } else {
    const uint32x4x2_t both = vtrnq_u32(vreinterpretq_u32_u8(above), vreinterpretq_u32_u8(below));
    above = vreinterpretq_u8_u32(both.val[0]);
    below = vreinterpretq_u8_u32(both.val[1]);
  }
}

// Exchanges the quarters off the diagonal in every square of 2 * kDistance lanes.
template <class Lane, size_t kDistance, size_t kCount>
HWY_INLINE void exchange_rows(uint8x16_t (&rows)[kCount]) {
  for (size_t i = 0; i < kCount; ++i) {
    if ((i & kDistance) == 0) {
      exchange_lanes<Lane>(rows[i], rows[i + kDistance]);
    }
  }
}

// Pixels of 1 and 2 bytes: a source row fills a register and a destination row half of one. Square
// tiles would take another round of exchanges and more registers than there are. For pairs, with
// rows a to d,
//
//   a0 a1 a2 a3 a4 a5 a6 a7             a0 b0 c0 d0 | a4 b4 c4 d4
//   b0 b1 b2 b3 b4 b5 b6 b7   become    a1 b1 c1 d1 | a5 b5 c5 d5
//   c0 c1 c2 c3 c4 c5 c6 c7             a2 b2 c2 d2 | a6 b6 c6 d6
//   d0 d1 d2 d3 d4 d5 d6 d7             a3 b3 c3 d3 | a7 b7 c7 d7
template <size_t kPixelBytes>
HWY_INLINE void transpose_pixels(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                 ptrdiff_t out_step) {
  uint8x16_t rows[kPixelBytes == 1 ? 8 : 4];
  for (uint8x16_t &row : rows) {
    row = vld1q_u8(in);
    advance(in, in_step);
  }
  if constexpr (kPixelBytes == 1) {
    exchange_rows<uint8_t, 1>(rows);
    exchange_rows<uint16_t, 2>(rows);
    exchange_rows<uint32_t, 4>(rows);
  } else {
    exchange_rows<uint16_t, 1>(rows);
    exchange_rows<uint32_t, 2>(rows);
  }
  for (const uint8x16_t &row : rows) {
    vst1_u8(out, vget_low_u8(row));
    advance(out, out_step);
  }
  for (const uint8x16_t &row : rows) {
    vst1_u8(out, vget_high_u8(row));
    advance(out, out_step);
  }
}

#if TAVRINE_IS_ARMV7

// Four rows of eight pixels of four bytes: stores that take one lane of each row transpose them.
// q8, q9, q10 and q11 hold the first four pixels of the rows, q12 to q15 the last four.
//
// Spelled out because GCC 12 calculates the address of every store: a whole rotation takes 0.80
// instructions a pixel with this and 1.12 with intrinsics.
HWY_INLINE void transpose_quadruples(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                     ptrdiff_t out_step) {
  asm volatile(
      "vld1.8 {d16, d17}, [%[in]]!\n\t"
      "vld1.8 {d24, d25}, [%[in]], %[rest]\n\t"
      "vld1.8 {d18, d19}, [%[in]]!\n\t"
      "vld1.8 {d26, d27}, [%[in]], %[rest]\n\t"
      "vld1.8 {d20, d21}, [%[in]]!\n\t"
      "vld1.8 {d28, d29}, [%[in]], %[rest]\n\t"
      "vld1.8 {d22, d23}, [%[in]]!\n\t"
      "vld1.8 {d30, d31}, [%[in]]\n\t"
      "vst4.32 {d16[0], d18[0], d20[0], d22[0]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d16[1], d18[1], d20[1], d22[1]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d17[0], d19[0], d21[0], d23[0]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d17[1], d19[1], d21[1], d23[1]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d24[0], d26[0], d28[0], d30[0]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d24[1], d26[1], d28[1], d30[1]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d25[0], d27[0], d29[0], d31[0]}, [%[out]], %[out_step]\n\t"
      "vst4.32 {d25[1], d27[1], d29[1], d31[1]}, [%[out]]\n\t"
      : [in] "+r"(in), [out] "+r"(out)
      : [rest] "r"(in_step - 16), [out_step] "r"(out_step)
      : "q8", "q9", "q10", "q11", "q12", "q13", "q14", "q15", "memory");
}

// Eight by eight pixels of three bytes: q0, q3, q6 and q9 hold the first bytes of rows 0 to 3 in
// their lower halves and of rows 4 to 7 in their upper ones, q1, q4, ... the second bytes and
// q2, q5, ... the third ones.
//
// Spelled out because GCC 12 copies registers between the steps more often than it works on them:
// a whole rotation takes 0.77 instructions a pixel with this and 2.68 with intrinsics.
HWY_INLINE void transpose_triples(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                  ptrdiff_t out_step) {
  asm volatile(
      "vld3.8 {d0, d2, d4}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d6, d8, d10}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d12, d14, d16}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d18, d20, d22}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d1, d3, d5}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d7, d9, d11}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d13, d15, d17}, [%[in]], %[in_step]\n\t"
      "vld3.8 {d19, d21, d23}, [%[in]]\n\t"
      "vtrn.8 q0, q3\n\t"
      "vtrn.8 q1, q4\n\t"
      "vtrn.8 q2, q5\n\t"
      "vtrn.8 q6, q9\n\t"
      "vtrn.8 q7, q10\n\t"
      "vtrn.8 q8, q11\n\t"
      "vtrn.16 q0, q6\n\t"
      "vtrn.16 q1, q7\n\t"
      "vtrn.16 q2, q8\n\t"
      "vtrn.16 q3, q9\n\t"
      "vtrn.16 q4, q10\n\t"
      "vtrn.16 q5, q11\n\t"
      "vtrn.32 d0, d1\n\t"
      "vtrn.32 d2, d3\n\t"
      "vtrn.32 d4, d5\n\t"
      "vtrn.32 d6, d7\n\t"
      "vtrn.32 d8, d9\n\t"
      "vtrn.32 d10, d11\n\t"
      "vtrn.32 d12, d13\n\t"
      "vtrn.32 d14, d15\n\t"
      "vtrn.32 d16, d17\n\t"
      "vtrn.32 d18, d19\n\t"
      "vtrn.32 d20, d21\n\t"
      "vtrn.32 d22, d23\n\t"
      "vst3.8 {d0, d2, d4}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d6, d8, d10}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d12, d14, d16}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d18, d20, d22}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d1, d3, d5}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d7, d9, d11}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d13, d15, d17}, [%[out]], %[out_step]\n\t"
      "vst3.8 {d19, d21, d23}, [%[out]]\n\t"
      : [in] "+r"(in), [out] "+r"(out)
      : [in_step] "r"(in_step), [out_step] "r"(out_step)
      : "q0", "q1", "q2", "q3", "q4", "q5", "q6", "q7", "q8", "q9", "q10", "q11", "memory");
}

#else

// Four rows of eight pixels of four bytes.
HWY_INLINE void transpose_quadruples(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                     ptrdiff_t out_step) {
  uint32x4x4_t left;
  uint32x4x4_t right;
  const uint8_t *in_right = in + 16;
  for (int32_t i = 0; i < 4; ++i) {
    left.val[i] = vreinterpretq_u32_u8(vld1q_u8(in));
    right.val[i] = vreinterpretq_u32_u8(vld1q_u8(in_right));
    advance(in, in_step);
    advance(in_right, in_step);
  }
  // These stores take any address.
  const auto next_row = [&] {
    uint8_t *row = out;
    advance(out, out_step);
    return static_cast<uint32_t *>(static_cast<void *>(row));
  };
  vst4q_lane_u32(next_row(), left, 0);
  vst4q_lane_u32(next_row(), left, 1);
  vst4q_lane_u32(next_row(), left, 2);
  vst4q_lane_u32(next_row(), left, 3);
  vst4q_lane_u32(next_row(), right, 0);
  vst4q_lane_u32(next_row(), right, 1);
  vst4q_lane_u32(next_row(), right, 2);
  vst4q_lane_u32(next_row(), right, 3);
}

// Eight by eight pixels of three bytes, the bytes of which have registers of their own.
HWY_INLINE void transpose_triples(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                  ptrdiff_t out_step) {
  uint8x16_t rows[3][4];  // rows i and i + 4 share a register
  for (int32_t i = 0; i < 4; ++i) {
    const uint8x8x3_t above = vld3_u8(in + in_step * i);
    const uint8x8x3_t below = vld3_u8(in + in_step * (i + 4));
    for (int32_t byte = 0; byte < 3; ++byte) {
      rows[byte][i] = vcombine_u8(above.val[byte], below.val[byte]);
    }
  }
  for (auto &plane : rows) {
    exchange_rows<uint8_t, 1>(plane);
    exchange_rows<uint16_t, 2>(plane);
    for (uint8x16_t &row : plane) {
      const uint32x2x2_t halves =
          vtrn_u32(vreinterpret_u32_u8(vget_low_u8(row)), vreinterpret_u32_u8(vget_high_u8(row)));
      row = vcombine_u8(vreinterpret_u8_u32(halves.val[0]), vreinterpret_u8_u32(halves.val[1]));
    }
  }
  for (int32_t i = 0; i < 4; ++i) {
    uint8x8x3_t above;
    uint8x8x3_t below;
    for (int32_t byte = 0; byte < 3; ++byte) {
      above.val[byte] = vget_low_u8(rows[byte][i]);
      below.val[byte] = vget_high_u8(rows[byte][i]);
    }
    vst3_u8(out + out_step * i, above);
    vst3_u8(out + out_step * (i + 4), below);
  }
}

#endif  // TAVRINE_IS_ARMV7

// Areas of both planes fit a first-level cache of 32 KiB.
template <size_t kPixelBytes>
struct Tile {
  static constexpr int32_t kRows = kPixelBytes == 1 ? 16 : 8;
  static constexpr int32_t kColumns = kPixelBytes % 2 == 0 ? 4 : 8;
  static constexpr int32_t kAreaRows = kPixelBytes == 1 ? 128 : 64;
  static constexpr int32_t kAreaColumns = kPixelBytes == 4 ? 32 : 64;

  static HWY_INLINE void prefetch(const uint8_t *, ptrdiff_t, int32_t) {}

  static HWY_INLINE void transpose(const uint8_t *in, ptrdiff_t in_step, uint8_t *out,
                                   ptrdiff_t out_step) {
    if constexpr (kPixelBytes == 3) {
      transpose_triples(in, in_step, out, out_step);
    } else if constexpr (kPixelBytes == 4) {
      transpose_quadruples(in, in_step, out, out_step);
    } else {
      transpose_pixels<kPixelBytes>(in, in_step, out, out_step);
    }
  }
};

template <size_t kPixelBytes>
using NarrowTile = Tile<kPixelBytes>;

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
