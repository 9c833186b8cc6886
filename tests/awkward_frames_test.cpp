// Every operation on frames whose memory is as awkward as the records allow.
#include <map>

#include "common/pixel_format.h"
#include "tests/kernel_support.h"
#include "tests/operation_table.h"

namespace tavrine::test {
namespace {

using Edge = GuardedMemory::Edge;
using Padding = GuardedFrame::Padding;

class AwkwardFrames : public LibraryTest {
 protected:
  // Frames are kept, because guard pages take time to make.
  tavrine_frame_t *frame(uint32_t format, int width, int height, Edge edge, const Padding &padding,
                         bool is_source) {
    auto &kept = frames_[{format, width, height, edge == Edge::kFirst, padding, is_source}];
    if (!kept) {
      kept = std::make_unique<GuardedFrame>(format, width, height, edge, padding);
    }
    return kept->get();
  }

  CallResult run(const TableCall &call, Edge edge, const Padding &in_padding,
                 const Padding &out_padding) {
    tavrine_frame_t *in =
        frame(call.in_format, call.in_width, call.in_height, edge, in_padding, true);
    set_source_pixels(in);
    if (call.out_format == 0) {
      return call.run(in, nullptr);
    }
    tavrine_frame_t *out =
        frame(call.out_format, call.out_width, call.out_height, edge, out_padding, false);
    fill(out, 0xA5);
    return call.run(in, out);
  }

  void TearDown() override {
    frames_.clear();
    LibraryTest::TearDown();
  }

 private:
  std::map<std::tuple<uint32_t, int, int, bool, Padding, bool>, std::unique_ptr<GuardedFrame>>
      frames_;
};

// Planes of fewer bytes than a vector, at the beginning and at the end of their memory.
TEST_F(AwkwardFrames, TinyPlanes) {
  constexpr Padding kTight = {0, 0, 0};
  constexpr Padding kPadded = {3, 3, 3};
  std::vector<TableCall> calls;
  for (int size = 0; size < 16; ++size) {
    const std::vector<TableCall> some = all_calls(size % 4 + 1, size / 4 + 1);
    calls.insert(calls.end(), some.begin(), some.end());
  }
  std::vector<CallResult> expected;
  for (const TableCall &call : calls) {
    expected.push_back(run_on_ordinary_frames(call));
    ASSERT_EQ(expected.back().code, 0) << call.name;
  }
  for (size_t i = 0; i < calls.size(); ++i) {
    for (const Edge edge : {Edge::kFirst, Edge::kLast}) {
      ASSERT_TRUE(run(calls[i], edge, kTight, kTight) == expected[i]) << calls[i].name;
      ASSERT_TRUE(run(calls[i], edge, kPadded, kPadded) == expected[i]) << calls[i].name;
    }
  }
  take_log();
}

// Chroma rows of NV12 and NV21 must be as far apart as luma rows where these are converted to or
// from colours.
bool needs_equal_strides(const TableCall &call) {
  return (is_packed_rgb(call.in_format) && is_semi_planar(call.out_format)) ||
         (is_semi_planar(call.in_format) && is_packed_rgb(call.out_format)) ||
         (is_semi_planar(call.in_format) && call.name.find("perspective") == 0);
}

// A stride in one plane and none in another, in sources and destinations.
TEST_F(AwkwardFrames, StridesOfEachPlane) {
  constexpr int kNone = GuardedFrame::kNoStride;
  const Padding paddings[] = {{kNone, kNone, kNone}, {7, kNone, 4}, {kNone, 3, kNone}, {0, 6, 9}};
  for (const TableCall &call : all_calls(34, 18)) {
    if (planes_of(call.in_format, 2, 2).size() == 1 &&
        (call.out_format == 0 || planes_of(call.out_format, 2, 2).size() == 1)) {
      continue;
    }
    const CallResult expected = run_on_ordinary_frames(call);
    ASSERT_EQ(expected.code, 0) << call.name;
    for (const Padding &in : paddings) {
      for (const Padding &out : paddings) {
        SCOPED_TRACE(testing::Message() << call.name << ": " << in[0] << " " << in[1] << " to "
                                        << out[0] << " " << out[1]);
        const CallResult result = run(call, Edge::kLast, in, out);
        if (needs_equal_strides(call)) {
          const auto are_equal = [](const Padding &padding) {
            return std::max(padding[0], 0) == std::max(padding[1], 0);
          };
          const bool is_accepted = (is_packed_rgb(call.in_format) || are_equal(in)) &&
                                   (is_packed_rgb(call.out_format) || are_equal(out));
          ASSERT_EQ(result.code, is_accepted ? 0 : -4);
          if (!is_accepted) {
            continue;
          }
        }
        ASSERT_TRUE(result == expected);
      }
    }
  }
  take_log();
}

}  // namespace
}  // namespace tavrine::test
