// The transform to compare with: iterative, radix 2, in double, its twiddles straight from sine and cosine.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <utility>
#include <vector>

#include "moxac/types.h"

namespace moxtest {

using Spectrum = std::vector<std::complex<double>>;

constexpr double kTurn = 2 * 3.14159265358979323846;

// sign -1: forward, +1: inverse.
inline Spectrum doubleFft(const Mox32fc* x, int64_t n, int sign) {
  Spectrum z(static_cast<size_t>(n)), turns(static_cast<size_t>(n / 2));
  for (int64_t i = 0, reversed = 0; i < n; ++i) {
    z[static_cast<size_t>(reversed)] = {x[i].re, x[i].im};
    int64_t bit = n >> 1;
    for (; (reversed & bit) != 0; bit >>= 1) reversed ^= bit;
    reversed |= bit;
  }
  for (int64_t k = 0; k < n / 2; ++k)
    turns[static_cast<size_t>(k)] =
        std::polar(1.0, sign * kTurn * static_cast<double>(k) / static_cast<double>(n));
  for (int64_t half = 1; half < n; half *= 2)
    for (int64_t i = 0; i < n; i += 2 * half)
      for (int64_t k = 0; k < half; ++k) {
        auto& a = z[static_cast<size_t>(i + k)];
        auto& b = z[static_cast<size_t>(i + k + half)];
        const std::complex<double> t = b * turns[static_cast<size_t>(k * (n / (2 * half)))];
        b = a - t;
        a += t;
      }
  return z;
}

// Root mean square of the difference, relative to that of the reference.
inline double relativeError(const Mox32fc* got, const Spectrum& want) {
  double error = 0, energy = 0;
  for (size_t k = 0; k < want.size(); ++k) {
    error += std::norm(std::complex<double>(got[k].re, got[k].im) - want[k]);
    energy += std::norm(want[k]);
  }
  return std::sqrt(error / energy);
}

}  // namespace moxtest
