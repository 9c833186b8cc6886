// Bytes to elements in vectors. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_TENSOR_TENSOR_STEPS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_TENSOR_TENSOR_STEPS_INL_H_
#undef TAVRINE_KERNELS_TENSOR_TENSOR_STEPS_INL_H_
#else
#define TAVRINE_KERNELS_TENSOR_TENSOR_STEPS_INL_H_
#endif

#include <cmath>
#include <type_traits>

#include "kernels/tensor/tensor.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

using Floats = hn::ScalableTag<float>;
using FloatVector = hn::VFromD<Floats>;

// (byte - mean) * (1 / scale)
class Product {
 public:
  explicit Product(const ChannelNormalization &channel)
      : mean_(hn::Set(Floats(), channel.mean)),
        reciprocal_(hn::Set(Floats(), 1.0F / channel.scale)) {}

  HWY_INLINE FloatVector operator()(FloatVector bytes) const {
    return hn::Mul(hn::Sub(bytes, mean_), reciprocal_);
  }

 private:
  FloatVector mean_;
  FloatVector reciprocal_;
};

// (byte - mean) / scale
class Quotient {
 public:
#if TAVRINE_IS_NEON
  // There is no exact division. With the reciprocal in two parts, of which the first is so short
  // that its product with a byte less a mean of few digits is exact, the sum of the products is
  // rounded as the quotient is, but for one in some ten thousand.
  explicit Quotient(const ChannelNormalization &channel)
      : mean_(vdupq_n_f32(channel.mean)), first_(vdupq_n_f32(1.0F / channel.scale)) {
    first_ = vreinterpretq_f32_u32(
        vandq_u32(vreinterpretq_u32_f32(first_), vdupq_n_u32(0xFFFFFC00)));  // 14 bits
    rest_ = vdupq_n_f32(
        static_cast<float>(1.0 / double{channel.scale} - double{vgetq_lane_f32(first_, 0)}));
  }

  HWY_INLINE FloatVector operator()(FloatVector bytes) const {
    const float32x4_t difference = vsubq_f32(bytes.raw, mean_);
    return FloatVector{vaddq_f32(vmulq_f32(difference, first_), vmulq_f32(difference, rest_))};
  }

 private:
  float32x4_t mean_;
  float32x4_t first_;
  float32x4_t rest_;
#else
  explicit Quotient(const ChannelNormalization &channel)
      : mean_(hn::Set(Floats(), channel.mean)), scale_(hn::Set(Floats(), channel.scale)) {}

  HWY_INLINE FloatVector operator()(FloatVector bytes) const {
    return hn::Div(hn::Sub(bytes, mean_), scale_);
  }

 private:
  FloatVector mean_;
  FloatVector scale_;
#endif
};

#endif  // TAVRINE_HAS_VECTORS

#if TAVRINE_IS_NEON

constexpr int32_t kPixelsInFill = 16;

template <class Normalize>
HWY_INLINE float32x4_t normalize_quarter(uint16x4_t bytes, const Normalize &normalize) {
  return normalize(FloatVector{vcvtq_f32_u32(vmovl_u16(bytes))}).raw;
}

template <class Normalize>
HWY_INLINE void normalize_half(uint8x8_t bytes, const Normalize &normalize, float *out) {
  const uint16x8_t words = vmovl_u8(bytes);
  vst1q_f32(out, normalize_quarter(vget_low_u16(words), normalize));
  vst1q_f32(out + 4, normalize_quarter(vget_high_u16(words), normalize));
}

template <class Normalize>
HWY_INLINE void normalize_half(uint8x8_t bytes, const Normalize &normalize, uint8_t *out) {
  const uint16x8_t words = vmovl_u8(bytes);
  const auto narrow = [&](uint16x4_t quarter) {
    return vmovn_u32(vcvtq_u32_f32(normalize_quarter(quarter, normalize)));
  };
  vst1_u8(out, vmovn_u16(vcombine_u16(narrow(vget_low_u16(words)), narrow(vget_high_u16(words)))));
}

