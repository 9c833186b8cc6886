// Every core call of every operation fails once: the code and the slot are as promised, and
// nothing is left behind.
#include <functional>

#include "tests/support.h"

namespace tavrine::test {
namespace {

constexpr int32_t kInjected = TAVRINE_DEVKIT_INJECTED_FAILURE;

// An operation from `in` into a slot, which may hold a frame.
using Operation = std::function<int32_t(const tavrine_frame_t *in, tavrine_frame_t **out)>;

struct Scenario {
  const char *name;
  uint32_t format;
  int32_t memory;
  Operation run;
  // The calls that may fail, in no order, and what the operation then answers.
  struct Outcome {
    const char *call;
    int32_t nth;
    int32_t result;
  };
  std::vector<Outcome> outcomes;
};

Operation resize_to(int width, int height) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    return tavrine_frame_resize(in, out, width, height);
  };
}

Operation convert_to(uint32_t format) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    return tavrine_frame_cvt_color(in, out, format);
  };
}

Operation crop_to(tavrine_area2d_t area) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    return tavrine_frame_crop(in, out, area);
  };
}

Operation encode_as(int32_t code) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **) {
    static OwnedBuffer buffer;
    buffer = OwnedBuffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
    const int32_t result = buffer ? tavrine_frame_encode(in, code, buffer.get()) : kInjected;
    buffer.reset();
    return result;
  };
}

// Turns a part of the frame, whose rows are padded.
int32_t rotate_part(const tavrine_frame_t *in, tavrine_frame_t **out) {
  const OwnedFrame part(tavrine_frame_roi(in, 2, 2, 16, 12));
  return part ? tavrine_frame_rotate(part.get(), out, 0) : kInjected;
}

// Warps take an existing frame: the first allocation is the application's own.
Operation warp_by(decltype(&tavrine_frame_warpaffine) warp) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **out) {
    constexpr float kMatrix[] = {0.9F, 0.1F, 2, -0.1F, 0.9F, 1, 0, 0, 1};
    constexpr int32_t kTight[4] = {};
    OwnedFrame created;
    if (*out == nullptr) {
      created = OwnedFrame(
          tavrine_frame_alloc(tavrine_frame_mem_type(in), in->pixel_format, 18, 14, kTight, 0));
    }
    tavrine_frame_t *destination = *out != nullptr ? *out : created.get();
    const int32_t result = destination != nullptr ? warp(in, destination, kMatrix) : kInjected;
    if (result == 0) {
      *out = destination;
      created.release();
    }
    return result;
  };
}

OwnedTensor make_tensor(int32_t memory) {
  constexpr int32_t kShape[4] = {2, 3, 10, 12};
  return OwnedTensor(tavrine_tensor_alloc(memory, TAVRINE_ELEMENT_FLOAT32, kShape));
}

Operation fill_tensor_in(int32_t memory) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **) {
    const OwnedTensor tensor = make_tensor(memory);
    return tensor ? tavrine_frame_to_tensor(tensor.get(), 0, TAVRINE_TENSOR_RGB, in, 0, 0, 0, 1, 1,
                                            1, 0, 0, 0)
                  : kInjected;
  };
}

// One region is scaled, one is not; both are padded.
Operation fill_batch_in(int32_t memory) {
  return [=](const tavrine_frame_t *in, tavrine_frame_t **) {
    const OwnedTensor tensor = make_tensor(memory);
    const OwnedFrame frame(tavrine_frame_ref(in));
    tavrine_frame_t *const frames[] = {frame.get(), frame.get()};
    const tavrine_area2d_t areas[] = {{-4, 2, 20, 16}, {12, 3, 12, 10}};
    OwnedBuffer workspace;
    return tensor && frame
               ? tavrine_frame_transform_to_tensor_batch(
                     tensor.get(), TAVRINE_TENSOR_BGR, 2, frames, areas, TAVRINE_RESIZE_FIT, 0, 0,
                     0, 1, 1, 1, nullptr, workspace.slot(), nullptr, nullptr)
               : kInjected;
  };
}

int32_t save_to_nowhere(const tavrine_frame_t *in, tavrine_frame_t **) {
  return tavrine_frame_save(in, "/dev/null/none.png") == -4 ? 0 : kInjected;
}

