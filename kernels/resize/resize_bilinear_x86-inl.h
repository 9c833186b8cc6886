// The steps of resize_bilinear.cpp for SSSE3, SSE4 and AVX2. Included once for each of them.
#if defined(TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#undef TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_RESIZE_BILINEAR_X86_INL_H_
#endif

#include <cstring>

#include "kernels/resize/resample_tables-inl.h"
#include "kernels/resize/steps_x86-inl.h"
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
constexpr int32_t kGroupsInStep = 2 * kBlocksInRegister;

constexpr Layout kLayouts[] = {
    {"resize.step_window", 1, 16, 8, 1, true},  // a window of upscales by two and more
    {"resize.window", 1, 16, 8, 1, false},
#if HWY_TARGET == HWY_AVX2
    // A load of 32 bytes takes the place of two.
    {"resize.wide_window", 1, 32, 8, 1, false},
    {"resize.two_windows", 2, 16, 8, 2, false},
    {"resize.two_wide_windows", 2, 32, 8, 2, false},
#else
    {"resize.two_windows", 2, 16, 8, 2, false},  {"resize.three_windows", 3, 16, 8, 3, false},
#endif
    {"resize.four_windows", 4, 16, 8, 4, false},
    {"resize.eight_windows", 8, 16, 8, 8, false},
};

// An entry has a shuffle control for every 16 bytes of windows, which picks zeros for the bytes of
// others, then the high and the low parts of the weights.
constexpr int32_t controls_in_entry(const Layout &layout) {
  return layout.windows * layout.window_bytes / 16;
}
constexpr int32_t entry_bytes(const Layout &layout) { return 16 * (controls_in_entry(layout) + 2); }

// Products of bytes and signed bytes are added in pairs, as 16-bit words. Weights up to 2048 are
// split so that they are signed bytes: w = 16 h + l, where h = min(w / 16, 127). Only 2048 has an l
// above 15, which is 16. With bytes p, q and weights w, v
//
//   (p w + q v) >> 4 = (p h(w) + q h(v)) + ((p l(w) + q l(v)) >> 4)
//
// holds exactly, because the first term counts whole 16ths. Two weights add up to 2049 at most, as
// each is rounded by at most a half. So h(w) + h(v) <= 128 and l(w) + l(v) <= 30, and the sums are
// at most 255 * 128 = 32640 and 255 * 30 = 7650; together at most 255 * 2049 / 16 = 32655.
HWY_INLINE void enter_group(int32_t *bases, uint8_t *entries, const Layout &layout, ptrdiff_t group,
                            const Starts &starts, const Picks &picks) {
  const ptrdiff_t in_step = group % kGroupsInStep;
  const ptrdiff_t in_table = group / kGroupsInStep * 2 + in_step % 2;  // register
  const ptrdiff_t block = in_step / 2;
  const ptrdiff_t distance = ptrdiff_t{16} * kBlocksInRegister;
  uint8_t *entry = entries + in_table * kBlocksInRegister * entry_bytes(layout);
  for (int32_t window = 0; window < layout.windows; ++window) {
    const ptrdiff_t base = layout.serves_step
                               ? group / kGroupsInStep
                               : (in_table * layout.windows + window) * kBlocksInRegister + block;
    bases[base] = starts[static_cast<size_t>(window)];
  }
  const int32_t controls = controls_in_entry(layout);
  for (int32_t i = 0; i < controls; ++i) {
    // A window of 32 bytes fills a register, of which either half has a control.
    const bool is_wide = layout.window_bytes == 32;
    const int32_t window = is_wide ? i / 2 : i;
    const int32_t half = is_wide ? i % 2 : 0;
    const int32_t begin = 16 * half;
    EachSample<uint16_t> pairs;
    for (size_t sample = 0; sample < pairs.size(); ++sample) {
      const auto pick = [&](int32_t offset) {
        const bool is_here =
            picks.window[sample] == window && offset >= begin && offset < begin + 16;
        return is_here ? offset - begin : 0x80;  // or a zero byte
      };
      pairs[sample] =
          static_cast<uint16_t>(pick(picks.first[sample]) + pick(picks.second[sample]) * 256);
    }
    uint8_t *control =
        entry + (is_wide ? (2 * window + block) * distance + 16 * half : i * distance + 16 * block);
    std::memcpy(control, pairs.data(), 16);
  }
  EachSample<uint16_t> high;
  EachSample<uint16_t> low;
  for (size_t i = 0; i < high.size(); ++i) {
    const int32_t first = picks.first_weight[i];
    const int32_t second = picks.second_weight[i];
    const int32_t first_high = first / 16 - first / 2048;
    const int32_t second_high = second / 16 - second / 2048;
    high[i] = static_cast<uint16_t>(first_high + second_high * 256);
    low[i] = static_cast<uint16_t>(first - 16 * first_high + (second - 16 * second_high) * 256);
  }
  std::memcpy(entry + controls * distance + 16 * block, high.data(), 16);
  std::memcpy(entry + (controls + 1) * distance + 16 * block, low.data(), 16);
}

