// Roots and powers at build time: the source, with the cosines of trig.h, of every table that a formula gives.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>

namespace moxac {

inline constexpr double kPi = 3.14159265358979323846;

// The square root of v > 0, rounded once: Newton's iteration in long double, from above.
constexpr double squareRoot(double v) {
  long double root = v > 1 ? v : 1, next = (root + v / root) / 2;
  while (next < root) {
    root = next;
    next = (root + v / root) / 2;
  }
  return static_cast<double>(root);
}

// The cube root of v > 0, within an ulp or two of long double.
constexpr long double cubeRoot(long double v) {
  long double root = v > 1 ? v : 1, next = root - (root - v / (root * root)) / 3;
  while (next < root) {
    root = next;
    next = root - (root - v / (root * root)) / 3;
  }
  return root;
}

// 2^exponent, an integer in -1022..1023; at run time as well.
constexpr double exp2Of(int32_t exponent) {
  return std::bit_cast<double>(static_cast<uint64_t>(exponent + 1023) << 52);
}

// 2^(k/4), k = 0..3.
inline constexpr double kQuarterPower[4] = {1.0, 1.189207115002721067, 1.414213562373095049,
                                            1.681792830507429086};

// 2^exponent, by the exponential series of its fraction.
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

}  // namespace moxac
