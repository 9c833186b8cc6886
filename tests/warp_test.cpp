// Affine and perspective warps, and their kernels on every instruction set, compared with their
// formulas pixel by pixel.
#include <cmath>
#include <limits>

#include "kernels/warp/warp_affine.h"
#include "kernels/warp/warp_perspective.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

using Matrix = std::array<float, 9>;
using Warp = int32_t (*)(const tavrine_frame_t *in, tavrine_frame_t *out, const float *matrix);

constexpr Matrix kIdentity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
constexpr uint32_t kPerspectiveFormats[] = {TAVRINE_FORMAT_GREY, TAVRINE_FORMAT_RGB24,
                                            TAVRINE_FORMAT_BGR24};

int to_int(float value) {
  return std::isnan(value) ? 0 : static_cast<int>(std::clamp<double>(value, INT32_MIN, INT32_MAX));
}

int wrapping_sum(int a, int b) {
  return static_cast<int>(static_cast<unsigned>(a) + static_cast<unsigned>(b));
}

struct Source {
  const uint8_t *bytes;
  Plane plane;

  bool has(int column, int row) const {
    return column >= 0 && column < plane.columns && row >= 0 && row < plane.rows;
  }
  int at(int64_t column, int64_t row, int channel) const {
    const int64_t x = std::clamp<int64_t>(column, 0, plane.columns - 1);
    const int64_t y = std::clamp<int64_t>(row, 0, plane.rows - 1);
    return bytes[(y * plane.columns + x) * plane.channels + channel];
  }
};

uint8_t affine_sample(const Source &source, const Matrix &m, Border border, int x, int y,
                      int channel) {
  const auto fx = static_cast<float>(x), fy = static_cast<float>(y);
  const int X = wrapping_sum(wrapping_sum(to_int((m[1] * fy + m[2]) * 1024), 16),
                             to_int(std::nearbyint(fx * m[0] * 1024)));
  const int Y = wrapping_sum(wrapping_sum(to_int((m[4] * fy + m[5]) * 1024), 16),
                             to_int(std::nearbyint(fx * m[3] * 1024)));
  const int column = std::clamp(X >> 10, -32768, 32767), row = std::clamp(Y >> 10, -32768, 32767);
  const float u = static_cast<float>((X >> 5) & 31) / 32,
              v = static_cast<float>((Y >> 5) & 31) / 32;
  const float weights[2][2] = {{(1 - u) * (1 - v), u * (1 - v)}, {(1 - u) * v, u * v}};
  int sum = 0;
  for (int below = 0; below < 2; ++below) {
    for (int right = 0; right < 2; ++right) {
      const int weight = std::min(static_cast<int>(weights[below][right] * 32768), 32767);
      if (border == Border::kNearestEdge || source.has(column + right, row + below)) {
        sum += weight * source.at(column + right, row + below, channel);
      }
    }
  }
  return static_cast<uint8_t>((sum + 16384) >> 15);
}

uint8_t perspective_sample(const Source &source, const Matrix &m, int x, int y, int channel) {
  const auto column = static_cast<float>(x), row = static_cast<float>(y);
  const float w = row * m[7] + column * m[6] + m[8];
  const float X = (row * m[1] + column * m[0] + m[2]) / w;
  const float Y = (row * m[4] + column * m[3] + m[5]) / w;
  const int64_t ix = to_int(X), iy = to_int(Y);
  const float fx = X - static_cast<float>(ix), fy = Y - static_cast<float>(iy);
  const auto p = [&](int below, int right) {
    return static_cast<float>(source.at(ix + right, iy + below, channel));
  };
  const float v = p(0, 1) * (fx * (1 - fy)) + p(0, 0) * ((1 - fx) * (1 - fy)) +
                  p(1, 0) * (fy * (1 - fx)) + p(1, 1) * (fx * fy);
  return static_cast<uint8_t>(std::clamp(to_int(v + 0.5F), 0, 255));
}

