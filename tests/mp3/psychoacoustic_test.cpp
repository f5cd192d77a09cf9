// Psychoacoustic model two: against the annex's words, and the behaviours that the encoder counts on.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/psychoacoustic_reference.h"
#include "mp3/psychoacoustic_spreading.h"

namespace {

using Analysis = MoxMp3PsychoacousticModelTwoAnalysis;
using State = MoxMp3PsychoacousticModelTwoState;

constexpr int kRates[] = {44100, 48000, 32000};

MoxMp3FrameHeader header(int32_t samplingFreq, int32_t mode) {
  MoxMp3FrameHeader h{};
  h.id = h.layer = 1;
  h.samplingFreq = samplingFreq;
  h.mode = mode;
  return h;
}

// Records of every granule of a signal of one channel (or two, interleaved, in other modes).
std::vector<std::vector<Analysis>> analyze(const std::vector<int16_t>& samples, const MoxMp3FrameHeader& h) {
  const size_t channels = h.mode == 3 ? 1 : 2;
  const auto state = std::make_unique<State>();
  std::vector<std::vector<Analysis>> out;
  for (size_t first = 0; first + 576 * channels <= samples.size(); first += 576 * channels) {
    Analysis records[2];
    EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(samples.data() + first, records, &h, state.get()),
              moxStatusOk);
    if (first > 0) out.push_back({records, records + channels});
  }
  return out;
}

std::vector<int16_t> signal(int32_t granules, const std::function<double(int)>& x) {
  std::vector<int16_t> s;
  for (int i = 0; i < 576 * granules; ++i) s.push_back(static_cast<int16_t>(std::lrint(x(i))));
  return s;
}

double decibels(double ratio) { return 10 * std::log10(ratio); }

TEST(PsychoacousticModel, EqualsTheAnnexInDoublePrecision) {
  std::mt19937 random(5);
  std::normal_distribution<double> gauss;
  double worst = 0;
  for (int32_t f = 0; f < 3; ++f) {
    moxtest::PsychoacousticReference reference(std::to_string(kRates[f]));
    const auto samples = signal(7, [&](int i) {
      return 4000 * std::sin(0.05 * i) + 2000 * std::sin(0.31 * i + 1) + 50 * gauss(random) +
             (i > 2500 ? 900 * gauss(random) : 0);
    });
    reference.signal.assign(samples.begin(), samples.end());
    const auto records = analyze(samples, header(f, 3));
    for (size_t g = 0; g < records.size(); ++g) {
      std::vector<double> energies;
      const auto expected =
          reference.nextLong(static_cast<int64_t>(g), g > 0 && records[g - 1][0].blockType == 2, energies);
      const Analysis& r = records[g][0];
      for (size_t b = 0; b < 21; ++b) {
        worst = std::max(worst, std::abs(decibels(static_cast<double>(r.thresholdLong[b]) / expected[b])));
        EXPECT_NEAR(static_cast<double>(r.energyLong[b]), energies[b], 1e-3 * energies[b] + 1e-3);
      }
      if (g < 2) continue;  // the onset's rise is limited
      for (size_t w = 0; w < 3; ++w) {
        const auto windows = reference.shortThresholds(static_cast<int64_t>(g), static_cast<int>(w));
        for (size_t b = 0; b < 12; ++b)
          EXPECT_LE(static_cast<double>(r.thresholdShort[b][w]), windows[b] * 1.002);
      }
    }
  }
  std::printf("worst long threshold: %.4f dB off\n", worst);
  EXPECT_LT(worst, 0.05);
}

