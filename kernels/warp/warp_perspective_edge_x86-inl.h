// SSSE3, SSE4 and AVX2: steps of the perspective warp that touch the source's edge. Included once
// for each instruction set.
#if defined(TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_EDGE_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_EDGE_X86_INL_H_
#undef TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_EDGE_X86_INL_H_
#else
#define TAVRINE_KERNELS_WARP_WARP_PERSPECTIVE_EDGE_X86_INL_H_
#endif

#include "kernels/warp/warp_neighbours_x86-inl.h"
#include "kernels/warp/warp_perspective_positions-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

#if TAVRINE_IS_X86

template <int kByte>
HWY_INLINE IntVector byte_of(IntVector lanes) {
  const Ints d;
  if constexpr (kByte == 0) {
    return hn::And(lanes, hn::Set(d, 0xFF));
  } else if constexpr (kByte == 3) {
    const hn::RebindToUnsigned<Ints> unsigned_d;
    return hn::BitCast(d, hn::ShiftRight<24>(hn::BitCast(unsigned_d, lanes)));
  } else {
    static constexpr ShuffleTable kFrom({kByte, 0x80, 0x80, 0x80, kByte + 4, 0x80, 0x80, 0x80,
                                         kByte + 8, 0x80, 0x80, 0x80, kByte + 12, 0x80, 0x80,
                                         0x80});
    return hn::TableLookupBytesOr0(lanes, hn::BitCast(d, kFrom.load()));
  }
}

HWY_INLINE IntVector finish(FloatVector value) {
  // Max returns its second operand when the first is NaN: 0.
  const auto positive = hn::Max(value, hn::Zero(Floats()));
  return truncate(hn::Min(positive, hn::Set(Floats(), 255.0F)));
}

template <int kChannels>
HWY_INLINE void store(IntVector first, IntVector second, IntVector third, uint8_t *out) {
  if constexpr (kChannels == 1) {
    const hn::Rebind<uint8_t, Ints> bytes;
    hn::StoreU(hn::DemoteTo(bytes, first), bytes, out);
  } else {
    const auto pixels = hn::Or(hn::Or(first, hn::ShiftLeft<8>(second)), hn::ShiftLeft<16>(third));
    store_three_channels(hn::BitCast(Bytes(), pixels), out);
  }
}

// Loads four bytes from each of some offsets in a plane. Where they would end past the plane, loads
// its last four and shifts them.
class PixelGatherer {
 public:
  static constexpr int32_t kBytes = 4;

  explicit PixelGatherer(const PlaneView &plane)
      : data_(plane.data),
        last_(static_cast<int32_t>(plane.stride * (plane.rows - 1) + plane.row_bytes()) - kBytes) {}

  HWY_INLINE IntVector operator()(IntVector offset) const {
    const Ints d;
    const hn::RebindToUnsigned<Ints> unsigned_d;
    const auto place = hn::Min(offset, hn::Set(d, last_));
    const auto bits = hn::ShiftLeft<3>(hn::Sub(offset, place));
    const auto loaded = hn::GatherOffset(d, reinterpret_cast<const int32_t *>(data_), place);
    return hn::BitCast(d, hn::Shr(hn::BitCast(unsigned_d, loaded), hn::BitCast(unsigned_d, bits)));
  }

 private:
  const uint8_t *data_;
  int32_t last_;
};

// For pixels with neighbours outside: each neighbour is loaded from its own clamped place.
template <int kChannels>
HWY_INLINE void warp_edge_step(const PlaneView &source, PerspectivePositions at, uint8_t *out) {
  const Ints d;
  const Floats df;
  // Saturated. The weights of a NaN position are NaN, so its index does not matter.
  at.column = hn::ConvertTo(d, at.x);
  at.row = hn::ConvertTo(d, at.y);
  at.u = hn::Sub(at.x, hn::ConvertTo(df, at.column));
  at.v = hn::Sub(at.y, hn::ConvertTo(df, at.row));
  const auto first = [&](IntVector index, int32_t length) {
    return hn::Min(hn::Max(index, hn::Zero(d)), hn::Set(d, length - 1));
  };
  const auto second = [&](IntVector index, int32_t length) {
    const auto one = hn::Set(d, 1);
    return hn::Add(hn::Min(hn::Max(index, hn::Set(d, -1)), hn::Set(d, length - 2)), one);
  };
  const auto along_row = [](IntVector column) {
    return kChannels == 1 ? column : hn::Add(hn::ShiftLeft<1>(column), column);
  };
  const auto step = hn::Set(d, static_cast<int32_t>(source.stride));
  const auto left = along_row(first(at.column, source.columns));
  const auto right = along_row(second(at.column, source.columns));
  const auto upper = hn::Mul(first(at.row, source.rows), step);
  const auto lower = hn::Mul(second(at.row, source.rows), step);
  const PixelGatherer gather(source);
  const auto p00 = gather(hn::Add(upper, left));
  const auto p01 = gather(hn::Add(upper, right));
  const auto p10 = gather(hn::Add(lower, left));
  const auto p11 = gather(hn::Add(lower, right));
  const Weights weights(at.u, at.v);
  const auto result = [&](IntVector a, IntVector b, IntVector c, IntVector e) {
    return finish(blend(a, b, c, e, weights));
  };
  store<kChannels>(result(byte_of<0>(p00), byte_of<0>(p01), byte_of<0>(p10), byte_of<0>(p11)),
                   result(byte_of<1>(p00), byte_of<1>(p01), byte_of<1>(p10), byte_of<1>(p11)),
                   result(byte_of<2>(p00), byte_of<2>(p01), byte_of<2>(p10), byte_of<2>(p11)), out);
}

#endif  // TAVRINE_IS_X86

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // include guard of this instruction set
