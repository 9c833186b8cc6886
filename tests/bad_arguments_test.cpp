// Invalid arguments: they return a code, and nothing outside the frames is read or written.
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <map>

#include "tests/guarded_frame.h"
#include "tests/tensor_support.h"

namespace tavrine::test {
namespace {

constexpr int32_t kMax = std::numeric_limits<int32_t>::max();
constexpr int32_t kMin = std::numeric_limits<int32_t>::min();
constexpr float kInfinity = std::numeric_limits<float>::infinity();
constexpr int kWidth = 22;
constexpr int kHeight = 18;

using Edge = GuardedMemory::Edge;

struct Damage {
  const char *name;
  std::function<void(tavrine_frame_t &)> apply;
};

const Damage kDamages[] = {
    {"no first plane", [](tavrine_frame_t &f) { f.planes[0] = nullptr; }},
    {"no second plane", [](tavrine_frame_t &f) { f.planes[1] = nullptr; }},
    {"width 0", [](tavrine_frame_t &f) { f.width = 0; }},
    {"width -2", [](tavrine_frame_t &f) { f.width = -2; }},
    {"largest even width", [](tavrine_frame_t &f) { f.width = kMax - 1; }},
    {"smallest width", [](tavrine_frame_t &f) { f.width = kMin; }},
    {"height 0", [](tavrine_frame_t &f) { f.height = 0; }},
    {"height -2", [](tavrine_frame_t &f) { f.height = -2; }},
    {"smallest height", [](tavrine_frame_t &f) { f.height = kMin; }},
    {"stride 1", [](tavrine_frame_t &f) { f.strides[0] = 1; }},
    {"small second stride", [](tavrine_frame_t &f) { f.strides[1] = 4; }},
    {"stride -64", [](tavrine_frame_t &f) { f.strides[0] = -64; }},
    {"smallest stride", [](tavrine_frame_t &f) { f.strides[0] = kMin; }},
    {"unknown format", [](tavrine_frame_t &f) { f.pixel_format = 0x31323334; }},
    {"no format", [](tavrine_frame_t &f) { f.pixel_format = 0; }},
};

struct BadCall {
  const char *name;
  uint32_t format;
  std::function<int32_t(const tavrine_frame_t *in, tavrine_frame_t *out)> run;
  const char *input_codes;  // one for each damage of the input, then of the output
  const char *output_codes;
};

const float kMatrix[9] = {0.9F, 0.1F, 2, -0.1F, 0.9F, 1, 0, 0, 1};

const BadCall kCalls[] = {
    {"resize", TAVRINE_FORMAT_NV12,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       return tavrine_frame_resize(in, &out, 16, 12);
     },
     "-4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -1 -1", "-4 -4 -1 -1 0 -1 -1 -1 -1 -4 -4 -4 -4 -1 -1"},
    {"rotate", TAVRINE_FORMAT_YU12,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       return tavrine_frame_rotate(in, &out, 1);
     },
     "-4 -4 -4 -4 -1 -4 -4 -4 -4 -4 -4 -4 -4 -1 -1",
     "-4 -4 -1 -1 -4 -1 -1 -1 -1 -4 -4 -4 -4 -1 -1"},
    {"crop", TAVRINE_FORMAT_RGB24,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       return tavrine_frame_crop(in, &out, {2, 2, 8, 8});
     },
     "-1 0 -1 -1 -1 -1 -1 -1 -1 -1 0 -1 -1 -1 -1", "-1 0 -1 -1 -1 -1 -1 -1 -1 -1 0 -1 -1 -1 -1"},
    {"affine", TAVRINE_FORMAT_NV21,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       return tavrine_frame_warpaffine(in, out, kMatrix);
     },
     "-1 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4",
     "-1 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4 -4"},
    {"perspective", TAVRINE_FORMAT_BGR24,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       return tavrine_frame_warpperspective(in, out, kMatrix);
     },
     "-1 0 -1 -1 -1 -1 -1 -1 -1 -1 0 -1 -1 -4 -4", "-1 0 -1 -1 -1 -1 -1 -1 -1 -1 0 -1 -1 -4 -4"},
    {"neutral chroma", TAVRINE_FORMAT_NV12,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       tavrine_frame_t grey = *in;
       grey.pixel_format =
           in->pixel_format == TAVRINE_FORMAT_NV12 ? TAVRINE_FORMAT_GREY : in->pixel_format;
       grey.plane_count = 1;
       return tavrine_frame_cvt_color(&grey, &out, TAVRINE_FORMAT_NV12);
     },
     "-1 0 -1 -1 -1 -1 -1 -1 -1 -1 0 -1 -1 -1000 -1",
     "-1 -4 -1 -1 -1 -1 -1 -1 -1 -1 -4 -1 -1 -1 -1"},
    {"convert", TAVRINE_FORMAT_NV12,
     [](const tavrine_frame_t *in, tavrine_frame_t *out) {
       out->pixel_format =
           out->pixel_format == TAVRINE_FORMAT_NV12 ? TAVRINE_FORMAT_NV21 : out->pixel_format;
       return tavrine_frame_cvt_color(in, &out, TAVRINE_FORMAT_NV21);
     },
     "-4 -4 -1 -1 -1 -1 -1 -1 -1 -4 -4 -4 -4 -1000 -1",
     "-4 -4 -1 -1 -1 -1 -1 -1 -1 -4 -4 -4 -4 -1 -1"},
};

