// The quantisation loops of one granule and channel. ISO/IEC 11172-3, Annex C.1.5.4.
//
//   ix = floor(|xr|^(3/4) 2^(-3/16 q) + 0.4054),  q = global_gain - 210 - 8 subblock_gain - 2 amplification
//
// q is the step in quarters of an octave. A run's amplification counts half octaves: its scale factor, with preflag
// its preemphasis, both doubled with scalefac_scale.
#pragma once

#include <cmath>
#include <cstring>

#include "frame/const_math.h"
#include "mp3/bit_count.h"
#include "mp3/masking.h"
#include "mp3/requantize_kernels.h"
#include "mp3/scale_factor_tables.h"

namespace moxac::mp3 {

inline constexpr int32_t kLargestPart23 = 4095;
inline constexpr int32_t kNeutralGain = 210;
inline constexpr int32_t kCoarsest = 255 - kNeutralGain;  // the step of the largest global_gain
inline constexpr float kRoundingOffset = 0.4054f;         // between 0 and 1 the border is at 0.5^(3/4)

// Steps q = -210 - 56 - 60 - 3 .. 45 and what they multiply a spectrum by.
inline constexpr int kFirstStep = -360, kSteps = 420;
inline constexpr auto kStepSizes = powersOfTwo<kSteps>(0.25, kFirstStep);               // 2^(q/4)
inline constexpr auto kInverseStepPowers = powersOfTwo<kSteps>(-3.0 / 16, kFirstStep);  // 2^(-3q/16)

inline float stepSize(int32_t q) { return kStepSizes[static_cast<size_t>(q - kFirstStep)]; }
inline float inverseStepPower(int32_t q) { return kInverseStepPowers[static_cast<size_t>(q - kFirstStep)]; }

// What is given: a granule's magnitudes (full scale 1), how noisy each run may be.
struct GranuleSpectrum {
  alignas(32) float x[kMp3Lines + 16];      // |xr|
  alignas(32) float power[kMp3Lines + 16];  // |xr|^(3/4)
  int32_t lines;                            // up to the last that is not zero, in whole sixteens
  float largestPower;
  bool switched;
  int32_t blockType;
  const int16_t* sfbLong;
  SpectrumBands bands;
  int32_t scaled;  // runs with a scale factor
  float energy[kScaleFactors], allowed[kScaleFactors];
  float rootSum[kScaleFactors];  // of sqrt(x): how noise grows with the step
};

// Everything about a spectrum (full scale 1) but what noise it may hold.
inline void takeSpectrum(const float* lines, int32_t blockType, const MoxMp3FrameHeader& header,
                         GranuleSpectrum& s) {
  alignas(32) float roots[kMp3Lines];
  f32x8 largest = splat8(0);
  s.lines = 0;
  for (int32_t i = 0; i < kMp3Lines; i += 8) {
    const f32x8 x = magnitudeOf(load8(lines + i));
    const f32x8 root = rootOf(x);
    const f32x8 power = rootOf(x * root);  // x^(3/4) as the root of x sqrt(x): exact to an ulp or two
    store8(s.x + i, x);
    store8(roots + i, root);
    store8(s.power + i, power);
    largest = maxOf(largest, power);
    if (anyNonZero(x)) s.lines = i + 8;
  }
  s.lines = (s.lines + 15) / 16 * 16;
  s.largestPower = maxLane(largest);

  s.blockType = blockType;
  s.switched = blockType != 0;
  s.sfbLong = moxMp3SfbLong[sfbRow(header)];
  s.bands = granuleBands(header, blockType);
  s.scaled = scaledRuns(s.bands);
  for (int32_t i = 0; i < s.bands.count; ++i) {
    const int32_t first = s.bands.start[i], last = s.bands.start[i + 1];
    s.energy[i] = runEnergy(s.x, first, last);
    float sum = 0;
    for (int32_t k = first; k < last; ++k) sum += roots[k];
    s.rootSum[i] = sum;
  }
}

// ---- Scale factors -----------------------------------------------------------------------------------

struct ScaleFactors {
  int8_t amplification[kScaleFactors];  // half octaves by which each run's step is finer
  int8_t value[kScaleFactors];
  int32_t sfScale, preFlag, sfCompress, bits;
  int32_t subBlockGain[3];
};

inline constexpr int32_t kLongSplit = 11, kShortSplit = 18;  // the first run with a field of slen2

// The cheapest pair of field widths for values up to these; false when none holds them.
inline bool chooseWidths(const int32_t (&largest)[2], const int32_t (&counts)[2], ScaleFactors& f) {
  f.bits = INT32_MAX;
  for (int32_t c = 0; c < 16; ++c) {
    const int32_t slen1 = kScaleFactorWidths[c][0], slen2 = kScaleFactorWidths[c][1];
    if (largest[0] >= 1 << slen1 || largest[1] >= 1 << slen2) continue;
    const int32_t bits = counts[0] * slen1 + counts[1] * slen2;
    if (bits < f.bits) {
      f.bits = bits;
      f.sfCompress = c;
    }
  }
  return f.bits != INT32_MAX;
}

// Codes the wished amplifications: in half octaves where they fit, with preemphasis where that is cheaper, else in
// octaves, rounded up, as far as these reach. f.amplification becomes what is really coded.
inline void codeScaleFactors(const int32_t* wish, const GranuleSpectrum& s, ScaleFactors& f) {
  const bool isLong = s.blockType != 2;
  const int32_t split = isLong ? kLongSplit : kShortSplit;
  const int32_t counts[2] = {split, s.scaled - split};
  ScaleFactors best;
  best.bits = INT32_MAX;
  for (int32_t scale = 0; scale < 2 && best.bits == INT32_MAX; ++scale)
    for (int32_t pre = 0; pre <= (isLong ? 1 : 0); ++pre) {
      ScaleFactors now;
      int32_t largest[2] = {};
      bool fits = true;
      for (int32_t i = 0; i < s.scaled; ++i) {
        int32_t value = ((wish[i] + scale) >> scale) - (pre == 1 ? kPretab[i] : 0);
        if (value < 0) fits = false;
        if (scale == 1) value = std::min(value, i < split ? 15 : 7);
        now.value[i] = static_cast<int8_t>(value);
        largest[i >= split] = std::max(largest[i >= split], value);
      }
      if (!fits || !chooseWidths(largest, counts, now) || now.bits >= best.bits) continue;
      now.sfScale = scale;
      now.preFlag = pre;
      best = now;
    }
  for (int32_t i = 0; i < 3; ++i) best.subBlockGain[i] = f.subBlockGain[i];
  f = best;
  for (int32_t i = 0; i < kScaleFactors; ++i) {
    if (i >= s.scaled) f.value[i] = 0;
    const int32_t pre = isLong && f.preFlag == 1 && i < s.scaled ? kPretab[i] : 0;
    f.amplification[i] = static_cast<int8_t>((f.value[i] + pre) << f.sfScale);
  }
}

// How much finer than the global step run i's step is, in quarters of an octave.
inline int32_t finerBy(const GranuleSpectrum& s, const ScaleFactors& f, int32_t i) {
  return 2 * f.amplification[i] + (s.blockType == 2 ? 8 * f.subBlockGain[i % 3] : 0);
}

// ---- Shape of the noise ------------------------------------------------------------------------------

// Quantising x with step q makes an error of variance (16/9)/12 sqrt(x) 2^(3q/8): the q at which the noise of a run
// is `allowance` times what it may be.
inline float stepForNoise(const GranuleSpectrum& s, int32_t run, float allowance) {
  constexpr float kVariance = 16.0f / 9 / 12;
  const float noise = std::max(allowance * s.allowed[run], 1e-35f);
  return 8.0f / 3 * std::log2(noise / (kVariance * s.rootSum[run]));
}

// Amplifications (and subblock gains) that spread noise as the thresholds allow; returns the step q that goes with
// them. Runs that may be left out altogether take no part. Runs without a scale factor have the global step: they
// take part when `withTop` is set, at the price of bits for all others.
inline float shapeNoise(const GranuleSpectrum& s, float allowance, bool withTop, int32_t* wish,
                        ScaleFactors& f) {
  float step[kScaleFactors];
  constexpr float kNone = -1000;
  float coarsest[3] = {kNone, kNone, kNone};
  const bool isShort = s.blockType == 2;
  for (int32_t i = 0; i < s.bands.count; ++i) {
    const bool heard = s.energy[i] > allowance * s.allowed[i];
    step[i] = heard ? stepForNoise(s, i, allowance) : kNone;
    float& window = coarsest[isShort ? i % 3 : 0];
    if (i < s.scaled)
      window = std::max(window, step[i]);
    else if (withTop && heard && window != kNone)
      window = std::min(window, step[i] + 1);
  }
  const float top = std::max({coarsest[0], coarsest[1], coarsest[2]});
  std::fill(wish, wish + kScaleFactors, 0);
  std::fill(f.subBlockGain, f.subBlockGain + 3, 0);
  if (top == kNone) return 0;
  if (isShort)
    for (int w = 0; w < 3; ++w)
      if (coarsest[w] != kNone)
        f.subBlockGain[w] = std::clamp(static_cast<int32_t>((top - coarsest[w]) / 8), 0, 7);

  const int32_t split = isShort ? kShortSplit : kLongSplit;
  float base = top;
  for (int32_t i = 0; i < s.scaled; ++i) {
    if (step[i] == kNone) continue;
    const float window = isShort ? 8.0f * static_cast<float>(f.subBlockGain[i % 3]) : 0;
    const float wanted = (top - window - step[i]) / 2;
    wish[i] = std::clamp(static_cast<int32_t>(std::lround(wanted)), 0, i < split ? 15 : 8);
    if (wanted >= 0) base = std::min(base, step[i] + window + 2 * static_cast<float>(wish[i]) + 1);
  }
  return base;
}

// ---- Quantising, counting, measuring -----------------------------------------------------------------

// One attempt: the spectrum with amplified runs, the factors of each line, the result.
struct Attempt {
  alignas(32) float power[kMp3Lines + 16];  // |xr|^(3/4) times each run's amplification
  alignas(32) float step[kMp3Lines + 16];   // of each line, relative to the global step
  QuantizedLines lines;
  SpectrumCode code{};
  float largestPower;
};

inline void amplify(const GranuleSpectrum& s, const ScaleFactors& f, Attempt& a) {
  f32x8 largest = splat8(0);
  for (int32_t i = 0; i < s.bands.count && s.bands.start[i] < s.lines; ++i) {
    const int32_t finer = finerBy(s, f, i);
    const f32x8 up = splat8(inverseStepPower(-finer)), step = splat8(stepSize(-finer));
    for (int32_t k = s.bands.start[i]; k < s.bands.start[i + 1]; k += 8) {
      store8(a.step + k, step);
      store8(a.power + k, load8(s.power + k) * up);
    }
  }
  for (int32_t k = 0; k < s.lines; k += 8) largest = maxOf(largest, load8(a.power + k));
  a.largestPower = maxLane(largest);
}

inline void quantizeLines(const GranuleSpectrum& s, int32_t q, Attempt& a) {
  const f32x8 up = splat8(inverseStepPower(q)), offset = splat8(kRoundingOffset);
  i16x8 largest = splatShort8(0);
  for (int32_t k = 0; k < s.lines; k += 16) {
    const i32x8 low = truncateToInt8(load8(a.power + k) * up + offset);
    const i32x8 high = truncateToInt8(load8(a.power + k + 8) * up + offset);
    storeInt8(a.lines.ix + k, low);
    storeInt8(a.lines.ix + k + 8, high);
    const i16x8 words0 = packInts(low), words1 = packInts(high);
    largest = maxShort8(largest, maxShort8(words0, words1));
    storeShort8(reinterpret_cast<int16_t*>(a.lines.clipped + k),
                minBytes16(packShorts(words0, words1), splatByte16(15)));
  }
  std::memset(a.lines.ix + s.lines, 0, sizeof(int32_t) * static_cast<size_t>(kMp3Lines - s.lines));
  std::memset(a.lines.clipped + s.lines, 0, static_cast<size_t>(kMp3Lines - s.lines));
  a.lines.largest = maxShortLane(largest);
}

inline int32_t quantizeAndCount(const GranuleSpectrum& s, int32_t q, Attempt& a) {
  quantizeLines(s, q, a);
  a.code = countSpectrum(a.lines, s.switched, s.sfbLong);
  return a.code.bits;
}

// The finest step at which no magnitude leaves the tables; beyond kCoarsest where global_gain cannot name it.
inline int32_t finestStep(const Attempt& a) {
  int32_t q = -kNeutralGain;
  if (a.largestPower > 0) {
    const float exponent =
        std::log2(a.largestPower / (static_cast<float>(kLargestMagnitude) - 1)) * (16.0f / 3);
    q = std::max(q, static_cast<int32_t>(std::ceil(exponent)));
  }
  return q;
}

// Amplifies as wished, but not at all where a spectrum is so far above full scale that no global_gain would then
// bring it into the tables.
inline void amplifyAsWished(const GranuleSpectrum& s, int32_t* wish, ScaleFactors& f, Attempt& a) {
  codeScaleFactors(wish, s, f);
  amplify(s, f, a);
  if (finestStep(a) <= kCoarsest) return;
  std::fill(wish, wish + kScaleFactors, 0);
  std::fill(f.subBlockGain, f.subBlockGain + 3, 0);
  codeScaleFactors(wish, s, f);
  amplify(s, f, a);
}

// Inner loop: the finest step whose codes fit into the budget, found by bisection from a guess; the coarsest where
// none does. The attempt holds its result. On the way bits are estimated with the regions that the attempt's code had;
// where the exact count leaves room for it, a step more is taken.
inline int32_t meetBudget(const GranuleSpectrum& s, int32_t budget, int32_t guess, Attempt& a) {
  const int32_t finest = finestStep(a);
  int32_t fits = kCoarsest + 1, exceeds = finest - 1;  // fits: none known yet
  int32_t q = std::clamp(guess, finest, kCoarsest);
  for (int32_t stride = 2; fits - exceeds > 1; stride *= 2) {
    quantizeLines(s, q, a);
    a.code = estimateSpectrum(a.lines, s.switched, s.sfbLong, a.code);
    if (a.code.bits <= budget) {
      fits = q;
      q = exceeds < finest ? std::max(finest, q - stride) : exceeds + (fits - exceeds) / 2;
    } else {
      exceeds = q;
      q = fits > kCoarsest ? std::min(kCoarsest, q + stride) : exceeds + (fits - exceeds) / 2;
    }
  }
  fits = std::min(fits, kCoarsest);
  if (fits > finest && quantizeAndCount(s, fits - 1, a) <= budget) return fits - 1;
  quantizeAndCount(s, fits, a);
  return fits;
}

// Noise over allowed noise of each run that has a threshold; 0 for the others.
inline void measureNoise(const GranuleSpectrum& s, int32_t q, const Attempt& a, float* ratio) {
  alignas(32) float error[kMp3Lines + 16];
  const f32x4 step = splat4(stepSize(q));
  for (int32_t k = 0; k < s.lines; k += 16) {
    f32x4 power[4] = {};
    powersOf16(a.lines.ix + k, power);
    for (int i = 0; i < 4; ++i)
      store4(error + k + 4 * i, load4(s.x + k + 4 * i) - power[i] * (load4(a.step + k + 4 * i) * step));
  }
  for (int32_t i = 0; i < s.bands.count; ++i) {
    const int32_t last = std::min(s.bands.start[i + 1], s.lines);
    ratio[i] = s.allowed[i] == kAnyNoise || s.bands.start[i] >= last
                   ? 0
                   : runEnergy(error, s.bands.start[i], last) / s.allowed[i];
  }
}

// ---- The loops ---------------------------------------------------------------------------------------

// What a granule comes to.
struct QuantizedGranule {
  int32_t ix[kMp3Lines];
  int32_t globGain;
  ScaleFactors factors;
  SpectrumCode code;

