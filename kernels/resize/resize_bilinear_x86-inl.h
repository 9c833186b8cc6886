// The steps of resize_bilinear.cpp for SSSE3, SSE4 and AVX2. Included once for each of them.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#endif

#include <algorithm>
#include <array>

#include "kernels/resize/resample_tables-inl.h"
#include "kernels/vector-inl.h"

#if TAVRINE_IS_X86

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

// A step has two registers of samples, and each 16-byte block of a register one group. Packing two
// registers to bytes goes block by block, so that of two blocks each the registers hold the groups
//
//   0 | 2   and   1 | 3
//
// and the bytes come out in order. Rows of resampled samples stay in that order, too.
constexpr int32_t kBlocksInRegister = HWY_TARGET == HWY_AVX2 ? 2 : 1;
constexpr int32_t kGroupsInStep = 2 * kBlocksInRegister;

constexpr int32_t kWindowCounts[] = {1, 2, 3, 4, 8};
constexpr int32_t window_bytes(int32_t /*windows*/) { return 16; }

// An entry has a shuffle control for each window, which picks zeros for the bytes of others, then
// the high and the low parts of the weights.
constexpr int32_t entry_bytes(int32_t windows) { return 16 * (windows + 2); }

// Products of bytes and signed bytes are added in pairs, as 16-bit words. Weights up to 2048 are
// split so that they are signed bytes: w = 16 h + l, h <= 127. Then l <= 16, as 2048 = 16 * 127 +
// 16, and with bytes p, q and weights w, v
//
//   (p w + q v) >> 4 = (p h(w) + q h(v)) + ((p l(w) + q l(v)) >> 4)
//
// holds exactly, because the first term counts whole 16ths. Two weights add up to 2049 at most, as
// each is rounded by at most a half. So h(w) + h(v) <= 128, and no sum exceeds 255 * 128 = 32640;
// l(w) + l(v) <= 32, and 255 * 32 = 8160.
HWY_INLINE void enter_group(int32_t *bases, uint8_t *entries, int32_t windows, ptrdiff_t group,
                            const std::array<int32_t, kMaxWindows> &group_bases,
                            const std::array<Pick, kSamplesInGroup> &picks) {
  const ptrdiff_t in_step = group % kGroupsInStep;
  const ptrdiff_t in_table = group / kGroupsInStep * 2 + in_step % 2;  // register
  const ptrdiff_t block = in_step / 2;
  const ptrdiff_t distance = 16 * kBlocksInRegister;
  uint8_t *control = entries + in_table * (windows + 2) * distance + 16 * block;
  uint8_t *high = control + windows * distance;
  uint8_t *low = high + distance;
  for (int32_t window = 0; window < windows; ++window) {
    bases[(in_table * windows + window) * kBlocksInRegister + block] =
        group_bases[static_cast<size_t>(window)];
    std::fill_n(control + window * distance, 16, uint8_t{0x80});  // zero bytes
  }
  for (int32_t i = 0; i < kSamplesInGroup; ++i) {
    const Pick &pick = picks[static_cast<size_t>(i)];
    uint8_t *in_control = control + pick.window * distance + 2 * i;
    in_control[0] = static_cast<uint8_t>(pick.first);
    in_control[1] = static_cast<uint8_t>(pick.second);
    const int32_t first_high = std::min(pick.first_weight / 16, 127);
    const int32_t second_high = std::min(pick.second_weight / 16, 127);
    high[2 * i] = static_cast<uint8_t>(first_high);
    high[2 * i + 1] = static_cast<uint8_t>(second_high);
    low[2 * i] = static_cast<uint8_t>(pick.first_weight - 16 * first_high);
    low[2 * i + 1] = static_cast<uint8_t>(pick.second_weight - 16 * second_high);
  }
}

// One register of resampled samples.
using Samples = hn::VFromD<Words>;

