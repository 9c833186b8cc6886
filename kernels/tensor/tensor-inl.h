// Steps of tensor.cpp that Highway's operations serve on every family. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_TENSOR_TENSOR_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_TENSOR_TENSOR_INL_H_
#undef TAVRINE_KERNELS_TENSOR_TENSOR_INL_H_
#else
#define TAVRINE_KERNELS_TENSOR_TENSOR_INL_H_
#endif

#include "kernels/tensor/tensor.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

using Floats = hn::ScalableTag<float>;
using FloatVector = hn::VFromD<Floats>;

// (byte - mean) * (1 / scale)
class MulNormalizer {
 public:
  explicit MulNormalizer(const ChannelNormalization &channel)
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
class DivNormalizer {
 public:
  explicit DivNormalizer(const ChannelNormalization &channel)
      : mean_(hn::Set(Floats(), channel.mean)), scale_(hn::Set(Floats(), channel.scale)) {}

  HWY_INLINE FloatVector operator()(FloatVector bytes) const {
    return hn::Div(hn::Sub(bytes, mean_), scale_);
  }

 private:
  FloatVector mean_;
  FloatVector scale_;
};

// Byte c of each of byte_lanes() pixels to out[c].
HWY_INLINE void split_bytes(const uint8_t *pixels, uint8_t *const out[3], int32_t x) {
  const Bytes d;
  hn::VFromD<Bytes> first, second, third;
  hn::LoadInterleaved3(d, pixels + 3 * x, first, second, third);
  hn::StoreU(first, d, out[0] + x);
  hn::StoreU(second, d, out[1] + x);
  hn::StoreU(third, d, out[2] + x);
}

template <typename Element>
void repeat_in_vectors(Element value, int32_t columns, Element *out) {
  const hn::ScalableTag<Element> d;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d));
  const auto values = hn::Set(d, value);
  for_each_step(columns, 4 * lanes, [&](int32_t x) {
    hn::StoreU(values, d, out + x);
    hn::StoreU(values, d, out + x + lanes);
    hn::StoreU(values, d, out + x + 2 * lanes);
    hn::StoreU(values, d, out + x + 3 * lanes);
  });
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
