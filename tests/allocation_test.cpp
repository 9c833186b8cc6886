// What calls allocate when the caller keeps the results: nothing, or a few rows.
#include "tests/memory_failure.h"
#include "tests/support.h"

namespace tavrine::test {
namespace {

constexpr int32_t kWidth = 640;
constexpr int32_t kHeight = 480;
constexpr float kMatrix[9] = {0.9F, -0.2F, 30.0F, 0.2F, 0.9F, 10.0F, 0.0001F, 0.0002F, 1.0F};

struct Use {
  int64_t count;   // allocations of one call
  size_t largest;  // bytes of the largest one
};

class AllocationTest : public LibraryTest {
 protected:
  template <typename Call>
  Use use_of(const std::string &name, Call call) {
    SCOPED_TRACE(name);
    fail_allocation(0);
    const int64_t before = allocation_count();
    EXPECT_EQ(call(), TAVRINE_OK);
    return {allocation_count() - before, largest_allocation()};
  }

  template <typename Call>
  void expect_none(const std::string &name, Call call) {
    EXPECT_EQ(use_of(name, call).count, 0) << name;
  }

  // Records of frames, but no pixels.
  template <typename Call>
  void expect_records(const std::string &name, Call call) {
    EXPECT_LE(use_of(name, call).largest, size_t{1024}) << name;
  }

  // Scratch rows, as 16-bit intermediate values and as positions.
  template <typename Call>
  void expect_few_rows(const std::string &name, Call call) {
    EXPECT_LE(use_of(name, call).largest, size_t{64} * kWidth) << name;
  }

  OwnedFrame source(uint32_t format) {
    OwnedFrame frame = make_frame(format, kWidth, kHeight);
    fill_random(frame.get(), random_);
    return frame;
  }

  static std::string name_of(uint32_t format) { return tavrine_frame_pixfmt_to_string(format); }
};

TEST_F(AllocationTest, Resizes) {
  for (const uint32_t format : kEightBitFormats) {
    const OwnedFrame in = source(format);
    const auto resize_to = [&](int32_t width, int32_t height) {
      return [&in, out = std::make_shared<OwnedFrame>(make_frame(in->pixel_format, width, height)),
              width, height] { return tavrine_frame_resize(in.get(), out->slot(), width, height); };
    };
    expect_records(name_of(format) + " 1:1", resize_to(kWidth, kHeight));
    expect_none(name_of(format) + " 2:1", resize_to(kWidth / 2, kHeight / 2));
    expect_none(name_of(format) + " 4:1", resize_to(kWidth / 4, kHeight / 4));
    expect_none(name_of(format) + " 5:1", resize_to(kWidth / 5, kHeight / 5));
    expect_few_rows(name_of(format) + " down", resize_to(500, 300));
    expect_few_rows(name_of(format) + " up", resize_to(1000, 700));
  }
}

TEST_F(AllocationTest, Rotations) {
  for (const uint32_t format : kEightBitFormats) {
    if (format == TAVRINE_FORMAT_YU12) {
      continue;
    }
    const OwnedFrame in = source(format);
    for (const int32_t code : {0, 1, 2}) {
      OwnedFrame out =
          code == 1 ? make_frame(format, kWidth, kHeight) : make_frame(format, kHeight, kWidth);
      expect_none(name_of(format) + " by code " + std::to_string(code),
                  [&] { return tavrine_frame_rotate(in.get(), out.slot(), code); });
    }
  }
}

TEST_F(AllocationTest, Conversions) {
  const std::pair<uint32_t, uint32_t> pairs[] = {
      {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_GREY}, {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24},
      {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV12}, {TAVRINE_FORMAT_BGR24, TAVRINE_FORMAT_NV21},
      {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24}, {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_NV12},
      {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_RGB24}, {TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_BGR24},
      {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21},  {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_YU12},
      {TAVRINE_FORMAT_YU12, TAVRINE_FORMAT_NV12},
  };
  for (const auto &[from, to] : pairs) {
    const OwnedFrame in = source(from);
    OwnedFrame out = make_frame(to, kWidth, kHeight);
    expect_none(name_of(from) + " to " + name_of(to),
                [&, format = to] { return tavrine_frame_cvt_color(in.get(), out.slot(), format); });
  }
  const OwnedFrame in = source(TAVRINE_FORMAT_NV12);
  OwnedFrame out = make_frame(TAVRINE_FORMAT_GREY, kWidth, kHeight);
  expect_records("NV12 to GREY", [&] {
    return tavrine_frame_cvt_color(in.get(), out.slot(), TAVRINE_FORMAT_GREY);
  });
}

TEST_F(AllocationTest, Warps) {
  for (const uint32_t format : {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24}) {
    const OwnedFrame in = source(format);
    const OwnedFrame out = make_frame(format, kWidth, kHeight);
    expect_few_rows(name_of(format) + " affine",
                    [&] { return tavrine_frame_warpaffine(in.get(), out.get(), kMatrix); });
    expect_none(name_of(format) + " perspective",
                [&] { return tavrine_frame_warpperspective(in.get(), out.get(), kMatrix); });
  }
}

TEST_F(AllocationTest, Tensors) {
  const int32_t shape[4] = {1, 3, kHeight, kWidth};
  for (const int32_t element_type : {TAVRINE_ELEMENT_FLOAT32, TAVRINE_ELEMENT_UINT8}) {
    const OwnedTensor out(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, element_type, shape));
    const std::pair<int32_t, uint32_t> cases[] = {{TAVRINE_TENSOR_RGB, TAVRINE_FORMAT_RGB24},
                                                  {TAVRINE_TENSOR_BGR, TAVRINE_FORMAT_RGB24},
                                                  {TAVRINE_TENSOR_GRAY, TAVRINE_FORMAT_RGB24},
                                                  {TAVRINE_TENSOR_GRAY, TAVRINE_FORMAT_GREY}};
    for (const auto &[color_type, format] : cases) {
      const OwnedFrame in = source(format);
      expect_none("tensor of " + name_of(format), [&, color = color_type] {
        return tavrine_frame_to_tensor(out.get(), 0, color, in.get(), 123.7F, 116.3F, 103.5F, 58.4F,
                                       57.1F, 57.4F, 0, 0, 0);
      });
    }
  }
}

// The workspace holds the largest scaled region; the second call finds it large enough.
TEST_F(AllocationTest, BatchesReuseTheirWorkspace) {
  const int32_t shape[4] = {2, 3, 100, 100};
  const OwnedTensor out(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape));
  const OwnedFrame in = source(TAVRINE_FORMAT_RGB24);
  tavrine_frame_t *const frames[2] = {in.get(), in.get()};
  const tavrine_area2d_t areas[2] = {{10, 20, 300, 200}, {100, 50, 250, 333}};
  OwnedBuffer workspace;
  const auto fill = [&] {
    return tavrine_frame_transform_to_tensor_batch(out.get(), TAVRINE_TENSOR_RGB, 2, frames, areas,
                                                   TAVRINE_RESIZE_STRETCH, 0, 0, 0, 1, 1, 1,
                                                   nullptr, workspace.slot(), nullptr, nullptr);
  };
  ASSERT_EQ(fill(), TAVRINE_OK);
  EXPECT_LT(use_of("second call", fill).largest, size_t{3} * 100 * 100);
}

}  // namespace
}  // namespace tavrine::test