// A register's entry, loaded once for all rows that it serves.
template <int32_t kWindows>
class Entry {
 public:
  HWY_INLINE explicit Entry(const ResampleTables &tables)
      : bases_(tables.bases),
        high_(hn::Load(Bytes(), tables.entries + kWindows * byte_lanes())),
        low_(hn::Load(Bytes(), tables.entries + (kWindows + 1) * byte_lanes())),
        controls_(tables.entries) {}

  HWY_INLINE Samples resample(const uint8_t *row) const {
    auto bytes = hn::TableLookupBytesOr0(load_window<0>(row), hn::Load(Bytes(), controls_));
    return weigh(add_windows<1>(row, bytes));
  }

  // The tables of the next register.
  static HWY_INLINE void advance(ResampleTables &tables) {
    tables.bases += kWindows * kBlocksInRegister;
    tables.entries += (kWindows + 2) * byte_lanes();
  }

 private:
  template <int32_t kWindow>
  HWY_INLINE hn::VFromD<Bytes> load_window(const uint8_t *row) const {
    const ptrdiff_t first = bases_[kWindow * kBlocksInRegister];
    const ptrdiff_t last = bases_[(kWindow + 1) * kBlocksInRegister - 1];
    return load_blocks(row + first, last - first);
  }

  template <int32_t kWindow>
  HWY_INLINE hn::VFromD<Bytes> add_windows(const uint8_t *row, hn::VFromD<Bytes> bytes) const {
    if constexpr (kWindow == kWindows) {
      return bytes;
    } else {
      const auto control = hn::Load(Bytes(), controls_ + kWindow * byte_lanes());
      const auto others = hn::TableLookupBytesOr0(load_window<kWindow>(row), control);
      return add_windows<kWindow + 1>(row, hn::Or(bytes, others));
    }
  }

  HWY_INLINE Samples weigh(hn::VFromD<Bytes> bytes) const {
    return hn::Add(multiply_bytes(bytes, high_), hn::ShiftRight<4>(multiply_bytes(bytes, low_)));
  }

  const int32_t *bases_;
  hn::VFromD<Bytes> high_;
  hn::VFromD<Bytes> low_;
  const uint8_t *controls_;
};

// Weights of two rows.
class RowWeights {
 public:
  HWY_INLINE RowWeights(int16_t upper, int16_t lower)
      : upper_(hn::Set(Words(), upper)), lower_(hn::Set(Words(), lower)) {}

  HWY_INLINE void store_blended(const Samples (&upper)[2], const Samples (&lower)[2],
                                uint8_t *out) const {
    hn::StoreU(pack_in_blocks(blend(upper[0], lower[0]), blend(upper[1], lower[1])), Bytes(), out);
  }

 private:
  HWY_INLINE Samples blend(Samples upper, Samples lower) const {
    const auto sum = hn::Add(hn::MulHigh(upper, upper_), hn::MulHigh(lower, lower_));
    return hn::ShiftRight<2>(hn::Add(sum, hn::Set(Words(), 2)));
  }

  Samples upper_;
  Samples lower_;
};

HWY_INLINE void load_step(const int16_t *row, Samples (&samples)[2]) {
  samples[0] = hn::Load(Words(), row);
  samples[1] = hn::Load(Words(), row + byte_lanes() / 2);
}

HWY_INLINE void store_step(const Samples (&samples)[2], int16_t *row) {
  hn::Store(samples[0], Words(), row);
  hn::Store(samples[1], Words(), row + byte_lanes() / 2);
}

// Resamples a step of each row.
template <int32_t kWindows, size_t kRows>
HWY_INLINE void resample_step(const std::array<const uint8_t *, kRows> &rows,
                              ResampleTables &tables, Samples (&samples)[kRows][2]) {
  for (size_t i = 0; i < 2; ++i) {
    const Entry<kWindows> entry(tables);
    for (size_t row = 0; row < kRows; ++row) {
      samples[row][i] = entry.resample(rows[row]);
    }
    Entry<kWindows>::advance(tables);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
