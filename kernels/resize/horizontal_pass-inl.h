// The horizontal pass of the resampler. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_
#undef TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_
#endif

#include <algorithm>
#include <array>
#include <memory>

#include "common/allocate.h"
#include "kernels/plane_view.h"
#include "kernels/resize/aligned_scratch.h"
#include "kernels/resize/resample_tables-inl.h"
#include "kernels/resize/resize_bilinear_arm-inl.h"
#include "kernels/resize/resize_bilinear_x86-inl.h"
#include "kernels/resize/resize_scalar.h"

#if TAVRINE_HAS_VECTORS

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

using scalar::Tap;

constexpr int32_t kSamplesInStep = kSamplesInGroup * kGroupsInStep;

// Calls run with the number of windows as a constant.
template <size_t kIndex = 0, class Run>
HWY_INLINE void with_windows(int32_t windows, Run run) {
  if constexpr (kIndex + 1 < std::size(kWindowCounts)) {
    if (windows != kWindowCounts[kIndex]) {
      return with_windows<kIndex + 1>(windows, run);
    }
  }
  run(std::integral_constant<int32_t, kWindowCounts[kIndex]>());
}

// The horizontal pass of one plane: its tables, and what it does to rows.
//
// Rows are resampled in whole steps. The last step ends with the row, and so overlaps the one
// before it. In a row shorter than a step, the last sample is repeated.
class HorizontalPass {
 public:
  HorizontalPass(const PlaneView &source, const PlaneView &destination)
      : source_(source),
        columns_(destination.columns),
        samples_(static_cast<int32_t>(destination.row_bytes())),
        steps_((samples_ + kSamplesInStep - 1) / kSamplesInStep) {}

  int32_t steps() const { return steps_; }
  int32_t windows() const { return windows_; }

  // Where a step starts in a row of the destination.
  int32_t step_start(int32_t step) const {
    return std::min(step * kSamplesInStep, std::max(samples_ - kSamplesInStep, 0));
  }

  // False when memory ran out.
  bool prepare() {
    taps_ = allocate<Tap>(columns_);
    if (!taps_) {
      return false;
    }
    const float scale = scalar::reciprocal_scale(source_.columns, columns_);
    for (int32_t x = 0; x < columns_; ++x) {
      taps_[static_cast<size_t>(x)] = scalar::column_tap(x, scale, source_.columns);
    }
    for (const int32_t windows : kWindowCounts) {
      windows_ = windows;
      if (fit_windows()) {
        break;
      }
    }
    const int64_t groups = int64_t{steps_} * kGroupsInStep;
    bases_ = allocate<int32_t>(groups * windows_);
    if (!bases_ || !entries_.allocate(groups * entry_bytes(windows_))) {
      return false;
    }
    for_each_group([this](ptrdiff_t group, const Group &samples) {
      enter(group, samples);
      return true;
    });
    return true;
  }

  ResampleTables tables() const { return {bases_.get(), entries_.data()}; }

  // The row itself, or a copy where it is shorter than what a window reads. `index` tells copies
  // apart.
  const uint8_t *readable_row(const uint8_t *row, size_t index) {
    if (source_.row_bytes() >= kMinReadable) {
      return row;
    }
    std::copy_n(row, source_.row_bytes(), short_rows_[index]);
    return short_rows_[index];
  }

 private:
  static constexpr ptrdiff_t kMinReadable = 16;  // the longest window

  struct Sample {
    int32_t first;  // byte offsets of the neighbours
    int32_t second;
    Tap tap;
  };
  using Group = std::array<Sample, kSamplesInGroup>;

  // Calls visit(group, samples) while it returns true. Returns whether all groups were visited.
  template <class Visit>
  bool for_each_group(Visit visit) const {
    const int32_t channels = source_.channels;
    for (int32_t step = 0; step < steps_; ++step) {
      const int32_t start = step_start(step);
      int32_t column = start / channels;
      int32_t channel = start % channels;
      for (int32_t i = 0; i < kGroupsInStep; ++i) {
        Group samples;
        for (Sample &sample : samples) {
          const Tap &tap = taps_[static_cast<size_t>(column)];
          const int32_t first = tap.index * channels + channel;
          sample = {first, first + (tap.index < source_.columns - 1 ? channels : 0), tap};
          if (++channel == channels) {
            if (column == columns_ - 1) {
              --channel;  // repeats the last sample
            } else {
              channel = 0;
              ++column;
            }
          }
        }
        if (!visit(step * kGroupsInStep + i, samples)) {
          return false;
        }
      }
    }
    return true;
  }

  // Which window each sample of a group takes, and where the windows start.
  struct Division {
    int32_t windows = 0;
    std::array<int32_t, kSamplesInGroup> window_of;
    std::array<int32_t, kMaxWindows> starts;
  };

  // Gives each window as many samples as it reaches, or one when there is a window for each.
  static Division divide(const Group &samples, int32_t windows) {
    const int32_t reach = windows == kMaxWindows ? 0 : window_bytes(windows);
    Division division;
    int32_t first = 0;
    int32_t last = 0;
    for (size_t i = 0; i < samples.size(); ++i) {
      // Where several pixels have the same neighbours, later samples may lie before earlier ones.
      first = std::min(first, samples[i].first);
      last = std::max(last, samples[i].second);
      if (division.windows == 0 || last - first >= reach) {
        first = samples[i].first;
        last = samples[i].second;
        ++division.windows;
      }
      const int32_t window = division.windows - 1;
      division.window_of[i] = window;
      division.starts[static_cast<size_t>(window)] = first;
    }
    return division;
  }

  bool fit_windows() const {
    return windows_ == kMaxWindows || for_each_group([this](ptrdiff_t, const Group &samples) {
             return divide(samples, windows_).windows <= windows_;
           });
  }

  void enter(ptrdiff_t group, const Group &samples) {
    Division division = divide(samples, windows_);
    // A window does not read past the row, so that near its end it starts earlier.
    const auto readable = static_cast<int32_t>(std::max(source_.row_bytes(), kMinReadable));
    for (int32_t i = 0; i < kMaxWindows; ++i) {
      int32_t &start = division.starts[static_cast<size_t>(i)];
      start = i < division.windows ? std::min(start, readable - window_bytes(windows_)) : 0;
    }
    std::array<Pick, kSamplesInGroup> picks;
    for (size_t i = 0; i < samples.size(); ++i) {
      const Sample &sample = samples[i];
      const int32_t window = division.window_of[i];
      const int32_t start = division.starts[static_cast<size_t>(window)];
      picks[i] = {window, sample.first - start, sample.second - start, sample.tap.first,
                  sample.tap.second};
    }
    enter_group(bases_.get(), entries_.data(), windows_, group, division.starts, picks);
  }

  const PlaneView &source_;
  int32_t columns_;
  int32_t samples_;
  int32_t steps_;
  int32_t windows_ = 1;
  std::unique_ptr<Tap[]> taps_;
  std::unique_ptr<int32_t[]> bases_;
  AlignedScratch<uint8_t> entries_;
  uint8_t short_rows_[2][kMinReadable] = {};
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_HAS_VECTORS

#endif  // include guard of this instruction set