// Law of the tables: each partition's shares add to one; those at the upper end count partitions that are left out.
TEST(PsychoacousticModel, SharesOfMaskersAddToOne) {
  for (const auto& tables : moxac::mp3::kPsychoacousticTables) {
    const auto sumTo = [](const float(*from)[moxac::mp3::kPartitions], int32_t count, int32_t i) {
      double sum = 0;
      for (int32_t j = 0; j < count; ++j) sum += static_cast<double>(from[j][i]);
      return sum;
    };
    for (int32_t i = 0; i < tables.longCount; ++i)
      EXPECT_NEAR(sumTo(tables.longSpreading, tables.longCount, i), 1, 0.004) << i;
    for (int32_t i = 0; i + 1 < tables.shortCount; ++i)
      EXPECT_NEAR(sumTo(tables.shortSpreading, tables.shortCount, i), 1, 0.004) << i;
    for (int b = 1; b < 21; ++b) {
      EXPECT_NEAR(tables.longBands[b].w1 + tables.longBands[b - 1].w2, 1, 0.0015);
      EXPECT_EQ(tables.longBands[b].first, tables.longBands[b - 1].last);
    }
    for (int b = 1; b < 12; ++b) EXPECT_EQ(tables.shortBands[b].first, tables.shortBands[b - 1].last) << b;
  }
}

TEST(PsychoacousticModel, SilenceGivesTheThresholdInQuiet) {
  for (int32_t f = 0; f < 3; ++f) {
    const auto& tables = moxac::mp3::kPsychoacousticTables[f];
    std::vector<double> quiet;
    for (int32_t b = 0; b < tables.longCount; ++b)
      quiet.push_back(static_cast<double>(tables.longPartitions[b].qthr));
    for (const auto& record : analyze(std::vector<int16_t>(576 * 4), header(f, 3))) {
      EXPECT_EQ(record[0].perceptualEntropy, 0);
      EXPECT_EQ(record[0].blockType, 0);
      for (int b = 0; b < 21; ++b) {
        const auto& s = tables.longBands[b];
        const double expected = moxtest::PsychoacousticReference::band(
            quiet, {s.first, s.last, static_cast<double>(s.w1), static_cast<double>(s.w2)});
        EXPECT_NEAR(static_cast<double>(record[0].thresholdLong[b]), expected, 1e-5 * expected);
        EXPECT_EQ(record[0].energyLong[b], 0);
      }
    }
  }
}

// Noise in one band: its neighbours' thresholds fall off by the spreading function, faster downwards than upwards.
TEST(PsychoacousticModel, AMaskerRaisesItsNeighboursThresholds) {
  const auto records =
      analyze(signal(8, [](int i) { return 8000 * std::sin(2 * M_PI * 3000 * i / 44100); }), header(0, 3));
  const Analysis& loud = records.back()[0];
  const Analysis quiet = analyze(std::vector<int16_t>(576 * 4), header(0, 3)).back()[0];
  const int masker = 12;  // lines 74 to 89, 2832 to 3446 Hz
  EXPECT_EQ(std::max_element(loud.energyLong, loud.energyLong + 21) - loud.energyLong, masker);
  for (int b = 3; b < masker; ++b) EXPECT_LE(loud.thresholdLong[b], loud.thresholdLong[b + 1] * 1.5f) << b;
  for (int b = masker; b < 15; ++b) EXPECT_GE(loud.thresholdLong[b], loud.thresholdLong[b + 1]) << b;
  EXPECT_GT(loud.thresholdLong[masker + 2], 1000 * quiet.thresholdLong[masker + 2]);
  EXPECT_GT(loud.thresholdLong[masker + 2], 10 * loud.thresholdLong[masker - 2]);
}

TEST(PsychoacousticModel, ATonesThresholdLiesFarBelowThatOfNoise) {
  std::mt19937 random(1);
  std::normal_distribution<double> gauss;
  const auto tone =
      analyze(signal(8, [](int i) { return 8000 * std::sin(2 * M_PI * 2600 * i / 44100); }), header(0, 3));
  const auto noise = analyze(signal(30, [&](int) { return 3000 * gauss(random); }), header(0, 3));
  const int band = 11;  // 2375 to 2832 Hz
  const Analysis& t = tone.back()[0];
  double ofNoise = 0;
  for (size_t g = 5; g < noise.size(); ++g)
    ofNoise += decibels(static_cast<double>(noise[g][0].thresholdLong[band] / noise[g][0].energyLong[band])) /
               static_cast<double>(noise.size() - 5);
  const double ofTone = decibels(static_cast<double>(t.thresholdLong[band] / t.energyLong[band]));
  EXPECT_LT(ofTone, -20);
  EXPECT_GT(ofNoise, -12);
  EXPECT_LT(ofNoise, -5);
}

