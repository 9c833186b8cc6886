// Resize and scale, and their kernels on every instruction set, held against the formula written
// out per pixel.
#include "kernels/resize/resize.h"

#include <cmath>

#include "fuzz/definitions.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

struct Axis {
  int first, second;
  int weight_first, weight_second;
};

Axis sample_axis(int index, int source, int destination, bool clamps_weights) {
  const float inverse = static_cast<float>(destination) / static_cast<float>(source);
  const float scale = 1.0F / inverse;
  const auto position = static_cast<float>((index + 0.5) * scale - 0.5);
  int left = static_cast<int>(std::floor(position));
  float fraction = position - static_cast<float>(left);
  if (clamps_weights && (left < 0 || left >= source - 1)) {
    left = left < 0 ? 0 : source - 1;
    fraction = 0;
  }
  return {std::clamp(left, 0, source - 1), std::clamp(left + 1, 0, source - 1),
          static_cast<int>(std::nearbyint((1 - fraction) * 2048)),
          static_cast<int>(std::nearbyint(fraction * 2048))};
}

std::vector<uint8_t> resize_by_formula(const std::vector<uint8_t> &in, const Plane &from,
                                       const Plane &to) {
  std::vector<uint8_t> out;
  for (int y = 0; y < to.rows; ++y) {
    const Axis v = sample_axis(y, from.rows, to.rows, false);
    for (int x = 0; x < to.columns; ++x) {
      const Axis h = sample_axis(x, from.columns, to.columns, true);
      for (int c = 0; c < to.channels; ++c) {
        const auto horizontal = [&](int row) {
          const auto at = [&](int column) {
            return in[static_cast<size_t>((row * from.columns + column) * from.channels + c)];
          };
          return at(h.first) * h.weight_first + at(h.second) * h.weight_second;
        };
        const int sum = (((horizontal(v.first) >> 4) * v.weight_first) >> 16) +
                        (((horizontal(v.second) >> 4) * v.weight_second) >> 16);
        out.push_back(static_cast<uint8_t>(std::clamp((sum + 2) >> 2, 0, 255)));
      }
    }
  }
  return out;
}

std::vector<uint8_t> resize_by_formula(const tavrine_frame_t *in, int width, int height) {
  return pixels_of(fuzz::defined_resize(in, width, height).get());
}

class Resize : public LibraryTest {};

TEST_F(Resize, EqualsTheFormulaForEveryFormat) {
  for (const uint32_t format : kEightBitFormats) {
    for (const auto &[width, height] : {std::pair{32, 24}, {16, 12}, {22, 10}, {130, 94}}) {
      const PaddedFrame in = make_padded_frame(format, 64, 48, random_);
      PaddedFrame out = make_padded_frame(format, width, height, random_);
      ASSERT_EQ(tavrine_frame_resize(in.frame.get(), out.frame.slot(), width, height), 0);
      ASSERT_EQ(pixels_of(out.frame.get()), resize_by_formula(in.frame.get(), width, height))
          << tavrine_frame_pixfmt_to_string(format) << " to " << width << "x" << height;
      ASSERT_TRUE(out.surroundings_unharmed());
    }
  }
}

TEST_F(Resize, ReductionsAreRoundedMeans) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 4, 4);
  set_pixels(in.get(), {1, 2, 3, 4, 5, 60, 70, 8, 9, 100, 111, 12, 13, 14, 15, 16});
  OwnedFrame half;
  ASSERT_EQ(tavrine_frame_scale(in.get(), half.slot(), 0.5F), 0);
  EXPECT_EQ(pixels_of(half.get()), (std::vector<uint8_t>{17, 21, 34, 39}));
  OwnedFrame quarter;
  ASSERT_EQ(tavrine_frame_resize(in.get(), quarter.slot(), 1, 1), 0);
  EXPECT_EQ(pixels_of(quarter.get()), (std::vector<uint8_t>{85}));
}

TEST_F(Resize, OwnSizeIsACopyAndALargerDestinationKeepsItsRest) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 5, 3);
  fill_random(in.get(), random_);
  in->extra = 0x123456789abcdef0;
  OwnedFrame copy;
  ASSERT_EQ(tavrine_frame_resize(in.get(), copy.slot(), 5, 3), 0);
  EXPECT_EQ(pixels_of(copy.get()), pixels_of(in.get()));
  EXPECT_NE(copy->planes[0], in->planes[0]);
  EXPECT_EQ(copy->extra, in->extra);
  EXPECT_EQ(take_log(),
            (std::vector<LogRecord>{{0, "aux", 677,
                                     "[tavrine_frame_resize] Scale ratio is 1, degrade to "
                                     "tavrine_frame_copy to speed up.\n"}}));

  OwnedFrame larger = make_frame(TAVRINE_FORMAT_GREY, 4, 3);
  fill(larger.get(), 9);
  ASSERT_EQ(tavrine_frame_resize(in.get(), larger.slot(), 3, 2), 0);
  const std::vector<uint8_t> small = resize_by_formula(in.get(), 3, 2);
  EXPECT_EQ(pixels_of(larger.get()),
            (std::vector<uint8_t>{small[0], small[1], small[2], 9, small[3], small[4], small[5], 9,
                                  9, 9, 9, 9}));
}