// The transfers of a fallback are not looked at: without its input the CPU refuses, and a
// result that does not reach the device passes.
const Scenario kScenarios[] = {
    {"resize", TAVRINE_FORMAT_NV12, 0, resize_to(12, 10), {{"tavrine_frame_alloc", 1, -4}}},
    {"resize to its own size",
     TAVRINE_FORMAT_GREY,
     0,
     resize_to(20, 16),
     {{"tavrine_frame_alloc", 1, -4}, {"tavrine_frame_copy", 1, kInjected}}},
    {"resize on the device",
     TAVRINE_FORMAT_NV21,
     1,
     resize_to(12, 10),
     {{"tavrine_frame_alloc", 1, -4},
      {"tavrine_frame_download", 1, -4},
      {"tavrine_frame_download", 2, -4},
      {"tavrine_frame_upload", 1, 0}}},
    {"crop inside",
     TAVRINE_FORMAT_BGR24,
     0,
     crop_to({2, 2, 8, 8}),
     {{"tavrine_frame_roi", 1, -1}, {"tavrine_frame_copy", 1, kInjected}}},
    {"crop across",
     TAVRINE_FORMAT_YU12,
     0,
     crop_to({-4, -4, 12, 12}),
     {{"tavrine_frame_alloc", 1, -4},
      {"tavrine_buffer_make", 1, 0},
      {"tavrine_buffer_make", 3, 0},
      {"tavrine_buffer_set", 1, 0},
      {"tavrine_buffer_set", 2, 0},
      {"tavrine_frame_roi", 1, -1},
      {"tavrine_frame_roi", 2, -1},
      {"tavrine_frame_copy", 1, kInjected}}},
    {"crop across, one plane",
     TAVRINE_FORMAT_GREY,
     1,
     crop_to({-4, -4, 12, 12}),
     {{"tavrine_frame_reset", 1, 0}, {"tavrine_frame_roi", 2, -1}}},
    {"rotation of a part",
     TAVRINE_FORMAT_NV12,
     0,
     rotate_part,
     {{"tavrine_frame_alloc", 1, -4}, {"tavrine_frame_duplicate", 1, -4}}},
    {"rotation on the device",
     TAVRINE_FORMAT_YU12,
     1,
     rotate_part,
     {{"tavrine_frame_alloc", 1, -4},
      {"tavrine_frame_download", 1, -4},
      {"tavrine_frame_download", 2, -4},
      {"tavrine_frame_upload", 1, 0}}},
    {"affine warp on the device",
     TAVRINE_FORMAT_NV21,
     1,
     warp_by(tavrine_frame_warpaffine),
     {{"tavrine_frame_download", 1, -4},
      {"tavrine_frame_download", 2, -4},
      {"tavrine_frame_upload", 1, 0}}},
    {"perspective warp on the device",
     TAVRINE_FORMAT_BGR24,
     1,
     warp_by(tavrine_frame_warpperspective),
     {{"tavrine_frame_download", 1, -1},
      {"tavrine_frame_download", 2, -1},
      {"tavrine_frame_upload", 1, 0}}},
    {"perspective warp through another format",
     TAVRINE_FORMAT_YU12,
     0,
     warp_by(tavrine_frame_warpperspective),
     {{"tavrine_frame_alloc", 2, -4},
      {"tavrine_frame_alloc", 3, -4},
      {"tavrine_frame_alloc", 4, 0},
      {"tavrine_frame_alloc", 5, -4}}},
    {"forward conversion",
     TAVRINE_FORMAT_RGB24,
     0,
     convert_to(TAVRINE_FORMAT_NV12),
     {{"tavrine_frame_alloc", 1, -4}}},
    {"reference",
     TAVRINE_FORMAT_RGB24,
     0,
     convert_to(TAVRINE_FORMAT_RGB24),
     {{"tavrine_frame_ref", 1, -4}}},
    {"luma view",
     TAVRINE_FORMAT_NV12,
     0,
     convert_to(TAVRINE_FORMAT_GREY),
     {{"tavrine_frame_ref", 1, -4}}},
    {"neutral chroma",
     TAVRINE_FORMAT_GREY,
     0,
     convert_to(TAVRINE_FORMAT_NV21),
     {{"tavrine_frame_alloc", 1, -4}, {"tavrine_frame_copy", 1, kInjected}}},
    {"two steps",
     TAVRINE_FORMAT_NV21,
     0,
     convert_to(TAVRINE_FORMAT_YU12),
     {{"tavrine_frame_alloc", 1, -4}, {"tavrine_frame_alloc", 2, -4}}},
    {"conversion on the device",
     TAVRINE_FORMAT_BGR24,
     1,
     convert_to(TAVRINE_FORMAT_NV21),
     {{"tavrine_frame_alloc", 1, -4},
      {"tavrine_frame_download", 1, -4},
      {"tavrine_frame_download", 2, -4},
      {"tavrine_frame_upload", 1, 0}}},
    {"tensor from the device",
     TAVRINE_FORMAT_RGB24,
     1,
     fill_tensor_in(0),
     {{"tavrine_frame_download", 1, kInjected}}},
    {"tensor on the device",
     TAVRINE_FORMAT_BGR24,
     0,
     fill_tensor_in(1),
     {{"tavrine_frame_upload", 1, kInjected}}},
    {"batch",
     TAVRINE_FORMAT_BGR24,
     0,
     fill_batch_in(0),
     {{"tavrine_buffer_alloc", 1, -4},
      {"tavrine_frame_roi", 1, -4},
      {"tavrine_frame_roi", 2, -4},
      {"tavrine_buffer_resize", 1, -4},
      {"tavrine_frame_make", 1, -4},
      {"tavrine_tensor_roi", 1, -4},
      {"tavrine_tensor_roi", 2, -4},
      {"tavrine_tensor_roi", 5, -4}}},
    {"batch from the device",
     TAVRINE_FORMAT_RGB24,
     1,
     fill_batch_in(0),
     {{"tavrine_frame_download", 1, -4},
      {"tavrine_frame_download", 3, -4},
      {"tavrine_frame_upload", 1, 0}}},
    {"batch to the device",
     TAVRINE_FORMAT_RGB24,
     0,
     fill_batch_in(1),
     {{"tavrine_buffer_alloc", 1, -4},
      {"tavrine_frame_upload", 1, -4},
      {"tavrine_frame_upload", 2, -4}}},
    {"batch on the device",
     TAVRINE_FORMAT_BGR24,
     1,
     fill_batch_in(1),
     {{"tavrine_frame_make", 1, -4}}},
    {"encode grey",
     TAVRINE_FORMAT_GREY,
     0,
     encode_as(TAVRINE_ENCODE_PNG),
     {{"tavrine_frame_ref", 1, -4},
      {"tavrine_buffer_resize", 1, -4},
      {"tavrine_buffer_resize", 2, -4}}},
    {"encode colour",
     TAVRINE_FORMAT_NV12,
     0,
     encode_as(TAVRINE_ENCODE_BMP),
     {{"tavrine_frame_ref", 1, -4},
      {"tavrine_frame_alloc", 1, -4},
      {"tavrine_buffer_resize", 1, -4},
      {"tavrine_buffer_resize", 2, -4}}},
    {"encode from the device",
     TAVRINE_FORMAT_RGB24,
     1,
     encode_as(TAVRINE_ENCODE_JPEG),
     {{"tavrine_frame_download", 1, -4}, {"tavrine_frame_ref", 1, -4}}},
    {"save from the device",
     TAVRINE_FORMAT_RGB24,
     1,
     save_to_nowhere,
     {{"tavrine_frame_ref", 1, 0}}},
};

