// Source positions of the affine warp's pixels in vectors. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_AFFINE_POSITIONS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_AFFINE_POSITIONS_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_AFFINE_POSITIONS_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_AFFINE_POSITIONS_INL_H_
#endif

#include "kernels/vector-inl.h"
#include "kernels/warp/warp_affine_scalar.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_HAS_VECTORS

// Of a register of pixels: the offset of the upper left neighbour from the plane's first byte, and
// the subpixels right of and below it.
struct AffinePositions {
  hn::VFromD<Ints> offset;
  hn::VFromD<Ints> u;
  hn::VFromD<Ints> v;
};

// Clamped, a position outside moves to the edge. Past the last pixel, the pixel before and the last
// one are used, with full weight on the last: subpixel 32.
template <bool kClamps>
HWY_INLINE hn::VFromD<Ints> whole_pixels(hn::VFromD<Ints> &position, int32_t length) {
  if constexpr (kClamps) {
    position = hn::Max(position, hn::Zero(Ints()));
    return hn::Min(hn::ShiftRight<scalar::kPositionBits>(position), hn::Set(Ints(), length - 2));
  } else {
    return hn::ShiftRight<scalar::kPositionBits>(position);
  }
}

template <bool kClamps>
HWY_INLINE hn::VFromD<Ints> subpixels(hn::VFromD<Ints> position, hn::VFromD<Ints> pixels) {
  constexpr int kBits = scalar::kPositionBits - scalar::kSubpixelBits;
  const auto all = hn::ShiftRight<kBits>(position);
  if constexpr (kClamps) {
    return hn::Min(hn::Sub(all, hn::ShiftLeft<scalar::kSubpixelBits>(pixels)),
                   hn::Set(Ints(), scalar::kSubpixels));
  } else {
    return hn::And(all, hn::Set(Ints(), scalar::kSubpixels - 1));
  }
}

template <int kChannels, bool kClamps>
HWY_INLINE AffinePositions compute_positions(const PlaneView &source, scalar::Offset row,
                                             const int32_t *x_offsets, const int32_t *y_offsets) {
  const Ints d;
  auto x = hn::Add(hn::LoadU(d, x_offsets), hn::Set(d, row.x));
  auto y = hn::Add(hn::LoadU(d, y_offsets), hn::Set(d, row.y));
  const auto column = whole_pixels<kClamps>(x, source.columns);
  const auto line = whole_pixels<kClamps>(y, source.rows);
  const auto start = kChannels == 1   ? column
                     : kChannels == 2 ? hn::ShiftLeft<1>(column)
                     : kChannels == 4 ? hn::ShiftLeft<2>(column)
                                      : hn::Add(hn::ShiftLeft<1>(column), column);
  return {hn::Add(hn::Mul(line, hn::Set(d, static_cast<int32_t>(source.stride))), start),
          subpixels<kClamps>(x, column), subpixels<kClamps>(y, line)};
}

#endif  // TAVRINE_HAS_VECTORS

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