int32_t fill_batch(tavrine_tensor_t *tensor, int32_t n, tavrine_frame_t *const *frames,
                   const tavrine_area2d_t *areas, int32_t mode, tavrine_buffer_t **workspace) {
  return tavrine_frame_transform_to_tensor_batch(tensor, TAVRINE_TENSOR_RGB, n, frames, areas, mode,
                                                 0, 0, 0, 1, 1, 1, nullptr, workspace, nullptr,
                                                 nullptr);
}

class BadArguments : public LibraryTest {};

TEST_F(BadArguments, NullArgumentsAndUnknownRotations) {
  OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 4, 4);
  OwnedFrame none;
  const OwnedBuffer buffer(tavrine_buffer_alloc(4, TAVRINE_MEMORY_HOST));
  constexpr int32_t kShape[4] = {1, 3, 4, 4};
  const OwnedTensor tensor(
      tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, kShape));
  OwnedBuffer workspace;
  tavrine_frame_t *const frames[] = {frame.get()};
  tavrine_frame_t *const no_frames[] = {nullptr};
  const tavrine_area2d_t area = {0, 0, 4, 4};
  const Preprocessing plain = {{}, {1, 1, 1}, {}};
  const int32_t codes[] = {
      tavrine_frame_resize(nullptr, none.slot(), 2, 2),
      tavrine_frame_resize(frame.get(), nullptr, 2, 2),
      tavrine_frame_scale(nullptr, none.slot(), 1),
      tavrine_frame_scale(nullptr, none.slot(), -1),
      tavrine_frame_scale(frame.get(), nullptr, 1),
      tavrine_frame_crop(nullptr, none.slot(), {0, 0, 2, 2}),
      tavrine_frame_crop(frame.get(), nullptr, {0, 0, 2, 2}),
      tavrine_frame_rotate(nullptr, none.slot(), 0),
      tavrine_frame_rotate(frame.get(), nullptr, 0),
      tavrine_frame_rotate(frame.get(), none.slot(), 3),
      tavrine_frame_rotate(frame.get(), none.slot(), -1),
      tavrine_frame_cvt_color(nullptr, none.slot(), TAVRINE_FORMAT_GREY),
      tavrine_frame_cvt_color(frame.get(), nullptr, TAVRINE_FORMAT_GREY),
      tavrine_frame_warpaffine(nullptr, frame.get(), kMatrix),
      tavrine_frame_warpaffine(frame.get(), nullptr, kMatrix),
      tavrine_frame_warpperspective(nullptr, frame.get(), kMatrix),
      tavrine_frame_warpperspective(frame.get(), nullptr, kMatrix),
      tavrine_frame_warpperspective(frame.get(), frame.get(), nullptr),
      tavrine_frame_save(nullptr, "never-written.png"),
      to_tensor(nullptr, 0, TAVRINE_TENSOR_RGB, frame.get(), plain),
      to_tensor(tensor.get(), 0, TAVRINE_TENSOR_RGB, nullptr, plain),
      fill_batch(nullptr, 1, frames, &area, TAVRINE_RESIZE_FIT, workspace.slot()),
      fill_batch(tensor.get(), 1, nullptr, &area, TAVRINE_RESIZE_FIT, workspace.slot()),
      fill_batch(tensor.get(), 1, no_frames, &area, TAVRINE_RESIZE_FIT, workspace.slot()),
      fill_batch(tensor.get(), 1, frames, nullptr, TAVRINE_RESIZE_FIT, workspace.slot()),
      fill_batch(tensor.get(), 1, frames, &area, TAVRINE_RESIZE_FIT, nullptr)};
  for (const int32_t &code : codes) {
    EXPECT_EQ(code, -1) << &code - codes;
  }
  EXPECT_TRUE(take_log().empty());
  EXPECT_EQ(tavrine_frame_warpaffine(frame.get(), frame.get(), nullptr), -4);
  EXPECT_EQ(tavrine_frame_encode(nullptr, TAVRINE_ENCODE_PNG, buffer.get()), -1);
  EXPECT_EQ(tavrine_frame_encode(frame.get(), TAVRINE_ENCODE_PNG, nullptr), -1);
  EXPECT_EQ(tavrine_frame_save(frame.get(), nullptr), -1000);
  EXPECT_EQ(tavrine_frame_load(nullptr), nullptr);
  EXPECT_FALSE(none);
  EXPECT_FALSE(workspace);
}

