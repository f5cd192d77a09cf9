// Second-order linear prediction of one sub-band by the covariance method (ISO/IEC 14496-3, 4.6.18.6.2), over
// lane types: one sub-band a lane.
//
//   phi(i,j) = sum over t of x[t-i] * conj(x[t-j]),  t = 2 .. slots+1
//   det      = phi(2,2)*phi(1,1) - r*|phi(1,2)|^2
//   alpha1   = (phi(0,1)*phi(1,2) - phi(0,2)*phi(1,1)) / det        0 where det is 0
//   alpha0   = -(phi(0,1) + alpha1*conj(phi(1,2))) / phi(1,1)       0 where phi(1,1) is 0
//
// and both are 0 when either reaches magnitude 4.
#pragma once

#include <cstdint>

#include "frame/doubles.h"
#include "transform/lane_complex.h"

namespace moxac::sbr {

using transform::Complex;

// The relaxation of the determinant, 1/(1 + 1e-6) but for the last bits: the float of pattern 0x3F7FFFF0.
inline constexpr float kRelaxation = 0x1.FFFFE0p-1f;

// Squares from here on reset both coefficients.
inline constexpr float kResetSquare = 16;

template <class Value>
struct Prediction {
  Value alpha0, alpha1;
};

// x(m) gives the sample of row m.
template <class L, class Sample>
inline Prediction<typename L::V> predictReal(int32_t slots, const Sample& x) {
  using V = typename L::V;
  V phi01 = L::splat(0), phi11 = phi01, phi12 = phi01, phi22 = phi01, phi02 = phi01;
  V x0 = x(0), x1 = x(1);
  for (int32_t j = 0; j < slots; ++j) {
    const V x2 = x(j + 2);
    phi01 = phi01 + x1 * x2;
    phi11 = phi11 + x1 * x1;
    phi12 = phi12 + x0 * x1;
    phi22 = phi22 + x0 * x0;
    phi02 = phi02 + x0 * x2;
    x0 = x1;
    x1 = x2;
  }
  const V det = phi22 * phi11 - L::splat(kRelaxation) * (phi12 * phi12);
  const V alpha1 = whereNonZero(det, (phi01 * phi12 - phi02 * phi11) / det);
  const V alpha0 = whereNonZero(phi11, -(phi01 + alpha1 * phi12) / phi11);
  const V square0 = alpha0 * alpha0, square1 = alpha1 * alpha1;
  const V limit = L::splat(kResetSquare);
  const auto reset = [&](V a) { return zeroFrom(limit, square0, zeroFrom(limit, square1, a)); };
  return {reset(alpha0), reset(alpha1)};
}

// The sums phi(i,j) that a prediction from two samples back needs.
template <class L>
struct ComplexCovariance {
  typename L::V phi11, phi22;
  Complex<L> phi01, phi12, phi02;
};

template <class L, class Sample>
inline ComplexCovariance<L> complexCovariance(int32_t slots, const Sample& x) {
  using V = typename L::V;
  using C = Complex<L>;
  V phi11 = L::splat(0), phi22 = phi11;
  C phi01 = {phi11, phi11}, phi12 = phi01, phi02 = phi01;
  C x0 = x(0), x1 = x(1);
  for (int32_t j = 0; j < slots; ++j) {
    const C x2 = x(j + 2);
    phi01 = phi01 + x2 * conj(x1);
    phi11 = phi11 + square(x1);
    phi12 = phi12 + x1 * conj(x0);
    phi22 = phi22 + square(x0);
    phi02 = phi02 + x2 * conj(x0);
    x0 = x1;
    x1 = x2;
  }
  return {phi11, phi22, phi01, phi12, phi02};
}

// The coefficients before the reset.
template <class L>
inline Prediction<Complex<L>> solvePrediction(const ComplexCovariance<L>& c) {
  const typename L::V det = c.phi22 * c.phi11 - L::splat(kRelaxation) * square(c.phi12);
  Complex<L> alpha1 = (c.phi01 * c.phi12 - c.phi02 * c.phi11) / det;
  alpha1 = {whereNonZero(det, alpha1.re), whereNonZero(det, alpha1.im)};
  Complex<L> alpha0 = (c.phi01 + alpha1 * conj(c.phi12)) / -c.phi11;
  alpha0 = {whereNonZero(c.phi11, alpha0.re), whereNonZero(c.phi11, alpha0.im)};
  return {alpha0, alpha1};
}

template <class L, class Sample>
inline Prediction<Complex<L>> predictComplex(int32_t slots, const Sample& x) {
  using V = typename L::V;
  const auto [alpha0, alpha1] = solvePrediction<L>(complexCovariance<L>(slots, x));
  const V square0 = square(alpha0), square1 = square(alpha1);
  const V limit = L::splat(kResetSquare);
  const auto reset = [&](V a) { return zeroFrom(limit, square0, zeroFrom(limit, square1, a)); };
  return {{reset(alpha0.re), reset(alpha0.im)}, {reset(alpha1.re), reset(alpha1.im)}};
}

// The largest tone-to-noise ratio that is told apart from a pure tone.
inline constexpr double kLargestToneToNoise = 1 << 20;

// How much of a sub-band's energy its two last samples predict, over what they leave: the residue of the
// unreset prediction is phi(0,0) + alpha0*conj(phi(0,1)) + alpha1*conj(phi(0,2)). Silence has ratio 0.
template <class L, class Sample>
inline typename L::V toneToNoise(int32_t slots, const Sample& x) {
  using V = typename L::V;
  const ComplexCovariance<L> c = complexCovariance<L>(slots, x);
  const auto [alpha0, alpha1] = solvePrediction<L>(c);
  V energy = L::splat(0);
  for (int32_t j = 0; j < slots; ++j) energy = energy + square(x(j + 2));
  const V predicted = maxOf(-(alpha0 * conj(c.phi01) + alpha1 * conj(c.phi02)).re, L::splat(0));
  const V residue = maxOf(energy - predicted, predicted * L::splat(1 / kLargestToneToNoise));
  return whereNonZero(predicted, predicted / residue);
}

}  // namespace moxac::sbr
