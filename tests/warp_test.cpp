// Affine and perspective warps on the CPU, held against their formulas written out per pixel.
#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include "tests/support.h"

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

float half_even(float value) {
  const float below = std::floor(value);
  const float rest = value - below;
  return rest > 0.5F || (rest == 0.5F && std::fmod(below, 2.0F) != 0) ? below + 1 : below;
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

uint8_t affine(const Source &source, const Matrix &m, bool clamps, int x, int y, int channel) {
  const auto fx = static_cast<float>(x), fy = static_cast<float>(y);
  const int X = wrapping_sum(wrapping_sum(to_int((m[1] * fy + m[2]) * 1024), 16),
                             to_int(half_even(fx * m[0] * 1024)));
  const int Y = wrapping_sum(wrapping_sum(to_int((m[4] * fy + m[5]) * 1024), 16),
                             to_int(half_even(fx * m[3] * 1024)));
  const int column = std::clamp(X >> 10, -32768, 32767), row = std::clamp(Y >> 10, -32768, 32767);
  const float u = static_cast<float>((X >> 5) & 31) / 32,
              v = static_cast<float>((Y >> 5) & 31) / 32;
  const float weights[2][2] = {{(1 - u) * (1 - v), u * (1 - v)}, {(1 - u) * v, u * v}};
  float sum = 0;
  for (int below = 0; below < 2; ++below) {
    for (int right = 0; right < 2; ++right) {
      const bool counts = clamps || source.has(column + right, row + below);
      const float sample =
          counts ? static_cast<float>(source.at(column + right, row + below, channel)) : 0;
      sum += std::min(std::trunc(weights[below][right] * 32768), 32767.0F) * sample;
    }
  }
  return static_cast<uint8_t>(to_int(sum + 16384) >> 15);
}

uint8_t perspective(const Source &source, const Matrix &m, int x, int y, int channel) {
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

// All planes of the result, in the layout of pixels_of.
std::vector<uint8_t> by_formula(Warp warp, const tavrine_frame_t *in, const tavrine_frame_t *out,
                                const Matrix &matrix) {
  const uint32_t format = in->pixel_format;
  const std::vector<uint8_t> pixels = pixels_of(in);
  const std::vector<Plane> from = planes_of(format, in->width, in->height);
  const std::vector<Plane> to = planes_of(format, out->width, out->height);
  const bool clamps = format == TAVRINE_FORMAT_NV12 || format == TAVRINE_FORMAT_NV21;
  std::vector<uint8_t> result;
  const uint8_t *bytes = pixels.data();
  for (size_t i = 0; i < from.size(); ++i) {
    const Source source = {bytes, from[i]};
    Matrix m = matrix;
    if (i > 0) {
      m[2] /= 2;
      m[5] /= 2;
    }
    for (int y = 0; y < to[i].rows; ++y) {
      for (int x = 0; x < to[i].columns; ++x) {
        for (int channel = 0; channel < to[i].channels; ++channel) {
          result.push_back(warp == tavrine_frame_warpaffine
                               ? affine(source, m, clamps, x, y, channel)
                               : perspective(source, m, x, y, channel));
        }
      }
    }
    bytes += static_cast<ptrdiff_t>(from[i].columns) * from[i].rows * from[i].channels;
  }
  return result;
}

class Warps : public LibraryTest {
 protected:
  float random_between(float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random_);
  }

  // Positions in and around a source of this size.
  Matrix random_matrix(int width, int height, int out_width, int out_height) {
    const float across = 1.5F * width / out_width, down = 1.5F * height / out_height;
    return {random_between(-across, across),  random_between(-down, down),
            random_between(-0.3F, 1) * width, random_between(-across, across),
            random_between(-down, down),      random_between(-0.3F, 1) * height,
            random_between(-0.02F, 0.02F),    random_between(-0.02F, 0.02F),
            random_between(0.5F, 1.5F)};
  }

  // Anything that a caller's arithmetic may leave behind.
  Matrix adversarial_matrix() {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    constexpr float kValues[] = {
        0,     -0.0F, 1, -1,        1e-42F, -1e-39F,    0.03125F,   -0.5F,    1e30F, -1e30F,
        3e38F, NAN,   3, kInfinity, 1e9F,   -kInfinity, 2097151.9F, -2097152, 32767, -32769};
    Matrix matrix = random_() % 2 == 0 ? kIdentity : random_matrix(9, 7, 12, 6);
    for (unsigned changes = 1 + random_() % 3; changes > 0; --changes) {
      matrix[random_() % matrix.size()] = kValues[random_() % std::size(kValues)];
    }
    return matrix;
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

  template <typename Formats>
  void expect_formula(Warp warp, const Formats &formats) {
    constexpr std::array<int, 4> kSizes[] = {
        {34, 22, 150, 40}, {50, 60, 300, 20}, {20, 16, 20, 16}, {2, 2, 6, 4}, {64, 48, 40, 70}};
    for (const uint32_t format : formats) {
      for (const auto &sizes : kSizes) {
        for (int i = 0; i < 8; ++i) {
          expect_formula(warp, format, sizes,
                         random_matrix(sizes[0], sizes[1], sizes[2], sizes[3]));
        }
      }
      for (int i = 0; i < 150; ++i) {
        expect_formula(warp, format, {10, 6, 12, 8}, adversarial_matrix());
      }
    }
  }
};

TEST_F(Warps, AffineEqualsTheFormula) {
  expect_formula(tavrine_frame_warpaffine, kEightBitFormats);
  expect_formula(tavrine_frame_warpaffine, TAVRINE_FORMAT_GREY, {3, 5, 5001, 1},
                 {0.001F, 0, 0, 0, 1, 2});
  // Source columns end where 16 bits do.
  for (const float shift : {0.0F, 500.5F, 40000.0F, -33000.0F}) {
    expect_formula(tavrine_frame_warpaffine, TAVRINE_FORMAT_GREY, {33000, 2, 33000, 2},
                   {1, 0, shift, 0, 1, 0});
  }
  EXPECT_TRUE(take_log().empty());
}

TEST_F(Warps, PerspectiveEqualsTheFormula) {
  expect_formula(tavrine_frame_warpperspective, kPerspectiveFormats);
  EXPECT_TRUE(take_log().empty());
}

TEST_F(Warps, WholePixelsMoveExactly) {
  const auto shifted = [](const tavrine_frame_t *in, int dx, int dy, bool clamps) {
    const std::vector<uint8_t> pixels = pixels_of(in);
    std::vector<uint8_t> result;
    const uint8_t *bytes = pixels.data();
    for (const Plane &plane : planes_of(in->pixel_format, in->width, in->height)) {
      const int divisor = plane.columns < in->width ? 2 : 1;
      const Source source = {bytes, plane};
      for (int i = 0; i < plane.rows * plane.columns * plane.channels; ++i) {
        const int column = i / plane.channels % plane.columns + dx / divisor;
        const int row = i / plane.channels / plane.columns + dy / divisor;
        const bool counts = clamps || source.has(column, row);
        result.push_back(
            static_cast<uint8_t>(counts ? source.at(column, row, i % plane.channels) : 0));
      }
      bytes += static_cast<ptrdiff_t>(plane.columns) * plane.rows * plane.channels;
    }
    return result;
  };
  for (const uint32_t format : kEightBitFormats) {
    const OwnedFrame in = make_frame(format, 40, 34);
    fill_random(in.get(), random_);
    const OwnedFrame out = make_frame(format, 40, 34);
    ASSERT_EQ(tavrine_frame_warpaffine(in.get(), out.get(), kIdentity.data()), 0);
    EXPECT_EQ(pixels_of(out.get()), pixels_of(in.get()));
    const bool clamps = format == TAVRINE_FORMAT_NV12 || format == TAVRINE_FORMAT_NV21;
    const int shifts[][2] = {{2, 0}, {-6, 4}, {38, -32}, {-40, 0}, {1000, 1000}};
    for (const auto &[dx, dy] : shifts) {
      const Matrix matrix = {1, 0, static_cast<float>(dx), 0, 1, static_cast<float>(dy), 0, 0, 1};
      ASSERT_EQ(tavrine_frame_warpaffine(in.get(), out.get(), matrix.data()), 0);
      EXPECT_EQ(pixels_of(out.get()), shifted(in.get(), dx, dy, clamps)) << dx << " " << dy;
      if (planes_of(format, 2, 2)[0].channels != 4 && planes_of(format, 2, 2).size() == 1) {
        ASSERT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), matrix.data()), 0);
        EXPECT_EQ(pixels_of(out.get()), shifted(in.get(), dx, dy, true)) << dx << " " << dy;
      }
    }
  }
}

