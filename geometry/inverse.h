// The general inverse of a 3 x 3 matrix, by cofactors.
//
// Everything is single precision and nothing is left out for the last row being (0, 0, 1): its
// zeros are multiplied like other numbers, so that with a determinant of 0 no entry of the
// inverse is finite. The sum of the determinant is the caller's, since its order decides the
// last bit.
#pragma once

#include "tavrine_types.h"

namespace tavrine {

// The adjugate: the inverse times the determinant. Its first column times the first row of the
// matrix is the determinant.
tavrine_matrix3x3f_t adjugate_of(const tavrine_matrix3x3f_t &matrix);

tavrine_matrix3x3f_t inverse_of(const tavrine_matrix3x3f_t &adjugate, float determinant);

}  // namespace tavrine
