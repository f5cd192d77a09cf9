// The encoder's analysis bank, transient detection, tone-to-noise estimate, and the hybrid analysis.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstring>
#include <string>
#include <vector>

#include "moxac/sbr.h"
#include "sbr/hybrid_tables.h"
#include "support/banks.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using moxtest::Block;
using moxtest::expectNeedsEveryPointer;
using moxtest::gaussian;

// Sub-band samples of a signal, [slot][64], by a bank that starts afresh.
std::vector<Mox32fc> subBands(const std::vector<float>& signal) {
  const moxtest::Bank& bank = moxtest::bankNamed("AnalysisFilterEnc_SBR_32f");
  moxtest::BankState state(bank);
  const auto words = moxtest::run(bank, reinterpret_cast<const int32_t*>(signal.data()),
                                  static_cast<int>(signal.size() / 64), state);
  std::vector<Mox32fc> out(words.size() / 2);
  std::memcpy(out.data(), words.data(), 4 * words.size());
  return out;
}

TEST(QmfEncoder, RefusalsInOrder) {
  Block<uint8_t> memory(2591), noState(2591);
  noState.fill(0);
  auto* const state = reinterpret_cast<MoxQmfEncoderState*>(memory.data());
  auto* const foreign = reinterpret_cast<MoxQmfEncoderState*>(noState.data());
  ASSERT_EQ(moxsAnalysisFilterEncInit_SBR_32f(state), moxStatusOk);
  float x[640] = {};
  Mox32fc y[64];
  expectNeedsEveryPointer(moxsAnalysisFilterEnc_SBR_32f32fc, x, y, x, 0, foreign);
  EXPECT_EQ(moxsAnalysisFilterEnc_SBR_32f32fc(x, y, x, 0, foreign), moxStatusContextMismatch);
  EXPECT_EQ(moxsAnalysisFilterEnc_SBR_32f32fc(x, y, x, 0, state), moxStatusBadSize);
}

constexpr int kFrameSlots = 32, kAhead = 2;
using Samples = std::vector<double>;
using Rows = std::vector<Mox32fc>;

Rows analysed(const Samples& signal) { return subBands({signal.begin(), signal.end()}); }

struct Attack {
  int slot;
  float strength;
  bool operator==(const Attack&) const = default;
};
// The attacks of a signal's frames, counted from its first slot; `level` goes on from frame to frame.
std::vector<Attack> attacks(const Rows& rows, std::vector<float>& level, int frameSlots = kFrameSlots,
                            float threshold = 2) {
  std::vector<Attack> found;
  for (int t = 0; 64 * (t + frameSlots + kAhead) <= static_cast<int>(rows.size()); t += frameSlots) {
    int32_t position = 99;
    float strength = 99;
    EXPECT_EQ(
        moxsDetectTransient_SBR_32f(&rows[static_cast<size_t>(64 * t)], &position, &strength, level.data(),
                                    static_cast<int32_t>(level.size()), frameSlots, threshold),
        moxStatusOk);
    if (position >= 0) found.push_back({t + position, strength});
    EXPECT_TRUE(position >= -1 && position < frameSlots && (position < 0) == (strength == 0));
  }
  return found;
}
std::vector<Attack> attacks(const Samples& signal) {
  std::vector<float> level(64);
  return attacks(analysed(signal), level);
}

TEST(Transient, SteadyNoiseTonesAndSilenceHaveNoneButTheOnset) {
  Samples noise(64 * kFrameSlots * 200), tones(64 * kFrameSlots * 20), silence(64 * kFrameSlots * 3);
  for (double& v : noise) v = 0.1 * gaussian();
  for (size_t i = 0; i < tones.size(); ++i)
    tones[i] = std::sin(0.05 * static_cast<double>(i)) + 0.3 * std::sin(1.234 * static_cast<double>(i));
  for (const Samples& signal : {noise, tones}) {
    const auto found = attacks(signal);
    ASSERT_EQ(found.size(), 1u);
    EXPECT_LT(found[0].slot, 6);
  }
  EXPECT_TRUE(attacks(silence).empty());
  std::vector<float> level(64);
  const auto rows = analysed(noise);
  EXPECT_EQ(attacks(rows, level, kFrameSlots, 1).size(), 1u) << "white noise stays below one octave";
}

// What begins at sample n and sounds on: noise, a click, a chord, noise that dies away.
double attackAt(int kind, int n) {
  if (kind == 0) return gaussian();
  if (kind == 1) return n == 0 ? 30 : 0;
  if (kind == 2)
    return 3 * (std::sin(0.3 * n) + std::sin(0.9 * n + 1) + std::sin(1.7 * n) + std::sin(2.5 * n));
  return gaussian() * std::exp(-n / 600.0);
}

