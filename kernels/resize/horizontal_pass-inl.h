// The horizontal pass of the resampler. Included once for each instruction set.
#if defined(TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_
#undef TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_
#else
#define TAVRINE_KERNELS_RESIZE_HORIZONTAL_PASS_INL_H_
#endif

#include <algorithm>
#include <memory>

#include "common/allocate.h"
#include "kernels/plane_view.h"
#include "kernels/resize/resize_bilinear_arm-inl.h"
#include "kernels/resize/resize_bilinear_x86-inl.h"
#include "kernels/resize/resize_scalar.h"
#include "kernels/resize/sample_groups-inl.h"

#if TAVRINE_HAS_VECTORS

HWY_BEFORE_NAMESPACE();
namespace tavrine {
namespace HWY_NAMESPACE {

using scalar::Tap;

// The horizontal pass of one plane: its tables, and what it does to a row.
class HorizontalPass {
 public:
  HorizontalPass(const PlaneView &source, const PlaneView &destination)
      : source_(source),
        samples_(static_cast<int32_t>(destination.row_bytes())),
        groups_((samples_ + kSamplesInStep - 1) / kSamplesInStep * (kSamplesInStep / 4)),
        scale_(scalar::reciprocal_scale(source.columns, destination.columns)) {}

  // The fewest windows that reach all samples: they are far apart when a row shrinks a lot.
  bool prepare() {
    weights_ = allocate<int16_t>(static_cast<int64_t>(groups_) * 8);
    for (windows_ = 1; windows_ <= kMostWindows; windows_ *= 2) {
      const int64_t groups = groups_;
      bases_ = allocate<int32_t>(groups * windows_);
      controls_ = allocate<uint8_t>(groups * control_bytes(windows_));
      if (!bases_ || !controls_ || !weights_) {
        return false;
      }
      if (fill_tables()) {
        return true;
      }
    }
    return false;
  }

  void run(const uint8_t *source, int16_t *row) {
    if (source_.row_bytes() < kLeastReadable) {
      std::copy_n(source, source_.row_bytes(), short_row_);
      source = short_row_;
    }
    const GroupTables tables = {bases_.get(), controls_.get(), weights_.get()};
    const int32_t samples = groups_ * kSamplesInGroup;
    switch (windows_) {
      case 1:
        return resample_groups<1>(source, tables, samples, row);
      case 2:
        return resample_groups<2>(source, tables, samples, row);
      default:
        return resample_groups<4>(source, tables, samples, row);
    }
  }

 private:
  static constexpr ptrdiff_t kLeastReadable = 16;  // what the longest window reads

  struct Sample {
    int32_t first;  // byte offsets
    int32_t second;
    Tap tap;
  };

  // False when the windows do not reach the samples of a group.
  bool fill_tables() {
    const int32_t channels = source_.channels;
    Sample group[kSamplesInGroup];
    int32_t column = 0;
    int32_t channel = 0;
    Tap tap = scalar::column_tap(0, scale_, source_.columns);
    for (int32_t position = 0; position < groups_; ++position) {
      for (int32_t i = 0; i < kSamplesInGroup; ++i) {
        const int32_t first = tap.index * channels + channel;
        group[i] = {first, first + (tap.index < source_.columns - 1 ? channels : 0), tap};
        // The padding repeats the last sample.
        if (position * kSamplesInGroup + i < samples_ - 1 && ++channel == channels) {
          channel = 0;
          tap = scalar::column_tap(++column, scale_, source_.columns);
        }
      }
      if (!fill_group(group, position)) {
        return false;
      }
    }
    return true;
  }

  bool fill_group(const Sample (&group)[kSamplesInGroup], int32_t position) {
    const int32_t reach = window_bytes(windows_);
    const auto readable = static_cast<int32_t>(std::max(source_.row_bytes(), kLeastReadable));
    int32_t bases[kMostWindows] = {};
    Pick picks[kSamplesInGroup];
    int32_t window = 0;
    int32_t least = group[0].first;
    int32_t most = group[0].second;
    for (int32_t i = 0; i < kSamplesInGroup; ++i) {
      const Sample &sample = group[i];
      least = std::min(least, sample.first);
      most = std::max(most, sample.second);
      if (most - least >= reach) {  // begin another window
        if (++window == windows_) {
          return false;
        }
        least = sample.first;
        most = sample.second;
      }
      bases[window] = std::min(least, readable - reach);
      picks[i] = {window, sample.first, sample.second, sample.tap.first, sample.tap.second};
    }
    for (Pick &pick : picks) {
      pick.first -= bases[pick.window];
      pick.second -= bases[pick.window];
    }
    enter_group({bases_.get(), controls_.get(), weights_.get()}, windows_, position, bases, picks);
    return true;
  }

  const PlaneView &source_;
  int32_t samples_;
  int32_t groups_;
  float scale_;
  int32_t windows_ = 1;
  std::unique_ptr<int32_t[]> bases_;
  std::unique_ptr<uint8_t[]> controls_;
  std::unique_ptr<int16_t[]> weights_;
  uint8_t short_row_[kLeastReadable] = {};
};

}  // namespace HWY_NAMESPACE
}  // namespace tavrine
HWY_AFTER_NAMESPACE();

#endif  // TAVRINE_HAS_VECTORS

#endif  // include guard of this instruction set
