// Sines and cosines of rational multiples of pi, at build time: the source of every twiddle table.
#pragma once

#include <cstdint>

#include "frame/const_math.h"

namespace moxac {

namespace detail {

// Taylor series on 0..pi/4, summed from the smallest term: within an ulp of double.
constexpr double seriesPi(double x, int firstFactor) {
  double sum = 0;
  for (int k = firstFactor + 20; k >= firstFactor; k -= 2) sum = (1 + sum) * (-x * x / (k * (k + 1)));
  return 1 + sum;
}

}  // namespace detail

// cos(pi * numerator / denominator); denominator > 0. The angle is reduced exactly, in integers.
constexpr double cosPi(int64_t numerator, int64_t denominator) {
  int64_t n = (numerator < 0 ? -numerator : numerator) % (2 * denominator);
  if (n > denominator) n = 2 * denominator - n;
  const double sign = 2 * n > denominator ? -1 : 1;
  if (2 * n > denominator) n = denominator - n;
  if (4 * n <= denominator)
    return sign * detail::seriesPi(kPi * static_cast<double>(n) / static_cast<double>(denominator), 1);
  const double x = kPi * static_cast<double>(denominator - 2 * n) / static_cast<double>(2 * denominator);
  return sign * x * detail::seriesPi(x, 2);
}

constexpr double sinPi(int64_t numerator, int64_t denominator) {
  return cosPi(2 * numerator - denominator, 2 * denominator);
}

}  // namespace moxac
