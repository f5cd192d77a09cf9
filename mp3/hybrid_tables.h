// Windows and butterflies of the hybrid bank, from their formulas. ISO/IEC 11172-3, 2.4.3.4.10.
#pragma once

#include "frame/const_math.h"
#include "frame/trig.h"
#include "mp3/bank_tables.h"

namespace moxac::mp3 {

inline constexpr int kBandLines = 18;  // spectral lines, and time slots, of a sub-band in one granule

// The four windows, by block type: 0 normal, 1 start, 2 short (12 values, the rest 0), 3 stop.
struct HybridWindows {
  float of[4][36] = {};

  constexpr HybridWindows() {
    for (int i = 0; i < 18; ++i) {
      const float rising = static_cast<float>(sinPi(2 * i + 1, 72));
      of[0][i] = of[1][i] = of[0][35 - i] = of[3][35 - i] = rising;
    }
    for (int i = 0; i < 12; ++i) of[2][i] = static_cast<float>(sinPi(2 * i + 1, 24));
    for (int i = 0; i < 6; ++i) {
      of[1][18 + i] = of[3][12 + i] = 1;
      of[1][24 + i] = of[2][6 + i];
      of[3][6 + i] = of[2][i];
    }
  }
};
inline constexpr HybridWindows kHybridWindows;

// cs = 1 / sqrt(1 + c^2), ca = c / sqrt(1 + c^2).
struct AliasFactors {
  alignas(32) float cs[8] = {}, ca[8] = {};

  constexpr AliasFactors() {
    for (int i = 0; i < 8; ++i) {
      const double root = squareRoot(1 + kAliasC[i] * kAliasC[i]);
      cs[i] = static_cast<float>(1 / root);
      ca[i] = static_cast<float>(kAliasC[i] / root);
    }
  }
};
inline constexpr AliasFactors kAlias;

// 1 / (2 cos(pi (2n+1) / (4N))) for N = 18, 9, 6, 3: from cosine transforms of type III to those of type IV.
struct TypeFourFactors {
  float of18[18] = {}, of9[9] = {}, of6[6] = {}, of3[3] = {};

  constexpr TypeFourFactors() {
    for (int n = 0; n < 18; ++n) of18[n] = factor(n, 18);
    for (int n = 0; n < 9; ++n) of9[n] = factor(n, 9);
    for (int n = 0; n < 6; ++n) of6[n] = factor(n, 6);
    for (int n = 0; n < 3; ++n) of3[n] = factor(n, 3);
  }
  static constexpr float factor(int n, int size) {
    return static_cast<float>(0.5 / cosPi(2 * n + 1, 4 * size));
  }
};
inline constexpr TypeFourFactors kTypeFour;

}  // namespace moxac::mp3