// Bases count from the start of rows.
HWY_INLINE int32_t finish_bases(int32_t * /*bases*/, int64_t /*count*/) { return 0; }

// One register of resampled samples.
using Samples = hn::VFromD<Words>;

struct RowStep {
  Samples low;
  Samples high;
};

// A vector of a table. GCC would load it again for each row that needs it, and loads are what
// resampling waits for.
HWY_INLINE hn::VFromD<Bytes> load_once(const uint8_t *aligned) {
  auto bytes = hn::Load(Bytes(), aligned);
  asm("" : "+x"(bytes.raw));
  return bytes;
}

// A register's entry, loaded once for both rows.
template <size_t kLayout>
class Entry {
 public:
  HWY_INLINE explicit Entry(const ResampleTables &tables)
      : bases_(tables.bases), controls_(tables.entries) {}

  // Samples of two rows.
  HWY_INLINE void resample(const uint8_t *upper, const uint8_t *lower, Samples &above,
                           Samples &below) const {
    if constexpr (kLayouts[kLayout].window_bytes == 32) {
      WideBytes upper_bytes;
      WideBytes lower_bytes;
      look_up_wide<0>(upper, lower, upper_bytes, lower_bytes);
      weigh(join(upper_bytes), join(lower_bytes), above, below);
    } else {
      auto upper_bytes = hn::Zero(Bytes());
      auto lower_bytes = hn::Zero(Bytes());
      look_up<0>(upper, lower, upper_bytes, lower_bytes);
      weigh(upper_bytes, lower_bytes, above, below);
    }
  }

  // The same with the bytes of the only window.
  HWY_INLINE void resample_window(hn::VFromD<Bytes> upper, hn::VFromD<Bytes> lower, Samples &above,
                                  Samples &below) const {
    const auto control = load_once(controls_);
    weigh(hn::TableLookupBytes(upper, control), hn::TableLookupBytes(lower, control), above, below);
  }

  // The tables of the next register.
  static HWY_INLINE void advance(ResampleTables &tables) {
    tables.bases += kWindows * kBlocksInRegister;
    tables.entries += kEntryBytes;
  }

  static constexpr ptrdiff_t kEntryBytes = kBlocksInRegister * entry_bytes(kLayouts[kLayout]);

 private:
  static constexpr int32_t kWindows = kLayouts[kLayout].windows;

  // What the windows of 32 bytes of either block hold, in whichever half of a register.
  struct WideBytes {
    hn::VFromD<Bytes> block0;
    hn::VFromD<Bytes> block1;
  };

  template <int32_t kWindow>
  HWY_INLINE void look_up_wide(const uint8_t *upper, const uint8_t *lower, WideBytes &upper_bytes,
                               WideBytes &lower_bytes) const {
    if constexpr (kWindow < kWindows) {
      const uint8_t *controls = controls_ + 2 * kWindow * byte_lanes();
      const auto control0 = load_once(controls);
      const auto control1 = load_once(controls + byte_lanes());
      add_wide<kWindow>(upper, control0, control1, upper_bytes);
      add_wide<kWindow>(lower, control0, control1, lower_bytes);
      look_up_wide<kWindow + 1>(upper, lower, upper_bytes, lower_bytes);
    }
  }

  template <int32_t kWindow>
  HWY_INLINE void add_wide(const uint8_t *row, hn::VFromD<Bytes> control0,
                           hn::VFromD<Bytes> control1, WideBytes &bytes) const {
    const Bytes d;
    const auto block0 = hn::TableLookupBytesOr0(hn::LoadU(d, row + bases_[2 * kWindow]), control0);
    const auto block1 =
        hn::TableLookupBytesOr0(hn::LoadU(d, row + bases_[2 * kWindow + 1]), control1);
    bytes.block0 = kWindow == 0 ? block0 : hn::Or(bytes.block0, block0);
    bytes.block1 = kWindow == 0 ? block1 : hn::Or(bytes.block1, block1);
  }

  // Adds the halves of either block, of which each has zeros where the other one has bytes:
  // low 0 | high 1, and high 0 | low 1.
  static HWY_INLINE hn::VFromD<Bytes> join(const WideBytes &bytes) {
    const Bytes d;
    return hn::Or(hn::ConcatUpperLower(d, bytes.block1, bytes.block0),
                  hn::ConcatLowerUpper(d, bytes.block1, bytes.block0));
  }