  int32_t bits() const { return factors.bits + code.bits; }
};

inline void keep(const Attempt& a, const ScaleFactors& f, int32_t q, QuantizedGranule& result) {
  std::memcpy(result.ix, a.lines.ix, sizeof result.ix);
  result.globGain = q + kNeutralGain;
  result.factors = f;
  result.code = a.code;
}

// What the granule takes when its noise is `allowance` times the thresholds: the measure by which granules share
// bits, and stereo codings are compared.
inline int32_t bitsWanted(const GranuleSpectrum& s, float allowance, Attempt& a) {
  if (s.lines == 0) return 0;
  ScaleFactors f;
  int32_t wish[kScaleFactors] = {};
  const float base = shapeNoise(s, allowance, false, wish, f);
  amplifyAsWished(s, wish, f, a);
  const int32_t q = std::clamp(static_cast<int32_t>(std::floor(base)), finestStep(a), kCoarsest);
  return f.bits + quantizeAndCount(s, q, a);
}

// One more step of amplification for the runs that are worst; false when nothing can be gained.
inline bool amplifyWorst(const GranuleSpectrum& s, const ScaleFactors& f, const float* ratio,
                         float floorRatio, int32_t* wish) {
  constexpr float kNearWorst = 0.7f;
  const float worst = *std::max_element(ratio, ratio + s.scaled);
  if (worst <= floorRatio) return false;
  const float limit = std::max(floorRatio, kNearWorst * worst);
  const int32_t split = s.blockType == 2 ? kShortSplit : kLongSplit;
  int32_t raised = 0, untouched = 0;
  for (int32_t i = 0; i < s.scaled; ++i) {
    wish[i] = f.amplification[i];
    if (ratio[i] > limit) {
      if (f.value[i] >= (i < split ? 15 : 7) && f.sfScale == 1) return false;
      wish[i] += 1 << f.sfScale;
      ++raised;
    }
    untouched += wish[i] == 0;
  }
  return raised > 0 && untouched > 0;
}

// What is to be made small: noise over thresholds, each run's to the power that the parameters tell.
inline float noiseCost(const GranuleSpectrum& s, const float* ratio, const MoxMp3EncoderParameters& p) {
  constexpr float kFloor = 0.02f;
  const float power = s.blockType == 2 ? p.shortCostPower : p.costPower;
  float cost = 0;
  for (int32_t i = 0; i < s.bands.count; ++i) {
    const float counted = std::max(ratio[i], kFloor);
    cost += power == 1 ? counted : power == 0.5f ? std::sqrt(counted) : std::exp2(power * std::log2(counted));
  }
  return cost;
}

// Outer loop at a given number of bits: shapes the noise by the thresholds, then amplifies the worst runs as long as
// that helps; the best attempt counts. Never more than `budget` bits.
inline void quantizeToBudget(const GranuleSpectrum& s, int32_t budget, const MoxMp3EncoderParameters& p,
                             Attempt& a, QuantizedGranule& best) {
  const int32_t patience = 1 + p.attempts / 5;
  float bestCost = INFINITY;
  int32_t bestAttempt = 0;
  ScaleFactors f;
  int32_t wish[kScaleFactors] = {};
  float base = shapeNoise(s, 1, false, wish, f);
  auto guess = static_cast<int32_t>(std::floor(base));
  enum { first, reshaped, withTop, amplifying } stage = first;
  float allowance = 1;
  for (int32_t attempt = 0; attempt < p.attempts; ++attempt) {
    int32_t q = 0;
    const auto fits = [&] {
      amplifyAsWished(s, wish, f, a);
      if (f.bits > budget) return false;
      q = meetBudget(s, budget - f.bits, guess, a);
      return f.bits + a.code.bits <= budget;
    };
    if (!fits()) {  // amplified runs can be too fine even with the coarsest global step; flat, all is silenced
      std::fill(wish, wish + kScaleFactors, 0);
      if (!fits()) {
        std::fill(f.subBlockGain, f.subBlockGain + 3, 0);
        fits();
      }
    }
    guess = q + 1;
    float ratio[kScaleFactors] = {};
    measureNoise(s, q, a, ratio);
    const float cost = noiseCost(s, ratio, p);
    const float coarser = static_cast<float>(q) - base;
    if (cost < bestCost) {
      bestCost = cost;
      bestAttempt = attempt;
      keep(a, f, q, best);
    }
    if (stage == first && std::fabs(coarser) > 2) {
      // So much coarser (or finer) than the thresholds ask for: shape anew for noise that is so much louder.
      stage = reshaped;
      allowance *= std::exp2(0.375f * coarser);
      base = shapeNoise(s, allowance, false, wish, f);
      continue;
    }
    if (stage < withTop) {
      stage = withTop;
      float topWorst = 0;
      for (int32_t i = s.scaled; i < s.bands.count; ++i) topWorst = std::max(topWorst, ratio[i]);
      if (topWorst > 2 * allowance && topWorst > 1) {
        shapeNoise(s, allowance, true, wish, f);
        continue;
      }
    }
    if (stage == withTop && bestAttempt != attempt) {  // amplification goes on from the better shape
      f = best.factors;
      for (int32_t i = 0; i < s.scaled; ++i) wish[i] = f.amplification[i];
      amplifyAsWished(s, wish, f, a);
      q = best.globGain - kNeutralGain;
      quantizeLines(s, q, a);
      measureNoise(s, q, a, ratio);
    }
    stage = amplifying;
    if (attempt - bestAttempt >= patience) break;
    if (!amplifyWorst(s, f, ratio, 0, wish)) break;
  }
}

}  // namespace moxac::mp3
