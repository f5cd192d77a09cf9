// Reflection coefficients of temporal noise shaping, from the formula.
#pragma once

#include <cstdint>

#include "frame/trig.h"

namespace moxac::aac {

// sin(c pi / (2^r - 1)) for c >= 0, sin(c pi / (2^r + 1)) below, in Q31; c = -8..7, r = 3, 4.
struct TnsReflectionTable {
  int32_t row[2][16] = {};
  constexpr TnsReflectionTable() {
    for (int r = 3; r <= 4; ++r)
      for (int c = -8; c < 8; ++c) {
        const double q31 = sinPi(c, (1 << r) + (c < 0 ? 1 : -1)) * 2147483648.0;
        row[r - 3][c + 8] = static_cast<int32_t>(q31 < 0 ? q31 - 0.5 : q31 + 0.5);
      }
  }
  constexpr int32_t operator()(int32_t resolution, int32_t coded) const {
    return row[resolution - 3][coded + 8];
  }
};
inline constexpr TnsReflectionTable kTnsReflection;

}  // namespace moxac::aac
