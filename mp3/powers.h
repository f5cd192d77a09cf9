// Powers of two with fractional exponents, for tables made at build time.
#pragma once

#include <array>
#include <cstddef>

namespace moxac::mp3 {

constexpr double powerOfTwo(double exponent) {
  int whole = static_cast<int>(exponent);
  const double rest = (exponent - whole) * 0.69314718055994530942;
  double sum = 1;
  for (int k = 14; k > 0; --k) sum = 1 + sum * rest / k;
  for (; whole > 0; --whole) sum *= 2;
  for (; whole < 0; ++whole) sum /= 2;
  return sum;
}

// 2^(step (i + first)) for i = 0..kCount-1
template <size_t kCount>
constexpr std::array<float, kCount> powersOfTwo(double step, int first) {
  std::array<float, kCount> table{};
  for (size_t i = 0; i < kCount; ++i)
    table[i] = static_cast<float>(powerOfTwo(step * (static_cast<int>(i) + first)));
  return table;
}

}  // namespace moxac::mp3
