// The general inverse of a 3 x 3 matrix, by cofactors.
//
// All in single precision. The last row (0, 0, 1) gets no shortcut: its zeros are multiplied like
// other numbers, so that with a determinant of 0 no entry of the inverse is finite. The caller
// sums the determinant, because the order of its terms decides the last bit.
#pragma once

#include "common/strict_floating_point.h"
#include "tavrine_types.h"

namespace tavrine {

// The adjugate: the inverse times the determinant. Its first column times the first row of the
// matrix is the determinant.
tavrine_matrix3x3f_t adjugate_of(const tavrine_matrix3x3f_t &matrix);

tavrine_matrix3x3f_t inverse_of(const tavrine_matrix3x3f_t &adjugate, float determinant);

}  // namespace tavrine
