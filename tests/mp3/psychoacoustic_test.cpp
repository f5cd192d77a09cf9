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
#include "support/refusals.h"

namespace {

using Analysis = MoxMp3PsychoacousticModelTwoAnalysis;
using State = MoxMp3PsychoacousticModelTwoState;

constexpr MoxMp3EncoderParameters kAnnex = MOX_MP3_ENCODER_ANNEX;
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
    EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(samples.data() + first, records, &h, &kAnnex, state.get()),
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
      for (size_t w = 0; w < 3; ++w) {
        const auto windows = reference.nextShort(static_cast<int64_t>(g), static_cast<int>(w), energies);
        for (size_t b = 0; b < 12; ++b) {
          EXPECT_NEAR(static_cast<double>(r.thresholdShort[b][w]), windows[b], 2e-3 * windows[b])
              << g << " " << b;
          EXPECT_NEAR(static_cast<double>(r.energyShort[b][w]), energies[b], 1e-3 * energies[b] + 1e-3);
        }
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

// Whatever attacks follow one another, a short block is entered by a start block and left by a stop block.
TEST(PsychoacousticModel, BlockTypesFollowOneAnotherAsTheWindowsAllow) {
  std::mt19937 random(4);
  auto samples = signal(300, [](int i) { return 200 * std::sin(0.1 * i); });
  for (size_t at = 2000; at + 3000 < samples.size(); at += 300 + random() % 2500)
    for (size_t i = 0; i < 150; ++i) samples[at + i] = static_cast<int16_t>(i % 2 == 0 ? 20000 : -20000);
  int32_t before = 0, seen[4] = {};
  for (const auto& record : analyze(samples, header(0, 3))) {
    const int32_t type = record[0].blockType;
    ++seen[type];
    const bool open = before == 0 || before == 3;  // the right half of the window before is a long one
    EXPECT_TRUE(open ? type == 0 || type == 1 : type == 2 || type == 3) << before << " then " << type;
    before = type;
  }
  for (const int32_t count : seen) EXPECT_GT(count, 10);
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
    moxsPsychoacousticModelTwo_MP3_16s(samples.data() + 576 * g, &a, &h, &kAnnex, state.get());
  *copy = *state;
  for (size_t g = 3; g < 6; ++g) {
    moxsPsychoacousticModelTwo_MP3_16s(samples.data() + 576 * g, &a, &h, &kAnnex, state.get());
    moxsPsychoacousticModelTwo_MP3_16s(samples.data() + 576 * g, &b, &h, &kAnnex, copy.get());
    EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
  }

  const int16_t* const x = samples.data();
  using Header = MoxMp3FrameHeader;
  moxtest::Faults<Header>()
      .range(moxStatusMp3FrameHeaderErr, FIELD(Header, id), 1, 1)
      .range(moxStatusMp3FrameHeaderErr, FIELD(Header, samplingFreq), 0, 2)
      .range(moxStatusMp3FrameHeaderErr, FIELD(Header, mode), 0, 3)
      .expectInOrder([&] { return h; },
                     [&](const Header& header) {
                       Analysis records[2] = {b, b};
                       const moxStatus status =
                           moxsPsychoacousticModelTwo_MP3_16s(x, records, &header, &kAnnex, copy.get());
                       EXPECT_TRUE(status >= moxStatusOk ||
                                   (moxtest::same(records[0], b) && moxtest::same(records[1], b)));
                       return status;
                     });
  moxtest::expectNeedsEveryPointer(moxsPsychoacousticModelTwo_MP3_16s, x, &a, &h, &kAnnex, state.get());
  MoxMp3EncoderParameters strange = kAnnex;
  strange.leastDistance[24] = NAN;
  EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(x, &a, &h, &strange, state.get()), moxStatusOutOfRange);
  EXPECT_EQ(std::memcmp(&a, &b, sizeof a), 0);
}

}  // namespace