TEST_F(BadArguments, BrokenFrameRecords) {
  for (const BadCall &call : kCalls) {
    for (const bool damages_input : {true, false}) {
      std::string codes;
      for (const Damage &damage : kDamages) {
        int32_t result[2] = {};
        for (const Edge edge : {Edge::kFirst, Edge::kLast}) {
          const GuardedFrame in(call.format, kWidth, kHeight, edge);
          const GuardedFrame out(call.format, kWidth, kHeight, edge);
          tavrine_frame_t damaged = *(damages_input ? in : out).get();
          damage.apply(damaged);
          result[edge == Edge::kLast] =
              damages_input ? call.run(&damaged, out.get()) : call.run(in.get(), &damaged);
        }
        EXPECT_EQ(result[0], result[1]);
        codes += (codes.empty() ? "" : " ") + std::to_string(result[0]);
      }
      EXPECT_EQ(codes, damages_input ? call.input_codes : call.output_codes)
          << call.name << (damages_input ? ": input" : ": output");
    }
  }
}

// Numbers that a caller's arithmetic may produce. Nothing outside the caller's frame is written.
TEST_F(BadArguments, NumbersOutOfRange) {
  constexpr int32_t kNumbers[] = {0, -1, 1, -3, 7, 30, 65536, kMax, kMax - 1, kMin, kMin + 1};
  constexpr float kRatios[] = {0, -0.0F, -1, NAN, kInfinity, -kInfinity, 1e30F, 1e-30F, 1e9F};
  const auto number = [&] { return kNumbers[random_() % std::size(kNumbers)]; };
  const std::vector<float> extremes = {NAN, kInfinity, -kInfinity, 1e38F, -1e38F, 1e-44F, 0, 1};
  std::map<int32_t, int> codes_seen;
  for (int i = 0; i < 3000; ++i) {
    const uint32_t format = kEightBitFormats[random_() % std::size(kEightBitFormats)];
    const Edge edge = i % 2 == 0 ? Edge::kFirst : Edge::kLast;
    const GuardedFrame in(format, kWidth, kHeight, edge);
    const GuardedFrame given(format, kWidth, kHeight, edge);
    fill(given.get(), 3);
    tavrine_frame_t *out = given.get();
    float matrix[9];
    for (float &element : matrix) {
      element = extremes[random_() % extremes.size()];
    }
    const int32_t results[] = {
        tavrine_frame_resize(in.get(), &out, number(), number()),
        tavrine_frame_scale(in.get(), &out, kRatios[random_() % std::size(kRatios)]),
        tavrine_frame_crop(in.get(), &out, {number(), number(), number(), number()}),
        tavrine_frame_rotate(in.get(), &out, number()),
        tavrine_frame_warpaffine(in.get(), out, matrix),
        tavrine_frame_warpperspective(in.get(), out, matrix),
        tavrine_frame_cvt_color(in.get(), &out, static_cast<uint32_t>(number()))};
    for (const int32_t result : results) {
      ASSERT_TRUE(result == 0 || result == -1 || result == -4) << result;
      ++codes_seen[result];
    }
    ASSERT_EQ(out, given.get());
    take_log();
  }
  EXPECT_EQ(codes_seen.size(), 3);
}

