#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>

#include "api/batch_items.h"
#include "tests/tensor_support.h"

namespace tavrine::test {
namespace {

using Paddings = std::vector<std::array<float, 3>>;

constexpr Preprocessing kTypical = {{120, 115.5F, 100}, {57, 58.5F, 59}, {}};

const std::string kName = "[tavrine_frame_transform_to_tensor_batch] ";

class Batch : public LibraryTest {
 protected:
  void TearDown() override {
    workspace_.reset();
    LibraryTest::TearDown();
  }

  struct Call {
    tavrine_tensor_t *tensor;
    int32_t color_type;
    std::vector<tavrine_frame_t *> frames;
    std::vector<tavrine_area2d_t> areas;
    int32_t mode;
    Paddings paddings;
  };

  int32_t run(const Call &call) {
    const auto &[mean, scale, unused] = kTypical;
    vertical_.assign(call.areas.size(), -1);
    horizontal_.assign(call.areas.size(), -1);
    return tavrine_frame_transform_to_tensor_batch(
        call.tensor, call.color_type, static_cast<int32_t>(call.frames.size()), call.frames.data(),
        call.areas.data(), call.mode, mean[0], mean[1], mean[2], scale[0], scale[1], scale[2],
        call.paddings.empty() ? nullptr : reinterpret_cast<const float(*)[3]>(call.paddings.data()),
        workspace_.slot(), vertical_.data(), horizontal_.data());
  }

  void expect_error(const std::string &text) { expect_log(4, "aux", kName + text + "\n"); }

