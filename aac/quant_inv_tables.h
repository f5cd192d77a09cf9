// The pieces of x^(4/3), from the formula.
#pragma once

#include <cstdint>

#include "frame/const_math.h"

namespace moxac::aac {

struct Pow43PieceTables {
  double mantissa[128] = {};  // (1 + m/128)^(4/3)
  double exponent[14] = {};   // 2^(4e/3)
  double small[16] = {};      // x^(4/3), as the product of the two

  constexpr Pow43PieceTables() {
    for (int m = 0; m < 128; ++m) {
      const long double x = 1 + m / 128.0L;
      mantissa[m] = static_cast<double>(x * cubeRoot(x));
    }
    for (int e = 0; e < 14; ++e)
      exponent[e] = static_cast<double>(static_cast<long double>(1 << (4 * e / 3)) *
                                        cubeRoot(static_cast<long double>(1 << (4 * e % 3))));
    for (int x = 1; x < 16; ++x) {
      int e = 0;
      while (x >> (e + 1) != 0) ++e;
      small[x] = mantissa[((x << 7) >> e) & 127] * exponent[e];
    }
  }
};

inline constexpr Pow43PieceTables kPow43Pieces;

}  // namespace moxac::aac
