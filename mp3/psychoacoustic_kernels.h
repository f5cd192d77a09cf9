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
inline constexpr int kSlowLines = 6, kSlowRoom = 8;
inline constexpr int kFirstFastLine = 2;

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

// A spectrum, real and imaginary parts apart, with room for whole vectors.
template <int kPoints>
struct Spectrum {
  static constexpr int kLines = kPoints / 2 + 1, kRoom = (kLines + 7) / 8 * 8;
  alignas(32) float re[kRoom], im[kRoom];
};

// What the model keeps of one channel, in memory that need not be aligned for vectors.
struct PsychoacousticChannel {
  float lastRe[Spectrum<kShortPoints>::kRoom],
      lastIm[Spectrum<kShortPoints>::kRoom];  // last short spectrum before
  float samples[kHistory];
  float slowRe[2][kSlowRoom], slowIm[2][kSlowRoom];  // lowest long lines, one and two granules ago
  float masking[2][kPartitions];                     // thresholds of the granule before, and before that
  float shortMasking[kPartitions];                   // of the window before
  float burst[kPastSubBlocks];                       // high-passed energies of past sub-blocks
  MoxMp3PsychoacousticModelTwoAnalysis pending;      // of the granule before, its block type still open
  int32_t pendingShort;                              // that granule holds an attack
  int32_t blockType;                                 // of the granule before that
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
void realSpectrum(const float* samples, const float* window, const transform::FftSpec* spec,
                  Spectrum<kPoints>& to) {
  constexpr int kHalf = kPoints / 2, kStep = kLongPoints / kPoints;
  alignas(64) Mox32fc z[kHalf];
  alignas(64) uint8_t work[8 * kHalf + 128];
  alignas(32) float windowed[kPoints];
  for (int i = 0; i < kPoints; i += 8) store8(windowed + i, load8(samples + i) * load8(window + i));
  std::memcpy(z, windowed, sizeof z);
  transform::FftFwd_CToC_32fc(z, z, spec, work);

  std::fill(to.re + kHalf, to.re + to.kRoom, 0.0f);
  std::fill(to.im + kHalf, to.im + to.kRoom, 0.0f);
  to.re[0] = z[0].re + z[0].im;
  to.im[0] = 0;
  to.re[kHalf] = z[0].re - z[0].im;
  for (int k = 1; k <= kHalf / 2; ++k) {
    const Mox32fc a = z[k], b = z[kHalf - k];
    const Mox32fc even = {0.5f * (a.re + b.re), 0.5f * (a.im - b.im)};
    const Mox32fc odd = {0.5f * (a.im + b.im), 0.5f * (b.re - a.re)};
    const float c = kSpectrumTables.cosine[k * kStep], s = kSpectrumTables.sine[k * kStep];
    const Mox32fc turned = {odd.re * c + odd.im * s, odd.im * c - odd.re * s};
    to.re[k] = even.re + turned.re;
    to.im[k] = even.im + turned.im;
    to.re[kHalf - k] = even.re - turned.re;
    to.im[kHalf - k] = turned.im - even.im;
  }
}

// Distance of eight lines from their extrapolation (magnitude and phase going on as in the two spectra before), 0 for
// a steady tone, towards 1 for noise.
inline f32x8 unpredictability8(const float* re, const float* im, const float* re1, const float* im1,
                               const float* re2, const float* im2) {
  constexpr float kTiny = 1e-30f;
  const f32x8 x = load8(re), y = load8(im), x1 = load8(re1), y1 = load8(im1), x2 = load8(re2),
              y2 = load8(im2);
  const f32x8 r = rootOf(x * x + y * y), r1 = rootOf(x1 * x1 + y1 * y1), r2 = rootOf(x2 * x2 + y2 * y2);
  const f32x8 predicted = r1 + r1 - r2;
  // The phase 2 f1 - f2 as a unit vector: the square of spectrum 1 times the conjugate of spectrum 2.
  const f32x8 squareX = x1 * x1 - y1 * y1, squareY = (x1 + x1) * y1;
  const f32x8 scale = predicted / maxOf(r1 * r1 * r2, splat8(kTiny));
  const f32x8 dx = x - (squareX * x2 + squareY * y2) * scale, dy = y - (squareY * x2 - squareX * y2) * scale;
  const f32x8 total = r + maxOf(predicted, splat8(0) - predicted);
  const f32x8 chaos = rootOf(dx * dx + dy * dy) / maxOf(total, splat8(kTiny));
  const f32x8 silent = _mm256_cmp_ps(total, splat8(kTiny), _CMP_LE_OQ);
  return _mm256_blendv_ps(minOf(chaos, splat8(1)), splat8(1), silent);
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

// Unpredictability of the lines of a granule's long spectrum: of the lowest from long spectra, of the others from
// short ones, whose lines lie four apart.
struct Chaos {
  alignas(32) float slow[kSlowRoom], fast[Spectrum<kShortPoints>::kRoom];

  float of(int32_t line) const {
    return line < kSlowLines ? slow[line] : fast[kFirstFastLine + (line - kSlowLines) / 4];
  }
};

// One granule of one channel.
struct GranuleSpectra {
  Spectrum<kLongPoints> lines;
  Spectrum<kShortPoints> window[3];
  Chaos chaos;
};

// A masker's least distance, dB, by its height in Bark.
inline float leastDistance(const MoxMp3EncoderParameters& p, float bark) {
  const float at = std::clamp(bark, 0.0f, 23.99f);
  const auto below = static_cast<size_t>(at);
  const float part = at - static_cast<float>(below);
  return p.leastDistance[below] * (1 - part) + p.leastDistance[below + 1] * part;
}

inline float decibels(float db) { return std::exp2(db * 0.332192809f); }

// Long block: thresholds with tonality and pre-echo control, entropy.
inline void analyzeLong(PsychoacousticChannel& channel, const GranuleSpectra& view,
                        const PsychoacousticTables& tables, const MoxMp3EncoderParameters& p,
                        MoxMp3PsychoacousticModelTwoAnalysis& out) {
  alignas(32) float energy[2][kPartitions] = {}, masking[2][kPartitions];
  float(&e)[kPartitions] = energy[0], (&c)[kPartitions] = energy[1];

  // Energies, plain and weighted by unpredictability.
  int32_t line = 0;
  for (int32_t b = 0; b < tables.longCount; ++b)
    for (int32_t end = line + tables.longPartitions[b].lines; line < end; ++line) {
      const float power =
          view.lines.re[line] * view.lines.re[line] + view.lines.im[line] * view.lines.im[line];
      e[b] += power;
      c[b] += power * (line < p.predictedLines ? view.chaos.of(line) : p.otherUnpredictability);
    }

  spread<2>(energy, tables.longSpreading, tables.longCount, masking);
  float threshold[kPartitions];
  float entropy = 0;
  const bool afterShort = channel.pendingShort != 0;
  const float cap = decibels(-p.leastOwnDistance);
  for (int32_t b = 0; b < tables.longCount; ++b) {
    const LongPartition& partition = tables.longPartitions[b];
    const float spreadEnergy = masking[0][b];
    const float chaos = spreadEnergy > 0 ? masking[1][b] / spreadEnergy : 1;
    const float tonality = std::clamp(-0.299f - 0.43f * std::log(std::max(chaos, 1e-6f)), 0.0f, 1.0f);
    const float distance =
        std::max(std::max(p.annexMinimum * partition.minval, leastDistance(p, partition.bval)),
                 p.toneDistance * tonality + p.noiseDistance * (1 - tonality));
    const float masked = spreadEnergy * decibels(-distance);
    // Not much more than what was masked one and two granules ago; an attack in the granule before has been dealt
    // with by its short blocks.
    const float before = p.rise * channel.masking[0][b], earlier = p.riseOverTwo * channel.masking[1][b];
    const float limited = afterShort ? masked : std::min({masked, before, earlier});
    channel.masking[1][b] = channel.masking[0][b];
    channel.masking[0][b] = masked;
    threshold[b] = std::max(partition.qthr * p.quietScale, std::min(limited, cap * e[b]));
    if (e[b] > threshold[b])
      entropy += 0.5f * static_cast<float>(partition.lines) * std::log2(e[b] / threshold[b]);
  }
  out.perceptualEntropy = entropy;
  for (size_t band = 0; band < 22; ++band) {
    out.energyLong[band] = sumOverSpan(e, tables.longBands[band]);
    out.thresholdLong[band] = sumOverSpan(threshold, tables.longBands[band]);
  }
}

inline void analyzeShort(PsychoacousticChannel& channel, const Spectrum<kShortPoints>& lines,
                         const PsychoacousticTables& tables, const MoxMp3EncoderParameters& p, int window,
                         MoxMp3PsychoacousticModelTwoAnalysis& out) {
  alignas(32) float energy[1][kPartitions] = {}, masking[1][kPartitions];
  int32_t line = 0;
  for (int32_t b = 0; b < tables.shortCount; ++b)
    for (int32_t end = line + tables.shortPartitions[b].lines; line < end; ++line)
      energy[0][b] += lines.re[line] * lines.re[line] + lines.im[line] * lines.im[line];
  spread<1>(energy, tables.shortSpreading, tables.shortCount, masking);
  float threshold[kPartitions];
  const float further = decibels(-p.shortDistance);
  for (int32_t b = 0; b < tables.shortCount; ++b) {
    const ShortPartition& partition = tables.shortPartitions[b];
    const float masked = masking[0][b] * tables.shortMasking[static_cast<size_t>(b)] * further;
    // Half of the window, which noise fills, lies in front of what the spectrum's middle shows.
    threshold[b] =
        std::max(partition.qthr * p.quietScale, std::min(masked, p.shortRise * channel.shortMasking[b]));
    channel.shortMasking[b] = masked;
  }
  for (size_t band = 0; band < 13; ++band) {
    out.energyShort[band][window] = sumOverSpan(energy[0], tables.shortBands[band]);
    out.thresholdShort[band][window] = sumOverSpan(threshold, tables.shortBands[band]);
  }
}

// Whether the high-passed energy of a sub-block leaps above all of the last ten but the one just before it (which
// may hold the first part of the same attack).
inline bool findAttack(PsychoacousticChannel& channel, const float* samples, float leap) {
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
    found = found || energy > std::max(kAudible, leap * loudest);
  }
  std::memcpy(channel.burst, past + kSubBlocks, sizeof channel.burst);
  return found;
}

// How predictable the lines are, given what preceded them, which they then take the place of.
inline void measureChaos(PsychoacousticChannel& channel, GranuleSpectra& view) {
  auto& re = channel.slowRe;
  auto& im = channel.slowIm;
  store8(view.chaos.slow, unpredictability8(view.lines.re, view.lines.im, re[0], im[0], re[1], im[1]));
  for (int k = 0; k < view.window[0].kRoom; k += 8) {
    store8(view.chaos.fast + k,
           unpredictability8(view.window[1].re + k, view.window[1].im + k, view.window[0].re + k,
                             view.window[0].im + k, channel.lastRe + k, channel.lastIm + k));
    store8(channel.lastRe + k, load8(view.window[2].re + k));
    store8(channel.lastIm + k, load8(view.window[2].im + k));
  }
  store8(re[1], load8(re[0]));
  store8(im[1], load8(im[0]));
  store8(re[0], load8(view.lines.re));
  store8(im[0], load8(view.lines.im));
}

// One granule of one channel; true when it holds an attack.
inline bool analyzeChannel(PsychoacousticChannel& channel, const int16_t* src, int32_t stride,
                           const PsychoacousticTables& tables, const MoxMp3EncoderParameters& p,
                           const RealTransforms& transforms, MoxMp3PsychoacousticModelTwoAnalysis& out) {
  float samples[kHistory + kGranuleSamples];
  std::memcpy(samples, channel.samples, sizeof channel.samples);
  for (int i = 0; i < kGranuleSamples; ++i) samples[kHistory + i] = src[static_cast<ptrdiff_t>(stride) * i];
  std::memcpy(channel.samples, samples + kGranuleSamples, sizeof channel.samples);

  GranuleSpectra spectra;
  for (int w = 0; w < 3; ++w) {
    realSpectrum<kShortPoints>(samples + kFirstShort + kShortDistance * w, kSpectrumTables.shortWindow,
                               transforms.of256, spectra.window[w]);
    analyzeShort(channel, spectra.window[w], tables, p, w, out);
  }
  realSpectrum<kLongPoints>(samples, kSpectrumTables.longWindow, transforms.of1024, spectra.lines);
  measureChaos(channel, spectra);
  analyzeLong(channel, spectra, tables, p, out);
  return findAttack(channel, samples, p.attackLeap);
}

// The type of the granule before, now that it is known whether the next one is short. ISO/IEC 11172-3, figure C.7.
inline int32_t openBlockType(int32_t before, bool isShort, bool nextIsShort) {
  if (isShort || (before == 2 && nextIsShort)) return 2;
  if (nextIsShort) return 1;
  return before == 2 ? 3 : 0;
}

}  // namespace moxac::mp3