  OwnedBuffer workspace_;
  std::vector<float> vertical_;
  std::vector<float> horizontal_;
};

// A region of a 40 x 30 frame, the part of it inside the frame, and where this goes in a tensor of
// 24 columns and 16 rows.
struct PlacementCase {
  int32_t mode;
  tavrine_area2d_t area;
  Rectangle inside;
  Rectangle placed;
};

const PlacementCase kPlacements[] = {
    {1, {3, 4, 24, 16}, {3, 4, 24, 16}, {0, 0, 24, 16}},     // copied without scaling
    {1, {3, 0, 24, 30}, {3, 0, 24, 30}, {0, 0, 24, 16}},     // scaled along one axis
    {1, {0, 3, 40, 16}, {0, 3, 40, 16}, {0, 0, 24, 16}},     // and along the other
    {1, {0, 0, 40, 30}, {0, 0, 40, 30}, {0, 0, 24, 16}},     // stretched
    {0, {1, 2, 36, 24}, {1, 2, 36, 24}, {0, 0, 24, 16}},     // the tensor's shape
    {0, {0, 0, 20, 30}, {0, 0, 20, 30}, {0, 0, 11, 16}},     // a band at the right
    {0, {0, 5, 40, 10}, {0, 5, 40, 10}, {0, 0, 24, 6}},      // a band below
    {1, {-12, -8, 24, 16}, {0, 0, 12, 8}, {12, 8, 12, 8}},   // over the upper left corner
    {1, {34, 22, 24, 16}, {34, 22, 6, 8}, {0, 0, 6, 8}},     // over the lower right corner
    {0, {-10, -20, 60, 80}, {0, 0, 40, 30}, {2, 4, 8, 6}},   // around the frame
    {1, {-3, 0, 6, 30}, {0, 0, 3, 30}, {12, 0, 12, 16}},     // enlarged
    {1, {-23, 0, 48, 32}, {0, 0, 25, 30}, {12, 0, 12, 15}},  // 11.5 and 12.5 round to 25 columns
    {1, {0, -99, 24, 100}, {0, 0, 24, 1}, {0, 16, 24, 0}},   // 15.84 and 0.16: no row is left
    {1, {39, 0, 400, 16}, {39, 0, 1, 16}, {0, 0, 0, 16}},    // no column
    {1, {-2000000000, -2000000000, 2147483647, 2147483647}, {0, 0, 40, 30}, {22, 14, 0, 0}},
};

TEST_F(Batch, PlacesRegionsAndPadsTheRest) {
  const Paddings paddings(std::size(kPlacements), {1.5F, -2, 77});
  for (const uint32_t format : {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_BGR24}) {
    for (const int32_t color_type : {TAVRINE_TENSOR_BGR, TAVRINE_TENSOR_RGB, TAVRINE_TENSOR_GRAY}) {
      for (const int32_t mode : {TAVRINE_RESIZE_FIT, TAVRINE_RESIZE_STRETCH}) {
        const PaddedFrame in = make_padded_frame(format, 40, 30, random_);
        Call call = {nullptr, color_type, {}, {}, mode, paddings};
        std::vector<const PlacementCase *> cases;
        for (const PlacementCase &placement : kPlacements) {
          if (placement.mode == mode) {
            cases.push_back(&placement);
            call.frames.push_back(in.frame.get());
            call.areas.push_back(placement.area);
          }
        }
        const PaddedTensor tensor(TAVRINE_ELEMENT_FLOAT32,
                                  {static_cast<int32_t>(cases.size()), 4, 16, 24});
        Elements expected = tensor.elements();
        for (size_t i = 0; i < cases.size(); ++i) {
          const auto image = static_cast<int>(i);
          const std::vector<float> bands =
              color_type == TAVRINE_TENSOR_BGR   ? std::vector<float>{77, -2, 1.5F}
              : color_type == TAVRINE_TENSOR_RGB ? std::vector<float>{1.5F, -2, 77}
                                                 : std::vector<float>{-2};
          tensor.expect_band(expected, image, {0, 0, 24, 16}, bands);
          const auto &[unused, area, inside, placed] = *cases[i];
          if (placed.width == 0 || placed.height == 0) {
            continue;
          }
          OwnedFrame part;
          OwnedFrame scaled;
          ASSERT_EQ(tavrine_frame_crop(in.frame.get(), part.slot(),
                                       {inside.x, inside.y, inside.width, inside.height}),
                    0);
          // The one case whose last column is cut off was scaled to more.
          const int width = area.x == -23 ? 13 : placed.width;
          ASSERT_EQ(tavrine_frame_resize(part.get(), scaled.slot(), width, placed.height), 0);
          tensor.expect_frame(expected, image, placed, color_type, scaled.get(), kTypical);
        }
        take_log();
        call.tensor = tensor.get();
        ASSERT_EQ(run(call), 0);
        const Elements elements = tensor.elements();
        for (size_t i = 0; i < elements.size(); ++i) {
          ASSERT_EQ(elements[i], expected[i]) << color_type << " mode " << mode << " element " << i;
        }
        EXPECT_TRUE(take_log().empty());
      }
    }
  }
}

TEST_F(Batch, ReturnsRatios) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 40, 30);
  const PaddedTensor tensor(TAVRINE_ELEMENT_UINT8, {2, 1, 16, 24});
  Call call = {tensor.get(),           TAVRINE_TENSOR_GRAY,
               {in.get(), in.get()},   {{0, 0, 36, 8}, {-5, 0, 12, 36}},
               TAVRINE_RESIZE_STRETCH, {}};
  ASSERT_EQ(run(call), 0);
  EXPECT_EQ(vertical_, (std::vector<float>{0.5F, 2.25F}));
  EXPECT_EQ(horizontal_, (std::vector<float>{1.5F, 0.5F}));
  call.mode = TAVRINE_RESIZE_FIT;
  ASSERT_EQ(run(call), 0);
  EXPECT_EQ(vertical_, (std::vector<float>{1.5F, 2.25F}));
  EXPECT_EQ(horizontal_, vertical_);
}