TEST_F(BadArguments, BrokenPictures) {
  const uint8_t bytes[] = {'P', '5', ' '};
  for (const int32_t length : {0, -1, kMin, 1, 3}) {
    EXPECT_EQ(tavrine_frame_load_from_memory(bytes, length), nullptr) << length;
  }
  EXPECT_EQ(tavrine_frame_load_from_memory(nullptr, 3), nullptr);
  for (const char *path : {"", "/", "no such file.png", "/dev/null"}) {
    EXPECT_EQ(tavrine_frame_load(path), nullptr) << path;
  }
  const OwnedFrame frame = make_frame(TAVRINE_FORMAT_RGB24, 4, 4);
  const OwnedBuffer buffer(tavrine_buffer_alloc(4, TAVRINE_MEMORY_HOST));
  std::string codes;
  for (const Damage &damage : kDamages) {
    tavrine_frame_t damaged = *frame.get();
    damage.apply(damaged);
    codes += " " + std::to_string(tavrine_frame_encode(&damaged, TAVRINE_ENCODE_PNG, buffer.get()));
  }
  EXPECT_EQ(codes, " -4 0 -4 -4 -4 -4 -4 -4 -4 -4 0 -4 -4 -4 -4");
}

// The tensor's memory ends at a guard page.
TEST_F(BadArguments, BrokenTensorRecords) {
  constexpr int32_t kShape[4] = {2, 3, 6, 8};
  const GuardedMemory memory(sizeof(float) * 2 * 3 * 6 * 8, Edge::kLast);
  const GuardedFrame in(TAVRINE_FORMAT_RGB24, kWidth, kHeight, Edge::kLast);
  const OwnedTensor tensor(tavrine_tensor_make(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32,
                                               memory.data(), kShape, nullptr, nullptr, nullptr));
  ASSERT_TRUE(tensor);
  const struct {
    const char *name;
    std::function<void(tavrine_tensor_t &)> damage;
    int32_t single;
    int32_t batch;
  } kCases[] = {
      {"undamaged", [](tavrine_tensor_t &) {}, 0, 0},
      {"unknown elements", [](tavrine_tensor_t &t) { t.element_type = 77; }, -1000, -4},
      {"no channels", [](tavrine_tensor_t &t) { t.shape[1] = 0; }, -1, -1},
      {"negative channels", [](tavrine_tensor_t &t) { t.shape[1] = -3; }, -1, -1},
      {"negative row stride", [](tavrine_tensor_t &t) { t.strides[2] = -8; }, -1, -4},
      {"smallest channel stride", [](tavrine_tensor_t &t) { t.strides[1] = kMin; }, -1, -4},
      {"unaligned", [](tavrine_tensor_t &t) { t.core_words[1] += 2; }, -1, -4},
      {"no data", [](tavrine_tensor_t &t) { t.core_words[1] = 0; }, -1, -1},
  };
  tavrine_frame_t *const frames[] = {in.get(), in.get()};
  const tavrine_area2d_t areas[] = {{-4, -4, 20, 20}, {10, 9, 30, 40}};
  for (const auto &test : kCases) {
    tavrine_tensor_t damaged = *tensor.get();
    test.damage(damaged);
    EXPECT_EQ(to_tensor(&damaged, 0, TAVRINE_TENSOR_RGB, in.get(), {{}, {1, 1, 1}, {}}),
              test.single)
        << test.name;
    OwnedBuffer workspace;
    EXPECT_EQ(fill_batch(&damaged, 2, frames, areas, TAVRINE_RESIZE_FIT, workspace.slot()),
              test.batch)
        << test.name;
    take_log();
  }
  OwnedBuffer workspace;
  for (const int32_t n : {0, -1, 1, 3, kMax, kMin}) {
    EXPECT_EQ(fill_batch(tensor.get(), n, frames, areas, TAVRINE_RESIZE_STRETCH, workspace.slot()),
              -1)
        << n;
  }
  EXPECT_FALSE(workspace);
  EXPECT_TRUE(take_log().empty());
}

// The largest stride. Such a plane does not fit the camera's address space, and is refused there.
TEST_F(BadArguments, RowsFarApart) {
  constexpr int32_t kRows = 4;
  constexpr auto kStride = static_cast<size_t>(kMax);
  const OwnedFrame small = make_frame(TAVRINE_FORMAT_GREY, 16, kRows);
  fill_random(small.get(), random_);
  OwnedFrame rotated;
  tavrine_frame_t far = *small.get();
  far.strides[0] = kMax;
  if constexpr (sizeof(void *) == 4) {
    EXPECT_EQ(tavrine_frame_rotate(&far, rotated.slot(), 1), -4);
    EXPECT_FALSE(rotated);
  } else {
    const GuardedMemory memory(static_cast<size_t>(kMax) * (kRows - 1) + 16, Edge::kLast);
    for (size_t y = 0; y < kRows; ++y) {
      std::memcpy(memory.data() + kStride * y, static_cast<uint8_t *>(small->planes[0]) + 16 * y,
                  16);
    }
    far.planes[0] = memory.data();
    EXPECT_EQ(tavrine_frame_rotate(&far, rotated.slot(), 1), 0);
    OwnedFrame expected;
    EXPECT_EQ(tavrine_frame_rotate(small.get(), expected.slot(), 1), 0);
    EXPECT_EQ(pixels_of(rotated.get()), pixels_of(expected.get()));
  }
}