TEST(Transient, EachAttackIsReportedOnceWithinASlotAtEveryLevel) {
  for (const double level : {-70.0, -50.0, -30.0, 0.0})
    for (const double above : {12.0, 20.0, 40.0, 60.0, 80.0, 300.0})
      for (int kind = 0; kind < 4; ++kind) {
        const int at = 64 * 3 * kFrameSlots + static_cast<int>(moxtest::noise()() % (64 * kFrameSlots));
        Samples signal(64 * (6 * kFrameSlots + kAhead));
        for (int i = 0; i < static_cast<int>(signal.size()); ++i) {
          signal[static_cast<size_t>(i)] = std::pow(10, (level - above) / 20) * gaussian();
          if (i >= at) signal[static_cast<size_t>(i)] += std::pow(10, level / 20) * attackAt(kind, i - at);
        }
        std::vector<Attack> found;
        for (const Attack& a : attacks(signal))
          if (a.slot >= kFrameSlots) found.push_back(a);  // not the onset of what comes before
        ASSERT_EQ(found.size(), 1u) << level << " dB, " << above << " dB above, kind " << kind;
        EXPECT_LE(std::abs(found[0].slot - (at / 64 + 4)), 1) << level << " " << above << " " << kind;
        EXPECT_GT(found[0].strength, 2.5f);
      }
}

// The header's formulas, slot by slot; returns the frame's attack.
Attack modelFrame(const Mox32fc* rows, std::vector<double>& m, double threshold) {
  Attack best{-1, 0};
  for (int t = 0; t < kFrameSlots; ++t) {
    const size_t bands = m.size();
    std::vector<double> e[3], a(bands), r(bands);
    double f = 0, d = 0, here = 0, all = 0;
    for (int i = 0; i < 3; ++i)
      for (size_t k = 0; k < bands; ++k) {
        const Mox32fc v = rows[64 * (t + i) + static_cast<int>(k)];
        e[i].push_back(std::norm(std::complex<double>(v.re, v.im)));
        a[k] += e[i][k] / 3;
      }
    for (size_t k = 0; k < bands; ++k) f += std::ldexp(a[k] + m[k], -28);
    f += std::ldexp(1.0, -100);
    for (size_t k = 0; k < bands; ++k) {
      r[k] = std::clamp((a[k] + f) / (m[k] + f), 1.0, 32768.0);
      d += std::log2(r[k]) / static_cast<double>(bands);
      const double w = std::pow(a[k] + f, 0.25), fresh = 1 - 1 / r[k];
      here += w * std::min(fresh, std::max(e[0][k] - m[k], 0.0) / (a[k] + f));
      all += w * fresh;
    }
    const bool attack = d >= threshold && here >= 0.3 * all;
    if (attack && d > static_cast<double>(best.strength)) best = {t, static_cast<float>(d)};
    for (size_t k = 0; k < bands; ++k) {
      if (attack) m[k] = std::max({e[0][k], e[1][k], e[2][k]});
      if (d < threshold) m[k] = 0.75 * m[k] + 0.25 * e[0][k];
    }
  }
  return best;
}

TEST(Transient, EqualsTheFormulasInAnyPartOfTheBands) {
  for (const int bands : {1, 4, 8, 13, 63, 64}) {
    std::vector<double> model(static_cast<size_t>(bands));
    std::vector<float> level(model.size());
    int reported = 0;
    for (int frame = 0; frame < 60; ++frame) {
      const int first = 64 - bands;
      Rows rows(64 * (kFrameSlots + kAhead));
      float gain = 1;
      for (size_t i = 0; i < rows.size(); ++i) {
        if (i % 64 == 0 && moxtest::noise()() % 24 == 0) gain *= 30;
        rows[i] = {gain * gaussian(), gain * gaussian()};
      }
      const Attack want = modelFrame(&rows[static_cast<size_t>(first)], model, 3);
      Attack got{};
      ASSERT_EQ(moxsDetectTransient_SBR_32f(&rows[static_cast<size_t>(first)], &got.slot, &got.strength,
                                            level.data(), bands, kFrameSlots, 3),
                moxStatusOk);
      ASSERT_EQ(got.slot, want.slot) << bands << " bands, frame " << frame;
      ASSERT_NEAR(got.strength, want.strength, 1e-5);
      for (size_t k = 0; k < model.size(); ++k) ASSERT_NEAR(level[k], model[k], 1e-5 * model[k]);
      reported += got.slot >= 0;
    }
    EXPECT_GT(reported, 20);
  }
}