TEST_F(Warps, ConstantsStayConstant) {
  for (const int value : {0, 1, 128, 255}) {
    for (const uint32_t format : kEightBitFormats) {
      const OwnedFrame in = make_frame(format, 60, 60);
      fill(in.get(), static_cast<uint8_t>(value));
      const OwnedFrame out = make_frame(format, 40, 36);
      const Matrix inside = {0.9F, 0.41F, 3.3F, -0.37F, 0.83F, 17.7F, 0, 0, 1};
      ASSERT_EQ(tavrine_frame_warpaffine(in.get(), out.get(), inside.data()), 0);
      EXPECT_EQ(pixels_of(out.get()),
                std::vector<uint8_t>(pixels_of(out.get()).size(), static_cast<uint8_t>(value)));
    }
    const OwnedFrame in = make_frame(TAVRINE_FORMAT_RGB24, 60, 60);
    fill(in.get(), static_cast<uint8_t>(value));
    const OwnedFrame out = make_frame(TAVRINE_FORMAT_RGB24, 40, 36);
    const Matrix across = {1.9F, 0.41F, -13.3F, -0.37F, 0.83F, 17.7F, 0.001F, -0.002F, 1.1F};
    ASSERT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), across.data()), 0);
    EXPECT_EQ(pixels_of(out.get()), std::vector<uint8_t>(40 * 36 * 3, static_cast<uint8_t>(value)));
  }
}

