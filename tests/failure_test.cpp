// What a failure leaves besides its code: messages, pixels and files.
#include "tests/failure_scenarios.h"

namespace tavrine::test {
namespace {

class Failures : public LibraryTest {};

TEST_F(Failures, FailedDownloadWhenSavingAndEncoding) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 8, 8, TAVRINE_MEMORY_DEVICE);
  const OwnedBuffer buffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
  tavrine_devkit_inject_fault("tavrine_frame_download", 1);
  EXPECT_EQ(tavrine_frame_save(in.get(), "never-written.png"), kInjected);
  EXPECT_TRUE(take_log().empty());
  tavrine_devkit_inject_fault("tavrine_frame_download", 1);
  EXPECT_EQ(tavrine_frame_encode(in.get(), TAVRINE_ENCODE_PNG, buffer.get()), -4);
  EXPECT_EQ(take_log(), (std::vector<LogRecord>{{4, "aux", 498, "Download failed!\n"}}));
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 8, 8);
  tavrine_devkit_inject_fault("tavrine_buffer_resize", 2);
  EXPECT_EQ(tavrine_frame_encode(grey.get(), TAVRINE_ENCODE_PNG, buffer.get()), -4);
  tavrine_devkit_inject_fault("tavrine_buffer_resize", 2);
  EXPECT_EQ(tavrine_frame_encode(grey.get(), TAVRINE_ENCODE_BMP, buffer.get()), -4);
  const char *text = "Monochrome frame serialize failed error!\n";
  EXPECT_EQ(take_log(), (std::vector<LogRecord>{{4, "aux", 520, text}, {4, "aux", 554, text}}));
}

TEST_F(Failures, PerspectiveWarpWithoutIntermediateFrame) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_NV12, 8, 8);
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_NV12, 6, 4);
  fill(out.get(), 77);
  const float identity[] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  tavrine_devkit_inject_fault("tavrine_frame_alloc", 2);
  EXPECT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), identity), 0);
  EXPECT_EQ(tavrine_devkit_clear_faults(), 0);
  EXPECT_EQ(pixels_of(out.get()), std::vector<uint8_t>(36, 77));
}

// Without a result, nothing is uploaded to the caller's device frame.
TEST_F(Failures, RefusedOperationUploadsNothing) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_Y16, 8, 8, TAVRINE_MEMORY_DEVICE);
  OwnedFrame out = make_frame(TAVRINE_FORMAT_Y16, 4, 4, TAVRINE_MEMORY_DEVICE);
  tavrine_devkit_reset_call_counts();
  EXPECT_EQ(tavrine_frame_resize(in.get(), out.slot(), 4, 4), -4);
  EXPECT_EQ(tavrine_devkit_call_count("tavrine_frame_download"), 2);
  EXPECT_EQ(tavrine_devkit_call_count("tavrine_frame_upload"), 0);
}

TEST_F(Failures, FailedDuplicateWhenSaving) {
  const PaddedFrame in = make_padded_frame(TAVRINE_FORMAT_RGB24, 8, 8, random_);
  tavrine_devkit_inject_fault("tavrine_frame_duplicate", 1);
  EXPECT_EQ(tavrine_frame_save(in.frame.get(), "never-written.png"), -4);
}

}  // namespace
}  // namespace tavrine::test
