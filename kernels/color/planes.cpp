#include "kernels/color/planes.h"

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "kernels/color/planes.cpp"
#include <hwy/foreach_target.h>  // compiles this file for every instruction set
// After foreach_target:
#include "kernels/color/planes_scalar.h"
#include "kernels/vector-inl.h"

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {
namespace {

#if TAVRINE_IS_NEON

// The only loads and stores of 32 bytes split and weave. Without a use for that, they undo it.
void copy_bytes(const uint8_t *in, size_t count, uint8_t *out) {
  for (; count >= 128; count -= 128) {
    for (int i = 0; i < 4; ++i) {
      vst2q_u8(out, vld2q_u8(in));
      advance(in, 32);
      advance(out, 32);
    }
  }
  std::memcpy(out, in, count);
}

// These do what they can in long steps, and return how many pairs.
int32_t swap_most(const uint8_t *in, int32_t pairs, uint8_t *out) {
  int32_t x = 0;
  for (; x <= pairs - 64; x += 64) {
    for (int i = 0; i < 4; ++i) {
      const uint8x16x2_t v = vld2q_u8(in);
      vst2q_u8(out, uint8x16x2_t{{v.val[1], v.val[0]}});
      advance(in, 32);
      advance(out, 32);
    }
  }
  return x;
}

int32_t interleave_most(const uint8_t *first, const uint8_t *second, int32_t columns,
                        uint8_t *pairs) {
  int32_t x = 0;
  for (; x <= columns - 64; x += 64) {
    for (int i = 0; i < 2; ++i) {
      const uint8x16x2_t a = vld2q_u8(first);
      const uint8x16x2_t b = vld2q_u8(second);
      vst4q_u8(pairs, uint8x16x4_t{{a.val[0], b.val[0], a.val[1], b.val[1]}});
      advance(first, 32);
      advance(second, 32);
      advance(pairs, 64);
    }
  }
  return x;
}

int32_t deinterleave_most(const uint8_t *pairs, int32_t columns, uint8_t *first, uint8_t *second) {
  int32_t x = 0;
  for (; x <= columns - 64; x += 64) {
    for (int i = 0; i < 4; ++i) {
      const uint8x16x2_t v = vld2q_u8(pairs);
      vst1q_u8(first, v.val[0]);
      vst1q_u8(second, v.val[1]);
      advance(first, 16);
      advance(second, 16);
      advance(pairs, 32);
    }
  }
  return x;
}

#else

void copy_bytes(const uint8_t *in, size_t count, uint8_t *out) { std::memcpy(out, in, count); }

int32_t swap_most(const uint8_t *, int32_t, uint8_t *) { return 0; }
int32_t interleave_most(const uint8_t *, const uint8_t *, int32_t, uint8_t *) { return 0; }
int32_t deinterleave_most(const uint8_t *, int32_t, uint8_t *, uint8_t *) { return 0; }

#endif

void swap_row(const uint8_t *in, int32_t pairs, uint8_t *out) {
  int32_t x = swap_most(in, pairs, out);
#if TAVRINE_HAS_VECTORS
  const hn::ScalableTag<uint16_t> d16;
  const auto lanes = static_cast<int32_t>(hn::Lanes(d16));
  for (; x <= pairs - lanes; x += lanes) {
    const auto pair = hn::BitCast(d16, hn::LoadU(Bytes(), in + 2 * x));
    const auto swapped = hn::Or(hn::ShiftLeft<8>(pair), hn::ShiftRight<8>(pair));
    hn::StoreU(hn::BitCast(Bytes(), swapped), Bytes(), out + 2 * x);
  }
#endif
  scalar::swap_pairs(in + 2 * x, pairs - x, out + 2 * x);
}

void interleave_row(const uint8_t *first, const uint8_t *second, int32_t columns, uint8_t *pairs) {
  int32_t x = interleave_most(first, second, columns, pairs);
#if TAVRINE_HAS_VECTORS
  const Bytes d;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (; x <= columns - lanes; x += lanes) {
    hn::StoreInterleaved2(hn::LoadU(d, first + x), hn::LoadU(d, second + x), d, pairs + 2 * x);
  }
#endif
  scalar::interleave(first + x, second + x, columns - x, pairs + 2 * x);
}

void deinterleave_row(const uint8_t *pairs, int32_t columns, uint8_t *first, uint8_t *second) {
  int32_t x = deinterleave_most(pairs, columns, first, second);
#if TAVRINE_HAS_VECTORS
  const Bytes d;
  const auto lanes = static_cast<int32_t>(byte_lanes());
  for (; x <= columns - lanes; x += lanes) {
    hn::VFromD<Bytes> a;
    hn::VFromD<Bytes> b;
    hn::LoadInterleaved2(d, pairs + 2 * x, a, b);
    hn::StoreU(a, d, first + x);
    hn::StoreU(b, d, second + x);
  }
#endif
  scalar::deinterleave(pairs + 2 * x, columns - x, first + x, second + x);
}

void copy_rows(const PlaneView &source, const PlaneView &destination) {
  const auto row_bytes = static_cast<size_t>(source.row_bytes());
  if (source.is_tight() && destination.is_tight()) {
    copy_bytes(source.data, row_bytes * static_cast<size_t>(source.rows), destination.data);
    return;
  }
  for (int32_t y = 0; y < source.rows; ++y) {
    copy_bytes(source.row(y), row_bytes, destination.row(y));
  }
}

void swap_rows(const PlaneView &source, const PlaneView &destination) {
  for (int32_t y = 0; y < source.rows; ++y) {
    swap_row(source.row(y), source.columns, destination.row(y));
  }
}

void interleave_rows(const PlaneView &first, const PlaneView &second, const PlaneView &pairs) {
  for (int32_t y = 0; y < pairs.rows; ++y) {
    interleave_row(first.row(y), second.row(y), pairs.columns, pairs.row(y));
  }
}

void deinterleave_rows(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  for (int32_t y = 0; y < pairs.rows; ++y) {
    deinterleave_row(pairs.row(y), pairs.columns, first.row(y), second.row(y));
  }
}

}  // namespace
}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace tavrine {
namespace {

HWY_EXPORT(copy_rows);
HWY_EXPORT(swap_rows);
HWY_EXPORT(interleave_rows);
HWY_EXPORT(deinterleave_rows);

bool fit_pairs(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  return pairs.is_usable() && first.is_usable() && second.is_usable() &&
         have_same_size(pairs, first) && have_same_size(pairs, second);
}

}  // namespace

bool copy_plane(const PlaneView &source, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || !have_same_size(source, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(copy_rows)(source, destination);
  return true;
}

bool fill_plane(const PlaneView &destination, uint8_t value) {
  if (!destination.is_usable()) {
    return false;
  }
  const auto row_bytes = static_cast<size_t>(destination.row_bytes());
  if (destination.is_tight()) {
    std::memset(destination.data, value, row_bytes * static_cast<size_t>(destination.rows));
    return true;
  }
  for (int32_t y = 0; y < destination.rows; ++y) {
    std::memset(destination.row(y), value, row_bytes);
  }
  return true;
}

bool swap_pairs(const PlaneView &source, const PlaneView &destination) {
  if (!source.is_usable() || !destination.is_usable() || !have_same_size(source, destination)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(swap_rows)(source, destination);
  return true;
}

bool interleave_planes(const PlaneView &first, const PlaneView &second, const PlaneView &pairs) {
  if (!fit_pairs(pairs, first, second)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(interleave_rows)(first, second, pairs);
  return true;
}

bool deinterleave_plane(const PlaneView &pairs, const PlaneView &first, const PlaneView &second) {
  if (!fit_pairs(pairs, first, second)) {
    return false;
  }
  HWY_DYNAMIC_DISPATCH(deinterleave_rows)(pairs, first, second);
  return true;
}

}  // namespace tavrine
#endif