// The CPU reads a part of it; an engine that fills tensors itself needs all.
TEST_F(Batch, ItemsDescribeFramesCompletely) {
  constexpr float kPadding[] = {3, 4, 5};
  const tavrine_area2d_t area = {-2, 3, 10, 20};
  const std::array<int32_t, 3> forward = {0, 1, 2}, reversed = {2, 1, 0}, none = {0, 0, 0};
  const struct {
    uint32_t format;
    int32_t color_type;
    size_t pixel_bytes;
    std::array<int32_t, 3> output, source;
  } cases[] = {{TAVRINE_FORMAT_RGB24, TAVRINE_TENSOR_RGB, 3, forward, forward},
               {TAVRINE_FORMAT_RGB24, TAVRINE_TENSOR_BGR, 3, reversed, forward},
               {TAVRINE_FORMAT_RGB24, TAVRINE_TENSOR_GRAY, 3, forward, forward},
               {TAVRINE_FORMAT_BGR24, TAVRINE_TENSOR_RGB, 3, reversed, reversed},
               {TAVRINE_FORMAT_BGR24, TAVRINE_TENSOR_BGR, 3, forward, reversed},
               {TAVRINE_FORMAT_BGR24, TAVRINE_TENSOR_GRAY, 3, reversed, reversed},
               {TAVRINE_FORMAT_GREY, TAVRINE_TENSOR_GRAY, 1, none, none}};
  for (const auto &test : cases) {
    const PaddedFrame in = make_padded_frame(test.format, 12, 8, random_);
    const BatchItem item = make_item(in.frame.get(), area, {1.5F, 2.5F}, test.color_type, kPadding);
    EXPECT_EQ(item.pixels, in.frame->planes[0]);
    EXPECT_EQ(item.pixel_bytes, test.pixel_bytes);
    EXPECT_EQ(item.pixel_format, test.format);
    EXPECT_EQ(item.stride, in.frame->strides[0]);
    EXPECT_EQ((std::array{item.frame_width, item.frame_height}), (std::array{12, 8}));
    EXPECT_EQ((std::array{item.vertical_ratio, item.horizontal_ratio}), (std::array{1.5F, 2.5F}));
    EXPECT_TRUE(std::equal(test.output.begin(), test.output.end(), item.output_channels));
    EXPECT_TRUE(std::equal(test.source.begin(), test.source.end(), item.source_channels));
    EXPECT_TRUE(std::equal(kPadding, kPadding + 3, item.padding));
    EXPECT_EQ(std::memcmp(&item.area, &area, sizeof area), 0);
  }
}

TEST_F(Batch, WritesEveryElement) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 23, 19);
  fill_random(in.get(), random_);
  for (int i = 0; i < 3000; ++i) {
    const auto up_to = [this](unsigned limit) {
      return static_cast<int32_t>(random_() % limit) + 1;
    };
    const PaddedTensor tensor(TAVRINE_ELEMENT_FLOAT32, {1, 3, up_to(30), up_to(30)});
    const Elements before = tensor.elements();
    Elements all = before;
    const auto *shape = tensor.get()->shape;
    tensor.expect_band(all, 0, {0, 0, shape[3], shape[2]}, {0, 0, 0});
    const int32_t x = 23 - up_to(80);
    const int32_t y = 19 - up_to(80);
    const tavrine_area2d_t area = {x, y, std::max(-x, 0) + up_to(70), std::max(-y, 0) + up_to(70)};
    ASSERT_EQ(run({tensor.get(), 1, {in.get()}, {area}, i % 2, {}}), 0);
    const Elements after = tensor.elements();
    for (size_t k = 0; k < before.size(); ++k) {
      ASSERT_EQ(after[k] != before[k], all[k] != before[k])
          << "{" << x << ", " << y << ", " << area.width << ", " << area.height << "} to "
          << shape[3] << "x" << shape[2];
    }
  }
}

TEST_F(Batch, PaddingOfByteTensors) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 20, 16);
  fill_random(in.get(), random_);
  for (const bool is_signed : {false, true}) {
    const int32_t element_type = is_signed ? TAVRINE_ELEMENT_INT8 : TAVRINE_ELEMENT_UINT8;
    const PaddedTensor tensor(element_type, {1, 3, 16, 24});
    Elements expected = tensor.elements();
    if (is_signed) {
      tensor.expect_band(expected, 0, {20, 0, 4, 16}, {-3.9F, 300, 200});
    } else {
      tensor.expect_frame(expected, 0, {0, 0, 20, 16}, TAVRINE_TENSOR_RGB, in.get(), kTypical);
      tensor.expect_band(expected, 0, {20, 0, 4, 16}, {-3.9F});
    }
    // Signed tensors get their padding, but no pixels.
    EXPECT_EQ(run({tensor.get(), 1, {in.get()}, {{0, 0, 20, 16}}, 0, {{-3.9F, 300, 200}}}),
              is_signed ? -4 : 0);
    EXPECT_EQ(tensor.elements(), expected);
  }
}

