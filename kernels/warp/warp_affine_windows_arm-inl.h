// NEON: the affine warp by windows. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_ARM_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_ARM_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_ARM_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_ARM_INL_H_
#endif

#include <algorithm>

#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_affine_arm-inl.h"
#include "kernels/warp/warp_affine_columns.h"
#include "kernels/warp/warp_affine_pixels_arm-inl.h"
#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_grey_windows_arm-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_NEON

// Eight destination columns.
struct ColumnBlock {
  uint16_t x[8];  // offsets from the lowest ones
  uint16_t y[8];
  int32_t lowest_x;
  int32_t lowest_y;
};

// Whole blocks of the destination's columns.
struct WindowColumns {
  static int64_t bytes_for(int64_t columns) {
    return columns / 8 * static_cast<int64_t>(sizeof(ColumnBlock));
  }

  WindowColumns(const ColumnOffsets &offsets, int32_t columns, void *memory)
      : blocks(static_cast<ColumnBlock *>(memory)) {
    for (int32_t i = 0; i < columns / 8; ++i) {
      fill(offsets.x + 8 * i, blocks[i].lowest_x, blocks[i].x);
      fill(offsets.y + 8 * i, blocks[i].lowest_y, blocks[i].y);
      largest_y = std::max<uint32_t>(largest_y, std::max(blocks[i].y[0], blocks[i].y[7]));
    }
  }

  // Differences that do not fit are too large for a window, too.
  static void fill(const int32_t *offsets, int32_t &lowest, uint16_t (&from_lowest)[8]) {
    lowest = std::min(offsets[0], offsets[7]);
    for (int32_t i = 0; i < 8; ++i) {
      from_lowest[i] =
          static_cast<uint16_t>(static_cast<uint32_t>(offsets[i]) - static_cast<uint32_t>(lowest));
    }
  }

  ColumnBlock *blocks;
  uint32_t largest_y = 0;  // of all blocks
};

// The eight pixels of a block share a window: 16 columns of each of kRows rows, a register a
// channel.
template <int32_t kChannels_, int32_t kRows_>
struct WindowShape {
  static constexpr int32_t kChannels = kChannels_;
  static constexpr int32_t kPixels = 8;
  static constexpr const char *kPath = "warp_affine.windows";
  static constexpr int32_t kPixelsInStep = 8;
  static constexpr int32_t kAlignment = 8;
  static constexpr int32_t kRows = kRows_;
  static constexpr int32_t kColumns = 16;
  static constexpr int32_t kReadColumns = 16;
};

// The eight pixels of a block lie that close together, but are loaded one by one. Three channels
// have two bytes after the right neighbour that are read, too.
template <int32_t kChannels_, int32_t kColumns_, int32_t kRows_>
struct PixelsShape {
  static constexpr int32_t kChannels = kChannels_;
  static constexpr int32_t kPixels = 8;
  static constexpr const char *kPath = "warp_affine.pixels";
  static constexpr int32_t kPixelsInStep = 8;
  static constexpr int32_t kAlignment = 8;
  static constexpr int32_t kRows = kRows_;
  static constexpr int32_t kColumns = kColumns_;
  static constexpr int32_t kReadColumns = kChannels == 3 ? kColumns + 1 : kColumns;
};

// Windows of five rows would take 48 look-ups of two cycles for RGB24, more than pixels one by one.
template <int kChannels>
constexpr auto window_shapes() {
  if constexpr (kChannels == 3) {
    return ShapeList<WindowShape<3, 3>, WindowShape<3, 4>, PixelsShape<3, 16, 6>,
                     PixelsShape<3, 32, 12>, PixelsShape<3, 32, 32>>();
  } else if constexpr (kChannels == 4) {
    return ShapeList<PixelsShape<4, 16, 6>, PixelsShape<4, 32, 12>, PixelsShape<4, 32, 32>>();
  } else {
    return ShapeList<WindowShape<kChannels, 3>, WindowShape<kChannels, 4>,
                     WindowShape<kChannels, 5>, WindowShape<kChannels, 6>>();
  }
}

// 16 pixels, channel by channel. In assembly, because GCC keeps what the intrinsics return in
// memory: RGB24 then takes 17 instructions a pixel instead of 13.
template <int kChannels>
HWY_INLINE void load_window_row(const uint8_t *row, uint8x16_t (&channels)[kChannels]) {
  if constexpr (kChannels == 1) {
    channels[0] = vld1q_u8(row);
#if TAVRINE_IS_ARMV7
  } else if constexpr (kChannels == 2) {
    register uint8x16_t first asm("q0");
    register uint8x16_t second asm("q1");
    asm("vld2.8 {d0, d1, d2, d3}, [%2]"
        : "=w"(first), "=w"(second)
        : "r"(row), "m"(*reinterpret_cast<const uint8_t(*)[32]>(row)));
    channels[0] = first;
    channels[1] = second;
  } else {
    register uint8x16_t first asm("q0");
    register uint8x16_t second asm("q1");
    register uint8x16_t third asm("q2");
    const uint8_t *next = row;
    asm("vld3.8 {d0, d2, d4}, [%3]!\n\t"
        "vld3.8 {d1, d3, d5}, [%3]"
        : "=&w"(first), "=&w"(second), "=&w"(third), "+r"(next)
        : "m"(*reinterpret_cast<const uint8_t(*)[48]>(row)));
    channels[0] = first;
    channels[1] = second;
    channels[2] = third;
  }
#else
  } else if constexpr (kChannels == 2) {
    const uint8x16x2_t pixels = vld2q_u8(row);
    channels[0] = pixels.val[0];
    channels[1] = pixels.val[1];
  } else {
    const uint8x16x3_t pixels = vld3q_u8(row);
    channels[0] = pixels.val[0];
    channels[1] = pixels.val[1];
    channels[2] = pixels.val[2];
  }
