// SSSE3, SSE4 and AVX2: the affine warp by windows. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_WINDOWS_X86_INL_H_
#endif

#include <algorithm>
#include <array>

#include "kernels/warp/rows_ahead.h"
#include "kernels/warp/warp_affine_columns.h"
#include "kernels/warp/warp_affine_scalar.h"
#include "kernels/warp/warp_affine_x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

// A step warps eight pixels for each block of 16 bytes in a register. A window of one row is a
// block: a shuffle moves the left and the right neighbour of each sample side by side, and a
// multiplication of bytes weighs and adds them. Grey pixels take one word of a register of sums
// each, pairs two, and three channels four with one unused, so that eight pixels take kWords
// registers, the parts:
//
//   grey    part 0   0 1 2 3 4 5 6 7          pixels
//   pairs   part 0   0 0 1 1 2 2 3 3          part 1   4 4 5 5 6 6 7 7
//   three   part 0   0 0 0 - 1 1 1 -          part 1   2 2 2 - 3 3 3 -       and so on
template <int kChannels>
constexpr int32_t kWordsPerPixel = kChannels == 3 ? 4 : kChannels;

constexpr int32_t kPixelsInBlock = 8;

// `kPixels` consecutive pixels, of one or more parts, share a window of `kRows` rows.
template <int32_t kChannels_, int32_t kPixels_, int32_t kRows_>
struct WindowShape {
  static constexpr int32_t kChannels = kChannels_;
  static constexpr int32_t kPixels = kPixels_;
  static constexpr int32_t kRows = kRows_;
  static constexpr int32_t kBytes = kPixels == 1 ? 8 : 16;
  static constexpr int32_t kColumns = kBytes / kChannels;  // whole ones
  static constexpr int32_t kReadColumns = (kBytes + kChannels - 1) / kChannels;
  static constexpr const char *kPath =
      kPixels == 1 ? "warp_affine.single_pixels" : "warp_affine.windows";
  static constexpr auto kPixelsInStep = static_cast<int32_t>(hn::MaxLanes(Words()));
  static constexpr int32_t kAlignment = 1;
  // In a window. Single pixels have a window of eight bytes each, and share parts.
  static constexpr int32_t kParts = std::max(kPixels * kWordsPerPixel<kChannels> / 8, 1);
};

// The lower halves of the offsets.
struct WindowColumns {
  static int64_t bytes_for(int64_t columns) {
    return columns * 2 * static_cast<int64_t>(sizeof(int16_t));
  }

  WindowColumns(const ColumnOffsets &offsets, int32_t columns, void *memory)
      : x_low(static_cast<int16_t *>(memory)), y_low(x_low + columns) {
    const auto low = [](int32_t offset) { return static_cast<int16_t>(offset); };
    std::transform(offsets.x, offsets.x + columns, x_low, low);
    std::transform(offsets.y, offsets.y + columns, y_low, low);
  }

  int16_t *x_low;
  int16_t *y_low;
};

template <int kChannels>
constexpr auto window_shapes() {
  if constexpr (kChannels == 1) {
    return ShapeList<WindowShape<1, 8, 3>, WindowShape<1, 8, 4>, WindowShape<1, 8, 5>,
                     WindowShape<1, 8, 6>, WindowShape<1, 8, 9>>();
  } else if constexpr (kChannels == 2) {
    return ShapeList<WindowShape<2, 4, 3>, WindowShape<2, 4, 5>>();
  } else if constexpr (kChannels == 3) {
    return ShapeList<WindowShape<3, 4, 3>, WindowShape<3, 1, 2>>();
  } else {
    return ShapeList<>();
  }
}

template <class WordAt>
constexpr ShuffleTable shuffle_words(WordAt word_at) {
  std::array<uint8_t, 16> bytes = {};
  for (uint8_t i = 0; i < 8; ++i) {
    bytes[2 * i] = static_cast<uint8_t>(2 * word_at(i));
    bytes[2 * i + 1] = static_cast<uint8_t>(2 * word_at(i) + 1);
  }
  return ShuffleTable(bytes);
}

// Gives each pixel the position of that pixel of its window that comes first in the source.
template <int32_t kPixels>
ShuffleTable lowest_of_window(bool rises) {
  static constexpr ShuffleTable kFirst = shuffle_words([](int i) { return i / kPixels * kPixels; });
  static constexpr ShuffleTable kLast =
      shuffle_words([](int i) { return i / kPixels * kPixels + kPixels - 1; });
  return rises ? kFirst : kLast;
}