// Frames, regions and paddings that all differ, against batches of a single image.
TEST_F(Batch, EachImageHasItsOwnFrameRegionAndPadding) {
  OwnedFrame frames[4];
  for (int i = 0; i < 4; ++i) {
    frames[i] =
        make_frame(i % 2 == 0 ? TAVRINE_FORMAT_RGB24 : TAVRINE_FORMAT_BGR24, 33 + 16 * i, 30 + i);
    fill_random(frames[i].get(), random_);
  }
  const std::vector<tavrine_area2d_t> areas = {
      {0, 0, 33, 30}, {10, -4, 50, 20}, {40, 5, 60, 40}, {-5, -5, 90, 50}};
  const Paddings paddings = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}, {10, 11, 12}};
  for (const int32_t memory : {TAVRINE_MEMORY_HOST, TAVRINE_MEMORY_DEVICE}) {
    const auto filled = [&](size_t first, size_t count) {
      const int32_t shape[4] = {static_cast<int32_t>(count), 3, 16, 24};
      const OwnedTensor tensor(tavrine_tensor_alloc(memory, TAVRINE_ELEMENT_FLOAT32, shape));
      Call call = {tensor.get(), TAVRINE_TENSOR_RGB, {}, {}, TAVRINE_RESIZE_FIT, {}};
      for (size_t i = first; i < first + count; ++i) {
        call.frames.push_back(frames[i].get());
        call.areas.push_back(areas[i]);
        call.paddings.push_back(paddings[i]);
      }
      EXPECT_EQ(run(call), 0);
      return bytes_of(tensor.get());
    };
    std::vector<uint8_t> one_by_one;
    for (size_t i = 0; i < std::size(frames); ++i) {
      const std::vector<uint8_t> image = filled(i, 1);
      one_by_one.insert(one_by_one.end(), image.begin(), image.end());
    }
    EXPECT_EQ(filled(0, std::size(frames)), one_by_one);
  }
}

TEST_F(Batch, MemoryTypesAndWorkspace) {
  OwnedFrame host = make_frame(TAVRINE_FORMAT_BGR24, 40, 30);
  fill_random(host.get(), random_);
  const OwnedFrame device = on_device(host.get());
  const int32_t shape[4] = {2, 3, 16, 24};
  const auto filled = [&](int32_t memory, const OwnedFrame &frame) {
    const OwnedTensor tensor(tavrine_tensor_alloc(memory, TAVRINE_ELEMENT_FLOAT32, shape));
    EXPECT_EQ(run({tensor.get(),
                   0,
                   {frame.get(), frame.get()},
                   {{-3, 5, 30, 30}, {4, 4, 24, 16}},
                   0,
                   {}}),
              0);
    return bytes_of(tensor.get());
  };
  const auto workspace_memory = [&] { return tavrine_buffer_mem_type(workspace_.get()); };
  const std::string device_name = tavrine_device_get_name();

  const std::vector<uint8_t> expected = filled(TAVRINE_MEMORY_HOST, host);
  EXPECT_EQ(workspace_memory(), TAVRINE_MEMORY_HOST);
  tavrine_devkit_reset_call_counts();
  EXPECT_EQ(filled(TAVRINE_MEMORY_HOST, host), expected);
  EXPECT_EQ(tavrine_devkit_call_count("tavrine_buffer_alloc"), 0);
  EXPECT_TRUE(take_log().empty());

  EXPECT_EQ(filled(TAVRINE_MEMORY_DEVICE, host), expected);
  EXPECT_EQ(workspace_memory(), TAVRINE_MEMORY_DEVICE);
  std::vector<LogRecord> log = take_log();
  ASSERT_FALSE(log.empty());
  EXPECT_EQ(log[0].level, 3);
  EXPECT_EQ(log[0].text, kName + "tensor memory type: " + device_name +
                             ", frame memory type: host, upload frame. roi frames uploading maybe "
                             "cost a lot of time，space and bandwidth\n");
  EXPECT_EQ(filled(TAVRINE_MEMORY_DEVICE, device), expected);

  tavrine_devkit_guard_device_memory(1);
  take_log();
  EXPECT_EQ(filled(TAVRINE_MEMORY_HOST, device), expected);
  EXPECT_EQ(workspace_memory(), TAVRINE_MEMORY_DEVICE);
  log = take_log();
  ASSERT_FALSE(log.empty());
  EXPECT_EQ(log[0].level, 0);
  EXPECT_EQ(log[0].text, kName + "tensor memory type: host, frame memory type: " + device_name +
                             ", download frame. roi frames downloading maybe cost a lot of "
                             "time，space and bandwidth\n");
  tavrine_devkit_guard_device_memory(0);
}

