// The fixed-point formats that join the AAC stages; docs/fixed_point.md tells the reasons.
#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "moxac/aac.h"

namespace moxac::aac {

inline constexpr int32_t kSaturated = 0x7FFFFFFF;  // and its negative: saturation is symmetric

template <class T>
constexpr int32_t saturateSymmetric(T value) {
  return static_cast<int32_t>(std::clamp<T>(value, T{-kSaturated}, T{kSaturated}));
}

// 2^exponent as a double; -1022..1023.
constexpr double exp2Of(int32_t exponent) {
  return std::bit_cast<double>(static_cast<uint64_t>(exponent + 1023) << 52);
}

// To nearest, for values from 0 on, at compile time.
constexpr int64_t roundedHalfUp(double value) {
  const auto whole = static_cast<int64_t>(value);
  return value - static_cast<double>(whole) < 0.5 ? whole : whole + 1;
}

// 2^(k/4), k = 0..3.
inline constexpr double kQuarterPower[4] = {1.0, 1.189207115002721067, 1.414213562373095049,
                                            1.681792830507429086};

}  // namespace moxac::aac