// The words of the pixels of a part, each as often as a pixel has words.
template <int kWords>
HWY_INLINE hn::VFromD<Words> spread_to_part(hn::VFromD<Words> pixels, int32_t part) {
  if constexpr (kWords == 1) {
    return pixels;
  } else {
    static constexpr ShuffleTable kControls[] = {
        shuffle_words([](int i) { return i / kWords; }),
        shuffle_words([](int i) { return i / kWords + 8 / kWords; }),
        shuffle_words([](int i) { return i / kWords + 16 / kWords; }),
        shuffle_words([](int i) { return i / kWords + 24 / kWords; })};
    return hn::BitCast(Words(), hn::TableLookupBytes(pixels, kControls[part].load()));
  }
}

// What is the same for all words of a pixel, for the pixels of a step.
template <class Shape>
struct WindowPixels {
  HWY_INLINE WindowPixels(hn::VFromD<Words> x, hn::VFromD<Words> y) {
    const Words d;
    const hn::RebindToUnsigned<Words> du;
    constexpr int kFraction = scalar::kPositionBits - scalar::kSubpixelBits;
    constexpr int kSubpixels = scalar::kSubpixels;
    // Products whose upper halves are column * kChannels, twice, and 255 u. GCC makes four
    // operations of a plain product with a constant.
    const auto column = hn::And(x, hn::Set(d, static_cast<int16_t>(-(1 << scalar::kPositionBits))));
    starts = hn::BitCast(
        d, hn::MulHigh(hn::BitCast(du, column), hn::Set(du, Shape::kChannels * 0x101 << 6)));
    const auto u = hn::And(hn::ShiftLeft<11 - kFraction>(x),
                           hn::Set(d, static_cast<int16_t>((kSubpixels - 1) << 11)));
    weights = hn::Add(hn::BitCast(d, hn::MulHigh(hn::BitCast(du, u), hn::Set(du, 0xFF << 5))),
                      hn::Set(d, kSubpixels));
    v_512 = hn::ShiftLeft<9 - kFraction>(hn::And(y, hn::Set(d, (kSubpixels - 1) << kFraction)));
    rows = y;
  }

  hn::VFromD<Words> starts;   // bytes column * kChannels, twice
  hn::VFromD<Words> weights;  // bytes 32 - u and u
  hn::VFromD<Words> v_512;
  hn::VFromD<Words> rows;  // positions
};

// A part, for which the rows of its window are taken one after the other.
template <class Shape>
class WindowPart {
 public:
  HWY_INLINE WindowPart(const WindowPixels<Shape> &pixels, int32_t part)
      : rows_(spread(pixels.rows, part)),
        v_512_(spread(pixels.v_512, part)),
        from_(neighbours(pixels, part)),
        weights_(hn::BitCast(Bytes(), spread(pixels.weights, part))) {}

  // Row kRow has the lower neighbours of pixels in row kRow - 1. Pixels further down, for which
  // this is too early, are replaced when their own rows are taken.
  template <int32_t kRow>
  HWY_INLINE void take_row(hn::VFromD<Bytes> bytes) {
    const auto sums = multiply_bytes(hn::TableLookupBytes(bytes, from_), weights_);
    if constexpr (kRow == 0) {
      upper_ = sums;
    } else if constexpr (kRow == 1) {
      lower_ = sums;
    } else {
      constexpr auto kBefore = static_cast<int16_t>(((kRow - 1) << scalar::kPositionBits) - 1);
      const auto is_below = hn::Gt(rows_, hn::Set(Words(), kBefore));
      upper_ = hn::IfThenElse(is_below, previous_, upper_);
      lower_ = hn::IfThenElse(is_below, sums, lower_);
    }
    previous_ = sums;
  }

  HWY_INLINE hn::VFromD<Words> blend() const { return blend_sums(upper_, lower_, v_512_); }

 private:
  static HWY_INLINE hn::VFromD<Bytes> neighbours(const WindowPixels<Shape> &pixels, int32_t part) {
    if constexpr (Shape::kPixels == 1) {
      return kLeftmost.load();
    } else {
      return hn::Add(hn::BitCast(Bytes(), spread(pixels.starts, part)), kLeftmost.load());
    }
  }