// A click in the samples that granule n's short windows keep apart: n - 1 becomes a start block, n short.
TEST(PsychoacousticModel, AnAttackMakesItsGranuleShortAndTheOneBeforeAStart) {
  for (int32_t at = 3000; at < 3000 + 1152; at += 37) {
    auto samples = signal(12, [](int i) { return 300 * std::sin(0.1 * i); });
    for (int i = 0; i < 200; ++i)
      samples[static_cast<size_t>(at + i)] = static_cast<int16_t>(i % 2 == 0 ? 20000 : -20000);
    const auto records = analyze(samples, header(0, 3));
    const int32_t n = (at + 240 + 192) / 576;
    if ((at + 240 + 192) % 576 >= 576 - 66) continue;  // its rise goes on in the next granule, short as well
    for (int32_t g = 0; g < static_cast<int32_t>(records.size()); ++g) {
      const int32_t expected = g == n - 1 ? 1 : g == n ? 2 : g == n + 1 ? 3 : 0;
      EXPECT_EQ(records[static_cast<size_t>(g)][0].blockType, expected)
          << "attack at " << at << ", granule " << g;
    }
  }
}

TEST(PsychoacousticModel, AnAttackCountsInBothChannelsOfJointStereoOnly) {
  std::vector<int16_t> samples(576 * 2 * 10);
  for (size_t i = 3400; i < 3600; ++i) samples[2 * i + 1] = static_cast<int16_t>(i % 2 == 0 ? 20000 : -20000);
  for (const int32_t mode : {0, 1}) {
    bool left = false, right = false;
    for (const auto& record : analyze(samples, header(0, mode))) {
      left = left || record[0].blockType == 2;
      right = right || record[1].blockType == 2;
    }
    EXPECT_TRUE(right);
    EXPECT_EQ(left, mode == 1);
  }
}

TEST(PsychoacousticModel, SteadySoundsStayLong) {
  std::mt19937 random(1);
  std::normal_distribution<double> gauss;
  for (const auto& x : std::vector<std::function<double(int)>>{
           [](int i) { return 9000 * std::sin(0.02 * i) + 9000 * std::sin(0.7 * i); },
           [&](int) { return 4000 * gauss(random); },
           [](int i) { return i % 200 < 4 ? 15000.0 : -300.0; }}) {  // a voice's pulses at 220 Hz
    const auto records = analyze(signal(40, x), header(0, 3));
    for (size_t g = 3; g < records.size(); ++g) EXPECT_EQ(records[g][0].blockType, 0) << g;
  }
}

TEST(PsychoacousticModel, ACopiedStateContinuesAndRefusalsWriteNothing) {
  const auto samples = signal(6, [](int i) { return 5000 * std::sin(0.03 * i); });
  const MoxMp3FrameHeader h = header(1, 3);
  const auto state = std::make_unique<State>(), copy = std::make_unique<State>();
  Analysis a{}, b{};
  for (size_t g = 0; g < 3; ++g)
    moxsPsychoacousticModelTwo_MP3_16s(samples.data() + 576 * g, &a, &h, state.get());
  *copy = *state;
  for (size_t g = 3; g < 6; ++g) {
    moxsPsychoacousticModelTwo_MP3_16s(samples.data() + 576 * g, &a, &h, state.get());
    moxsPsychoacousticModelTwo_MP3_16s(samples.data() + 576 * g, &b, &h, copy.get());
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  }

  const int16_t* const x = samples.data();
  EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(nullptr, &a, &h, state.get()), moxStatusNullPointer);
  EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(x, nullptr, &h, state.get()), moxStatusNullPointer);
  EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(x, &a, nullptr, state.get()), moxStatusNullPointer);
  EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(x, &a, &h, nullptr), moxStatusNullPointer);
  for (const auto field :
       {&MoxMp3FrameHeader::id, &MoxMp3FrameHeader::samplingFreq, &MoxMp3FrameHeader::mode}) {
    MoxMp3FrameHeader bad = h;
    bad.*field = field == &MoxMp3FrameHeader::id ? 0 : 4;
    EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(x, &a, &bad, state.get()), moxStatusMp3FrameHeaderErr);
  }
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
}

}  // namespace