TEST_F(Resize, ScaleTruncatesItsSizes) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 5, 7);
  OwnedFrame out;
  ASSERT_EQ(tavrine_frame_scale(in.get(), out.slot(), 0.5F), 0);
  EXPECT_EQ(out->width, 2);
  EXPECT_EQ(out->height, 3);
}

TEST_F(Resize, RefusesWhatItCannotRead) {
  OwnedFrame in = make_frame(TAVRINE_FORMAT_Y16, 8, 8);
  OwnedFrame out;
  EXPECT_EQ(tavrine_frame_resize(in.get(), out.slot(), 4, 4), -4);
  EXPECT_FALSE(out);
  expect_log(4, "aux.host", "Resizing a frame in format [Y16] is not supported yet!\n");

  // Planes before the faulty one are done, those after it are not touched.
  const auto resize_with = [](int plane, int32_t stride, bool missing) {
    OwnedFrame source = make_frame(TAVRINE_FORMAT_YU12, 16, 16);
    fill(source.get(), 50);
    OwnedFrame destination = make_frame(TAVRINE_FORMAT_YU12, 10, 10);
    fill(destination.get(), 1);
    source->strides[plane] = stride;
    if (missing) {
      source->planes[plane] = nullptr;
    }
    EXPECT_EQ(tavrine_frame_resize(source.get(), destination.slot(), 10, 10), -4);
    std::vector<uint8_t> expected(150, 1);
    std::fill_n(expected.begin(), plane == 0 ? 0 : plane == 1 ? 100 : 125, 50);
    EXPECT_EQ(pixels_of(destination.get()), expected);
  };
  resize_with(0, 15, false);
  resize_with(1, 7, false);
  resize_with(2, -8, false);
  resize_with(2, 8, true);
}

TEST(ResizeKernels, EqualTheFormula) {
  on_every_target([] {
    Random random(6);
    for (int32_t channels = 1; channels <= 4; ++channels) {
      std::vector<std::pair<int32_t, int32_t>> sizes;
      for (const int32_t width : widths_to_try()) {
        // Whole ratios, scales next to 1, anything, and far apart.
        sizes.insert(sizes.end(), {{2 * width, width},
                                   {3 * width, width},
                                   {4 * width, width},
                                   {5 * width, width},
                                   {width, 2 * width},
                                   {width, width},
                                   {width + 1, width},
                                   {width, width + 1},
                                   {3 * width, 2 * width},
                                   {width, 1 + static_cast<int32_t>(random() % 90)},
                                   {2 * width - 1, width},
                                   {7 * width + 3, width},
                                   {13 * width + 4, width},
                                   {23 * width + 5, width},
                                   {3, width}});
      }
      for (const auto &[from, to] : sizes) {
        // Rows mostly shrink as columns do: then there are shorter ways.
        const bool in_proportion = from % to == 0 && random() % 4 != 0;
        const auto to_rows = in_proportion ? 3 : 1 + static_cast<int32_t>(random() % 7);
        const auto from_rows =
            in_proportion ? from / to * to_rows : 1 + static_cast<int32_t>(random() % 9);
        const auto edge =
            random() % 2 == 0 ? GuardedMemory::Edge::kFirst : GuardedMemory::Edge::kLast;
        GuardedPlane in(from, from_rows, channels, static_cast<ptrdiff_t>(random() % 4), edge);
        in.fill(random);
        GuardedPlane out(to, to_rows, channels, static_cast<ptrdiff_t>(random() % 4));
        ASSERT_TRUE(resize_plane(in.view(), out.view()));
        ASSERT_EQ(out.pixels(), resize_by_formula(in.pixels(), in.shape(), out.shape()))
            << channels << " channels, " << from << "x" << from_rows << " to " << to << "x"
            << to_rows;
        ASSERT_TRUE(out.margins_unharmed());
      }
    }
  });
}

// A position is rounded to single precision once. In rows of these lengths, rounding it twice would
// change one weight by one, which a tenth of all pixels show.
TEST(ResizeKernels, PositionsAreRoundedOnce) {
  on_every_target([] {
    Random random(7);
    for (const auto &[from, to] :
         {std::pair{2751, 3494}, {2538, 4274}, {7393, 4311}, {1776, 5091}}) {
      GuardedPlane in(from, 30, 1);
      in.fill(random);
      GuardedPlane out(to, 30, 1);
      ASSERT_TRUE(resize_plane(in.view(), out.view()));
      ASSERT_EQ(out.pixels(), resize_by_formula(in.pixels(), in.shape(), out.shape()));
    }
  });
}

// From 2^24 on, positions in single precision are even: an odd ratio no longer takes the middle of
// its pixels.
TEST(ResizeKernels, LastRowsOfAVeryHighPlane) {
  constexpr int32_t kRows = (1 << 24) / 3 + 21;
  std::vector<uint8_t> in(3 * kRows);
  Random random(8);
  std::generate(in.end() - 120, in.end(), [&] { return static_cast<uint8_t>(random()); });
  std::vector<uint8_t> out(kRows);
  ASSERT_TRUE(resize_plane({in.data(), 1, 1, 3 * kRows, 1}, {out.data(), 1, 1, kRows, 1}));
  for (int32_t y = kRows - 40; y < kRows; ++y) {
    const auto from = static_cast<size_t>(sample_axis(y, 3 * kRows, kRows, true).first);
    EXPECT_EQ(out[static_cast<size_t>(y)], in[from]) << y;
  }
}

}  // namespace
}  // namespace tavrine::test
