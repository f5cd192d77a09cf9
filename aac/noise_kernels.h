// Perceptual noise substitution: the generator and one band's noise.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "aac/fixed_point.h"

namespace moxac::aac {

// Width of the widest band of the standard, 96 lines.
inline constexpr int32_t kMaxBandWidth = 96;

// 2^30 / sqrt(width): a full-scale line times this, less 30 bits, lets the energy of a band be about 2^60.4
// at any width and below 2^62 at the most.
struct NoiseLevelTable {
  uint32_t level[kMaxBandWidth + 1] = {};
  constexpr NoiseLevelTable() {
    for (int32_t width = 1; width <= kMaxBandWidth; ++width)
      level[width] = static_cast<uint32_t>(roundedHalfUp(1073741824.0 / squareRoot(width)));
  }
};
inline constexpr NoiseLevelTable kNoiseLevel;

// 2^(k/4) in Q(27 + fraction bits): the gain of energy 0 has 7 + fraction bits, see noiseGain.
inline constexpr int64_t noiseQuarterStep(int32_t k) {
  return roundedHalfUp(kQuarterPower[k] * exp2Of(27 + MOX_AAC_SPECTRUM_FRAC_BITS));
}
inline constexpr int64_t kNoiseQuarterStep[4] = {noiseQuarterStep(0), noiseQuarterStep(1),
                                                 noiseQuarterStep(2), noiseQuarterStep(3)};

inline uint32_t nextNoiseState(uint32_t state) { return state * 1664525u + 1013904223u; }

// 2^(nrg/4) in units of 2^-(7 + fraction bits), truncated; held at the largest 64-bit value.
inline int64_t noiseGain(int32_t noiseEnergy) {
  const int64_t step = kNoiseQuarterStep[noiseEnergy & 3];
  const int32_t doublings = (noiseEnergy >> 2) - 20;
  if (doublings <= 0) return step >> std::min(-doublings, 63);
  return doublings >= 32 ? INT64_MAX : step << doublings;  // steps are below 2^31.8
}

// Noise of unit energy: lines whose squares add up to 2^62, unless all are zero. 64 bits, since at narrow
// widths one line may hold all the energy.
inline void unitNoise(int64_t* x, int32_t width, uint32_t& state) {
  const int64_t level = kNoiseLevel.level[width];
  int64_t energy = 0;
  for (int32_t i = 0; i < width; ++i) {
    state = nextNoiseState(state);
    x[i] = (static_cast<int32_t>(state) * level) >> 30;
    energy += x[i] * x[i];
  }
  energy >>= 33;
  if (energy == 0) {
    std::fill(x, x + width, 0);
    return;
  }
  int32_t doublings = 0;
  for (; energy < 0x40000000; ++doublings) energy *= 2;

  // 2^30 / sqrt(energy / 2^31), by a parabola that is right within half a percent.
  const int64_t root = (((energy * energy) >> 32) * 13563 - 16760 * energy + int64_t{0x239180000000}) >> 14;
  const int32_t shift = (doublings >> 1) - 1;
  for (int32_t i = 0; i < width; ++i) {
    int64_t v = (x[i] * root) >> 30;
    v = shift >= 0 ? v * (int64_t{1} << shift) : v >> -shift;
    x[i] = (doublings & 1) != 0 ? (v * 1518500249) >> 30 : v;
  }
}

// One band of one window: unit noise times 2^(nrg/4).
inline void noiseBand(int32_t* dst, int32_t width, int32_t noiseEnergy, uint32_t& state) {
  int64_t x[kMaxBandWidth];
  unitNoise(x, width, state);
  const int64_t gain = noiseGain(noiseEnergy);
  for (int32_t i = 0; i < width; ++i) dst[i] = saturateSymmetric((static_cast<__int128>(x[i]) * gain) >> 38);
}

}  // namespace moxac::aac