TEST(Transient, NeitherPowersOfTwoNorFramesChangeABit) {
  Samples signal(64 * (8 * 24 + kAhead));
  for (size_t i = 0; i < signal.size(); ++i) signal[i] = (i / 3600 % 2 ? 0.3 : 0.01) * gaussian();
  const Rows rows = analysed(signal);
  std::vector<float> level(64), scaledLevel(64), shortLevel(64);
  const auto whole = attacks(rows, level, 24);
  EXPECT_EQ(whole.size(), 3u);
  Rows scaled = rows;
  for (Mox32fc& v : scaled) v = {v.re * 0x1p-12f, v.im * 0x1p-12f};
  EXPECT_EQ(attacks(scaled, scaledLevel, 24), whole);
  EXPECT_EQ(attacks(rows, shortLevel, 3), whole);
  EXPECT_EQ(shortLevel, level);
}

TEST(Transient, RefusalsInOrder) {
  Mox32fc rows[3 * 64] = {};
  float level = 1, strength = 7;
  int32_t position = 7;
  expectNeedsEveryPointer(moxsDetectTransient_SBR_32f, rows, &position, &strength, &level, 0, 0, 0);
  for (const int bands : {0, 65})
    EXPECT_EQ(moxsDetectTransient_SBR_32f(rows, &position, &strength, &level, bands, 0, 1),
              moxStatusOutOfRange);
  EXPECT_EQ(moxsDetectTransient_SBR_32f(rows, &position, &strength, &level, 1, 0, NAN), moxStatusOutOfRange);
  EXPECT_EQ(moxsDetectTransient_SBR_32f(rows, &position, &strength, &level, 1, 0, 1), moxStatusBadSize);
  EXPECT_TRUE(position == 7 && strength == 7 && level == 1);
}

// By definition: alpha solves the two normal equations, the second one relaxed as the header's det says.
double toneToNoise(const Rows& rows, int k, int slots) {
  using C = std::complex<double>;
  C phi[3][3];
  for (int t = 2; t < slots + 2; ++t)
    for (int i = 0; i < 3; ++i)
      for (int j = 0; j < 3; ++j) {
        const Mox32fc a = rows[static_cast<size_t>(64 * (t - i) + k)],
                      b = rows[static_cast<size_t>(64 * (t - j) + k)];
        phi[i][j] += C(a.re, a.im) * std::conj(C(b.re, b.im));
      }
  const double det = (phi[2][2] * phi[1][1]).real() - 0.9999990463256836 * std::norm(phi[1][2]);
  const C alpha1 = (phi[0][1] * phi[1][2] - phi[0][2] * phi[1][1]) / det;
  const C alpha0 = -(phi[0][1] + alpha1 * std::conj(phi[1][2])) / phi[1][1];
  const double left = (phi[0][0] + alpha0 * std::conj(phi[0][1]) + alpha1 * std::conj(phi[0][2])).real();
  return (phi[0][0].real() - left) / left;
}

TEST(ToneToNoise, FallsFromPureToneToWhiteNoise) {
  constexpr int kSlots = 30;
  std::vector<double> averages;
  for (const float noiseLevel : {0.0f, 0.001f, 0.01f, 0.03f, 0.1f, 0.3f, 1.0f, 3.0f, 100.0f}) {
    double sum = 0;
    for (int round = 0; round < 100; ++round) {
      Rows rows(64 * (kSlots + 2));
      for (int m = 0; m < kSlots + 2; ++m)
        for (int k = 0; k < 64; ++k) {
          const auto tone = std::polar(1.0, (0.1 + 0.04 * k) * m);
          rows[static_cast<size_t>(64 * m + k)] = {static_cast<float>(tone.real()) + noiseLevel * gaussian(),
                                                   static_cast<float>(tone.imag()) + noiseLevel * gaussian()};
        }
      Block<float> tnr(64, 4 * (round % 8));
      ASSERT_EQ(moxsEstimateTNR_SBR_32f(rows.data(), tnr, 64, kSlots), moxStatusOk);
      for (int k = 0; k < 64; ++k) {
        if (noiseLevel > 0) {
          const double want = toneToNoise(rows, k, kSlots);
          ASSERT_NEAR(tnr[k], want, 1e-6 * want) << "noise " << noiseLevel << " band " << k;
        }
        float alone = 0;
        ASSERT_EQ(moxsEstimateTNR_SBR_32f(&rows[static_cast<size_t>(k)], &alone, 1, kSlots), moxStatusOk);
        ASSERT_EQ(alone, tnr[k]) << "one band against four at once";
        sum += std::log2(1 + alone);
      }
    }
    averages.push_back(sum / 100 / 64);
  }
  for (size_t i = 1; i < averages.size(); ++i) EXPECT_LT(averages[i], averages[i - 1]) << "level " << i;
  EXPECT_GT(averages.front(), 15.0) << "a pure tone, in octaves";
  EXPECT_LT(averages.back(), 0.3) << "white noise";

  Rows silence(3 * 64);
  float tnr = 5;
  for (const int bands : {0, 65})
    EXPECT_EQ(moxsEstimateTNR_SBR_32f(silence.data(), &tnr, bands, 0), moxStatusOutOfRange);
  EXPECT_EQ(moxsEstimateTNR_SBR_32f(silence.data(), &tnr, 1, 0), moxStatusBadSize);
  expectNeedsEveryPointer(moxsEstimateTNR_SBR_32f, silence.data(), &tnr, 0, 0);
  EXPECT_EQ(tnr, 5);
  float silent[5] = {1, 1, 1, 1, 1};
  EXPECT_EQ(moxsEstimateTNR_SBR_32f(silence.data(), silent, 5, 1), moxStatusOk);
  EXPECT_EQ(*std::max_element(silent, silent + 5), 0);
}