// One row of 2^31 - 1 pixels, and two of them: no more than a plane of memory may hold.
TEST_F(BadArguments, RowsAsLongAsCanBeCounted) {
  tavrine_frame_t wide = *OwnedFrame(make_frame(TAVRINE_FORMAT_GREY, 16, 1)).get();
  wide.width = kMax;
  wide.height = 2;
  wide.strides[0] = 0;
  OwnedFrame out;
  if constexpr (sizeof(void *) == 4) {
    EXPECT_EQ(tavrine_frame_resize(&wide, out.slot(), 4, 2), -4);
  } else {
    const GuardedMemory memory(size_t{2} * kMax, Edge::kLast);
    wide.planes[0] = memory.data();
    EXPECT_EQ(tavrine_frame_resize(&wide, out.slot(), 4, 2), 0);
    EXPECT_EQ(pixels_of(out.get()), std::vector<uint8_t>(8));
  }
  // Rows of more bytes than that are refused on every machine, before anything is read.
  wide.pixel_format = TAVRINE_FORMAT_RGB24;
  wide.width = kMax / 3 + 1;
  out.reset();
  EXPECT_EQ(tavrine_frame_resize(&wide, out.slot(), 4, 2), -4);
  wide.width = kMax / 3 * 2 + 6;  // 14 when counted in 32 bits
  EXPECT_EQ(tavrine_frame_resize(&wide, out.slot(), 4, 2), -4);
}

// Channels, rows and images as far apart as the records allow, in memory that is mostly not there.
TEST_F(BadArguments, TensorsAsLargeAsCanBeCounted) {
  constexpr int32_t kShape[4] = {1, 3, 3, 4};
  constexpr int32_t kRowStride = kMax / 4;
  constexpr uint32_t kOffset = std::numeric_limits<uint32_t>::max();
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 3, 2);
  fill_random(in.get(), random_);
  for (const int32_t element : {TAVRINE_ELEMENT_UINT8, TAVRINE_ELEMENT_FLOAT32}) {
    const size_t bytes = element == TAVRINE_ELEMENT_UINT8 ? 1 : 4;
    const OwnedTensor near(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, element, kShape));
    const Preprocessing preprocessing = {{1, 2, 3}, {0.5F, 1, 1}, {7, 8, 9}};
    ASSERT_EQ(to_tensor(near.get(), 0, TAVRINE_TENSOR_RGB, in.get(), preprocessing), 0);
    tavrine_tensor_t far = *near.get();
    far.strides[1] = kMax;
    far.strides[2] = kRowStride;
    if constexpr (sizeof(void *) == 4) {
      EXPECT_EQ(to_tensor(&far, 0, TAVRINE_TENSOR_RGB, in.get(), preprocessing), -1);
      far.strides[1] = far.strides[2] = 4;
      EXPECT_EQ(to_tensor(&far, kOffset, TAVRINE_TENSOR_RGB, in.get(), preprocessing), -1);
      continue;
    }
    const uint64_t elements = uint64_t{kOffset} + 2 * uint64_t{kMax} + 2 * uint64_t{kRowStride} + 4;
    const GuardedMemory memory(static_cast<size_t>(elements * bytes), Edge::kLast);
    far.core_words[1] = reinterpret_cast<uintptr_t>(memory.data());
    ASSERT_EQ(to_tensor(&far, kOffset, TAVRINE_TENSOR_RGB, in.get(), preprocessing), 0);
    for (int32_t channel = 0; channel < 3; ++channel) {
      for (int32_t row = 0; row < 3; ++row) {
        const uint64_t begin = kOffset + static_cast<uint64_t>(channel) * kMax +
                               static_cast<uint64_t>(row) * kRowStride;
        EXPECT_EQ(std::memcmp(memory.data() + begin * bytes,
                              tavrine_tensor_data_at(near.get(), 0, channel, row, 0), 4 * bytes),
                  0)
            << channel << " " << row;
      }
    }
  }
}

}  // namespace
}  // namespace tavrine::test
