// Warps on every instruction set, held against their scalar definitions.
#include <cmath>
#include <limits>

#include "host/kernels/warp_affine_scalar.h"
#include "host/kernels/warp_perspective_scalar.h"
#include "tests/kernel_support.h"

namespace tavrine::test {
namespace {

constexpr float kInfinity = std::numeric_limits<float>::infinity();
// What may stand in a matrix: ordinary, tiny, wrapping, saturating, and no number at all.
constexpr float kOddValues[] = {0,         -0.0F, 1,     -1,        1e-42F,     0.5F,
                                NAN,       1e9F,  -1e9F, kInfinity, 2097151.9F, -2097152,
                                4194303.F, 1e30F, 3e38F, 32767,     -kInfinity, -32769};

struct Size {
  int32_t columns;
  int32_t rows;
};

class WarpKernels : public ::testing::Test {
 protected:
  float between(float low, float high) {
    return std::uniform_real_distribution<float>(low, high)(random_);
  }

  // Turned and scaled about the middles of both; every eighth time with an odd value in it.
  AffineMatrix affine_matrix(Size from, Size to) {
    const float angle = random_() % 3 == 0 ? 1.5707964F * (random_() % 4) : between(-3.2F, 3.2F);
    const float scale = between(0.2F, 1.6F) * from.columns / to.columns;
    const float a = std::cos(angle) * scale;
    const float d = std::sin(angle) * scale;
    const float middle = 0.5F * to.columns;
    const float centre = 0.5F * to.rows;
    float values[6] = {a, -d, 0.5F * from.columns - a * middle + d * centre + between(-2, 2),
                       d, a,  0.5F * from.rows - d * middle - a * centre + between(-2, 2)};
    if (random_() % 8 == 0) {
      values[random_() % 6] = kOddValues[random_() % std::size(kOddValues)];
    }
    return {values[0], values[1], values[2], values[3], values[4], values[5]};
  }

  // The same in perspective. All elements may be tiny together, so that positions are ordinary.
  PerspectiveMatrix perspective_matrix(Size from, Size to) {
    const AffineMatrix m = affine_matrix(from, to);
    const float tilt = 0.6F / (to.columns + to.rows);
    PerspectiveMatrix matrix = {
        {m.a, m.b, m.c, m.d, m.e, m.f, between(-tilt, tilt), between(-tilt, tilt), 1}};
    if (random_() % 8 == 0) {
      matrix.m[random_() % 9] = kOddValues[random_() % std::size(kOddValues)];
    }
    if (random_() % 8 == 0) {
      constexpr float kScales[] = {1e-36F, 1e-37F, 1e-39F};
      const float scale = kScales[random_() % std::size(kScales)];
      for (float &element : matrix.m) {
        element *= scale;
      }
    }
    return matrix;
  }

  std::mt19937 random_{31};
};

template <int kChannels>
std::vector<uint8_t> affine_by_definition(const PlaneView &in, const AffineMatrix &matrix,
                                          Border border, Size size) {
  std::vector<int32_t> x_offsets, y_offsets;
  for (int32_t x = 0; x < size.columns; ++x) {
    x_offsets.push_back(scalar::column_offset(matrix.a, x));
    y_offsets.push_back(scalar::column_offset(matrix.d, x));
  }
  const auto row_bytes = static_cast<size_t>(size.columns) * kChannels;
  std::vector<uint8_t> out(row_bytes * size.rows);
  const auto warp = border == Border::kZero ? scalar::warp_pixels<kChannels, Border::kZero>
                                            : scalar::warp_pixels<kChannels, Border::kNearestEdge>;
  for (int32_t y = 0; y < size.rows; ++y) {
    warp(in, scalar::row_offset(matrix, y), x_offsets.data(), y_offsets.data(), size.columns,
         out.data() + row_bytes * y);
  }
  return out;
}

TEST_F(WarpKernels, AffineEqualsItsDefinition) {
  constexpr decltype(&affine_by_definition<1>) kDefinitions[] = {
      affine_by_definition<1>, affine_by_definition<2>, affine_by_definition<3>,
      affine_by_definition<4>};
  on_every_target([&] {
    random_.seed(31);
    for (int32_t channels = 1; channels <= 4; ++channels) {
      // The last one has more columns than a saturated position can tell apart.
      for (const Size from : {Size{1, 9}, {2, 2}, {3, 1}, {5, 40}, {64, 48}, {33000, 3}}) {
        GuardedPlane in(from.columns, from.rows, channels, from.columns % 7);
        in.fill(random_);
        for (const int32_t width : widths_to_try()) {
          for (const Border border : {Border::kZero, Border::kNearestEdge}) {
            const Size to = {width, 1 + width % 23};
            const AffineMatrix m = affine_matrix(from, to);
            GuardedPlane out(to.columns, to.rows, channels, width % 3);
            ASSERT_TRUE(warp_affine(in.view(), m, border, out.view()));
            ASSERT_EQ(out.pixels(), kDefinitions[channels - 1](in.view(), m, border, to))
                << channels << " channels, " << from.columns << "x" << from.rows << " to " << width
                << " columns, " << m.a << " " << m.b << " " << m.c << ", " << m.d << " " << m.e
                << " " << m.f;
            ASSERT_TRUE(out.margins_unharmed());
          }
        }
      }
    }
  });
}

template <int kChannels>
std::vector<uint8_t> perspective_by_definition(const PlaneView &in, const PerspectiveMatrix &matrix,
                                               Size size) {
  const auto row_bytes = static_cast<size_t>(size.columns) * kChannels;
  std::vector<uint8_t> out(row_bytes * size.rows);
  for (int32_t y = 0; y < size.rows; ++y) {
    scalar::warp_pixels<kChannels>(in, matrix, y, 0, size.columns, out.data() + row_bytes * y);
  }
  return out;
}

TEST_F(WarpKernels, PerspectiveEqualsItsDefinition) {
  on_every_target([&] {
    random_.seed(32);
    for (const int32_t channels : {1, 3}) {
      for (const Size from : {Size{1, 1}, {1, 9}, {2, 2}, {3, 1}, {5, 40}, {64, 48}}) {
        GuardedPlane in(from.columns, from.rows, channels, from.columns % 7);
        for (const int32_t width : widths_to_try()) {
          in.fill(random_);
          const Size to = {width, 1 + width % 23};
          const PerspectiveMatrix m = perspective_matrix(from, to);
          GuardedPlane out(to.columns, to.rows, channels, width % 3);
          ASSERT_TRUE(warp_perspective(in.view(), m, out.view()));
          ASSERT_EQ(out.pixels(), channels == 1 ? perspective_by_definition<1>(in.view(), m, to)
                                                : perspective_by_definition<3>(in.view(), m, to))
              << channels << " channels, " << from.columns << "x" << from.rows << " to " << width
              << " columns, " << ::testing::PrintToString(m.m);
          ASSERT_TRUE(out.margins_unharmed());
        }
      }
    }
  });
}

}  // namespace
}  // namespace tavrine::test