// The standard's filters of a band: how many, whether real, and the prototype's first seven taps.
struct HybridFilter {
  int Q;
  bool real;
  const float* g;
};
HybridFilter hybridFilter(int configuration, int band) {
  if (configuration == 20)
    return band == 0 ? HybridFilter{8, false, moxac::sbr::kHybrid20Band0}
                     : HybridFilter{2, true, moxac::sbr::kHybrid20Band1};
  if (band == 0) return {12, false, moxac::sbr::kHybrid34Band0};
  return band == 1 ? HybridFilter{8, false, moxac::sbr::kHybrid34Band1}
                   : HybridFilter{4, false, moxac::sbr::kHybrid34Band2};
}

// The sub-bands of a row in order: a band, and the filters of it that are added up.
struct HybridSubBand {
  int band;
  std::vector<int> q;
};
std::vector<HybridSubBand> hybridSubBands(int configuration) {
  if (configuration == 20)
    return {{0, {6}},    {0, {7}}, {0, {0}}, {0, {1}}, {0, {2, 5}},
            {0, {3, 4}}, {1, {1}}, {1, {0}}, {2, {0}}, {2, {1}}};
  std::vector<HybridSubBand> parts;
  for (int band = 0; band < 5; ++band)
    for (int q = 0; q < (band == 0 ? 12 : band == 1 ? 8 : 4); ++q) parts.push_back({band, {q}});
  return parts;
}

TEST(Hybrid, EqualsTheStandardsSums) {
  constexpr int kSlots = 40;
  std::vector<const Mox32fc*> rows;
  std::vector<std::vector<Mox32fc>> source(kSlots + moxPsHistorySlots, std::vector<Mox32fc>(64));
  for (auto& row : source) {
    for (Mox32fc& v : row) v = {moxtest::noiseValue<float>(), moxtest::noiseValue<float>()};
    rows.push_back(row.data());
  }
  for (const int configuration : {20, 34}) {
    const auto parts = hybridSubBands(configuration);
    ASSERT_EQ(static_cast<int>(parts.size()), configuration == 20 ? moxPsSubBands20 : moxPsSubBands34);
    std::vector<std::vector<Mox32fc>> out(kSlots, std::vector<Mox32fc>(parts.size() + 1, Mox32fc{9, 9}));
    std::vector<Mox32fc*> outRows;
    for (auto& row : out) outRows.push_back(row.data());
    ASSERT_EQ(moxsAnalysisFilter_PS_32fc_D2(rows.data(), outRows.data(), kSlots, configuration), moxStatusOk);
    for (int l = 0; l < kSlots; ++l) {
      for (size_t k = 0; k < parts.size(); ++k) {
        const auto& [band, qs] = parts[k];
        const HybridFilter f = hybridFilter(configuration, band);
        std::complex<double> want;
        for (const int q : qs)
          for (int n = 0; n <= 12; ++n) {
            const Mox32fc x = source[static_cast<size_t>(l + 12 - n)][static_cast<size_t>(band)];
            const double angle = 2 * M_PI / f.Q * (f.real ? q : q + 0.5) * (n - 6);
            const auto turn = f.real ? std::cos(angle) : std::polar(1.0, angle);
            want += static_cast<double>(f.g[std::min(n, 12 - n)]) * turn * std::complex<double>(x.re, x.im);
          }
        const Mox32fc got = out[static_cast<size_t>(l)][k];
        ASSERT_LT(std::abs(std::complex<double>(got.re, got.im) - want), 1e-6)
            << configuration << " sub-band " << k;
      }
      ASSERT_EQ(out[static_cast<size_t>(l)].back().re, 9) << "written past the row";
    }
  }
  Mox32fc* none = nullptr;
  expectNeedsEveryPointer(moxsAnalysisFilter_PS_32fc_D2, rows.data(), &none, 0, 0);
  EXPECT_EQ(moxsAnalysisFilter_PS_32fc_D2(rows.data(), &none, 0, 10), moxStatusOutOfRange);
  EXPECT_EQ(moxsAnalysisFilter_PS_32fc_D2(rows.data(), &none, 0, 20), moxStatusBadSize);
}

}  // namespace