template <typename Sample>
std::vector<uint8_t> each_sample(const Plane &plane, Sample sample_at) {
  std::vector<uint8_t> result;
  for (int y = 0; y < plane.rows; ++y) {
    for (int x = 0; x < plane.columns; ++x) {
      for (int channel = 0; channel < plane.channels; ++channel) {
        result.push_back(sample_at(x, y, channel));
      }
    }
  }
  return result;
}

std::vector<uint8_t> affine(const Source &source, const Matrix &m, Border border, const Plane &to) {
  return each_sample(to, [&](int x, int y, int channel) {
    return affine_sample(source, m, border, x, y, channel);
  });
}

std::vector<uint8_t> perspective(const Source &source, const Matrix &m, const Plane &to) {
  return each_sample(
      to, [&](int x, int y, int channel) { return perspective_sample(source, m, x, y, channel); });
}

// All planes of the result, in the layout of pixels_of.
std::vector<uint8_t> by_formula(Warp warp, const tavrine_frame_t *in, const tavrine_frame_t *out,
                                const Matrix &matrix) {
  const uint32_t format = in->pixel_format;
  const std::vector<Plane> from = planes_of(format, in->width, in->height);
  const std::vector<Plane> to = planes_of(format, out->width, out->height);
  const bool clamps = format == TAVRINE_FORMAT_NV12 || format == TAVRINE_FORMAT_NV21;
  return with_changed_planes(in, [&](const std::vector<uint8_t> &pixels, size_t plane) {
    const Source source = {pixels.data(), from[plane]};
    Matrix m = matrix;
    if (plane > 0) {
      m[2] /= 2;
      m[5] /= 2;
    }
    return warp == tavrine_frame_warpaffine
               ? affine(source, m, clamps ? Border::kNearestEdge : Border::kZero, to[plane])
               : perspective(source, m, to[plane]);
  });
}

class Warps : public LibraryTest {
 protected:
  float between(float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random_);
  }

  // Rotates, scales and tilts about the centres of both. Every fourth matrix has unusual values.
  Matrix random_matrix(const Plane &from, const Plane &to) {
    const float angle =
        random_() % 3 == 0 ? 1.5707964F * static_cast<float>(random_() % 4) : between(-3.2F, 3.2F);
    const float scale =
        between(0.2F, 1.6F) * static_cast<float>(from.columns) / static_cast<float>(to.columns);
    const float a = std::cos(angle) * scale;
    const float d = std::sin(angle) * scale;
    const float middle = 0.5F * static_cast<float>(to.columns);
    const float centre = 0.5F * static_cast<float>(to.rows);
    const float shift = random_() % 2 == 0 ? 2 : 40;
    const float tilt =
        (random_() % 2 == 0 ? 0.6F : 3.0F) / static_cast<float>(to.columns + to.rows);
    const float c =
        0.5F * static_cast<float>(from.columns) - a * middle + d * centre + between(-shift, shift);
    const float f =
        0.5F * static_cast<float>(from.rows) - d * middle - a * centre + between(-shift, shift);
    Matrix matrix = {a, -d, c, d, a, f, between(-tilt, tilt), between(-tilt, tilt), 1};
    if (random_() % 4 == 0) {
      make_unusual(matrix);
    }
    return matrix;
  }

  // Ordinary, denormal, wrapping and saturating values, infinities and NaN.
  void make_unusual(Matrix &matrix) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kValues[] = {0,        -0.0F,     1,          -1,      1e-42F, -1e-39F,
                                 0.03125F, -0.5F,     1e30F,      -1e30F,  3e38F,  NAN,
                                 3,        kInfinity, -kInfinity, 1e9F,    -1e9F,  32767,
                                 -32769,   4194303.F, 2097151.9F, -2097152};
    if (random_() % 3 == 0) {  // positions are ordinary when all elements are tiny
      constexpr float kScales[] = {1e-36F, 1e-37F, 1e-39F};
      const float scale = kScales[random_() % std::size(kScales)];
      for (float &element : matrix) {
        element *= scale;
      }
      return;
    }
    if (random_() % 2 == 0) {
      matrix = kIdentity;
    }
    for (auto changes = 1 + random_() % 3; changes > 0; --changes) {
      matrix[random_() % matrix.size()] = kValues[random_() % std::size(kValues)];
    }
  }

  void expect_formula(Warp warp, uint32_t format, std::array<int, 4> sizes, const Matrix &matrix) {
    const PaddedFrame in = make_padded_frame(format, sizes[0], sizes[1], random_);
    const PaddedFrame out = make_padded_frame(format, sizes[2], sizes[3], random_);
    ASSERT_EQ(warp(in.frame.get(), out.frame.get(), matrix.data()), 0);
    ASSERT_EQ(pixels_of(out.frame.get()), by_formula(warp, in.frame.get(), out.frame.get(), matrix))
        << tavrine_frame_pixfmt_to_string(format) << " " << ::testing::PrintToString(sizes) << " "
        << ::testing::PrintToString(matrix);
    ASSERT_TRUE(out.surroundings_unharmed());
  }
};

