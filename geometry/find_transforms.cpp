// Transforms from three pairs of points. Degenerate points are not an error: the result is finite
// and the inverse is not.
#include <Eigen/Dense>
#include <algorithm>
#include <cmath>
#include <limits>

#include "geometry/inverse.h"
#include "tavrine_aux.h"

namespace tavrine {
namespace {

constexpr int kPoints = 3;

// The system is on the heap, and when that is full, std::bad_alloc leaves the function. From a C++
// runtime inside the library it could not pass to an application with another one, so there the
// system is on the stack.
#ifdef TAVRINE_STATIC_RUNTIME
using Equations =
    Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, 2 * kPoints, 4>;
using Targets = Eigen::Matrix<float, Eigen::Dynamic, 1, Eigen::ColMajor, 2 * kPoints, 1>;
#else
using Equations = Eigen::MatrixXf;
using Targets = Eigen::VectorXf;
#endif

// All x coordinates, then all y coordinates.
template <typename Vector>
void stack_coordinates(const tavrine_point2f_t *points, Vector &stacked) {
  for (int i = 0; i < kPoints; ++i) {
    stacked(i) = points[i].x;
    stacked(kPoints + i) = points[i].y;
  }
}

bool are_finite(const tavrine_point2f_t *points) {
  return std::all_of(points, points + kPoints, [](const tavrine_point2f_t &point) {
    return std::isfinite(point.x) && std::isfinite(point.y);
  });
}

Eigen::Matrix<float, 6, 1> solve_affine(const tavrine_point2f_t *source,
                                        const tavrine_point2f_t *destination) {
  Eigen::Matrix<float, 6, 6> equations = Eigen::Matrix<float, 6, 6>::Zero();
  for (int i = 0; i < kPoints; ++i) {
    for (const int block : {0, kPoints}) {
      equations(block + i, block) = source[i].x;
      equations(block + i, block + 1) = source[i].y;
      equations(block + i, block + 2) = 1.0F;
    }
  }
  Eigen::Matrix<float, 6, 1> targets;
  stack_coordinates(destination, targets);
  return equations.fullPivLu().solve(targets);
}

Eigen::Vector4f solve_similarity(const tavrine_point2f_t *source,
                                 const tavrine_point2f_t *destination) {
  // JacobiSVD leaves its result uninitialised for non-finite input.
  if (!are_finite(source)) {
    return Eigen::Vector4f::Constant(std::numeric_limits<float>::quiet_NaN());
  }
  Equations equations(2 * kPoints, 4);
  for (int i = 0; i < kPoints; ++i) {
    equations.row(i) << source[i].x, source[i].y, 1.0F, 0.0F;
    equations.row(kPoints + i) << source[i].y, -source[i].x, 0.0F, 1.0F;
  }
  Targets targets(2 * kPoints);
  stack_coordinates(destination, targets);
  // Bounded sizes keep the decomposition from allocating: when that fails it frees memory twice.
  using Bounded =
      Eigen::Matrix<float, Eigen::Dynamic, Eigen::Dynamic, Eigen::ColMajor, 2 * kPoints, 4>;
  return Eigen::JacobiSVD<Bounded>(equations, Eigen::ComputeThinU | Eigen::ComputeThinV)
      .solve(targets);
}

}  // namespace
}  // namespace tavrine

void tavrine_find_affine_transform(const tavrine_point2f_t source[3],
                                   const tavrine_point2f_t destination[3],
                                   tavrine_matrix3x3f_t *forward, tavrine_matrix3x3f_t *inverse) {
  const auto p = tavrine::solve_affine(source, destination);
  *forward = {{p(0), p(1), p(2), p(3), p(4), p(5), 0.0F, 0.0F, 1.0F}};

  const tavrine_matrix3x3f_t adjugate = tavrine::adjugate_of(*forward);
  const float *k = adjugate.m;
  *inverse = tavrine::inverse_of(adjugate, p(0) * k[0] + p(1) * k[3] + p(2) * k[6]);
}

void tavrine_find_similarity_transform(const tavrine_point2f_t source[3],
                                       const tavrine_point2f_t destination[3],
                                       tavrine_matrix3x3f_t *forward,
                                       tavrine_matrix3x3f_t *inverse) {
  const auto p = tavrine::solve_similarity(source, destination);
  *forward = {{p(0), p(1), p(2), -p(1), p(0), p(3), 0.0F, 0.0F, 1.0F}};

  const tavrine_matrix3x3f_t adjugate = tavrine::adjugate_of(*forward);
  const float *k = adjugate.m;
  *inverse = tavrine::inverse_of(adjugate, p(2) * k[6] + p(1) * k[3] + p(0) * k[0]);
}
