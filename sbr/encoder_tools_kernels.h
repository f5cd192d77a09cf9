// Transient detection of the SBR encoder: what comes over the running level, band by band, and when it has come.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/doubles.h"
#include "frame/shuffles.h"
#include "moxac/types.h"

namespace moxac::sbr {

inline constexpr int32_t kEncoderBands = 64;    // of a row, whatever part of it is looked at
inline constexpr float kLargestRise = 0x1p15f;  // 15 octaves; eight of them multiplied stay within a float
inline constexpr float kLevelKeeps = 0.75f;
inline constexpr float kArrived = 0.3f;

// One slot's values of all bands in whole vectors; bands that are not looked at have 0.
struct BandValues {
  alignas(32) float of[kEncoderBands] = {};
};

inline void bandEnergies(const Mox32fc* row, int32_t numBands, BandValues& energy) {
  int32_t k = 0;
  for (; k + 8 <= numBands; k += 8) {
    f32x8 re, im;
    deinterleave8(load8(&row[k].re), load8(&row[k + 4].re), re, im);
    store8(energy.of + k, re * re + im * im);
  }
  for (; k < numBands; ++k) energy.of[k] = row[k].re * row[k].re + row[k].im * row[k].im;
}

inline float sumOfLanes(f32x8 v) {
  float lane[8];
  store8(lane, v);
  float sum = lane[0];
  for (int i = 1; i < 8; ++i) sum += lane[i];
  return sum;
}

// A slot against the level before it.
class AttackMeasure {
 public:
  // now, next, last: the energies of the slot and of the two behind it.
  AttackMeasure(const BandValues& now, const BandValues& next, const BandValues& last,
                const BandValues& level, int32_t numBands)
      : now_(now), level_(level), numBands_(numBands) {
    f32x8 total = splat8(0.0f);
    for (int32_t k = 0; k < numBands; k += 8) {
      const f32x8 mean = (load8(now.of + k) + load8(next.of + k) + load8(last.of + k)) * splat8(1.0f / 3);
      store8(coming_.of + k, mean);
      total = total + (mean + load8(level.of + k));
    }
    floor_ = sumOfLanes(total) * 0x1p-28f + 0x1p-100f;
  }

  // The mean over the bands of log2 of the rises, eight rises to a logarithm.
  float octaves() const {
    f32x8 product = splat8(1.0f);
    for (int32_t k = 0; k < numBands_; k += 8) product = product * rise(k);
    float lane[8], sum = 0;
    store8(lane, product);
    for (const float p : lane) sum += std::log2(p);
    return sum / static_cast<float>(numBands_);
  }

  // Whether the slot itself already has its share of what is new. Bands count by how much of what comes that is,
  // and loud ones a little more: what leaks out of them into their neighbours comes earlier and is weak.
  bool arrived() const {
    const f32x8 floor = splat8(floor_), one = splat8(1.0f), zero = splat8(0.0f);
    f32x8 here = zero, all = zero;
    for (int32_t k = 0; k < numBands_; k += 8) {
      const f32x8 coming = load8(coming_.of + k) + floor, level = load8(level_.of + k);
      const f32x8 weight = rootOf(rootOf(coming)), fresh = one - one / rise(k);
      here = here + weight * minOf(fresh, maxOf(load8(now_.of + k) - level, zero) / coming);
      all = all + weight * fresh;
    }
    return sumOfLanes(here) >= kArrived * sumOfLanes(all);
  }

 private:
  f32x8 rise(int32_t k) const {
    const f32x8 floor = splat8(floor_);
    const f32x8 ratio = (load8(coming_.of + k) + floor) / (load8(level_.of + k) + floor);
    return minOf(maxOf(ratio, splat8(1.0f)), splat8(kLargestRise));
  }

  BandValues coming_;
  const BandValues& now_;
  const BandValues& level_;
  int32_t numBands_;
  float floor_;
};

struct Transient {
  int32_t position;
  float strength;
};

// While an attack is announced but has not arrived the level waits; then it takes the attack's height, so that the
// same one is not met again.
inline Transient strongestAttack(const Mox32fc* src, float* levels, int32_t numBands, int32_t numTimeSlots,
                                 float threshold) {
  const auto row = [&](int32_t t) { return src + ptrdiff_t{t} * kEncoderBands; };
  BandValues energy[3], level;
  std::copy_n(levels, numBands, level.of);
  for (const int32_t t : {0, 1}) bandEnergies(row(t), numBands, energy[t]);

  Transient strongest = {-1, 0};
  for (int32_t t = 0; t < numTimeSlots; ++t) {
    const BandValues &now = energy[t % 3], &next = energy[(t + 1) % 3];
    BandValues& last = energy[(t + 2) % 3];
    bandEnergies(row(t + 2), numBands, last);
    const AttackMeasure attack(now, next, last, level, numBands);
    const float octaves = attack.octaves();
    if (octaves >= threshold) {
      if (!attack.arrived()) continue;
      if (octaves > strongest.strength) strongest = {t, octaves};
      for (int32_t k = 0; k < numBands; k += 8)
        store8(level.of + k, maxOf(maxOf(load8(now.of + k), load8(next.of + k)), load8(last.of + k)));
    } else {
      for (int32_t k = 0; k < numBands; k += 8)
        store8(level.of + k,
               splat8(kLevelKeeps) * load8(level.of + k) + splat8(1 - kLevelKeeps) * load8(now.of + k));
    }
  }
  std::copy_n(level.of, numBands, levels);
  return strongest;
}

}  // namespace moxac::sbr