#endif
}

// Bytes of a row at the lower (left neighbours) or the upper (right neighbours) eight indices.
// Where an index is beyond 15, the first look-up gives 0, and later ones keep what was there. In
// assembly, because GCC copies both halves of the row for each of the intrinsics: grey then takes
// 13 instructions a pixel instead of 7.6.
#if TAVRINE_IS_ARMV7

template <bool kIsFirst>
HWY_INLINE void look_up_left(uint8x8_t &result, uint8x16_t row, uint8x16_t indices) {
  if constexpr (kIsFirst) {
    asm("vtbl.8 %P0, {%e1, %f1}, %e2" : "=w"(result) : "w"(row), "w"(indices));
  } else {
    asm("vtbx.8 %P0, {%e1, %f1}, %e2" : "+w"(result) : "w"(row), "w"(indices));
  }
}

template <bool kIsFirst>
HWY_INLINE void look_up_right(uint8x8_t &result, uint8x16_t row, uint8x16_t indices) {
  if constexpr (kIsFirst) {
    asm("vtbl.8 %P0, {%e1, %f1}, %f2" : "=w"(result) : "w"(row), "w"(indices));
  } else {
    asm("vtbx.8 %P0, {%e1, %f1}, %f2" : "+w"(result) : "w"(row), "w"(indices));
  }
}

#else

template <bool kIsFirst>
HWY_INLINE void look_up(uint8x8_t &result, uint8x16_t row, uint8x8_t indices) {
  result = kIsFirst ? vqtbl1_u8(row, indices) : vqtbx1_u8(result, row, indices);
}

template <bool kIsFirst>
HWY_INLINE void look_up_left(uint8x8_t &result, uint8x16_t row, uint8x16_t indices) {
  look_up<kIsFirst>(result, row, vget_low_u8(indices));
}

template <bool kIsFirst>
HWY_INLINE void look_up_right(uint8x8_t &result, uint8x16_t row, uint8x16_t indices) {
  look_up<kIsFirst>(result, row, vget_high_u8(indices));
}

#endif

// From row kRow on and from the row before it.
template <class Shape, int32_t kRow = 0>
HWY_INLINE void take_rows(const uint8_t *row, int32_t stride, uint8x16_t indices,
                          uint8x16_t indices_before,
                          WindowNeighbours (&neighbours)[Shape::kChannels]) {
  constexpr int kChannels = Shape::kChannels;
  uint8x16_t samples[kChannels];
  load_window_row<kChannels>(row, samples);
  for (int i = 0; i < kChannels; ++i) {
    WindowNeighbours &n = neighbours[i];
    if constexpr (kRow + 1 < Shape::kRows) {
      look_up_left<kRow == 0>(n.p00, samples[i], indices);
      look_up_right<kRow == 0>(n.p01, samples[i], indices);
    }
    if constexpr (kRow > 0) {
      look_up_left<kRow == 1>(n.p10, samples[i], indices_before);
      look_up_right<kRow == 1>(n.p11, samples[i], indices_before);
    }
  }
  if constexpr (kRow + 1 < Shape::kRows) {
    take_rows<Shape, kRow + 1>(row + stride, stride, vsubq_u8(indices, vdupq_n_u8(16)), indices,
                               neighbours);
  }
}

// Positions are those from the first of the window.
template <int kChannels, int32_t kRows>
HWY_INLINE void take_block(WindowShape<kChannels, kRows>, const uint8_t *window, int32_t stride,
                           uint16x8_t x, uint16x8_t y, bool has_fewer_rows,
                           WindowNeighbours (&neighbours)[kChannels]) {
  // Four bits of the row above four bits of the column; the right neighbour's column is one more.
  const uint8x8_t left = vsri_n_u8(vshrn_n_u16(y, 6), vshrn_n_u16(x, 6), 4);
  const uint8x16_t to_right = vcombine_u8(vdup_n_u8(0), vdup_n_u8(1));
  const uint8x16_t indices = vaddq_u8(vcombine_u8(left, left), to_right);
  const auto take = [&](auto shape) TAVRINE_INLINE_LAMBDA {
    using Shape = decltype(shape);
    if constexpr (kChannels == 1) {
      neighbours[0] = take_from_window<Shape::kRows>(window, stride, indices);
    } else {
      take_rows<Shape>(window, stride, indices, indices, neighbours);
    }
  };
  // Look-ups in five grey rows cost hardly more than in four.
  constexpr bool kIsFixed = kChannels == 1 && kRows == 5;
  if (!kIsFixed && has_fewer_rows) {
    take(WindowShape<kChannels, kRows - 1>());
  } else {
    take(WindowShape<kChannels, kRows>());
  }
}

