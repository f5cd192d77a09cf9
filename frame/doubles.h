// What kernels in double precision need besides: one form for lanes, one for a single value, to the same bits.
#pragma once

#include <cmath>

#include "frame/simd.h"

namespace moxac {

inline f64x4 maxOf(f64x4 a, f64x4 b) { return _mm256_max_pd(a, b); }
inline double maxOf(double a, double b) {
  return a > b ? a : b;
}  // b where either is not a number, as in lanes
inline f64x4 rootOf(f64x4 v) { return _mm256_sqrt_pd(v); }
inline f64x4 magnitudeOf(f64x4 v) { return _mm256_andnot_pd(splatDouble4(-0.0), v); }
// v, which is not negative, with the sign of `sign`.
inline double withSignOf(double v, double sign) { return std::copysign(v, sign); }
inline f64x4 withSignOf(f64x4 v, f64x4 sign) {
  return _mm256_or_pd(v, _mm256_and_pd(splatDouble4(-0.0), sign));
}

}  // namespace moxac
