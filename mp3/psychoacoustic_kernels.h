// Psychoacoustic model two: spectra, unpredictability, spreading, thresholds, attacks.
// ISO/IEC 11172-3, Annex C.1.5.3 and Annex D.2.4.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

#include "frame/align.h"
#include "frame/simd.h"
#include "frame/trig.h"
#include "moxac/mp3.h"
#include "mp3/psychoacoustic_spreading.h"
#include "transform/fft.h"

namespace moxac::mp3 {

inline constexpr int kGranuleSamples = 576;
inline constexpr int kLongPoints = 1024, kShortPoints = 256;

// A call brings samples 0..575. They complete the transform granule whose windows are centred 240 samples before
// them (half the span of the polyphase bank): the long spectrum reaches from -752 to 271.
inline constexpr int kHistory = 752;
inline constexpr int kShortDistance = 192;  // between the centres of the three short windows
inline constexpr int kFirstShort = kLongPoints / 2 - kShortDistance - kShortPoints / 2;

// Attacks are looked for in the samples that short blocks of this granule keep apart and the neighbours' windows
// leave to it: from 192 before the centre to 384 behind it.
inline constexpr int kSubBlock = 64, kSubBlocks = 9, kPastSubBlocks = 10;
inline constexpr int kFirstSubBlock = kLongPoints / 2 - kShortDistance;

// Lines whose unpredictability comes from the long spectrum, then those from the short one (four each).
inline constexpr int kSlowLines = 6, kPredictedLines = 206;
inline constexpr int kFirstFastLine = 2, kFastLines = (kPredictedLines - kSlowLines) / 4;
inline constexpr float kUnpredictable = 0.4f;  // of the lines above

// Hann windows, scaled so that a sine of half a step gives a line of energy 1; turns for real transforms.
struct SpectrumTables {
  alignas(32) float longWindow[kLongPoints] = {}, shortWindow[kShortPoints] = {};
  float cosine[kLongPoints / 4 + 1] = {}, sine[kLongPoints / 4 + 1] = {};

