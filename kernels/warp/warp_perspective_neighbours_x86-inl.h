// SSSE3, SSE4 and AVX2: loads the neighbours of pixels of the perspective warp. Included once for
// each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_NEIGHBOURS_X86_INL_H_) == \
    defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_NEIGHBOURS_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_NEIGHBOURS_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_NEIGHBOURS_X86_INL_H_
#endif

#include <algorithm>
#include <limits>

#include "kernels/warp/warp_neighbours_x86-inl.h"
#include "kernels/warp/warp_perspective_edge_x86-inl.h"
#include "kernels/warp/warp_perspective_positions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// The neighbours of a register of pixels, of one channel.
struct Samples {
  IntVector p00, p01, p10, p11;
};

// From lanes with the four neighbours of a pixel: upper left, upper right, lower left, lower right.
HWY_INLINE Samples samples_of(IntVector lanes) {
  return {byte_of<0>(lanes), byte_of<1>(lanes), byte_of<2>(lanes), byte_of<3>(lanes)};
}

// The bytes of one lane of each block, as four numbers.
template <int kLane>
HWY_INLINE IntVector lane_of(IntVector lanes) {
  static constexpr ShuffleTable kFrom({4 * kLane, 0x80, 0x80, 0x80, 4 * kLane + 1, 0x80, 0x80, 0x80,
                                       4 * kLane + 2, 0x80, 0x80, 0x80, 4 * kLane + 3, 0x80, 0x80,
                                       0x80});
  return hn::TableLookupBytesOr0(lanes, hn::BitCast(Ints(), kFrom.load()));
}

using UnsignedWords = hn::RebindToUnsigned<Words>;
using WordVector = hn::VFromD<UnsignedWords>;

// The bytes of each block in another order.
HWY_INLINE WordVector shuffle_blocks(WordVector words, const ShuffleTable &from) {
  return hn::BitCast(UnsignedWords(), hn::TableLookupBytes(words, from.load()));
}

// Columns or rows of two registers, saturated to words. The first register has the lower half of
// each block.
HWY_INLINE WordVector pack_words(IntVector low, IntVector high) {
  return hn::BitCast(UnsignedWords(), hn::ReorderDemote2To(Words(), low, high));
}

// The lower of both in each word, signed.
HWY_INLINE WordVector lower_of(WordVector a, WordVector b) {
  const Words d;
  return hn::BitCast(UnsignedWords(), hn::Min(hn::BitCast(d, a), hn::BitCast(d, b)));
}

// Whether no word, unsigned, is above its limit.
HWY_INLINE bool are_within(WordVector a, WordVector a_limits, WordVector b, WordVector b_limits) {
  const UnsignedWords d;
  const auto excess = hn::Or(hn::SaturatedSub(a, a_limits), hn::SaturatedSub(b, b_limits));
  return hn::AllTrue(d, hn::Eq(excess, hn::Zero(d)));
}

// Pixels of a block that are close together in the source share a window: rows of 16 bytes. Columns
// and rows rise or fall from pixel to pixel, so that those of the first and the last one are the
// lowest and the highest. Where rounding breaks that, a difference is negative, which is a large
// number without sign, and the pixels do not fit.
class GreyWindows {
 public:
  static constexpr int32_t kRegisters = 2;
  static constexpr int32_t kRows = 4;
  static constexpr int32_t kReadColumns = 16;

  static bool may_serve(const PlaneView &source) {
    constexpr int32_t kLimit = std::numeric_limits<int16_t>::max();
    return source.columns >= kReadColumns && source.rows >= kRows && source.columns <= kLimit &&
           source.rows <= kLimit;
  }

  // False if the pixels do not fit.
  HWY_INLINE bool place(const PlaneView &source, const PerspectivePositions (&at)[2]) {
    static constexpr ShuffleTable kFirst({0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1, 0, 1});
    static constexpr ShuffleTable kLast(
        {14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15, 14, 15});
    static constexpr ShuffleTable kTwice({0, 0, 2, 2, 4, 4, 6, 6, 8, 8, 10, 10, 12, 12, 14, 14});
    const UnsignedWords d;
    const auto limit = [&](int32_t value) { return hn::Set(d, static_cast<uint16_t>(value)); };
    const auto columns = pack_words(at[0].column, at[1].column);
    const auto rows = pack_words(at[0].row, at[1].row);
    const auto first_column =
        lower_of(shuffle_blocks(columns, kFirst), shuffle_blocks(columns, kLast));
    const auto first_row = lower_of(shuffle_blocks(rows, kFirst), shuffle_blocks(rows, kLast));
    const auto columns_in = hn::Sub(columns, first_column);
    const auto rows_in = hn::Sub(rows, first_row);
    // One column and one row more are those of the right and the lower neighbours.
    if (!are_within(columns_in, limit(16 - 2), rows_in, limit(kRows - 2)) ||
        !are_within(first_column, limit(source.columns - kReadColumns), first_row,
                    limit(source.rows - kRows))) {
      return false;
    }
    hn::Store(first_column, d, first_columns_);
    hn::Store(first_row, d, first_rows_);
    hn::Store(hn::Add(shuffle_blocks(columns_in, kTwice), limit(0x0100)), d, pairs_);
    hn::Store(rows_in, d, rows_);
    return true;
  }

