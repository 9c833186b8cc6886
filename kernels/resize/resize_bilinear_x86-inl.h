// The steps of resize_bilinear.cpp for SSSE3, SSE4 and AVX2. Included once for each of them.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#endif

#include <algorithm>

#include "kernels/resize/sample_groups-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// A lookup for each window, of which each leaves zeros where another one has the bytes. They are
// widened to words at once: multiplying words in pairs and adding each pair is one instruction.
constexpr int32_t window_bytes(int32_t /*windows*/) { return 16; }
constexpr int32_t control_bytes(int32_t windows) { return 16 * windows; }

HWY_INLINE void enter_group(const GroupTables &tables, int32_t windows, ptrdiff_t group,
                            const int32_t (&bases)[kMostWindows],
                            const Pick (&picks)[kSamplesInGroup]) {
  // Registers of two blocks are packed block by block. To come out in order, the groups of a
  // step enter them as 0, 2 and 1, 3.
  constexpr int32_t kTwoBlocks[4] = {0, 2, 1, 3};
  const ptrdiff_t blocks = byte_lanes() / 16;
  const ptrdiff_t position = blocks == 2 ? group / 4 * 4 + kTwoBlocks[group % 4] : group;
  const ptrdiff_t in_register = position / blocks;
  const ptrdiff_t block = position % blocks;
  int16_t *weights = tables.weights + 8 * position;
  for (int32_t window = 0; window < windows; ++window) {
    const ptrdiff_t at = (in_register * windows + window) * blocks + block;
    uint8_t *control = tables.controls + 16 * at;
    tables.bases[at] = bases[window];
    std::fill_n(control, 16, uint8_t{0x80});  // zero bytes
    for (int32_t i = 0; i < kSamplesInGroup; ++i) {
      if (picks[i].window == window) {
        control[4 * i] = static_cast<uint8_t>(picks[i].first);
        control[4 * i + 2] = static_cast<uint8_t>(picks[i].second);
      }
    }
  }
  for (int32_t i = 0; i < kSamplesInGroup; ++i) {
    weights[2 * i] = picks[i].first_weight;
    weights[2 * i + 1] = picks[i].second_weight;
  }
}

// Resamples one row of whole steps.
template <int32_t kWindows>
HWY_NOINLINE void resample_groups(const uint8_t *source, const GroupTables &tables, int32_t samples,
                                  int16_t *row) {
  const Bytes d8;
  const Words d16;
  const ptrdiff_t lanes = byte_lanes();
  const int32_t *bases = tables.bases;
  const uint8_t *controls = tables.controls;
  const int16_t *weights = tables.weights;
  const auto look_up = [&]() {
#if HWY_TARGET == HWY_AVX2
    const auto bytes = hn::Combine(d8, hn::LoadU(BytesInBlock(), source + bases[1]),
                                   hn::LoadU(BytesInBlock(), source + bases[0]));
#else
    const auto bytes = hn::LoadU(d8, source + bases[0]);
#endif
    const auto control = hn::LoadU(d8, controls);
    bases += lanes / 16;
    controls += lanes;
    return hn::TableLookupBytesOr0(bytes, control);
  };
  const auto products = [&]() {
    auto bytes = look_up();
    for (int32_t window = 1; window < kWindows; ++window) {
      bytes = hn::Or(bytes, look_up());
    }
    const auto weight = hn::LoadU(d16, weights);
    weights += lanes / 2;
    return hn::ShiftRight<4>(multiply_words(hn::BitCast(d16, bytes), weight));
  };
  for (const int16_t *end = row + samples; row < end; row += lanes / 2) {
    const auto low = products();
    hn::StoreU(hn::ReorderDemote2To(d16, low, products()), d16, row);
  }
}

using RowWeight = hn::VFromD<Words>;
HWY_INLINE RowWeight row_weight(int16_t weight) { return hn::Set(Words(), weight); }

HWY_INLINE void blend_step(const int16_t *upper, const int16_t *lower, RowWeight first,
                           RowWeight second, uint8_t *destination) {
  const Words d16;
  const auto quarter = hn::Set(d16, 1 << 13);  // times this, >> 15: a rounded quarter
  const auto blend = [&](ptrdiff_t i) {
    const auto sum = hn::Add(hn::MulHigh(hn::LoadU(d16, upper + i), first),
                             hn::MulHigh(hn::LoadU(d16, lower + i), second));
    return hn::MulFixedPoint15(sum, quarter);
  };
  hn::StoreU(pack_in_order(blend(0), blend(byte_lanes() / 2)), Bytes(), destination);
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