TEST_F(Warps, EveryFormatEqualsItsFormula) {
  for (int i = 0; i < 4; ++i) {
    const Matrix matrix = random_matrix({1, 34, 22}, {1, 50, 40});
    for (const uint32_t format : kEightBitFormats) {
      expect_formula(tavrine_frame_warpaffine, format, {34, 22, 50, 40}, matrix);
    }
    for (const uint32_t format : kPerspectiveFormats) {
      expect_formula(tavrine_frame_warpperspective, format, {34, 22, 50, 40}, matrix);
    }
  }
  expect_formula(tavrine_frame_warpaffine, TAVRINE_FORMAT_GREY, {3, 5, 5001, 1},
                 {0.001F, 0, 0, 0, 1, 2});
  // More source columns than a position in 16 bits can reach.
  for (const float shift : {0.0F, 500.5F, 40000.0F, -33000.0F}) {
    expect_formula(tavrine_frame_warpaffine, TAVRINE_FORMAT_GREY, {33000, 2, 33000, 2},
                   {1, 0, shift, 0, 1, 0});
  }
  EXPECT_TRUE(take_log().empty());
}

TEST_F(Warps, SmallPicturesByHand) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 2, 1);
  set_pixels(in.get(), {100, 120});
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_GREY, 7, 1);
  const Matrix from_minus_one = {0.5F, 0, -1, 0, 1, 0, 0, 0, 1};
  ASSERT_EQ(tavrine_frame_warpaffine(in.get(), out.get(), from_minus_one.data()), 0);
  EXPECT_EQ(pixels_of(out.get()), (std::vector<uint8_t>{0, 50, 100, 110, 120, 60, 0}));
  // Positions are truncated, and between -1 and 0 samples are extrapolated.
  ASSERT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), from_minus_one.data()), 0);
  EXPECT_EQ(pixels_of(out.get()), (std::vector<uint8_t>{100, 90, 100, 110, 120, 120, 120}));
  // In the middle, w is 0 and the position NaN.
  const Matrix pole = {1, 0, -3, 0, 1, 0, 1, 0, -3};
  ASSERT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), pole.data()), 0);
  EXPECT_EQ(pixels_of(out.get()), (std::vector<uint8_t>{120, 120, 120, 0, 120, 120, 120}));
}

