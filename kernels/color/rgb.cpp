#include "kernels/color/rgb.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/color/rgb.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/color/packed_pixels-inl.h"
#include "kernels/color/rgb_scalar.h"
#include "kernels/color/truncated_luma-inl.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_IS_X86

// Where the bytes of 16 pixels come from: the grey ones, and for each block of 16 bytes of swapped
// pixels those of three blocks.
struct ByteOrders {
  alignas(16) uint8_t replicated[3][16];
  alignas(16) uint8_t swapped[3][3][16];

  constexpr ByteOrders() : replicated(), swapped() {
    for (int byte = 0; byte < 48; ++byte) {
      replicated[byte / 16][byte % 16] = static_cast<uint8_t>(byte / 3);
      const int from = byte - byte % 3 + 2 - byte % 3;
      for (int block = 0; block < 3; ++block) {
        swapped[byte / 16][block][byte % 16] =
            static_cast<uint8_t>(from / 16 == block ? from % 16 : 0x80);
      }
    }
  }
};

constexpr ByteOrders kOrders;

#endif

void replicate_row(const uint8_t *grey, int32_t columns, uint8_t *pixels) {
  int32_t x = 0;
#if TAVRINE_IS_X86
  const BytesInBlock block;
  const auto part = [&](int i) { return hn::Load(block, kOrders.replicated[i]); };
#endif
#if HWY_TARGET == HWY_AVX2
  const Bytes d;
  const auto first = hn::Combine(d, part(1), part(0));
  const auto middle = hn::Combine(d, part(0), part(2));
  const auto last = hn::Combine(d, part(2), part(1));
  for (; x <= columns - 32; x += 32) {
    uint8_t *out = pixels + 3 * x;
    hn::StoreU(hn::TableLookupBytes(hn::LoadDup128(d, grey + x), first), d, out);
    hn::StoreU(hn::TableLookupBytes(hn::LoadU(d, grey + x), middle), d, out + 32);
    hn::StoreU(hn::TableLookupBytes(hn::LoadDup128(d, grey + x + 16), last), d, out + 64);
  }
#endif
#if TAVRINE_IS_X86
  for (; x <= columns - 16; x += 16) {
    const auto v = hn::LoadU(block, grey + x);
    for (int i = 0; i < 3; ++i) {
      hn::StoreU(hn::TableLookupBytes(v, part(i)), block, pixels + 3 * x + 16 * i);
    }
  }
#elif TAVRINE_HAS_VECTORS
  const Bytes d;
  for (; x <= columns - 16; x += 16) {
    const auto v = hn::LoadU(d, grey + x);
    hn::StoreInterleaved3(v, v, v, d, pixels + 3 * x);
  }
#endif
  scalar::replicate_grey(grey + x, columns - x, pixels + 3 * x);
}

#if TAVRINE_IS_ARMV7

// Swaps 32 pixels. A compiler copies all three registers where the first and the third have only
// to change places.
HWY_INLINE void swap_step(const uint8_t *&in, uint8_t *&out) {
  asm volatile(
      "vld3.8 {d16, d18, d20}, [%[in]]!\n\t"
      "vld3.8 {d17, d19, d21}, [%[in]]!\n\t"
      "vld3.8 {d22, d24, d26}, [%[in]]!\n\t"
      "vld3.8 {d23, d25, d27}, [%[in]]!\n\t"
      "vswp q8, q10\n\t"
      "vswp q11, q13\n\t"
      "vst3.8 {d16, d18, d20}, [%[out]]!\n\t"
      "vst3.8 {d17, d19, d21}, [%[out]]!\n\t"
      "vst3.8 {d22, d24, d26}, [%[out]]!\n\t"
      "vst3.8 {d23, d25, d27}, [%[out]]!\n\t"
      : [in] "+r"(in), [out] "+r"(out)
      :
      : "q8", "q9", "q10", "q11", "q12", "q13", "memory");
}

