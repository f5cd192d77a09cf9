// k^(4/3) for k = 0..8206 (escape 15 + linbits 8191), rounded once to float. ISO/IEC 11172-3, 2.4.3.4.7.1.
#pragma once

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace moxac::util {

inline constexpr int32_t kPow43Count = 8207;
extern const std::array<float, kPow43Count> kPow43;

// k^(4/3) in double, k a 16-bit magnitude: exact where k is a cube, whose root std::cbrt may miss by a unit. Only
// cubes can come to lie on a tie when the result is rounded.
inline double exactPow43(double k) {
  const double root = std::cbrt(k), whole = std::nearbyint(root);
  return k * (whole * whole * whole == k ? whole : root);
}

// Any 16-bit magnitude, once rounded; above the table by the same law.
inline float pow43(int32_t magnitude) {
  if (magnitude < kPow43Count) return kPow43[static_cast<size_t>(magnitude)];
  return static_cast<float>(exactPow43(magnitude));
}

}  // namespace moxac::util
