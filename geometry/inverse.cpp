#include "geometry/inverse.h"

namespace tavrine {

tavrine_matrix3x3f_t adjugate_of(const tavrine_matrix3x3f_t &matrix) {
  const float *m = matrix.m;
  return {{m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[4] * m[2],
           m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[3] * m[2] - m[0] * m[5],
           m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[3] * m[1]}};
}

tavrine_matrix3x3f_t inverse_of(const tavrine_matrix3x3f_t &adjugate, float determinant) {
  const float reciprocal = 1.0F / determinant;
  tavrine_matrix3x3f_t inverse = adjugate;
  for (float &entry : inverse.m) {
    entry *= reciprocal;
  }
  return inverse;
}

}  // namespace tavrine