  static HWY_INLINE hn::VFromD<Words> spread(hn::VFromD<Words> pixels, int32_t part) {
    return spread_to_part<kWordsPerPixel<Shape::kChannels>>(pixels, part);
  }

  // Bytes of the left and the right neighbour of each channel where the column is 0.
  static constexpr ShuffleTable leftmost() {
    std::array<uint8_t, 16> bytes = {};
    for (int32_t i = 0; i < 8; ++i) {
      const int32_t word = i % kWordsPerPixel<Shape::kChannels>;
      const int32_t pixel = Shape::kPixels == 1 ? i - word : 0;
      const int32_t channel = 2 * pixel + std::min(word, Shape::kChannels - 1);
      bytes[2 * i] = static_cast<uint8_t>(channel);
      bytes[2 * i + 1] = static_cast<uint8_t>(channel + Shape::kChannels);
    }
    return ShuffleTable(bytes);
  }

  static constexpr ShuffleTable kLeftmost = leftmost();

  hn::VFromD<Words> rows_;
  hn::VFromD<Words> v_512_;
  hn::VFromD<Bytes> from_;
  hn::VFromD<Bytes> weights_;
  hn::VFromD<Words> previous_;
  hn::VFromD<Words> upper_;
  hn::VFromD<Words> lower_;
};

template <class Shape, int32_t kRow = 0>
HWY_INLINE void take_rows(const uint8_t *row, ptrdiff_t stride, ptrdiff_t to_second_block,
                          WindowPart<Shape> *parts) {
  const auto bytes = load_blocks(row, to_second_block);
  parts[0].template take_row<kRow>(bytes);
  if constexpr (Shape::kParts == 2) {
    parts[1].template take_row<kRow>(bytes);
  }
  if constexpr (kRow + 1 < Shape::kRows) {
    take_rows<Shape, kRow + 1>(row + stride, stride, to_second_block, parts);
  }
}

template <int32_t kChannels>
HWY_INLINE void store_parts(const hn::VFromD<Words> *sums, uint8_t *out) {
  if constexpr (kChannels == 1) {
    const hn::Half<Bytes> half;
    hn::StoreU(hn::LowerHalf(half, pack_in_order(sums[0], sums[0])), half, out);
  } else if constexpr (kChannels == 2) {
    hn::StoreU(pack_in_blocks(sums[0], sums[1]), Bytes(), out);
  } else {
    store_three_channels(pack_in_blocks(sums[0], sums[1]), pack_in_blocks(sums[2], sums[3]), out);
  }
}

// Steps of consecutive columns in a destination row.
template <class Shape>
class WindowSteps {
 public:
  HWY_INLINE WindowSteps(const PlaneView &source, const RowsAhead &ahead, scalar::Offset start,
                         const ColumnOffsets &offsets, const WindowColumns &columns, Run run)
      : source_(source),
        ahead_(ahead),
        x_(start.x, offsets.x, columns.x_low, run),
        y_(start.y, offsets.y, columns.y_low, run) {}

  HWY_INLINE void warp(int32_t at, uint8_t *out) const {
    const WindowPixels<Shape> pixels(x_.in_window(at), y_.in_window(at));
    hn::VFromD<Words> sums[kWords];
    if constexpr (kPixels == 1) {
      alignas(32) int32_t offsets[kPixelsInStep];
      store_offsets(at, offsets);
      ahead_.prefetch(source_.data + offsets[0]);
      for (int32_t i = 0; i < kWords; ++i) {
        WindowPart<Shape> part(pixels, i);
        part.template take_row<0>(load_pixels(source_.data, offsets + i * kPixelsInPart));
        part.template take_row<1>(
            load_pixels(source_.data + source_.stride, offsets + i * kPixelsInPart));
        sums[i] = part.blend();
      }
    } else {
      for (int32_t i = 0; i < kWords; i += Shape::kParts) {
        const uint8_t *window = window_of(at + i * kPixelsInPart);
        if constexpr (Shape::kChannels == 3) {  // fewer channels gain nothing
          ahead_.prefetch(window);
        }
        const ptrdiff_t to_second_block =
            kPixelsInStep == kPixelsInBlock
                ? 0
                : window_of(at + i * kPixelsInPart + kPixelsInBlock) - window;
        if constexpr (Shape::kParts == 1) {
          WindowPart<Shape> parts[1] = {{pixels, i}};
          take_rows(window, source_.stride, to_second_block, parts);
          sums[i] = parts[0].blend();
        } else {
          WindowPart<Shape> parts[2] = {{pixels, i}, {pixels, i + 1}};
          take_rows(window, source_.stride, to_second_block, parts);
          sums[i] = parts[0].blend();
          sums[i + 1] = parts[1].blend();
        }
      }
    }
    store_parts<Shape::kChannels>(sums, out);
  }