  constexpr SpectrumTables() {
    for (int i = 0; i < kLongPoints; ++i)
      longWindow[i] = static_cast<float>((0.5 - 0.5 * cosPi(2 * i + 1, kLongPoints)) / 128);
    for (int i = 0; i < kShortPoints; ++i)
      shortWindow[i] = static_cast<float>((0.5 - 0.5 * cosPi(2 * i + 1, kShortPoints)) / 32);
    for (int i = 0; i <= kLongPoints / 4; ++i) {
      cosine[i] = static_cast<float>(cosPi(2 * i, kLongPoints));
      sine[i] = static_cast<float>(sinPi(2 * i, kLongPoints));
    }
  }
};
inline constexpr SpectrumTables kSpectrumTables;

// What the model keeps of one channel.
struct PsychoacousticChannel {
  float history[kHistory];
  float masking[2][kPartitions];    // spread and weighted energies of the granule before, and before that
  Mox32fc slow[2][kSlowLines];      // long spectra likewise
  Mox32fc fast[kFastLines];         // the last short spectrum of the granule before
  float shortMasking[kPartitions];  // of the window before
  float burst[kPastSubBlocks];      // high-passed energies of past sub-blocks
  MoxMp3PsychoacousticModelTwoAnalysis pending;  // of the granule before, its block type still open
  int32_t pendingShort;                          // that granule holds an attack
  int32_t blockType;                             // of the granule before that
};

inline constexpr int32_t kSpec9Bytes = 4992, kSpec7Bytes = 1536;

struct PsychoacousticState {
  uint64_t builtAt;  // where the transforms below were built; elsewhere they are built anew
  PsychoacousticChannel channel[2];
  uint8_t spec9[kSpec9Bytes], spec7[kSpec7Bytes];
};
static_assert(sizeof(PsychoacousticState) <= sizeof(MoxMp3PsychoacousticModelTwoState));

struct RealTransforms {
  transform::FftSpec* of1024;
  transform::FftSpec* of256;
};

inline RealTransforms realTransforms(PsychoacousticState& state) {
  const auto here = reinterpret_cast<uint64_t>(&state);
  RealTransforms transforms{alignUp<transform::FftSpec>(state.spec9, 64),
                            alignUp<transform::FftSpec>(state.spec7, 64)};
  if (state.builtAt != here) {
    transform::FftInit_C_32fc(&transforms.of1024, 9, transform::FftScaleNone, 0, state.spec9, nullptr);
    transform::FftInit_C_32fc(&transforms.of256, 7, transform::FftScaleNone, 0, state.spec7, nullptr);
    state.builtAt = here;
  }
  return transforms;
}

// Lines 0..kPoints/2 of kPoints windowed real samples, by a complex transform of half the length.
template <int kPoints>
void realSpectrum(const float* samples, const float* window, const transform::FftSpec* spec, Mox32fc* lines) {
  constexpr int kHalf = kPoints / 2, kStep = kLongPoints / kPoints;
  alignas(64) Mox32fc z[kHalf];
  alignas(64) uint8_t work[8 * kHalf + 128];
  alignas(32) float windowed[kPoints];
  for (int i = 0; i < kPoints; i += 8) store8(windowed + i, load8(samples + i) * load8(window + i));
  std::memcpy(z, windowed, sizeof z);
  transform::FftFwd_CToC_32fc(z, z, spec, work);

  lines[0] = {z[0].re + z[0].im, 0};
  lines[kHalf] = {z[0].re - z[0].im, 0};
  for (int k = 1; k <= kHalf / 2; ++k) {
    const Mox32fc a = z[k], b = z[kHalf - k];
    const Mox32fc even = {0.5f * (a.re + b.re), 0.5f * (a.im - b.im)};
    const Mox32fc odd = {0.5f * (a.im + b.im), 0.5f * (b.re - a.re)};
    const float c = kSpectrumTables.cosine[k * kStep], s = kSpectrumTables.sine[k * kStep];
    const Mox32fc turned = {odd.re * c + odd.im * s, odd.im * c - odd.re * s};
    lines[k] = {even.re + turned.re, even.im + turned.im};
    lines[kHalf - k] = {even.re - turned.re, turned.im - even.im};
  }
}

inline float energyOf(Mox32fc x) { return x.re * x.re + x.im * x.im; }

// Distance of a line from its extrapolation (magnitude and phase going on as in the two spectra before), 0 for a
// steady tone, towards 1 for noise.
inline float unpredictability(Mox32fc now, Mox32fc before, Mox32fc earlier) {
  const float r = std::sqrt(energyOf(now)), r1 = std::sqrt(energyOf(before)),
              r2 = std::sqrt(energyOf(earlier));
  const float predicted = 2 * r1 - r2;
  const float total = r + std::fabs(predicted);
  if (total == 0) return 1;
  Mox32fc turn = {1, 0};  // the phase 2 f1 - f2 as a unit vector
  if (r1 > 0 && r2 > 0) {
    const Mox32fc square = {before.re * before.re - before.im * before.im, 2 * before.re * before.im};
    const float scale = 1 / (r1 * r1 * r2);
    turn = {(square.re * earlier.re + square.im * earlier.im) * scale,
            (square.im * earlier.re - square.re * earlier.im) * scale};
  }
  const float re = now.re - predicted * turn.re, im = now.im - predicted * turn.im;
  return std::min(1.0f, std::sqrt(re * re + im * im) / total);
}

// to[i] += sum over maskers j of energy[j] from[j][i], for one or two rows of energies.
template <int kRows>
void spread(const float (&energy)[kRows][kPartitions], const float (*from)[kPartitions], int32_t count,
            float (&to)[kRows][kPartitions]) {
  for (int block = 0; block < kPartitions; block += 32) {
    f32x8 sum[kRows][4];
    for (int r = 0; r < kRows; ++r)
      for (f32x8& v : sum[r]) v = splat8(0);
    for (int32_t j = 0; j < count; ++j)
      for (int v = 0; v < 4; ++v) {
        const f32x8 share = load8(from[j] + block + 8 * v);
        for (int r = 0; r < kRows; ++r) sum[r][v] = sum[r][v] + share * splat8(energy[r][j]);
      }
    for (int r = 0; r < kRows; ++r)
      for (int v = 0; v < 4; ++v) store8(to[r] + block + 8 * v, sum[r][v]);
  }
}

inline float sumOverSpan(const float* partition, const PartitionSpan& span) {
  float sum = span.w1 * partition[span.first] + span.w2 * partition[span.last];
  for (int32_t b = span.first + 1; b < span.last; ++b) sum += partition[b];
  return sum;
}

// Long block: thresholds with tonality and pre-echo control, entropy.
inline void analyzeLong(PsychoacousticChannel& channel, const Mox32fc* lines,
                        const Mox32fc (*shortLines)[129], const PsychoacousticTables& tables,
                        MoxMp3PsychoacousticModelTwoAnalysis& out) {
  alignas(32) float energy[2][kPartitions] = {}, masking[2][kPartitions];
  float(&e)[kPartitions] = energy[0], (&c)[kPartitions] = energy[1];

  // Energies, plain and weighted by unpredictability.
  int32_t line = 0;
  float fast = kUnpredictable;
  for (int32_t b = 0; b < tables.longCount; ++b)
    for (int32_t end = line + tables.longPartitions[b].lines; line < end; ++line) {
      const float power = energyOf(lines[line]);
      float chaos = kUnpredictable;
      if (line < kSlowLines) {
        chaos = unpredictability(lines[line], channel.slow[0][line], channel.slow[1][line]);
      } else if (line < kPredictedLines) {
        const int k = (line - kSlowLines) / 4;
        if ((line - kSlowLines) % 4 == 0)
          fast = unpredictability(shortLines[1][kFirstFastLine + k], shortLines[0][kFirstFastLine + k],
                                  channel.fast[k]);
        chaos = fast;
      }
      e[b] += power;
      c[b] += power * chaos;
    }
  std::memcpy(channel.slow[1], channel.slow[0], sizeof channel.slow[0]);
  std::memcpy(channel.slow[0], lines, sizeof channel.slow[0]);
  std::memcpy(channel.fast, shortLines[2] + kFirstFastLine, sizeof channel.fast);

  spread<2>(energy, tables.longSpreading, tables.longCount, masking);
  float threshold[kPartitions];
  float entropy = 0;
  const bool afterShort = channel.pendingShort != 0;
  for (int32_t b = 0; b < tables.longCount; ++b) {
    const LongPartition& p = tables.longPartitions[b];
    const float spreadEnergy = masking[0][b];
    const float chaos = spreadEnergy > 0 ? masking[1][b] / spreadEnergy : 1;
    const float tonality = std::clamp(-0.299f - 0.43f * std::log(std::max(chaos, 1e-6f)), 0.0f, 1.0f);
    const float snr = std::max(p.minval, 29 * tonality + 6 * (1 - tonality));  // dB
    const float masked = spreadEnergy * std::exp2(snr * -0.332192809f);
    // Not more than twice what was masked one granule ago, sixteen times what was two granules ago; an attack
    // in the granule before has been dealt with by its short blocks.
    const float before = 2 * channel.masking[0][b], earlier = 16 * channel.masking[1][b];
    const float limited = afterShort ? masked : std::min({masked, before, earlier});
    channel.masking[1][b] = channel.masking[0][b];
    channel.masking[0][b] = masked;
    threshold[b] = std::max(p.qthr, limited);
    if (e[b] > threshold[b]) entropy += 0.5f * static_cast<float>(p.lines) * std::log2(e[b] / threshold[b]);
  }
  out.perceptualEntropy = entropy;
  for (int band = 0; band < 21; ++band) {
    out.energyLong[band] = sumOverSpan(e, tables.longBands[band]);
    out.thresholdLong[band] = sumOverSpan(threshold, tables.longBands[band]);
  }
}

// A short window's threshold is not more than so many times that of the window before: half of the window, which
// noise fills, lies in front of what the spectrum's middle shows.
inline constexpr float kShortRise = 2;

inline void analyzeShort(PsychoacousticChannel& channel, const Mox32fc* lines,
                         const PsychoacousticTables& tables, int window,
                         MoxMp3PsychoacousticModelTwoAnalysis& out) {
  alignas(32) float energy[1][kPartitions] = {}, masking[1][kPartitions];
  int32_t line = 0;
  for (int32_t b = 0; b < tables.shortCount; ++b)
    for (int32_t end = line + tables.shortPartitions[b].lines; line < end; ++line)
      energy[0][b] += energyOf(lines[line]);
  spread<1>(energy, tables.shortSpreading, tables.shortCount, masking);
  float threshold[kPartitions];
  for (int32_t b = 0; b < tables.shortCount; ++b) {
    const ShortPartition& p = tables.shortPartitions[b];
    const float masked = masking[0][b] * std::exp2(p.snr * 0.332192809f);
    threshold[b] = std::max(p.qthr, std::min(masked, kShortRise * channel.shortMasking[b]));
    channel.shortMasking[b] = masked;
  }
  for (int band = 0; band < 12; ++band) {
    out.energyShort[band][window] = sumOverSpan(energy[0], tables.shortBands[band]);
    out.thresholdShort[band][window] = sumOverSpan(threshold, tables.shortBands[band]);
  }
}

// Whether the high-passed energy of a sub-block leaps above all of the last ten but the one just before it (which
// may hold the first part of the same attack).
inline bool findAttack(PsychoacousticChannel& channel, const float* samples) {
  constexpr float kLeap = 8;
  constexpr float kAudible = kSubBlock * 30.0f * 30.0f;
  float past[kPastSubBlocks + kSubBlocks];
  std::memcpy(past, channel.burst, sizeof channel.burst);
  bool found = false;
  for (int n = 0; n < kSubBlocks; ++n) {
    const float* const x = samples + kFirstSubBlock + kSubBlock * n;
    float energy = 0;
    for (int i = 0; i < kSubBlock; ++i) {
      const float curved = x[i] - 2 * x[i - 1] + x[i - 2];
      energy += curved * curved;
    }
    past[kPastSubBlocks + n] = energy;
    const float loudest = *std::max_element(past + n, past + n + kPastSubBlocks - 1);
    found = found || energy > std::max(kAudible, kLeap * loudest);
  }
  std::memcpy(channel.burst, past + kSubBlocks, sizeof channel.burst);
  return found;
}

// One granule of one channel; true when it holds an attack.
inline bool analyzeChannel(PsychoacousticChannel& channel, const int16_t* src, int32_t stride,
                           const PsychoacousticTables& tables, const RealTransforms& transforms,
                           MoxMp3PsychoacousticModelTwoAnalysis& out) {
  float samples[kHistory + kGranuleSamples];
  std::memcpy(samples, channel.history, sizeof channel.history);
  for (int i = 0; i < kGranuleSamples; ++i) samples[kHistory + i] = src[static_cast<ptrdiff_t>(stride) * i];
  std::memcpy(channel.history, samples + kGranuleSamples, sizeof channel.history);

  Mox32fc shortLines[3][kShortPoints / 2 + 1], lines[kLongPoints / 2 + 1];
  for (int w = 0; w < 3; ++w) {
    realSpectrum<kShortPoints>(samples + kFirstShort + kShortDistance * w, kSpectrumTables.shortWindow,
                               transforms.of256, shortLines[w]);
    analyzeShort(channel, shortLines[w], tables, w, out);
  }
  realSpectrum<kLongPoints>(samples, kSpectrumTables.longWindow, transforms.of1024, lines);
  analyzeLong(channel, lines, shortLines, tables, out);
  return findAttack(channel, samples);
}

// The type of the granule before, now that it is known whether the next one is short. ISO/IEC 11172-3, figure C.7.
inline int32_t openBlockType(int32_t before, bool isShort, bool nextIsShort) {
  if (isShort || (before == 2 && nextIsShort)) return 2;
  if (nextIsShort) return 1;
  return before == 2 ? 3 : 0;
}

}  // namespace moxac::mp3
