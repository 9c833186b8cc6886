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

// Calls run with the layout's index as a constant.
template <size_t kIndex = 0, class Run>
HWY_INLINE void with_layout(size_t layout, Run run) {
  if constexpr (kIndex + 1 < std::size(kLayouts)) {
    if (layout != kIndex) {
      return with_layout<kIndex + 1>(layout, run);
    }
  }
  run(std::integral_constant<size_t, kIndex>());
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
  size_t layout() const { return layout_; }
  const char *path() const { return kLayouts[layout_].path; }

  // Where a step starts in a row of the destination.
  int32_t step_start(int32_t step) const {
    return std::min(step * kSamplesInStep, std::max(samples_ - kSamplesInStep, 0));
  }

  // False when memory ran out.
  bool prepare() {
    const int64_t padded = std::max(samples_, kSamplesInStep);
    firsts_ = allocate<int32_t>(padded);
    first_weights_ = allocate<uint16_t>(padded);
    second_weights_ = allocate<uint16_t>(padded);
    if (!firsts_ || !first_weights_ || !second_weights_) {
      return false;
    }
    with_channels(source_.channels, [this](auto channels) { locate_samples<channels>(); });
    choose_layout();
    const Layout &layout = kLayouts[layout_];
    const int64_t groups = int64_t{steps_} * kGroupsInStep;
    bases_ = allocate<int32_t>(groups * layout.windows);
    if (!bases_ || !entries_.allocate(groups * entry_bytes(layout))) {
      return false;
    }
    for_each_group([this](ptrdiff_t group, size_t start) {
      enter(group, start);
      return true;
    });
    first_base_ = finish_bases(bases_.get(), groups * layout.windows);
    return true;
  }

  ResampleTables tables() const { return {bases_.get(), entries_.data()}; }

  // The row itself, or a copy where it is shorter than what a window reads. `index` tells copies
  // apart.
  const uint8_t *readable_row(const uint8_t *row, size_t index) {
    if (source_.row_bytes() < kMinReadable) {
      std::copy_n(row, source_.row_bytes(), short_rows_[index]);
      row = short_rows_[index];
    }
    return row + first_base_;
  }

 private:
  static constexpr ptrdiff_t kMinReadable = kMaxWindowBytes;

  // Finds the first neighbour of each sample and the weights of both.
  template <int32_t kChannels>
  void locate_samples() {
    const float scale = scalar::reciprocal_scale(source_.columns, columns_);
    size_t sample = 0;
    for (int32_t x = 0; x < columns_; ++x) {
      const Tap tap = scalar::column_tap(x, scale, source_.columns);
      for (int32_t channel = 0; channel < kChannels; ++channel, ++sample) {
        firsts_[sample] = tap.index * kChannels + channel;
        first_weights_[sample] = static_cast<uint16_t>(tap.first);
        second_weights_[sample] = static_cast<uint16_t>(tap.second);
      }
    }
    for (; sample < kSamplesInStep; ++sample) {
      firsts_[sample] = firsts_[sample - 1];
      first_weights_[sample] = first_weights_[sample - 1];
      second_weights_[sample] = second_weights_[sample - 1];
    }
  }

  // The second neighbour follows a pixel later. In the last column it has no weight, and may be
  // any byte.
  int32_t second_neighbour(int32_t first) const {
    const int32_t second = first + source_.channels;
    const auto last = static_cast<int32_t>(source_.row_bytes() - 1);
    return second < last ? second : last;
  }

  // Calls visit(group, start), with the sample at which it starts, while that returns true. Returns
  // whether all groups were visited.
  template <class Visit>
  bool for_each_group(Visit visit) const {
    for (int32_t step = 0; step < steps_; ++step) {
      for (int32_t i = 0; i < kGroupsInStep; ++i) {
        if (!visit(step * kGroupsInStep + i,
                   static_cast<size_t>(step_start(step) + i * kSamplesInGroup))) {
          return false;
        }
      }
    }
    return true;
  }

  // Which window each sample of a group takes, and where the windows start.
  struct Division {
    bool fits = true;  // the windows reach all samples
    EachSample<int32_t> window_of;
    Starts starts = {};
  };

  // One window for all samples of a step. The neighbours of a channel do not go back from pixel to
  // pixel, so those of the first and of the last pixel are the outermost.
  Division divide_step(ptrdiff_t group, const Layout &layout) const {
    const auto begin = static_cast<size_t>(step_start(static_cast<int32_t>(group / kGroupsInStep)));
    const auto channels = static_cast<size_t>(source_.channels);
    int32_t least = firsts_[begin];
    int32_t most = 0;
    for (size_t channel = 0; channel < channels; ++channel) {
      least = std::min(least, firsts_[begin + channel]);
      most = std::max(most, second_neighbour(firsts_[begin + kSamplesInStep - 1 - channel]));
    }
    Division division;
    division.fits = most - least < layout.window_bytes;
    division.window_of.fill(0);
    division.starts[0] = least;
    return division;
  }

  Division divide(ptrdiff_t group, size_t start, const Layout &layout) const {
    return layout.serves_step ? divide_step(group, layout) : divide_group(start, layout);
  }

  // Gives each window as many samples as it reaches, or one when there is a window for each. Each
  // lookup of a group has its share of samples and of windows.
  Division divide_group(size_t start, const Layout &layout) const {
    const int32_t reach = layout.windows == kMaxWindows ? 0 : layout.window_bytes;
    Division division;
    int32_t window = 0;
    int32_t end = 0;  // of the windows of this lookup
    int32_t least = 0;
    int32_t most = 0;
    for (int32_t i = 0; i < kSamplesInGroup; ++i) {
      // Where several pixels have the same neighbours, later samples may lie before earlier ones.
      const auto sample = static_cast<size_t>(i);
      const int32_t first = firsts_[start + sample];
      const int32_t second = second_neighbour(first);
      least = first < least ? first : least;
      most = second > most ? second : most;
      const bool begins_lookup = (i & (layout.samples_in_lookup - 1)) == 0;
      if (begins_lookup || most - least >= reach) {
        window = begins_lookup ? end : window + 1;
        end = begins_lookup ? end + layout.windows_in_lookup : end;
        least = first;
        most = second;
        if (window == end) {
          division.fits = false;
          return division;
        }
      }
      division.window_of[sample] = window;
      division.starts[static_cast<size_t>(window)] = least;
    }
    return division;
  }

  void choose_layout() {
    layout_ = 0;
    while (!for_each_group([this](ptrdiff_t group, size_t start) {
      return divide(group, start, kLayouts[layout_]).fits;
    })) {
      ++layout_;
    }
  }

  void enter(ptrdiff_t group, size_t start) {
    const Layout &layout = kLayouts[layout_];
    Division division = divide(group, start, layout);
    // A window does not read past the row, so that near its end it starts earlier.
    const auto readable = static_cast<int32_t>(std::max(source_.row_bytes(), kMinReadable));
    for (int32_t &window_start : division.starts) {
      window_start = std::min(window_start, readable - layout.window_bytes);
    }
    Picks picks;
    picks.window = division.window_of;
    for (size_t i = 0; i < kSamplesInGroup; ++i) {
      const int32_t window_start = division.starts[static_cast<size_t>(picks.window[i])];
      const int32_t first = firsts_[start + i];
      picks.first[i] = first - window_start;
      picks.second[i] = second_neighbour(first) - window_start;
      picks.first_weight[i] = first_weights_[start + i];
      picks.second_weight[i] = second_weights_[start + i];
    }
    enter_group(bases_.get(), entries_.data(), layout, group, division.starts, picks);
  }

  const PlaneView &source_;
  int32_t columns_;
  int32_t samples_;
  int32_t steps_;
  size_t layout_ = 0;
  int32_t first_base_ = 0;
  std::unique_ptr<int32_t[]> firsts_;  // first neighbours, in bytes of a row
  std::unique_ptr<uint16_t[]> first_weights_;
  std::unique_ptr<uint16_t[]> second_weights_;
  std::unique_ptr<int32_t[]> bases_;
  AlignedScratch<uint8_t> entries_;
  uint8_t short_rows_[2][kMinReadable] = {};
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_HAS_VECTORS

#endif  // include guard of this instruction set