TEST_F(Warps, PerspectiveOfYuvGoesThroughRgb) {
  const Matrix matrix = {0.9F, 0.2F, -3, -0.1F, 1.1F, 2.5F, 0.002F, 0, 1};
  for (const uint32_t format : {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21, TAVRINE_FORMAT_YU12}) {
    const OwnedFrame in = make_frame(format, 24, 18);
    fill_random(in.get(), random_);
    OwnedFrame rgb;
    ASSERT_EQ(tavrine_frame_cvt_color(in.get(), rgb.slot(), TAVRINE_FORMAT_RGB24), 0);
    const OwnedFrame warped = make_frame(TAVRINE_FORMAT_RGB24, 30, 20);
    ASSERT_EQ(tavrine_frame_warpperspective(rgb.get(), warped.get(), matrix.data()), 0);
    OwnedFrame expected;
    ASSERT_EQ(tavrine_frame_cvt_color(warped.get(), expected.slot(), format), 0);
    EXPECT_TRUE(take_log().empty());

    const OwnedFrame out = make_frame(format, 30, 20);
    ASSERT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), matrix.data()), 0);
    EXPECT_EQ(pixels_of(out.get()), pixels_of(expected.get()));
    expect_log(3, "aux.host",
               "Do not support nv12/nv21/yu12 warpperspective, here we convert in_frame into rgb, "
               "and convert back after all done.\n");
  }
}

TEST_F(Warps, RefuseOtherFormatsAndBrokenPlanes) {
  const struct {
    Warp warp;
    uint32_t format;
    int32_t result;
    const char *text;
  } cases[] = {
      {tavrine_frame_warpaffine, TAVRINE_FORMAT_Y16, -4,
       "Do WarpAffine transform for a frame in format [Y16] is not supported yet!\n"},
      {tavrine_frame_warpperspective, TAVRINE_FORMAT_Y16, -1,
       "Do warpperspective transform for a frame in format [Y16] is not supported yet!\n"},
      {tavrine_frame_warpperspective, TAVRINE_FORMAT_BGRA, -1,
       "Do warpperspective transform for a frame in format [BGRA] is not supported yet!\n"}};
  for (const auto &test : cases) {
    const OwnedFrame in = make_frame(test.format, 8, 8);
    const OwnedFrame out = make_frame(test.format, 8, 8);
    const std::vector<uint8_t> before = pixels_of(out.get());
    EXPECT_EQ(test.warp(in.get(), out.get(), kIdentity.data()), test.result);
    EXPECT_EQ(pixels_of(out.get()), before);
    expect_log(4, "aux.host", test.text);
  }

  // Planes before the faulty one are warped, those after it are not touched.
  const OwnedFrame yu12 = make_frame(TAVRINE_FORMAT_YU12, 8, 8);
  fill(yu12.get(), 50);
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_YU12, 8, 8);
  fill(out.get(), 1);
  yu12->strides[1] = 3;
  EXPECT_EQ(tavrine_frame_warpaffine(yu12.get(), out.get(), kIdentity.data()), -4);
  std::vector<uint8_t> expected(96, 1);
  std::fill_n(expected.begin(), 64, 50);
  EXPECT_EQ(pixels_of(out.get()), expected);
  EXPECT_TRUE(take_log().empty());
}

class WarpKernels : public Warps {
 protected:
  // Compares warp(in, matrix, out) with formula(source, matrix, shape) for many sizes. The last
  // source has more columns than a position in 16 bits can reach.
  template <typename Kernel, typename Formula>
  void expect_equal(std::initializer_list<int32_t> channel_counts, Kernel warp, Formula formula) {
    on_every_target([&] {
      random_.seed(31);
      for (const int32_t channels : channel_counts) {
        for (const auto &[columns, rows] : {std::pair{1, 1},
                                            {1, 9},
                                            {2, 2},
                                            {3, 1},
                                            {4, 4},
                                            {5, 40},
                                            {17, 5},
                                            {64, 48},
                                            {150, 90},
                                            {33000, 3}}) {
          // What is read before the first pixel faults in one half of the cases, after the last
          // one in the other half.
          const auto edge =
              random_() % 2 == 0 ? GuardedMemory::Edge::kFirst : GuardedMemory::Edge::kLast;
          GuardedPlane in(columns, rows, channels, columns % 7, edge);
          in.fill(random_);
          const std::vector<uint8_t> pixels = in.pixels();
          for (const int32_t width : widths_to_try()) {
            GuardedPlane out(width, 1 + width % 23, channels, width % 3);
            const Matrix matrix = random_matrix(in.shape(), out.shape());
            ASSERT_TRUE(warp(in.view(), matrix, out.view()));
            ASSERT_EQ(out.pixels(), formula({pixels.data(), in.shape()}, matrix, out.shape()))
                << channels << " channels, " << columns << "x" << rows << " to " << width
                << " columns, " << ::testing::PrintToString(matrix);
            ASSERT_TRUE(out.margins_unharmed());
          }
        }
      }
    });
  }

