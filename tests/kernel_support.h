// Running kernels on every instruction set, on memory that notices a byte too many.
#pragma once

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>
#include <type_traits>

#include "kernels/instruction_set.h"
#include "kernels/plane_view.h"
#include "tests/guarded_frame.h"

namespace tavrine::test {

// Calls run(), or run(name), once for each instruction set that was compiled and that this machine
// has. Only kernels called from here use it, not those in the library.
template <typename Run>
void on_every_target(Run run) {
  std::string names;
  const int64_t targets = HWY_SUPPORTED_TARGETS & HWY_TARGETS;
  for (int64_t bits = targets; bits != 0; bits &= bits - 1) {
    const int64_t target = bits & -bits;
    const char *name = hwy::TargetName(target);
    names += std::string(names.empty() ? "" : " ") + name;
    hwy::SetSupportedTargetsForTest(target);
    {
      SCOPED_TRACE(name);
      if constexpr (std::is_invocable_v<Run, const char *>) {
        run(name);
      } else {
        run();
      }
    }
    hwy::SetSupportedTargetsForTest(0);
    if (::testing::Test::HasFatalFailure()) {
      return;
    }
  }
  ASSERT_FALSE(names.empty()) << "no instruction set was run";
  ::testing::Test::RecordProperty("targets", names);
  std::printf("[  TARGETS ] %s\n", names.c_str());
}

// The library takes the same.
inline std::string taken_instruction_set() {
  for (const InstructionSet &set : instruction_sets()) {
    if (set.is_taken) {
      return set.name;
    }
  }
  return "none";
}

// A plane that ends, or begins, exactly where memory that must not be touched begins, or ends: one
// that is read or written past that edge faults. What lies before it and between its rows holds a
// pattern that only the plane's pixels may lose.
class GuardedPlane {
 public:
  static constexpr uint8_t kPoison = 0x99;

  GuardedPlane(int32_t columns, int32_t rows, int32_t channels, ptrdiff_t padding = 0,
               GuardedMemory::Edge edge = GuardedMemory::Edge::kLast)
      : row_bytes_(static_cast<size_t>(columns * channels)),
        memory_((row_bytes_ + static_cast<size_t>(padding)) * static_cast<size_t>(rows - 1) +
                    row_bytes_,
                edge),
        view_{memory_.data(), channels, columns, rows,
              static_cast<ptrdiff_t>(row_bytes_) + padding} {
    std::fill(memory_.begin(), memory_.end(), kPoison);
  }

  const PlaneView &view() const { return view_; }
  Plane shape() const { return {view_.channels, view_.columns, view_.rows}; }

  void fill(std::mt19937 &random) {
    // A third of the fills are extremes, where sums saturate.
    const bool is_extreme = random() % 3 == 0;
    for_each_row([&](uint8_t *row) {
      for (size_t i = 0; i < row_bytes_; ++i) {
        row[i] =
            is_extreme ? static_cast<uint8_t>(random() % 2 * 255) : static_cast<uint8_t>(random());
      }
    });
  }

  std::vector<uint8_t> pixels() {
    std::vector<uint8_t> result;
    for_each_row([&](uint8_t *row) { result.insert(result.end(), row, row + row_bytes_); });
    return result;
  }

  // True when nothing around the pixels has changed.
  bool margins_unharmed() {
    std::vector<uint8_t> copy(memory_.begin(), memory_.end());
    for (int32_t y = 0; y < view_.rows; ++y) {
      std::memset(copy.data() + (view_.row(y) - memory_.begin()), kPoison, row_bytes_);
    }
    return copy == std::vector<uint8_t>(copy.size(), kPoison);
  }

 private:
  template <typename Visit>
  void for_each_row(Visit visit) {
    for (int32_t y = 0; y < view_.rows; ++y) {
      visit(view_.row(y));
    }
  }

  size_t row_bytes_;
  GuardedMemory memory_;
  PlaneView view_;
};

// Widths from one pixel to beyond twice what a register holds, and one of many registers.
inline std::vector<int32_t> widths_to_try() {
  std::vector<int32_t> widths;
  for (int32_t width = 1; width <= 67; ++width) {
    widths.push_back(width);
  }
  widths.insert(widths.end(), {127, 130, 200});
  return widths;
}

}  // namespace tavrine::test
