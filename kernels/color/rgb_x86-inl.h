// The steps of rgb.cpp for SSSE3, SSE4 and AVX2. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_COLOR_RGB_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_COLOR_RGB_X86_INL_H_
#undef TAVRINE_KERNELS_COLOR_RGB_X86_INL_H_
#else
#define TAVRINE_KERNELS_COLOR_RGB_X86_INL_H_
#endif

#include "kernels/color/packed_pixels_x86-inl.h"
#include "kernels/color/row_steps-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

HWY_INLINE void replicate_grey_step(const uint8_t *&grey, uint8_t *&pixels) {
  for (int32_t x = 0; x < kPixelsInStep; x += HWY_LANES(uint8_t)) {
    hn::VFromD<Bytes> parts[3];
    replicate_pixels(grey, parts);
    for (const auto &part : parts) {
      hn::StoreU(part, Bytes(), pixels);
      pixels += byte_lanes();
    }
    grey += byte_lanes();
  }
}

// Three registers of packed pixels are made from as many. A byte comes from two before or two after
// its place, so each block of 16 bytes is looked up in two: one that begins two bytes early, one
// two bytes late. The first of the step may not begin before it, and the last may not end after it.
struct SwapTables {
  static constexpr int kBytes = HWY_LANES(uint8_t);
  // Without AVX2, the outer blocks share the middle one's load instead.
  static constexpr int kToMiddle = kBytes == 16 ? 16 : 2;

  alignas(kBytes) uint8_t early[3][kBytes];
  alignas(kBytes) uint8_t late[3][kBytes];

  constexpr SwapTables() : early(), late() {
    for (int byte = 0; byte < 3 * kBytes; ++byte) {
      const int block = byte / 16 * 16;
      const bool is_first = block == 0;
      const bool is_last = block + 16 == 3 * kBytes;
      const int early_block = is_first ? 0 : block - (is_last ? kToMiddle : 2);
      const int late_block = is_last ? block : block + (is_first ? kToMiddle : 2);
      const int from = byte + 2 - 2 * (byte % 3);
      const bool is_early = from - early_block < 16;
      early[byte / kBytes][byte % kBytes] =
          static_cast<uint8_t>(is_early ? from - early_block : 0x80);
      late[byte / kBytes][byte % kBytes] =
          static_cast<uint8_t>(is_early ? 0x80 : from - late_block);
    }
  }
};

HWY_INLINE void swap_red_blue_step(const uint8_t *&in, uint8_t *&out) {
  static constexpr SwapTables kTables;
  const Bytes d;
  const ptrdiff_t bytes = byte_lanes();
  for (int32_t x = 0; x < kPixelsInStep; x += HWY_LANES(uint8_t)) {
    const auto swapped = [&](int part, hn::VFromD<Bytes> early, hn::VFromD<Bytes> late) {
      return hn::Or(hn::TableLookupBytesOr0(early, hn::Load(d, kTables.early[part])),
                    hn::TableLookupBytesOr0(late, hn::Load(d, kTables.late[part])));
    };
    const auto first = swapped(0, load_blocks(in, 14), hn::LoadU(d, in + SwapTables::kToMiddle));
    const auto second = swapped(1, hn::LoadU(d, in + bytes - 2), hn::LoadU(d, in + bytes + 2));
    const auto third = swapped(2, hn::LoadU(d, in + 2 * bytes - SwapTables::kToMiddle),
                               load_blocks(in + 3 * bytes - (bytes == 16 ? 16 : 30), 14));
    // Stored after all loads: the row may be converted in place.
    hn::StoreU(first, d, out);
    hn::StoreU(second, d, out + bytes);
    hn::StoreU(third, d, out + 2 * bytes);
    in += 3 * bytes;
    out += 3 * bytes;
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
