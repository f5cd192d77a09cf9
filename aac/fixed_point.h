// The fixed-point formats that join the AAC stages; docs/fixed_point.md tells the reasons.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/const_math.h"
#include "moxac/aac.h"

namespace moxac::aac {

inline constexpr int32_t kSaturated = 0x7FFFFFFF;  // and its negative: saturation is symmetric

template <class T>
constexpr int32_t saturateSymmetric(T value) {
  return static_cast<int32_t>(std::clamp<T>(value, T{-kSaturated}, T{kSaturated}));
}

// To nearest, for values from 0 on, at compile time.
constexpr int64_t roundedHalfUp(double value) {
  const auto whole = static_cast<int64_t>(value);
  return value - static_cast<double>(whole) < 0.5 ? whole : whole + 1;
}

}  // namespace moxac::aac
