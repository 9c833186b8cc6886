#include <cmath>
#include <cstring>

#include "tests/support.h"

namespace tavrine::test {
namespace {

struct Points {
  tavrine_point2f_t at[3];
};

struct Transform {
  tavrine_matrix3x3f_t forward;
  tavrine_matrix3x3f_t inverse;
};

Transform affine(const Points &source, const Points &destination) {
  Transform result;
  tavrine_find_affine_transform(source.at, destination.at, &result.forward, &result.inverse);
  return result;
}

Transform similarity(const Points &source, const Points &destination) {
  Transform result;
  tavrine_find_similarity_transform(source.at, destination.at, &result.forward, &result.inverse);
  return result;
}

void expect_near(const tavrine_matrix3x3f_t &matrix, const std::array<double, 9> &expected,
                 double tolerance = 1e-5) {
  for (size_t i = 0; i < 9; ++i) {
    EXPECT_NEAR(matrix.m[i], expected[i], tolerance) << "entry " << i;
  }
}

void expect_inverse(const Transform &transform, double tolerance) {
  const float *a = transform.forward.m;
  const float *b = transform.inverse.m;
  for (int row = 0; row < 3; ++row) {
    for (int column = 0; column < 3; ++column) {
      double sum = 0;
      double size = 0;
      for (int k = 0; k < 3; ++k) {
        const double term = static_cast<double>(a[3 * row + k]) * b[3 * k + column];
        sum += term;
        size += std::abs(term);
      }
      EXPECT_NEAR(sum, row == column, tolerance * std::max(size, 1.0)) << row << column;
    }
  }
}

tavrine_point2f_t map(const tavrine_matrix3x3f_t &matrix, tavrine_point2f_t point) {
  const float *m = matrix.m;
  return {m[0] * point.x + m[1] * point.y + m[2], m[3] * point.x + m[4] * point.y + m[5]};
}

Points random_points(Random &random, float size) {
  std::uniform_real_distribution<float> coordinate(-size, size);
  Points points;
  for (tavrine_point2f_t &point : points.at) {
    point = {coordinate(random), coordinate(random)};
  }
  return points;
}

// Twice the area, signed.
double area_of(const Points &points) {
  const auto &[a, b, c] = points.at;
  return (static_cast<double>(b.x) - a.x) * (static_cast<double>(c.y) - a.y) -
         (static_cast<double>(c.x) - a.x) * (static_cast<double>(b.y) - a.y);
}

// The least-squares similarity in closed form, from centred coordinates.
std::array<double, 9> similarity_by_formula(const Points &source, const Points &destination) {
  double x = 0, y = 0, u = 0, v = 0;
  for (int i = 0; i < 3; ++i) {
    x += source.at[i].x / 3.0;
    y += source.at[i].y / 3.0;
    u += destination.at[i].x / 3.0;
    v += destination.at[i].y / 3.0;
  }
  double aligned = 0, crossed = 0, spread = 0;
  for (int i = 0; i < 3; ++i) {
    const double dx = source.at[i].x - x, dy = source.at[i].y - y;
    const double du = destination.at[i].x - u, dv = destination.at[i].y - v;
    aligned += dx * du + dy * dv;
    crossed += dy * du - dx * dv;
    spread += dx * dx + dy * dy;
  }
  const double a = aligned / spread, b = crossed / spread;
  return {a, b, u - a * x - b * y, -b, a, v + b * x - a * y, 0, 0, 1};
}

TEST(Geometry, ExamplesByHand) {
  const Points unit = {{{0, 0}, {1, 0}, {0, 1}}};
  const Transform scaled = affine(unit, {{{2, 3}, {4, 3}, {2, 5}}});
  expect_near(scaled.forward, {2, 0, 2, 0, 2, 3, 0, 0, 1});
  expect_near(scaled.inverse, {0.5, 0, -1, 0, 0.5, -1.5, 0, 0, 1});
  const Points face = {{{38.3F, 51.7F}, {73.5F, 51.5F}, {56, 92.4F}}};
  for (const Transform &same : {affine(face, face), similarity(face, face)}) {
    expect_near(same.forward, {1, 0, 0, 0, 1, 0, 0, 0, 1}, 1e-4);
    expect_near(same.inverse, {1, 0, 0, 0, 1, 0, 0, 0, 1}, 1e-4);
  }
  const Transform rotated = similarity(unit, {{{1, 1}, {1, 2}, {0, 1}}});
  expect_near(rotated.forward, {0, -1, 1, 1, 0, 1, 0, 0, 1});
  expect_near(rotated.inverse, {0, 1, -1, -1, 0, 1, 0, 0, 1});
}

TEST(Geometry, RandomTriangles) {
  Random random(7);
  int tested = 0;
  for (int i = 0; i < 2000; ++i) {
    const Points source = random_points(random, 500);
    const Points destination = random_points(random, 200);
    // Thin triangles have no accurate solution in single precision.
    if (std::abs(area_of(source)) < 2e4 || std::abs(area_of(destination)) < 2e3) {
      continue;
    }
    ++tested;
    const Transform exact = affine(source, destination);
    for (int point = 0; point < 3; ++point) {
      const tavrine_point2f_t mapped = map(exact.forward, source.at[point]);
      EXPECT_NEAR(mapped.x, destination.at[point].x, 0.02);
      EXPECT_NEAR(mapped.y, destination.at[point].y, 0.02);
    }
    expect_inverse(exact, 1e-5);

    // Never a reflection, even for mirrored or sheared destinations.
    const Transform closest = similarity(source, destination);
    const std::array<double, 9> expected = similarity_by_formula(source, destination);
    expect_near(closest.forward, expected, 2e-3);
    EXPECT_EQ(closest.forward.m[0], closest.forward.m[4]);
    EXPECT_EQ(closest.forward.m[1], -closest.forward.m[3]);
    if (std::hypot(expected[0], expected[1]) > 0.01) {
      expect_inverse(closest, 1e-5);
    }
  }
  EXPECT_GT(tested, 1000);
}

TEST(Geometry, DegeneratePoints) {
  const Points triangle = {{{10, 20}, {30, 25}, {15, 60}}};
  const Points lines[] = {{{{0, 0}, {1, 1}, {2, 2}}},
                          {{{0, 0}, {4, 0}, {8, 0}}},
                          {{{0, 3}, {0, 5}, {0, -8}}},
                          {{{5, 5}, {5, 5}, {5, 5}}},
                          {{{0, 0}, {0, 0}, {0, 0}}}};
  for (const Points &line : lines) {
    const Transform result = affine(line, triangle);
    for (const float entry : result.forward.m) {
      EXPECT_TRUE(std::isfinite(entry));
    }
    // One unknown of each row is not determined: it is 0, and so is the determinant.
    EXPECT_TRUE((result.forward.m[0] == 0 && result.forward.m[3] == 0) ||
                (result.forward.m[1] == 0 && result.forward.m[4] == 0));
    for (const float entry : result.inverse.m) {
      EXPECT_FALSE(std::isfinite(entry));
    }
  }
  const Transform nowhere = similarity(lines[4], triangle);
  expect_near(nowhere.forward, {0, 0, 55 / 3.0, 0, 0, 35, 0, 0, 1}, 1e-5);
  EXPECT_EQ(nowhere.forward.m[0], 0);
  EXPECT_EQ(nowhere.forward.m[1], 0);
  for (const float entry : nowhere.inverse.m) {
    EXPECT_FALSE(std::isfinite(entry));
  }
  // Coinciding points away from the origin: the smallest parameters that map them to the mean of
  // the destination, (18.33, 35).
  const Transform smallest = similarity(lines[3], triangle);
  const tavrine_point2f_t mapped = map(smallest.forward, {5, 5});
  EXPECT_NEAR(mapped.x, 55 / 3.0, 1e-4);
  EXPECT_NEAR(mapped.y, 35, 1e-4);
}

TEST(Geometry, AnyBitPatterns) {
  Random random(11);
  const auto any = [&random] {
    const auto bits = static_cast<uint32_t>(random());
    float value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  };
  for (int i = 0; i < 20000; ++i) {
    Points points[2];
    for (Points &some : points) {
      for (tavrine_point2f_t &point : some.at) {
        point = {any(), any()};
      }
    }
    for (const Transform &result :
         {affine(points[0], points[1]), similarity(points[0], points[1])}) {
      EXPECT_EQ(result.forward.m[6], 0);
      EXPECT_EQ(result.forward.m[7], 0);
      EXPECT_EQ(result.forward.m[8], 1);
    }
  }
  const Points infinite = {{{INFINITY, 0}, {1, NAN}, {0, 1}}};
  const Transform result = similarity(infinite, {{{0, 0}, {1, 0}, {0, 1}}});
  EXPECT_TRUE(std::isnan(result.forward.m[0]) && std::isnan(result.inverse.m[0]));
}

}  // namespace
}  // namespace tavrine::test
