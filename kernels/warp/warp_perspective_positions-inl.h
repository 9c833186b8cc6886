// Source positions and weights of the perspective warp's pixels in vectors. Included once for each
// instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_POSITIONS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_POSITIONS_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_POSITIONS_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_POSITIONS_INL_H_
#endif

#include "kernels/vector-inl.h"
#include "kernels/warp/warp_perspective.h"
#include "kernels/warp/warp_perspective_lanes_arm-inl.h"
#include "kernels/warp/warp_perspective_lanes_x86-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// The terms of the three sums that depend on the row alone, and the matrix for the others.
struct RowTerms {
  RowTerms(const PerspectiveMatrix &elements, int32_t row)
      : matrix(elements),
        x(static_cast<float>(row) * matrix.m[1]),
        y(static_cast<float>(row) * matrix.m[4]),
        w(static_cast<float>(row) * matrix.m[7]) {}

  PerspectiveMatrix matrix;
  float x, y, w;
};

// Of a register of pixels: source positions, their whole parts, and their fractions.
struct PerspectivePositions {
  FloatVector x, y;
  IntVector column, row;
  FloatVector u, v;
};

// Consecutive columns.
HWY_INLINE IntVector columns_from(int32_t first) {
  const Ints d;
  alignas(32) static constexpr int32_t kFirst[8] = {0, 1, 2, 3, 4, 5, 6, 7};
  return hn::Add(hn::Set(d, first), hn::Load(d, kFirst));
}

HWY_INLINE PerspectivePositions compute_positions(const RowTerms &terms, IntVector columns) {
  const Floats df;
  const auto across = hn::ConvertTo(df, columns);
  const auto sum = [&](float term, float factor, float last) {
    return hn::Add(hn::Add(hn::Set(df, term), hn::Mul(across, hn::Set(df, factor))),
                   hn::Set(df, last));
  };
  const float *m = terms.matrix.m;
  PerspectivePositions at;
  at.x = sum(terms.x, m[0], m[2]);
  at.y = sum(terms.y, m[3], m[5]);
  divide(at.x, at.y, sum(terms.w, m[6], m[8]));
  at.column = truncate(at.x);
  at.row = truncate(at.y);
  at.u = hn::Sub(at.x, hn::ConvertTo(df, at.column));
  at.v = hn::Sub(at.y, hn::ConvertTo(df, at.row));
  return at;
}

template <int kChannels>
HWY_INLINE IntVector source_offsets(const PlaneView &source, IntVector column, IntVector row) {
  const Ints d;
  const auto start = kChannels == 1 ? column : hn::Add(hn::ShiftLeft<1>(column), column);
  return hn::Add(hn::Mul(row, hn::Set(d, static_cast<int32_t>(source.stride))), start);
}

// Negative where a neighbour, or a column that loading may read, is outside the source. Lanes are
// unsigned so that differences may wrap; where they do, the column or row itself is negative.
template <int32_t kOverreadColumns>
HWY_INLINE IntVector outside(const PlaneView &source, const PerspectivePositions &at) {
  const hn::RebindToUnsigned<Ints> d;
  const auto bits_below = [&](int32_t limit, IntVector index) {
    const auto bits = hn::BitCast(d, index);
    return hn::Or(bits, hn::Sub(hn::Set(d, static_cast<uint32_t>(limit)), bits));
  };
  return hn::BitCast(Ints(), hn::Or(bits_below(source.columns - 2 - kOverreadColumns, at.column),
                                    bits_below(source.rows - 2, at.row)));
}

struct Weights {
  Weights(FloatVector u, FloatVector v) {
    const auto one = hn::Set(Floats(), 1.0F);
    const auto not_u = hn::Sub(one, u);
    const auto not_v = hn::Sub(one, v);
    w01 = hn::Mul(u, not_v);
    w00 = hn::Mul(not_u, not_v);
    w10 = hn::Mul(v, not_u);
    w11 = hn::Mul(u, v);
  }

  FloatVector w00, w01, w10, w11;
};

HWY_INLINE FloatVector blend(IntVector p00, IntVector p01, IntVector p10, IntVector p11,
                             const Weights &weights) {
  const Floats d;
  const auto term = [&](IntVector sample, FloatVector weight) {
    return hn::Mul(hn::ConvertTo(d, sample), weight);
  };
  auto sum = hn::Add(term(p01, weights.w01), term(p00, weights.w00));
  sum = hn::Add(sum, term(p10, weights.w10));
  sum = hn::Add(sum, term(p11, weights.w11));
  return hn::Add(sum, hn::Set(d, 0.5F));
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
