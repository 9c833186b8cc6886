// Bytes to elements on SSSE3, SSE4 and AVX2: the steps of tensor.cpp. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_TENSOR_TENSOR_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_TENSOR_TENSOR_X86_INL_H_
#undef TAVRINE_KERNELS_TENSOR_TENSOR_X86_INL_H_
#else
#define TAVRINE_KERNELS_TENSOR_TENSOR_X86_INL_H_
#endif

#include <cmath>
#include <type_traits>

#include "kernels/tensor/tensor-inl.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

constexpr bool kPrefersTables = false;
constexpr int32_t kPixelsInFill = 8;

// Output planes may alias in the cache: a few lines of one are written before those of the next.
constexpr int32_t kPixelsInTurn = 32;

HWY_INLINE void store_elements(FloatVector values, float *out) {
  hn::StoreU(values, Floats(), out);
}

HWY_INLINE void store_elements(FloatVector values, uint8_t *out) {
  const Ints d32;
  const hn::Rebind<uint8_t, Ints> d8;
  const auto integers = hn::ConvertTo(d32, hn::Max(values, hn::Zero(Floats())));
  hn::StoreU(hn::DemoteTo(d8, hn::And(integers, hn::Set(d32, 0xFF))), d8, out);
}

template <class Normalizer, typename Element>
HWY_INLINE void normalize_grey(const uint8_t *bytes, const Normalizer &normalizer, Element *out) {
  const Ints d32;
  const hn::Rebind<uint8_t, Ints> d8;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d32));
  for (int32_t x = 0; x < kPixelsInFill; x += lanes) {
    const auto integers = hn::PromoteTo(d32, hn::LoadU(d8, bytes + x));
    store_elements(normalizer(hn::ConvertTo(Floats(), integers)), out + x);
  }
}

// Eight pixels fill 24 bytes: two blocks that begin 8 bytes apart hold four pixels each, in their
// first and their last 12 bytes, and nothing beyond the eight is read. A lookup makes integers of
// byte c of each pixel:
//
//   pixels 0 to 3  r0 g0 b0 r1 g1 b1 r2 g2 b2 r3 g3 b3 .. .. .. ..   bytes c, c + 3, ...
//   pixels 4 to 7  .. .. .. .. r4 g4 b4 r5 g5 b5 r6 g6 b6 r7 g7 b7   bytes c + 4, c + 7, ...
struct SplitTables {
  alignas(32) uint8_t order[3][32];

  constexpr SplitTables() : order() {
    for (int byte = 0; byte < 3; ++byte) {
      for (int i = 0; i < 32; ++i) {
        order[byte][i] =
            static_cast<uint8_t>(i % 4 == 0 ? i % 16 / 4 * 3 + byte + i / 16 * 4 : 0x80);
      }
    }
  }
};

// Those of the eight pixels at `pixels` that fill a register as integers, from x on.
class SplitPixels {
 public:
  SplitPixels() = default;
  HWY_INLINE SplitPixels(const uint8_t *pixels, int32_t x)
      : blocks_(load_blocks(pixels + 2 * x, 8)), x_(x) {}

  HWY_INLINE hn::VFromD<Ints> byte(int32_t index) const {
    static constexpr SplitTables kTables;
    const auto order = hn::Load(Bytes(), kTables.order[index] + 4 * x_);
    return hn::BitCast(Ints(), hn::TableLookupBytesOr0(blocks_, order));
  }

 private:
  hn::VFromD<Bytes> blocks_;
  int32_t x_;
};

template <int32_t kCount, typename Element>
HWY_INLINE void normalize_in_turns(const uint8_t *pixels, int32_t columns,
                                   const MulNormalizer normalizers[3], Element *const out[3]) {
  constexpr auto kLanes = static_cast<int32_t>(HWY_LANES(int32_t));
  const MulNormalizer first = normalizers[0];
  const MulNormalizer second = normalizers[1];
  const MulNormalizer third = normalizers[2];
  Element *const first_out = out[0];
  Element *const second_out = out[1];
  Element *const third_out = out[2];
  for_each_step(columns, kCount, [&](int32_t x) {
    SplitPixels parts[kCount / kLanes];
    for (int32_t i = 0; i < kCount; i += kLanes) {
      const int32_t inside = i % kPixelsInFill;
      parts[i / kLanes] = SplitPixels(pixels + 3 * (x + i - inside), inside);
    }
    const auto take_turn = [&](int32_t byte, const MulNormalizer &normalizer, Element *turn) {
      for (const SplitPixels &part : parts) {
        store_elements(normalizer(hn::ConvertTo(Floats(), part.byte(byte))), turn);
        turn += kLanes;
      }
    };
    take_turn(0, first, first_out + x);
    take_turn(1, second, second_out + x);
    take_turn(2, third, third_out + x);
  });
}