  // Chooses, pair by pair, the rows with the upper and the lower neighbours.
  HWY_INLINE void load(const PlaneView &source, Samples (&neighbours)[2]) const {
    const UnsignedWords d;
    constexpr int32_t kLast = hn::MaxLanes(d) - 1;
    const uint8_t *first = source.row(first_rows_[0]) + first_columns_[0];
    const ptrdiff_t to_second = source.row(first_rows_[kLast]) + first_columns_[kLast] - first;
    const auto from = hn::BitCast(Bytes(), hn::Load(d, pairs_));
    const auto rows = hn::BitCast(Words(), hn::Load(d, rows_));
    const auto pairs = [&](int32_t row) {
      const auto bytes = load_blocks(first + row * source.stride, to_second);
      return hn::BitCast(d, hn::TableLookupBytes(bytes, from));
    };
    auto upper = pairs(0);
    auto lower = pairs(1);
    auto before = lower;
    for (int32_t row = 2; row < kRows; ++row) {
      const auto here = pairs(row);
      const auto is_below =
          hn::RebindMask(d, hn::Gt(rows, hn::Set(Words(), static_cast<int16_t>(row - 2))));
      upper = hn::IfThenElse(is_below, before, upper);
      lower = hn::IfThenElse(is_below, here, lower);
      before = here;
    }
    neighbours[0] = samples_of(hn::BitCast(Ints(), hn::InterleaveLower(d, upper, lower)));
    neighbours[1] = samples_of(hn::BitCast(Ints(), hn::InterleaveUpper(d, upper, lower)));
  }

 private:
  static constexpr size_t kWords = hn::MaxLanes(UnsignedWords());

  alignas(32) uint16_t first_columns_[kWords];  // of the block's window, in each word
  alignas(32) uint16_t first_rows_[kWords];
  alignas(32) uint16_t pairs_[kWords];  // bytes of the left and the right neighbour
  alignas(32) uint16_t rows_[kWords];   // of the upper neighbours
};

// Loads the neighbours of one register of grey pixels, each from its own place.
HWY_INLINE IntVector load_grey_one_by_one(const PlaneView &source, const int32_t *offsets) {
  const auto bytes = load_grey_neighbours<false>(source.data, source.data + source.stride, offsets);
  return hn::BitCast(Ints(), bytes);
}

// The same of three channels. Bytes are interleaved until a lane has one byte of each of a block's
// four pixels, U and V being the left and the right neighbour:
//
//   loaded         U0 U1 U2 V0 V1 V2 - - ...          of each pixel
//   interleaved    U0 U1 U2 V0                        lanes of four pixels
//                  V1 V2 -  -
HWY_INLINE void load_three_channels_one_by_one(const PlaneView &source, const int32_t *offsets,
                                               Samples (&channels)[3]) {
  const Bytes d8;
  const Words d16;
  const Ints d;
  const auto load_row = [&](const uint8_t *base, IntVector &first, IntVector &last) {
    const auto pixel = [&](int32_t i) {
      constexpr int32_t kNextBlock = kPixelsInWarpStep - 4;
      return load_blocks(base + offsets[i],
                         static_cast<ptrdiff_t>(offsets[i + kNextBlock]) - offsets[i]);
    };
    const auto p01 = hn::BitCast(d16, hn::InterleaveLower(d8, pixel(0), pixel(1)));
    const auto p23 = hn::BitCast(d16, hn::InterleaveLower(d8, pixel(2), pixel(3)));
    first = hn::BitCast(d, hn::InterleaveLower(d16, p01, p23));
    last = hn::BitCast(d, hn::InterleaveUpper(d16, p01, p23));
  };
  IntVector upper, upper_last, lower, lower_last;
  load_row(source.data, upper, upper_last);
  load_row(source.data + source.stride, lower, lower_last);
  channels[0] = {lane_of<0>(upper), lane_of<3>(upper), lane_of<0>(lower), lane_of<3>(lower)};
  channels[1] = {lane_of<1>(upper), lane_of<0>(upper_last), lane_of<1>(lower),
                 lane_of<0>(lower_last)};
  channels[2] = {lane_of<2>(upper), lane_of<1>(upper_last), lane_of<2>(lower),
                 lane_of<1>(lower_last)};
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