class Failures : public LibraryTest {};

TEST_F(Failures, EachCallAnswersItsCode) {
  for (const Scenario &scenario : kScenarios) {
    const OwnedFrame in = make_frame(scenario.format, 20, 16, scenario.memory);
    for (const Scenario::Outcome &outcome : scenario.outcomes) {
      OwnedFrame out;
      ASSERT_EQ(tavrine_devkit_fail_call(outcome.call, outcome.nth), 0);
      EXPECT_EQ(scenario.run(in.get(), out.slot()), outcome.result)
          << scenario.name << ": " << outcome.call << " " << outcome.nth;
      EXPECT_EQ(tavrine_devkit_clear_failures(), 0)
          << scenario.name << " never calls " << outcome.call << " " << outcome.nth << " times";
      EXPECT_TRUE(outcome.result == 0 || !out) << scenario.name << ": " << outcome.call;
    }
  }
}

TEST_F(Failures, NothingIsLostWhicheverCallFails) {
  for (const Scenario &scenario : kScenarios) {
    const OwnedFrame in = make_frame(scenario.format, 20, 16, scenario.memory);
    OwnedFrame model;
    ASSERT_EQ(scenario.run(in.get(), model.slot()), 0) << scenario.name;
    for (const bool has_destination : {false, true}) {
      if (has_destination && !model) {
        continue;  // nothing comes out of this one
      }
      bool was_reached = true;
      for (int nth = 1; was_reached; ++nth) {
        ASSERT_LT(nth, 200) << scenario.name;
        OwnedFrame out;
        if (has_destination) {
          out = make_frame(model->pixel_format, model->width, model->height, scenario.memory);
        }
        const tavrine_frame_t *given = out.get();
        const tavrine_devkit_objects_t before = tavrine_devkit_live_objects();
        ASSERT_EQ(tavrine_devkit_fail_call("*", nth), 0);
        const int32_t result = scenario.run(in.get(), out.slot());
        was_reached = tavrine_devkit_clear_failures() == 0;
        EXPECT_TRUE(was_reached || result == 0) << scenario.name;
        if (has_destination || result != 0) {
          EXPECT_EQ(out.get(), given) << scenario.name << " call " << nth;
          EXPECT_EQ(tavrine_devkit_live_objects().frames, before.frames) << scenario.name;
          EXPECT_EQ(tavrine_devkit_live_objects().buffers, before.buffers) << scenario.name;
        }
        if (given != nullptr) {
          EXPECT_EQ(given->pixel_format, model->pixel_format) << scenario.name;
          EXPECT_EQ(given->plane_count, model->plane_count) << scenario.name;
        }
      }
    }
  }
}

