// The encoder's analysis bank, transient detection, tone-to-noise estimate, and the hybrid analysis.
#include <gtest/gtest.h>

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

constexpr int kFrameSlots = 32;

// Energies of `frames` frames of a signal through the bank, fed to the detector frame by frame.
struct Detection {
  int32_t position;
  float strength;
};
std::vector<Detection> detect(const std::vector<float>& signal) {
  const int slots = static_cast<int>(signal.size()) / 64;
  std::vector<float> energy, mean(64);
  for (const Mox32fc& v : subBands(signal)) energy.push_back(v.re * v.re + v.im * v.im);
  std::vector<Detection> found;
  for (int t = 0; t + kFrameSlots <= slots; t += kFrameSlots) {
    Detection d{};
    EXPECT_EQ(moxsDetectTransient_SBR_32f(&energy[static_cast<size_t>(64 * t)], mean.data(), &d.position,
                                          &d.strength, kFrameSlots, 64, 2.0f),
              moxStatusOk);
    found.push_back(d);
  }
  return found;
}

TEST(Transient, SteadyNoiseTonesAndSilenceHaveNone) {
  std::vector<float> noise(64 * kFrameSlots * 200), tones(64 * kFrameSlots * 20),
      silence(64 * kFrameSlots * 3);
  for (float& v : noise) v = 0.1f * gaussian();
  for (size_t i = 0; i < tones.size(); ++i)
    tones[i] = static_cast<float>(std::sin(0.05 * static_cast<double>(i)) +
                                  0.3 * std::sin(1.234 * static_cast<double>(i)));
  float largest = 0;
  for (const auto& signal : {noise, tones}) {
    const auto found = detect(signal);
    EXPECT_GE(found[0].position, 0) << "the onset counts";
    for (size_t f = 1; f < found.size(); ++f) {
      EXPECT_EQ(found[f].position, -1) << "frame " << f;
      largest = std::max(largest, found[f].strength);
    }
  }
  RecordProperty("largest_novelty_of_steady_signals", std::to_string(largest));
  EXPECT_LT(largest, 1.2f);
  for (const Detection& d : detect(silence)) EXPECT_EQ(d.position, -1);
}

TEST(Transient, AttacksAreFoundInTheirSlot) {
  for (int slot = 0; slot < kFrameSlots; ++slot) {
    std::vector<float> signal(64 * kFrameSlots * 4);
    const size_t attack = static_cast<size_t>(64 * (2 * kFrameSlots + slot));
    for (size_t i = 0; i < signal.size(); ++i) signal[i] = (i < attack ? 0.01f : 0.1f) * gaussian();
    const auto found = detect(signal);
    // The bank's window is ten slots long and peaks behind its fourth.
    const int at = 2 * kFrameSlots + slot + 4;
    const Detection& d = found[static_cast<size_t>(at / kFrameSlots)];
    EXPECT_GE(d.strength, 3.0f) << "slot " << slot;
    EXPECT_LE(std::abs(at / kFrameSlots * kFrameSlots + d.position - at), 2) << "slot " << slot;
  }
  // On energies themselves the slot is exact, wherever it lies.
  for (int slot = 0; slot < kFrameSlots; ++slot) {
    std::vector<float> energy(5 * kFrameSlots, 1.0f), mean(5, 1.0f);
    for (int i = 5 * slot; i < 5 * kFrameSlots; ++i) energy[static_cast<size_t>(i)] = 100.0f;
    Detection d{};
    moxsDetectTransient_SBR_32f(energy.data(), mean.data(), &d.position, &d.strength, kFrameSlots, 5, 2.0f);
    EXPECT_EQ(d.position, slot);
    EXPECT_NEAR(d.strength, std::log2(100.0), 1e-4);
  }
}

TEST(Transient, RefusalsInOrder) {
  float e = 1, mean = 1, strength = 7;
  int32_t position = 7;
  expectNeedsEveryPointer(moxsDetectTransient_SBR_32f, &e, &mean, &position, &strength, 0, 0, 0);
  EXPECT_EQ(moxsDetectTransient_SBR_32f(&e, &mean, &position, &strength, 0, 65, 1), moxStatusOutOfRange);
  EXPECT_EQ(moxsDetectTransient_SBR_32f(&e, &mean, &position, &strength, 0, 1, NAN), moxStatusOutOfRange);
  EXPECT_EQ(moxsDetectTransient_SBR_32f(&e, &mean, &position, &strength, 0, 1, 1), moxStatusBadSize);
  EXPECT_TRUE(position == 7 && strength == 7 && mean == 1);
}

TEST(ToneToNoise, FallsFromPureToneToWhiteNoise) {
  constexpr int kSlots = 30;
  std::vector<double> averages;
  for (const double noiseLevel : {0.0, 0.001, 0.01, 0.03, 0.1, 0.3, 1.0, 3.0, 100.0}) {
    double sum = 0;
    for (int round = 0; round < 200; ++round) {
      std::vector<std::vector<float>> re(kSlots + 2, std::vector<float>(64)), im = re;
      std::vector<const float*> rowsRe, rowsIm;
      for (size_t m = 0; m < re.size(); ++m) {
        for (size_t k = 0; k < 64; ++k) {
          const auto tone = std::polar(1.0, (0.1 + 0.04 * static_cast<double>(k)) * static_cast<double>(m));
          re[m][k] = static_cast<float>(tone.real() + noiseLevel * gaussian());
          im[m][k] = static_cast<float>(tone.imag() + noiseLevel * gaussian());
        }
        rowsRe.push_back(re[m].data());
        rowsIm.push_back(im[m].data());
      }
      Block<float> tnr(64, 4 * (round % 8));
      ASSERT_EQ(moxsEstimateTNR_SBR_32f(rowsRe.data(), rowsIm.data(), tnr, 64, kSlots), moxStatusOk);
      for (const float v : tnr) sum += std::log2(1 + v);
    }
    averages.push_back(sum / 200 / 64);
  }
  for (size_t i = 1; i < averages.size(); ++i) EXPECT_LT(averages[i], averages[i - 1]) << "level " << i;
  EXPECT_GT(averages.front(), 15.0) << "a pure tone, in octaves";
  EXPECT_LT(averages.back(), 0.3) << "white noise";

  std::vector<float> silence(3);
  const float* rows[] = {silence.data(), silence.data(), silence.data()};
  float tnr = 5;
  EXPECT_EQ(moxsEstimateTNR_SBR_32f(rows, rows, &tnr, 0, 0), moxStatusOutOfRange);
  EXPECT_EQ(moxsEstimateTNR_SBR_32f(rows, rows, &tnr, 1, 0), moxStatusBadSize);
  expectNeedsEveryPointer(moxsEstimateTNR_SBR_32f, rows, rows, &tnr, 0, 0);
  EXPECT_EQ(tnr, 5);
  EXPECT_EQ(moxsEstimateTNR_SBR_32f(rows, rows, &tnr, 1, 1), moxStatusOk);
  EXPECT_EQ(tnr, 0);
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