template <int kChannels, int32_t kColumns, int32_t kRows>
HWY_INLINE void take_block(PixelsShape<kChannels, kColumns, kRows>, const uint8_t *window,
                           int32_t stride, uint16x8_t x, uint16x8_t y, bool,
                           WindowNeighbours (&neighbours)[kChannels]) {
  take_pixels<kChannels>(window, stride, vshrq_n_u16(x, scalar::kPositionBits),
                         vshrq_n_u16(y, scalar::kPositionBits), neighbours);
}

HWY_INLINE uint16x8_t from_first(uint16x8_t offsets, uint32_t first) {
  return vaddq_u16(offsets, vdupq_n_u16(static_cast<uint16_t>(first)));
}

template <class Shape>
HWY_INLINE void warp_block(const uint8_t *data, int32_t stride, scalar::Offset start,
                           uint32_t reach, const ColumnBlock *&block, uint8_t *out) {
  constexpr int kChannels = Shape::kChannels;
  constexpr int kFraction = scalar::kPositionBits - scalar::kSubpixelBits;
  constexpr uint32_t kInPixel = (1U << scalar::kPositionBits) - 1;
  const uint16_t *offsets = block->x;
  const uint16x8_t x_offsets = vld1q_u16(offsets);
  advance(offsets, 8);
  const uint16x8_t y_offsets = vld1q_u16(offsets);
  advance(offsets, 8);
  const void *after_offsets = offsets;
  const auto *lowest = static_cast<const int32_t *>(after_offsets);
  const int32_t lowest_x = start.x + lowest[0];
  advance(lowest, 1);
  const int32_t lowest_y = start.y + lowest[0];
  advance(lowest, 1);
  const void *after_lowest = lowest;
  block = static_cast<const ColumnBlock *>(after_lowest);
  const uint32_t first_x = static_cast<uint32_t>(lowest_x) & kInPixel;
  const uint32_t first_y = static_cast<uint32_t>(lowest_y) & kInPixel;
  const uint8_t *window = data + (lowest_x >> scalar::kPositionBits) * kChannels;
  make_opaque(window);
  window += (lowest_y >> scalar::kPositionBits) * stride;
  // Positions from the window's first column and row.
  const uint16x8_t x = from_first(x_offsets, first_x);
  uint16x8_t y = from_first(y_offsets, first_y);
  WindowNeighbours neighbours[kChannels];
  take_block(Shape(), window, stride, x, y, first_y < reach, neighbours);
  asm("" : "+w"(y));  // otherwise GCC calculates weights before, and stores them
  const uint8x8_t right_weight =
      vand_u8(vshrn_n_u16(x, kFraction), vdup_n_u8(scalar::kSubpixels - 1));
  const uint8x8_t left_weight = vsub_u8(vdup_n_u8(scalar::kSubpixels), right_weight);
  const int16x8_t v_1024 = vreinterpretq_s16_u16(
      vandq_u16(vshlq_n_u16(y, 5), vdupq_n_u16((scalar::kSubpixels - 1) << 10)));
  const auto channel = [&](int i) {
    const WindowNeighbours &n = neighbours[i];
    return blend<0>(n.p00, n.p01, n.p10, n.p11, left_weight, right_weight, v_1024);
  };
  if constexpr (kChannels == 1) {
    vst1_u8(out, channel(0));
  } else if constexpr (kChannels == 2) {
    vst2_u8(out, (uint8x8x2_t{{channel(0), channel(1)}}));
  } else if constexpr (kChannels == 3) {
    vst3_u8(out, (uint8x8x3_t{{channel(0), channel(1), channel(2)}}));
  } else {
    vst4_u8(out, (uint8x8x4_t{{channel(0), channel(1), channel(2), channel(3)}}));
  }
}

// Blocks that reach the last row of the window are those whose first row begins at `reach` or
// below.
template <class Shape>
HWY_INLINE void warp_windows_of_row(const PlaneView &source, const RowsAhead &,
                                    scalar::Offset start, const ColumnOffsets &,
                                    const WindowColumns &columns, Run run, uint8_t *out) {
  constexpr uint32_t kPenultimate = (Shape::kRows - 2) << scalar::kPositionBits;
  const uint8_t *data = source.data;
  const auto stride = static_cast<int32_t>(source.stride);
  const uint32_t reach = kPenultimate - columns.largest_y;
  const ColumnBlock *block = columns.blocks + static_cast<uint32_t>(run.first) / 8;
  const ColumnBlock *const end = columns.blocks + static_cast<uint32_t>(run.last) / 8;
  do {  // a run has a step at least
    warp_block<Shape>(data, stride, start, reach, block, out);
    out += 8 * Shape::kChannels;
  } while (block != end);
}

#endif  // TAVRINE_IS_NEON

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