TEST_F(Failures, AFailedDownloadKeepsItsCodeWhenSaving) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 8, 8, TAVRINE_MEMORY_DEVICE);
  const OwnedBuffer buffer(tavrine_buffer_alloc(16, TAVRINE_MEMORY_HOST));
  tavrine_devkit_fail_call("tavrine_frame_download", 1);
  EXPECT_EQ(tavrine_frame_save(in.get(), "never-written.png"), kInjected);
  EXPECT_TRUE(take_log().empty());
  tavrine_devkit_fail_call("tavrine_frame_download", 1);
  EXPECT_EQ(tavrine_frame_encode(in.get(), TAVRINE_ENCODE_PNG, buffer.get()), -4);
  EXPECT_EQ(take_log(), (std::vector<LogRecord>{{4, "aux", 498, "Download failed!\n"}}));
  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 8, 8);
  tavrine_devkit_fail_call("tavrine_buffer_resize", 2);
  EXPECT_EQ(tavrine_frame_encode(grey.get(), TAVRINE_ENCODE_PNG, buffer.get()), -4);
  tavrine_devkit_fail_call("tavrine_buffer_resize", 2);
  EXPECT_EQ(tavrine_frame_encode(grey.get(), TAVRINE_ENCODE_BMP, buffer.get()), -4);
  const char *text = "Monochrome frame serialize failed error!\n";
  EXPECT_EQ(take_log(), (std::vector<LogRecord>{{4, "aux", 520, text}, {4, "aux", 554, text}}));
}

TEST_F(Failures, APerspectiveWarpWithoutMemoryBetweenSucceedsAndWritesNothing) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_NV12, 8, 8);
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_NV12, 6, 4);
  fill(out.get(), 77);
  const float identity[] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
  tavrine_devkit_fail_call("tavrine_frame_alloc", 2);
  EXPECT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), identity), 0);
  EXPECT_EQ(tavrine_devkit_clear_failures(), 0);
  EXPECT_EQ(pixels_of(out.get()), std::vector<uint8_t>(36, 77));
}

TEST_F(Failures, ANonContiguousFrameThatCannotBeDuplicatedIsNotSaved) {
  const PaddedFrame in = make_padded_frame(TAVRINE_FORMAT_RGB24, 8, 8, random_);
  tavrine_devkit_fail_call("tavrine_frame_duplicate", 1);
  EXPECT_EQ(tavrine_frame_save(in.frame.get(), "never-written.png"), -4);
}

}  // namespace
}  // namespace tavrine::test