template <class Normalize, typename Element>
HWY_INLINE void normalize_16(uint8x16_t bytes, const Normalize &normalize, Element *out) {
  normalize_half(vget_low_u8(bytes), normalize, out);
  normalize_half(vget_high_u8(bytes), normalize, out + 8);
}

template <class Normalize, typename Element>
HWY_INLINE void normalize_grey(const uint8_t *bytes, const Normalize &normalize, Element *out) {
  normalize_16(vld1q_u8(bytes), normalize, out);
}

template <typename Element>
HWY_INLINE void normalize_color_row(const uint8_t *pixels, int32_t columns,
                                    const Product products[3], Element *const out[3]) {
  const Product first = products[0];
  const Product second = products[1];
  const Product third = products[2];
  for_each_step(columns, kPixelsInFill, [&](int32_t x) {
    const uint8x16x3_t bytes = vld3q_u8(pixels + 3 * x);
    normalize_16(bytes.val[0], first, out[0] + x);
    normalize_16(bytes.val[1], second, out[1] + x);
    normalize_16(bytes.val[2], third, out[2] + x);
  });
}

#elif TAVRINE_IS_X86

constexpr int32_t kPixelsInFill = 8;

// Planes may lie so that they drive each other's lines out of the cache: they take turns by lines.
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

template <class Normalize, typename Element>
HWY_INLINE void normalize_grey(const uint8_t *bytes, const Normalize &normalize, Element *out) {
  const Ints d32;
  const hn::Rebind<uint8_t, Ints> d8;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d32));
  for (int32_t x = 0; x < kPixelsInFill; x += lanes) {
    const auto integers = hn::PromoteTo(d32, hn::LoadU(d8, bytes + x));
    store_elements(normalize(hn::ConvertTo(Floats(), integers)), out + x);
  }
}

// Where byte c of each of eight pixels lies, in two blocks of four that begin 8 bytes apart, so
// that nothing behind the eight is read.
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

// The pixels from x on of eight that begin at `pixels`; one byte of each is an integer.
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
                                   const Product products[3], Element *const out[3]) {
  constexpr auto kLanes = static_cast<int32_t>(HWY_LANES(int32_t));
  const Product first = products[0];
  const Product second = products[1];
  const Product third = products[2];
  Element *const first_out = out[0];
  Element *const second_out = out[1];
  Element *const third_out = out[2];
  for_each_step(columns, kCount, [&](int32_t x) {
    SplitPixels parts[kCount / kLanes];
    for (int32_t i = 0; i < kCount; i += kLanes) {
      const int32_t inside = i % kPixelsInFill;
      parts[i / kLanes] = SplitPixels(pixels + 3 * (x + i - inside), inside);
    }
    const auto take_turn = [&](int32_t byte, const Product &product, Element *turn) {
      for (const SplitPixels &part : parts) {
        store_elements(product(hn::ConvertTo(Floats(), part.byte(byte))), turn);
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
                                    const Product products[3], Element *const out[3]) {
  if (columns < kPixelsInTurn) {
    normalize_in_turns<kPixelsInFill>(pixels, columns, products, out);
  } else {
    normalize_in_turns<kPixelsInTurn>(pixels, columns, products, out);
  }
}

// Truncated, the grey values of a byte tensor must fit 32 bits.
template <typename Element>
bool weighs_in_vectors(const ChannelNormalization &channel) {
  if (std::is_same_v<Element, float>) {
    return true;
  }
  const double scale = std::fabs(double{channel.scale});
  return (std::fabs(double{channel.mean}) + 256) / scale < 1 << 30;
}

// (0.587 G + 0.299 R + 0.114 B - mean) / scale in double precision
class WeightedQuotient {
 public:
  WeightedQuotient(int32_t red, const ChannelNormalization &channel)
      : red_(red), mean_(channel.mean), scale_(channel.scale) {}

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

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
