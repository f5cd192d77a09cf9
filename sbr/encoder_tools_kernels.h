// Energy-change transient detection for the SBR encoder.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace moxac::sbr {

inline constexpr int32_t kMostBands = 64;
inline constexpr float kLargestRise = 32768.0f;  // 15 octaves; eight of them multiplied stay within a float
inline constexpr float kMeanKeeps = 0.75f;

// The sum over bands of log2 of the clipped rises, eight rises to a logarithm; the means move on.
inline float noveltyAndUpdate(const float* energy, float* mean, int32_t numBands, float floor) {
  float octaves = 0;
  for (int32_t k = 0; k < numBands; k += 8) {
    float product = 1;
    for (int32_t j = k; j < std::min(k + 8, numBands); ++j) {
      const float rise = (energy[j] + floor) / (mean[j] + floor);
      product *= std::clamp(rise, 1.0f, kLargestRise);
      mean[j] = kMeanKeeps * mean[j] + (1 - kMeanKeeps) * energy[j];
    }
    octaves += std::log2(product);
  }
  return octaves / static_cast<float>(numBands);
}

struct Transient {
  int32_t position;
  float strength;
};

inline Transient strongestRise(const float* energy, float* mean, int32_t numTimeSlots, int32_t numBands) {
  double total = 0;
  for (int32_t k = 0; k < numBands; ++k) total += mean[k];
  for (ptrdiff_t i = 0; i < ptrdiff_t{numTimeSlots} * numBands; ++i) total += energy[i];
  const auto floor = static_cast<float>(total * 0x1p-40 + 0x1p-100);

  Transient best = {0, 0};
  for (int32_t t = 0; t < numTimeSlots; ++t) {
    const float novelty = noveltyAndUpdate(energy + ptrdiff_t{t} * numBands, mean, numBands, floor);
    if (novelty > best.strength) best = {t, novelty};
  }
  return best;
}

}  // namespace moxac::sbr