TEST_F(Warps, PerspectiveTruncatesAndExtrapolates) {
  const OwnedFrame in = make_frame(TAVRINE_FORMAT_GREY, 2, 1);
  set_pixels(in.get(), {100, 120});
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_GREY, 7, 1);
  const Matrix from_minus_one = {0.5F, 0, -1, 0, 1, 0, 0, 0, 1};
  ASSERT_EQ(tavrine_frame_warpperspective(in.get(), out.get(), from_minus_one.data()), 0);
  EXPECT_EQ(pixels_of(out.get()), (std::vector<uint8_t>{100, 90, 100, 110, 120, 120, 120}));
  // Not a number where w is 0, in the middle.
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
    const std::vector<LogRecord> log = take_log();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_EQ(log[0].level, 3);
    EXPECT_EQ(log[0].tag, "aux.host");
    EXPECT_EQ(log[0].text,
              "Do not support nv12/nv21/yu12 warpperspective, here we convert in_frame into rgb, "
              "and convert back after all done.\n");
  }
}

TEST_F(Warps, DeviceFramesAreWarpedOnTheCpu) {
  const struct {
    Warp warp;
    uint32_t format;
    LogRecord notice;
  } cases[] = {
      {tavrine_frame_warpaffine,
       TAVRINE_FORMAT_NV12,
       {0, "aux", 861, "Device api not support, fallback to CPU - [tavrine_frame_warpaffine]!\n"}},
      {tavrine_frame_warpperspective,
       TAVRINE_FORMAT_BGR24,
       {0, "aux", 886,
        "Device api not support, fallback to CPU - [tavrine_frame_warpperspective]!\n"}}};
  for (const auto &test : cases) {
    const Matrix matrix = random_matrix(36, 22, 20, 30);
    const OwnedFrame host = make_frame(test.format, 36, 22);
    fill_random(host.get(), random_);
    const OwnedFrame out = make_frame(test.format, 20, 30, TAVRINE_MEMORY_DEVICE);
    EXPECT_EQ(test.warp(on_device(host.get()).get(), out.get(), matrix.data()), 0);
    EXPECT_EQ(pixels_of(out.get()), by_formula(test.warp, host.get(), out.get(), matrix));
    EXPECT_EQ(take_log(), (std::vector<LogRecord>{test.notice}));
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
    const std::vector<LogRecord> log = take_log();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_EQ(log[0].level, 4);
    EXPECT_EQ(log[0].tag, "aux.host");
    EXPECT_EQ(log[0].text, test.text);
  }

  const OwnedFrame grey = make_frame(TAVRINE_FORMAT_GREY, 8, 8);
  EXPECT_EQ(tavrine_frame_warpaffine(grey.get(), grey.get(), nullptr), -4);
  EXPECT_EQ(tavrine_frame_warpperspective(grey.get(), grey.get(), nullptr), -1);
  const OwnedFrame narrow = make_frame(TAVRINE_FORMAT_GREY, 8, 8);
  narrow->strides[0] = 7;
  EXPECT_EQ(tavrine_frame_warpaffine(narrow.get(), grey.get(), kIdentity.data()), -4);
  EXPECT_EQ(tavrine_frame_warpperspective(grey.get(), narrow.get(), kIdentity.data()), -1);

  // Planes before the faulty one are done, those behind it are not touched.
  const OwnedFrame yu12 = make_frame(TAVRINE_FORMAT_YU12, 8, 8);
  fill(yu12.get(), 50);
  const OwnedFrame out = make_frame(TAVRINE_FORMAT_YU12, 8, 8);
  fill(out.get(), 1);
  yu12->strides[1] = 3;
  EXPECT_EQ(tavrine_frame_warpaffine(yu12.get(), out.get(), kIdentity.data()), -4);
  std::vector<uint8_t> expected(96, 1);
  std::fill_n(expected.begin(), 64, 50);
  EXPECT_EQ(pixels_of(out.get()), expected);
  for (const uint32_t format : {TAVRINE_FORMAT_NV12, TAVRINE_FORMAT_NV21}) {
    const OwnedFrame pairs = make_frame(format, 8, 8);
    pairs->planes[1] = nullptr;
    EXPECT_EQ(tavrine_frame_warpaffine(pairs.get(), pairs.get(), kIdentity.data()), -4);
  }
  EXPECT_TRUE(take_log().empty());
}

}  // namespace
}  // namespace tavrine::test