 private:
  static constexpr int32_t kPixels = Shape::kPixels;
  static constexpr int32_t kPixelsInStep = Shape::kPixelsInStep;
  static constexpr int32_t kWords = kWordsPerPixel<Shape::kChannels>;
  static constexpr int32_t kPixelsInPart = kPixelsInBlock / kWords;

  // Positions along one axis.
  struct Axis {
    HWY_INLINE Axis(int32_t start_, const int32_t *offsets, const int16_t *low_, Run run)
        : start(start_), low(low_ + run.first) {
      const bool rises = offsets[run.first] <= offsets[run.last - 1];
      lowest = offsets + run.first + (rises ? 0 : kPixels - 1);
      control = lowest_of_window<kPixels>(rises).load();
    }

    // Positions from the first column or row of the pixels' window. They differ from positions in
    // the source by whole pixels and fit 16 bits, so that the lower halves of offsets and start
    // are enough.
    HWY_INLINE hn::VFromD<Words> in_window(int32_t at) const {
      const Words d;
      const auto positions =
          hn::Add(hn::LoadU(d, low + at), hn::Set(d, static_cast<int16_t>(start)));
      if constexpr (kPixels == 1) {
        return positions;  // only subpixels matter
      } else {
        const auto first = hn::BitCast(d, hn::TableLookupBytes(positions, control));
        const auto kWhole = static_cast<int16_t>(-(1 << scalar::kPositionBits));
        return hn::Sub(positions, hn::And(first, hn::Set(d, kWhole)));
      }
    }

    HWY_INLINE int32_t first_of_window(int32_t at) const {
      return (start + lowest[at]) >> scalar::kPositionBits;
    }

    int32_t start;
    const int16_t *low;
    const int32_t *lowest;
    hn::VFromD<Bytes> control;
  };

  HWY_INLINE const uint8_t *window_of(int32_t at) const {
    return source_.row(y_.first_of_window(at)) +
           static_cast<ptrdiff_t>(x_.first_of_window(at)) * Shape::kChannels;
  }

  HWY_INLINE void store_offsets(int32_t at, int32_t *offsets) const {
    const Ints d;
    constexpr auto kLanes = static_cast<int32_t>(hn::MaxLanes(d));
    for (int32_t i = 0; i < kPixelsInStep; i += kLanes) {
      const AffinePositions positions = compute_positions<Shape::kChannels, false>(
          source_, {x_.start, y_.start}, x_.lowest + at + i, y_.lowest + at + i);
      hn::Store(positions.offset, d, offsets + i);
    }
  }

  // Eight bytes of each of a part's two pixels in each block. Offsets leave their register two at a
  // time: extracting and sign-extending each is slower.
  static HWY_INLINE hn::VFromD<Bytes> load_pixels(const uint8_t *base, const int32_t *offsets) {
    const auto block = [&](int32_t i) {
      const auto both = load_as<uint64_t>(reinterpret_cast<const uint8_t *>(offsets + i));
      return _mm_set_epi64x(load_as<int64_t>(base + static_cast<ptrdiff_t>(both >> 32)),
                            load_as<int64_t>(base + static_cast<uint32_t>(both)));
    };
#if HWY_TARGET == HWY_AVX2
    return hn::VFromD<Bytes>{_mm256_set_m128i(block(kPixelsInBlock), block(0))};
#else
    return hn::VFromD<Bytes>{block(0)};
#endif
  }

  const PlaneView source_;
  const RowsAhead ahead_;
  const Axis x_;
  const Axis y_;
};

template <class Shape>
HWY_INLINE void warp_windows_of_row(const PlaneView &source, const RowsAhead &ahead,
                                    scalar::Offset start, const ColumnOffsets &offsets,
                                    const WindowColumns &columns, Run run, uint8_t *out) {
  const WindowSteps<Shape> steps(source, ahead, start, offsets, columns, run);
  for_each_step(run.last - run.first, Shape::kPixelsInStep, [&](int32_t x) TAVRINE_INLINE_LAMBDA {
    steps.warp(x, out + static_cast<ptrdiff_t>(x) * Shape::kChannels);
  });
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
