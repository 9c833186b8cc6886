// The C++ headers: each operation gives what its C function gives, owners release what they own,
// and rows, letterboxes and transforms agree with the C records.
#include <algorithm>
#include <cmath>

#include "tavrine_aux.hpp"
#include "tests/tensor_support.h"

namespace tavrine::test {
namespace {

using Cpp = LibraryTest;

static_assert(sizeof(Frame) == sizeof(void *) && !std::is_copy_constructible_v<Frame> &&
              std::is_nothrow_move_constructible_v<Result<Frame>>);

Frame random_frame(uint32_t format, Size size, Random &random) {
  Frame frame(make_frame(format, size.width, size.height).release());
  fill_random(frame.get(), random);
  return frame;
}

Tensor make_tensor(const int32_t (&shape)[4]) {
  return Tensor(tavrine_tensor_alloc(TAVRINE_MEMORY_HOST, TAVRINE_ELEMENT_FLOAT32, shape));
}

// Both ways to call an operation, and the C call that they stand for.
TEST_F(Cpp, OperationsGiveWhatTheCFunctionsGive) {
  const Transform map(Matrix{{0.9F, 0.2F, -0.4F, -0.15F, 0.8F, 0.7F, 0.01F, -0.02F, 1}});
  for (const uint32_t format : {TAVRINE_FORMAT_RGB24, TAVRINE_FORMAT_NV12}) {
    Frame in = random_frame(format, {24, 16}, random_);
    in.get()->extra = 77;
    const auto check = [&](Result<Frame> result, const auto &write, const auto &call_c) {
      const Frame made = std::move(result).value();
      const Size size = made.size();
      EXPECT_EQ(made->extra, 77U);
      OwnedFrame expected = make_frame(made->pixel_format, size.width, size.height);
      ASSERT_EQ(call_c(expected.slot()), TAVRINE_OK);
      Frame written = random_frame(made->pixel_format, size, random_);
      const tavrine_frame_t *record = written.get();
      write(written).value();
      EXPECT_EQ(written.get(), record);
      EXPECT_EQ(pixels_of(made.get()), pixels_of(expected.get()));
      EXPECT_EQ(pixels_of(written.get()), pixels_of(expected.get()));
    };
    const auto *c = in.get();
#define BOTH_WAYS(operation, ...) \
  operation(in, __VA_ARGS__), [&](auto &out) { return operation(in, out, __VA_ARGS__); }
    check(BOTH_WAYS(resize, Size{14, 10}),
          [&](auto **out) { return tavrine_frame_resize(c, out, 14, 10); });
    check(BOTH_WAYS(scale, 0.5F), [&](auto **out) { return tavrine_frame_scale(c, out, 0.5F); });
    check(BOTH_WAYS(crop, Area{2, 4, 8, 6}), [&](auto **out) {
      return tavrine_frame_crop(c, out, {2, 4, 8, 6});
    });
    check(BOTH_WAYS(rotate, Rotation::k270),
          [&](auto **out) { return tavrine_frame_rotate(c, out, TAVRINE_ROTATE_270); });
    check(BOTH_WAYS(cvt_color, PixelFormat::kYu12),
          [&](auto **out) { return tavrine_frame_cvt_color(c, out, TAVRINE_FORMAT_YU12); });
    check(
        warp_affine(in, {20, 12}, map), [&](auto &out) { return warp_affine(in, out, map); },
        [&](auto **out) { return tavrine_frame_warpaffine(c, *out, map.matrix()); });
    check(
        warp_perspective(in, {20, 12}, map),
        [&](auto &out) { return warp_perspective(in, out, map); },
        [&](auto **out) { return tavrine_frame_warpperspective(c, *out, map.matrix()); });
    check(
        in.view().upload()->view().download(),
        [&](auto &out) { return copy(*in.view().reference(), out); },
        [&](auto **out) { return tavrine_frame_copy(c, out); });
  }
  take_log();
}

TEST_F(Cpp, FailuresAreStatusesOrExceptions) {
  const Frame frame = random_frame(TAVRINE_FORMAT_GREY, {8, 8}, random_);
  ASSERT_EQ(tavrine_devkit_inject_fault("tavrine_frame_upload", 1), 0);
  const std::pair<Status, Status> cases[] = {
      {resize(nullptr, {4, 4}).status(), Status::kInvalidArgument},
      {resize(frame, {0, 4}).status(), Status::kFailure},
      {cvt_color(frame, PixelFormat::kBgra).status(), Status::kNotSupported},
      {encode(nullptr, PictureFormat::kPng).status(), Status::kInvalidArgument},
      {frame.view().upload().status(), static_cast<Status>(TAVRINE_DEVKIT_INJECTED_FAILURE)},
      {warp_affine(nullptr, {4, 4}, Transform()).status(), Status::kInvalidArgument},
      {warp_affine(frame, {-1, 4}, Transform()).status(), Status::kFailure},
      {Buffer::allocate(4)->resize(8).status(), Status::kOk}};
  for (const auto &[status, expected] : cases) {
    EXPECT_EQ(status, expected) << status_text(status);
  }
  try {
    save(frame, "picture.gif").value();
    ADD_FAILURE() << "nothing was thrown";
  } catch (const Error &error) {
    EXPECT_EQ(error.status(), Status::kNotSupported);
    EXPECT_STREQ(error.what(), "not supported (status -1000)");
  }
  EXPECT_THROW(resize(frame, {0, 4}).value(), Error);
  const Result<Buffer> file = encode(frame, PictureFormat::kPng);
  EXPECT_EQ(pixels_of(decode(file->bytes()).value().get()), pixels_of(frame.get()));
  take_log();
}

TEST_F(Cpp, OwnersReleaseOnce) {
  int released = 0;
  const auto count = [](void *counter) { ++*static_cast<int *>(counter); };
  uint8_t pixels[12];
  Frame kept;
  {
    Frame first = Frame::wrap(PixelFormat::kGrey, pixels, {4, 3}, {}, count, &released).value();
    Frame second(std::move(first));
    EXPECT_FALSE(first);  // NOLINT(bugprone-use-after-move): moved-from frames are empty
    kept = second.view().reference().value();
    second = Frame::allocate(PixelFormat::kGrey, {2, 2}).value();
    EXPECT_EQ(released, 0);
  }
  kept = Frame(kept.release());
  kept.rows()[2][3] = 9;
  EXPECT_EQ(pixels[11], 9);
  kept.reset();
  EXPECT_EQ(released, 1);  // and the fixture finds nothing that is left
}

TEST_F(Cpp, RowsAreThePixelsWithoutTheirPadding) {
  std::vector<uint8_t> seen;
  for (const uint32_t format : kEightBitFormats) {
    SCOPED_TRACE(tavrine_frame_pixfmt_to_string(format));
    PaddedFrame padded = make_padded_frame(format, 14, 10, random_);
    Frame tight(tavrine_frame_duplicate(padded.frame.get()));
    std::fill_n(tight.get()->strides, TAVRINE_MAX_PLANES, 0);
    for (Frame &frame : std::array{std::move(tight), Frame(padded.frame.release())}) {
      const std::vector<uint8_t> before = pixels_of(frame.get());
      seen.clear();
      for (int32_t plane = 0; plane < frame->plane_count; ++plane) {
        for (const auto row : std::as_const(frame).rows(plane)) {
          seen.insert(seen.end(), row.begin(), row.end());
        }
        for (const auto row : frame.rows(plane)) {
          std::fill(row.begin(), row.end(), uint8_t{1});
        }
      }
      EXPECT_EQ(seen, before);
      EXPECT_EQ(pixels_of(frame.get()), std::vector<uint8_t>(before.size(), 1));
      EXPECT_EQ(frame.rows(frame->plane_count).size() + frame.rows(-1).size(), 0);
      padded.frame = OwnedFrame(frame.release());
    }
    EXPECT_TRUE(padded.surroundings_unharmed());
  }
  Frame y16 = random_frame(TAVRINE_FORMAT_Y16, {5, 3}, random_);
  EXPECT_EQ(y16.rows<uint16_t>()[2].size(), 5U);
  EXPECT_EQ(y16.rows<uint16_t>()[2][4], y16.rows()[2][8] + 256 * y16.rows()[2][9]);
}

TEST_F(Cpp, TensorsAndBatchesGiveWhatTheCFunctionsGive) {
  const Frame frames[] = {random_frame(TAVRINE_FORMAT_RGB24, {31, 17}, random_),
                          random_frame(TAVRINE_FORMAT_BGR24, {20, 40}, random_)};
  tavrine_frame_t *const records[] = {frames[0].get(), frames[1].get()};
  const Area areas[] = {{-3, 2, 20, 19}, {0, 0, 20, 40}};
  const float paddings[][3] = {{7, 8, 9}, {7, 8, 9}};
  BatchOptions options;
  options.color = TensorColor::kBgr;
  options.normalization = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  Tensor tensor = make_tensor({2, 3, 12, 24});
  const Tensor expected = make_tensor({2, 3, 12, 24});
  tensor.rows(0, 2)[11][23] = 5;
  to_tensor(frames[1], tensor, options.color, options.normalization, 1).value();
  EXPECT_EQ(tensor.rows(0, 2)[11][23], 5);
  EXPECT_EQ(tensor.rows(1, 0)[11][23], 9);
  EXPECT_EQ(tensor.rows(1, 1)[3][2], (static_cast<float>(frames[1].rows()[3][7]) - 2) * (1 / 5.0F));
  EXPECT_EQ(tensor.rows(1, 2)[3][2], (static_cast<float>(frames[1].rows()[3][8]) - 1) * (1 / 4.0F));
  EXPECT_EQ(tensor.roi({1, 1, 2, 3}, {2, 2, 12, 24})->rows(0, 0)[0].data(),
            &tensor.rows(1, 1)[2][3]);
  for (const int32_t image : {-1, 2}) {
    EXPECT_EQ(to_tensor(frames[0], tensor, TensorColor::kBgr, {}, image).status(),
              Status::kInvalidArgument);
    EXPECT_EQ(tensor.rows(image, 0).size() + tensor.rows<uint8_t>(0, 0).size(), 0);
  }
  Batch batch;
  for (const ResizeMode mode : {ResizeMode::kFit, ResizeMode::kStretch, ResizeMode::kFit}) {
    options.mode = mode;
    OwnedBuffer workspace;
    ASSERT_EQ(tavrine_frame_transform_to_tensor_batch(
                  expected.get(), TAVRINE_TENSOR_BGR, 2, records, areas, static_cast<int32_t>(mode),
                  1, 2, 3, 4, 5, 6, paddings, workspace.slot(), nullptr, nullptr),
              TAVRINE_OK);
    batch.clear();
    batch.add(frames[0], areas[0]);
    EXPECT_FALSE(batch.fill(tensor, options));  // one image of two
    EXPECT_TRUE(batch.letterboxes().empty());
    batch.add(frames[1]);
    batch.fill(tensor, options).value();
    const float *elements = tensor.rows(0, 0)[0].data();
    EXPECT_TRUE(std::equal(elements, elements + 2 * 3 * 12 * 24, expected.rows(0, 0)[0].data()));
    for (const Letterbox &box : batch.letterboxes()) {
      const Letterbox computed = Letterbox::of(box.area, tensor.size(), mode);
      EXPECT_TRUE(box.horizontal == computed.horizontal && box.vertical == computed.vertical);
    }
  }
  take_log();
}

// A white frame in a tensor padded with -1: where it lies, and where its edges are mapped.
TEST_F(Cpp, LetterboxesLeadBack) {
  const auto beyond = [](int at, float begin, float length) {
    return std::fabs(static_cast<float>(at) + 0.5F - begin - length / 2) - length / 2;
  };
  Tensor tensor = make_tensor({2, 1, 32, 40});
  for (const Size size : {Size{80, 20}, {20, 80}, {63, 11}, {7, 50}, {40, 32}, {41, 33}}) {
    SCOPED_TRACE(std::to_string(size.width) + "x" + std::to_string(size.height));
    Frame frame = Frame::allocate(PixelFormat::kGrey, size).value();
    frame.fill(255).value();
    Batch batch;
    batch.add(frame, Letterbox::fit(size, tensor.size()).area);
    batch.add(frame, Letterbox::centred(size, tensor.size()).area);
    BatchOptions options;
    options.color = TensorColor::kGray;
    options.normalization.padding = -1;
    batch.fill(tensor, options).value();
    for (int32_t image = 0; image < 2; ++image) {
      const Letterbox &letterbox = batch.letterboxes()[image];
      const auto width = static_cast<float>(size.width), height = static_cast<float>(size.height);
      const Box box = letterbox.to_image(Box{0, 0, width, height});
      EXPECT_NEAR(std::max(box.width / 40, box.height / 32), 1, 1e-5F);
      EXPECT_NEAR(box.x, image == 0 ? 0 : 40 - box.x - box.width, 2 / letterbox.horizontal);
      EXPECT_NEAR(box.y, image == 0 ? 0 : 32 - box.y - box.height, 2 / letterbox.vertical);
      for (int y = 0; y < 32; ++y) {
        for (int x = 0; x < 40; ++x) {
          const float outside = std::max(beyond(x, box.x, box.width), beyond(y, box.y, box.height));
          if (std::fabs(outside) > 1) {
            EXPECT_EQ(tensor.rows(image, 0)[y][x], outside > 0 ? -1 : 255) << x << " " << y;
          }
        }
      }
      EXPECT_NEAR(letterbox.to_frame(box).x, 0, 1e-4F);
      EXPECT_NEAR(letterbox.to_frame(box).height, height, 1e-4F);
      // A point is the middle of its pixel's box.
      const Point point = letterbox.to_image(Point{3, 4});
      EXPECT_NEAR(point.x + 0.5F, letterbox.to_image(Box{3.5F, 4.5F, 0, 0}).x, 1e-4F);
      EXPECT_NEAR(letterbox.to_frame(point).y, 4, 1e-4F);
    }
  }
}

TEST_F(Cpp, TransformsLeadBack) {
  const PointTriple source = {{{1, 2}, {11, 3}, {4, 9}}};
  const PointTriple destination = {{{5, 5}, {4, 15}, {-2, 8}}};
  const Transform projective(Matrix{{0.9F, 0.2F, -4, -0.15F, 0.8F, 7, 0.01F, -0.02F, 1}});
  const TransformPair affine = find_affine(source, destination);
  for (const auto &[forward, inverse] :
       {affine, find_similarity(source, destination), {projective, projective.inverse()}}) {
    for (size_t i = 0; i < source.size(); ++i) {
      EXPECT_NEAR(affine.forward.apply(source[i]).y, destination[i].y, 1e-4F);
      const Point there = forward.apply(source[i]);
      for (const Point &back : {inverse.apply(there), forward.inverse().apply(there),
                                (inverse * projective * projective.inverse()).apply(there)}) {
        EXPECT_NEAR(back.x, source[i].x, 1e-3F);
        EXPECT_NEAR(back.y, source[i].y, 1e-3F);
      }
    }
  }
  EXPECT_FALSE(std::isfinite(Transform(Matrix{}).inverse().apply({1, 1}).x));
}

}  // namespace
}  // namespace tavrine::test