TEST_F(Batch, RefusalsWriteNothing) {
  constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
  constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
  OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 40, 30);
  const OwnedFrame on_other = on_device(in.get());
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 40, 30);
  const PaddedTensor tensor(TAVRINE_ELEMENT_FLOAT32, {3, 3, 16, 24});
  const PaddedTensor narrow(TAVRINE_ELEMENT_FLOAT32, {3, 2, 16, 24});
  const Elements before = tensor.elements();
  const Call good = {tensor.get(), 1, {in.get(), in.get(), in.get()}, {}, 0, {}};

  const auto refused_with = [&](int32_t result, auto change) {
    Call call = good;
    call.areas.assign(3, {0, 0, 8, 8});
    change(call);
    EXPECT_EQ(run(call), result);
    EXPECT_EQ(tensor.elements(), before);
  };
  refused_with(-1, [&](Call &call) { call.tensor = narrow.get(); });
  for (const int32_t mode : {-1, 2}) {
    refused_with(-1, [=](Call &call) { call.mode = mode; });
  }
  EXPECT_TRUE(take_log().empty());

  for (const size_t image : {size_t{1}, size_t{2}}) {
    refused_with(-1, [&](Call &call) { call.frames[image] = on_other.get(); });
    expect_error("input frame list memory type is not homogeneous");
    refused_with(-1, [&](Call &call) { call.frames[image] = nullptr; });
    refused_with(-1000, [&](Call &call) { call.frames[image] = grey.get(); });
    expect_error("RGB/GBR tensor needs RGB/BGR frame, given frame's format: GREY");
  }
  refused_with(-1000, [](Call &call) { call.color_type = 5; });
  expect_error("Unknown tensor color type: 5");
  const tavrine_area2d_t apart[] = {{40, 0, 4, 4},     {0, 30, 4, 4},      {-4, 0, 4, 4},
                                    {0, -5, 4, 4},     {kMax, 0, kMax, 4}, {0, kMin, 4, kMax},
                                    {kMin, 0, kMin, 4}};
  for (const tavrine_area2d_t &area : apart) {
    refused_with(-1, [&](Call &call) { call.areas[2] = area; });
    expect_error("invalid roi: {" + std::to_string(area.x) + ", " + std::to_string(area.y) + ", " +
                 std::to_string(area.width) + ", " + std::to_string(area.height) + "}");
  }

  // This core keeps a tensor's memory type in its word.
  tavrine_tensor_t elsewhere = *tensor.get();
  elsewhere.core_word = 7;
  refused_with(-4, [&](Call &call) { call.tensor = &elsewhere; });
  EXPECT_FALSE(workspace_);
}

TEST_F(Batch, FailedImageDoesNotStopTheOthers) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 40, 30);
  fill_random(in.get(), random_);
  Call call = {nullptr, 1, {in.get(), in.get(), in.get()}, {}, 1, {}};
  call.areas.assign(3, {0, 0, 40, 30});
  for (const tavrine_area2d_t &area :
       {tavrine_area2d_t{5, 5, 0, 4}, {5, 5, 0, 0}, {5, 5, 4, -3}, {5, 5, -4, -4}}) {
    for (const int32_t mode : {0, 1}) {
      const PaddedTensor tensor(TAVRINE_ELEMENT_FLOAT32, {3, 3, 30, 40});
      Elements expected = tensor.elements();
      for (const int image : {0, 2}) {
        tensor.expect_frame(expected, image, {0, 0, 40, 30}, 1, in.get(), kTypical);
      }
      call.tensor = tensor.get();
      call.mode = mode;
      call.areas[1] = area;
      EXPECT_EQ(run(call), -4) << area.width << " " << area.height;
      EXPECT_EQ(tensor.elements(), expected) << area.width << " " << area.height;
    }
  }
}

}  // namespace
}  // namespace tavrine::test