  // The same for maps of every slope, mirrored ones too: pixels that follow each other lie in the
  // same row, in a few rows, or far apart.
  template <typename Kernel, typename Formula>
  void expect_equal_slopes(std::initializer_list<int32_t> channel_counts, Kernel warp,
                           Formula formula) {
    on_every_target([&] {
      random_.seed(32);
      for (const int32_t channels : channel_counts) {
        GuardedPlane in(120, 90, channels, 5);
        in.fill(random_);
        const std::vector<uint8_t> pixels = in.pixels();
        for (const float across : {0.0F, 0.3F, 0.99F, 1.0F, 1.7F, 1.99F, 2.1F, 4.0F, 9.0F}) {
          for (const float down : {0.0F, 0.1F, 0.2F, 0.4F, 0.5F, 0.8F, 1.0F, 1.3F, 5.0F}) {
            const float a = random_() % 2 == 0 ? across : -across;
            const float d = random_() % 2 == 0 ? down : -down;
            const Matrix matrix = {a,
                                   -d,
                                   60 - 20 * a + 4 * d,
                                   d,
                                   a,
                                   45 - 20 * d - 4 * a,
                                   between(-1e-3F, 1e-3F),
                                   between(-1e-3F, 1e-3F),
                                   1};
            GuardedPlane out(41, 9, channels);
            ASSERT_TRUE(warp(in.view(), matrix, out.view()));
            ASSERT_EQ(out.pixels(), formula({pixels.data(), in.shape()}, matrix, out.shape()))
                << channels << " channels, " << ::testing::PrintToString(matrix);
          }
        }
      }
    });
  }
};

TEST_F(WarpKernels, AffineEqualsTheFormula) {
  for (const Border border : {Border::kZero, Border::kNearestEdge}) {
    const auto warp = [=](const PlaneView &in, const Matrix &m, const PlaneView &out) {
      return warp_affine(in, {m[0], m[1], m[2], m[3], m[4], m[5]}, border, out);
    };
    const auto formula = [=](const Source &source, const Matrix &matrix, const Plane &to) {
      return affine(source, matrix, border, to);
    };
    expect_equal({1, 2, 3, 4}, warp, formula);
    expect_equal_slopes({1, 2, 3, 4}, warp, formula);
  }
}

TEST_F(WarpKernels, PerspectiveEqualsTheFormula) {
  const auto warp = [](const PlaneView &in, const Matrix &m, const PlaneView &out) {
    return warp_perspective(in, {{m[0], m[1], m[2], m[3], m[4], m[5], m[6], m[7], m[8]}}, out);
  };
  expect_equal({1, 3}, warp, perspective);
  expect_equal_slopes({1, 3}, warp, perspective);

  // Every step lies inside, the last one at the last pixel that may be read.
  on_every_target([&] {
    for (const int32_t channels : {1, 3}) {
      GuardedPlane in(64, 48, channels);
      in.fill(random_);
      const std::vector<uint8_t> pixels = in.pixels();
      GuardedPlane out(63, 47, channels);
      const Matrix identity = {1, 0, 0, 0, 1, 0, 0, 0, 1};
      ASSERT_TRUE(warp(in.view(), identity, out.view()));
      ASSERT_EQ(out.pixels(), perspective({pixels.data(), in.shape()}, identity, out.shape()));
    }
  });
}

}  // namespace
}  // namespace tavrine::test