template <typename Element>
HWY_INLINE void normalize_color_row(const uint8_t *pixels, int32_t columns,
                                    const MulNormalizer normalizers[3], Element *const out[3]) {
  if (columns < kPixelsInTurn) {
    normalize_in_turns<kPixelsInFill>(pixels, columns, normalizers, out);
  } else {
    normalize_in_turns<kPixelsInTurn>(pixels, columns, normalizers, out);
  }
}

// (0.587 G + 0.299 R + 0.114 B - mean) / scale in double precision
class LumaNormalizer {
 public:
  LumaNormalizer(int32_t red, const ChannelNormalization &channel)
      : red_(red), mean_(channel.mean), scale_(channel.scale) {}

  // Truncated, the values of byte elements must fit an integer of 32 bits.
  template <typename Element>
  static bool serves(const ChannelNormalization &channel) {
    if (std::is_same_v<Element, float>) {
      return true;
    }
    const double scale = std::fabs(double{channel.scale});
    return (std::fabs(double{channel.mean}) + 256) / scale < 1 << 30;
  }

  template <typename Element>
  HWY_INLINE void fill(const uint8_t *pixels, Element *out) const {
    const auto lanes = static_cast<int32_t>(hn::Lanes(Ints()));
    for (int32_t x = 0; x < kPixelsInFill; x += lanes) {
      const SplitPixels split(pixels, x);
      const auto red = split.byte(red_);
      const auto green = split.byte(1);
      const auto blue = split.byte(2 - red_);
      store_doubles(weigh(hn::LowerHalf(red), hn::LowerHalf(green), hn::LowerHalf(blue)), out + x);
      const hn::Half<Ints> half;
      store_doubles(
          weigh(hn::UpperHalf(half, red), hn::UpperHalf(half, green), hn::UpperHalf(half, blue)),
          out + x + lanes / 2);
    }
  }

 private:
  using Doubles = hn::ScalableTag<double>;
  using DoubleVector = hn::VFromD<Doubles>;
  using HalfOfInts = hn::VFromD<hn::Half<Ints> >;

  HWY_INLINE DoubleVector weigh(HalfOfInts red, HalfOfInts green, HalfOfInts blue) const {
    const Doubles d;
    const auto product = [d](double weight, HalfOfInts bytes) {
      return hn::Mul(hn::Set(d, weight), hn::PromoteTo(d, bytes));
    };
    const auto grey =
        hn::Add(hn::Add(product(0.587, green), product(0.299, red)), product(0.114, blue));
    return hn::Div(hn::Sub(grey, hn::Set(d, mean_)), hn::Set(d, scale_));
  }

  static HWY_INLINE void store_doubles(DoubleVector values, float *out) {
    const hn::Rebind<float, Doubles> d;
    hn::StoreU(hn::DemoteTo(d, values), d, out);
  }

  static HWY_INLINE void store_doubles(DoubleVector values, uint8_t *out) {
    const hn::Rebind<int32_t, Doubles> d32;
    const hn::Rebind<uint8_t, Doubles> d8;
    const auto integers = hn::DemoteTo(d32, hn::Max(values, hn::Zero(Doubles())));
    hn::StoreU(hn::DemoteTo(d8, hn::And(integers, hn::Set(d32, 0xFF))), d8, out);
  }

  int32_t red_;
  double mean_;
  double scale_;
};

template <typename Element>
bool normalize_luma_row(const uint8_t *pixels, int32_t columns, int32_t red,
                        const ChannelNormalization &channel, Element *out) {
  if (columns < kPixelsInFill || !LumaNormalizer::serves<Element>(channel)) {
    return false;
  }
  const LumaNormalizer normalizer(red, channel);
  for_each_step(columns, kPixelsInFill,
                [&](int32_t x) { normalizer.fill(pixels + 3 * x, out + x); });
  return true;
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