#endif

void swap_row(const uint8_t *in, int32_t columns, uint8_t *out) {
  int32_t x = 0;
#if TAVRINE_IS_ARMV7
  const uint8_t *from = in;
  uint8_t *to = out;
  for (; x <= columns - 32; x += 32) {
    swap_step(from, to);
  }
#endif
#if TAVRINE_IS_NEON
  for (; x <= columns - 16; x += 16) {
    const uint8x16x3_t v = vld3q_u8(in + 3 * x);
    vst3q_u8(out + 3 * x, uint8x16x3_t{{v.val[2], v.val[1], v.val[0]}});
  }
#elif TAVRINE_IS_X86
  const BytesInBlock d;
  for (; x <= columns - 16; x += 16) {
    const auto pick = [&](int part, int block) {
      return hn::TableLookupBytesOr0(hn::LoadU(d, in + 3 * x + 16 * block),
                                     hn::Load(d, kOrders.swapped[part][block]));
    };
    const auto first = hn::Or(pick(0, 0), pick(0, 1));
    const auto second = hn::Or(hn::Or(pick(1, 0), pick(1, 1)), pick(1, 2));
    const auto third = hn::Or(pick(2, 1), pick(2, 2));
    hn::StoreU(first, d, out + 3 * x);
    hn::StoreU(second, d, out + 3 * x + 16);
    hn::StoreU(third, d, out + 3 * x + 32);
  }
#endif
  scalar::swap_red_blue(in + 3 * x, columns - x, out + 3 * x);
}

template <int32_t kRed>
void luma_row(const uint8_t *pixels, int32_t columns, uint8_t *grey) {
#if TAVRINE_HAS_VECTORS
  const int32_t x = columns / kPixelsInStep * kPixelsInStep;
  truncated_lumas<kRed>(pixels, x, grey);
  finish_row(pixels + 3 * x, columns - x, grey + x, [](const uint8_t *in, uint8_t *out) {
    truncated_lumas<kRed>(in, kPixelsInStep, out);
  });
#else
  scalar::weigh_luma(pixels, kRed, columns, grey);
#endif
}

void replicate_rows(const PlaneView &grey, const PlaneView &packed) {
  for (int32_t y = 0; y < grey.rows; ++y) {
    replicate_row(grey.row(y), grey.columns, packed.row(y));
  }
}

void swap_rows(const PlaneView &source, const PlaneView &destination) {
  for (int32_t y = 0; y < source.rows; ++y) {
    swap_row(source.row(y), source.columns, destination.row(y));
  }
}

template <int32_t kRed>
void luma_rows_of(const PlaneView &packed, const PlaneView &grey) {
  for (int32_t y = 0; y < grey.rows; ++y) {
    luma_row<kRed>(packed.row(y), grey.columns, grey.row(y));
  }
}

void luma_rows(const PlaneView &packed, int32_t red, const PlaneView &grey) {
  red == 0 ? luma_rows_of<0>(packed, grey) : luma_rows_of<2>(packed, grey);
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(replicate_rows);
HWY_EXPORT(swap_rows);
HWY_EXPORT(luma_rows);

bool are_convertible(const PlaneView &source, const PlaneView &destination) {
  return source.is_usable() && destination.is_usable() && have_same_size(source, destination);
}

}  // namespace

bool weigh_luma(const PlaneView &packed, ByteOrder order, const PlaneView &grey) {
  if (!are_convertible(packed, grey)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(luma_rows)(packed, red_byte(order), grey);
  return true;
}

bool replicate_grey(const PlaneView &grey, const PlaneView &packed) {
  if (!are_convertible(grey, packed)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(replicate_rows)(grey, packed);
  return true;
}

bool swap_red_blue(const PlaneView &source, const PlaneView &destination) {
  if (!are_convertible(source, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(swap_rows)(source, destination);
  return true;
}

}  // namespace tavrine
#endif
