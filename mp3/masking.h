// How much noise each run of lines of a granule may hold. ISO/IEC 11172-3, Annex C.1.5.4.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "frame/horizontal.h"
#include "moxac/mp3.h"
#include "mp3/fixed_point.h"
#include "mp3/spectrum_bands.h"

namespace moxac::mp3 {

// Runs of silence may hold any noise. In the model's units, too, this is a float.
inline constexpr float kAnyNoise = 1e28f;

// Whatever the records hold, zeros and infinities included: noise from -120 dB to 90 dB of a run's energy.
inline constexpr float kLeastRatio = 1e-12f, kLargestRatio = 1e9f;

// Spectral energy, full scale 1, for a unit of the psychoacoustic model's: (1/2)^2 / 32768^2 times the power of a sine
// in a line of either transform. Measured with noise; the same for long and short blocks.
inline constexpr float kSpectrumPerModel = 1.5e-10f;

inline SpectrumBands granuleBands(const MoxMp3FrameHeader& header, int32_t blockType) {
  const int32_t row = sfbRow(header);
  return spectrumBands(blockType == 2, false, header.id, moxMp3SfbLong[row], moxMp3SfbShort[row]);
}

// Runs that have a scale factor: 21 long bands or 12 short ones in three windows. The others lie above them.
inline int32_t scaledRuns(const SpectrumBands& bands) { return bands.longCount > 0 ? 21 : 36; }

// Energy of a run of lines, full scale 1.
inline float runEnergy(const float* x, int32_t first, int32_t last) {
  f32x8 sums = splat8(0);
  int32_t i = first;
  for (; i + 8 <= last; i += 8) sums = sums + load8(x + i) * load8(x + i);
  f32x4 four = sumHalves(sums);
  for (; i + 4 <= last; i += 4) four = four + load4(x + i) * load4(x + i);
  float sum = (four[0] + four[1]) + (four[2] + four[3]);
  for (; i < last; ++i) sum += x[i] * x[i];
  return sum;
}

struct RunMasking {
  float energy, threshold;  // the model's
};

inline RunMasking runMasking(const MoxMp3PsychoacousticModelTwoAnalysis& psy, const SpectrumBands& bands,
                             int32_t i) {
  const auto run = static_cast<size_t>(i);
  return bands.longCount > 0
             ? RunMasking{psy.energyLong[run], psy.thresholdLong[run]}
             : RunMasking{psy.energyShort[run / 3][run % 3], psy.thresholdShort[run / 3][run % 3]};
}

// Threshold to energy. What is no number, or infinite on both sides, asks for nothing: the largest ratio.
inline float maskingRatio(const RunMasking& m) {
  if (!(m.energy > m.threshold / kLargestRatio) || !(m.threshold > -INFINITY)) return kLargestRatio;
  return std::clamp(m.threshold / m.energy, kLeastRatio, kLargestRatio);
}

// The noise that run i may hold: its energy times the masking ratio, in part the threshold as such. A short block's
// windows are longer than the spectra of the model; what they see beyond, the attack that is to come, masks nothing.
inline float runAllowance(const MoxMp3PsychoacousticModelTwoAnalysis& psy, const SpectrumBands& bands,
                          int32_t i, float energy, const MoxMp3EncoderParameters& p) {
  const RunMasking m = runMasking(psy, bands, i);
  const float ratio = maskingRatio(m);
  float allowed = energy * ratio;
  const float absolute = kSpectrumPerModel * m.threshold;
  if (bands.longCount > 0) {
    if (p.absoluteShare > 0 && absolute > 0 && absolute < kAnyNoise && ratio < kLargestRatio)
      allowed = std::exp2((1 - p.absoluteShare) * std::log2(allowed) + p.absoluteShare * std::log2(absolute));
  } else {
    allowed = std::min(allowed, 2 * absolute);
  }
  const float most = bands.longCount > 0 ? p.mostDistance : p.mostShortDistance;
  return std::max(allowed, energy * std::max(kLeastRatio, std::exp2(-0.332192809f * most)));
}

inline void allowedNoise(const MoxMp3PsychoacousticModelTwoAnalysis& psy, const SpectrumBands& bands,
                         const float* energy, const MoxMp3EncoderParameters& p, float* allowed) {
  for (int32_t i = 0; i < bands.count; ++i)
    allowed[i] = energy[i] > 0 ? runAllowance(psy, bands, i, energy[i], p) : kAnyNoise;
}

inline void toFloats(const int32_t* lines, float* x) {
  for (int32_t i = 0; i < kMp3Lines; i += 8)
    store8(x + i, toFloat8(loadInt8(lines + i)) * splat8(1 / kMp3One));
}

}  // namespace moxac::mp3
