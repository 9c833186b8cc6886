// Refuses builds whose compiler may change floating-point results. Every target must produce the
// same bytes, so sums keep their order, NaNs and infinities count, and float is not widened.
#pragma once

#include <cfloat>

#if defined(__FAST_MATH__) || defined(__ASSOCIATIVE_MATH__) || defined(__RECIPROCAL_MATH__)
#error "Build without -ffast-math: results must be the same on every machine"
#endif
#if defined(__FINITE_MATH_ONLY__) && __FINITE_MATH_ONLY__
#error "Build without -ffinite-math-only: NaNs and infinities are inputs"
#endif
#if FLT_EVAL_METHOD != 0
#error "float and double must be evaluated in their own precision (on x86: -mfpmath=sse)"
#endif