  HWY_INLINE void weigh(hn::VFromD<Bytes> upper, hn::VFromD<Bytes> lower, Samples &above,
                        Samples &below) const {
    const auto high = load_once(controls_ + kEntryBytes - 2 * byte_lanes());
    const auto low = load_once(controls_ + kEntryBytes - byte_lanes());
    above = weigh(upper, high, low);
    below = weigh(lower, high, low);
  }

  template <int32_t kWindow>
  HWY_INLINE void look_up(const uint8_t *upper, const uint8_t *lower,
                          hn::VFromD<Bytes> &upper_bytes, hn::VFromD<Bytes> &lower_bytes) const {
    if constexpr (kWindow < kWindows) {
      const auto control = load_once(controls_ + kWindow * byte_lanes());
      const auto more_upper = hn::TableLookupBytesOr0(load_window<kWindow>(upper), control);
      const auto more_lower = hn::TableLookupBytesOr0(load_window<kWindow>(lower), control);
      upper_bytes = kWindow == 0 ? more_upper : hn::Or(upper_bytes, more_upper);
      lower_bytes = kWindow == 0 ? more_lower : hn::Or(lower_bytes, more_lower);
      look_up<kWindow + 1>(upper, lower, upper_bytes, lower_bytes);
    }
  }

  template <int32_t kWindow>
  HWY_INLINE hn::VFromD<Bytes> load_window(const uint8_t *row) const {
    const ptrdiff_t first = bases_[kWindow * kBlocksInRegister];
    const ptrdiff_t last = bases_[(kWindow + 1) * kBlocksInRegister - 1];
    return load_blocks(row + first, last - first);
  }

  static HWY_INLINE Samples weigh(hn::VFromD<Bytes> bytes, hn::VFromD<Bytes> high,
                                  hn::VFromD<Bytes> low) {
    return hn::Add(multiply_bytes(bytes, high), hn::ShiftRight<4>(multiply_bytes(bytes, low)));
  }

  const int32_t *bases_;
  const uint8_t *controls_;
};

// Weights of two rows.
class RowWeights {
 public:
  HWY_INLINE RowWeights(int16_t upper, int16_t lower)
      : upper_(hn::Set(Words(), upper)), lower_(hn::Set(Words(), lower)) {}

  HWY_INLINE void store_blended(const RowStep &upper, const RowStep &lower, uint8_t *&out) const {
    hn::StoreU(pack_in_blocks(blend(upper.low, lower.low), blend(upper.high, lower.high)), Bytes(),
               out);
    out += byte_lanes();
  }

 private:
  HWY_INLINE Samples blend(Samples upper, Samples lower) const {
    const auto sum = hn::Add(hn::MulHigh(upper, upper_), hn::MulHigh(lower, lower_));
    return rounded_quarters(sum);
  }

  Samples upper_;
  Samples lower_;
};

HWY_INLINE RowStep load_step(const int16_t *&row) {
  const ptrdiff_t lanes = byte_lanes() / 2;
  const RowStep step = {hn::Load(Words(), row), hn::Load(Words(), row + lanes)};
  row += 2 * lanes;
  return step;
}

HWY_INLINE void store_step(const RowStep &samples, int16_t *&row) {
  const ptrdiff_t lanes = byte_lanes() / 2;
  hn::Store(samples.low, Words(), row);
  hn::Store(samples.high, Words(), row + lanes);
  row += 2 * lanes;
}

template <size_t kLayout>
HWY_INLINE void resample_step(const uint8_t *upper, const uint8_t *lower, ResampleTables &tables,
                              RowStep &above, RowStep &below) {
  using RegisterEntry = Entry<kLayout>;
  if constexpr (kLayouts[kLayout].serves_step) {
    const auto upper_window = hn::LoadDup128(Bytes(), upper + tables.bases[0]);
    const auto lower_window = hn::LoadDup128(Bytes(), lower + tables.bases[0]);
    RegisterEntry(tables).resample_window(upper_window, lower_window, above.low, below.low);
    tables.entries += RegisterEntry::kEntryBytes;
    RegisterEntry(tables).resample_window(upper_window, lower_window, above.high, below.high);
    tables.entries += RegisterEntry::kEntryBytes;
    ++tables.bases;
  } else {
    RegisterEntry(tables).resample(upper, lower, above.low, below.low);
    RegisterEntry::advance(tables);
    RegisterEntry(tables).resample(upper, lower, above.high, below.high);
    RegisterEntry::advance(tables);
  }
}

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_IS_X86

#endif  // include guard of this instruction set
