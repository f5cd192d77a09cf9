// Rotations of the 1024- and 128-point DCT-IV and of the complex transforms inside them, built at compile
// time.
#pragma once

#include <cstdint>

#include "frame/trig.h"

namespace moxac::aac {

// exp(-i pi (k + 1/8) / M), k = 0..M/2-1, as c - i s: the turn before and behind the complex transform.
template <int32_t M>
struct Dct4Rotation {
  float c[M / 2] = {}, s[M / 2] = {};
  constexpr Dct4Rotation() {
    for (int32_t k = 0; k < M / 2; ++k) {
      c[k] = static_cast<float>(cosPi(8 * k + 1, 8 * M));
      s[k] = static_cast<float>(sinPi(8 * k + 1, 8 * M));
    }
  }
};

// exp(-2 pi i p r / n), p = 0..n/8-1, r = 1..7, as c - i s: between the radix-8 passes.
template <int32_t n>
struct Radix8Twiddles {
  float c[7][n / 8] = {}, s[7][n / 8] = {};
  constexpr Radix8Twiddles() {
    for (int32_t r = 1; r < 8; ++r)
      for (int32_t p = 0; p < n / 8; ++p) {
        c[r - 1][p] = static_cast<float>(cosPi(2 * p * r, n));
        s[r - 1][p] = static_cast<float>(sinPi(2 * p * r, n));
      }
  }
};

extern const Dct4Rotation<1024> kDct4RotationLong;
extern const Dct4Rotation<128> kDct4RotationShort;
extern const Radix8Twiddles<512> kDct4Twiddles512;
extern const Radix8Twiddles<64> kDct4Twiddles64;

}  // namespace moxac::aac
