// Requantisation and joint stereo against the formulas of the standard.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/requantize_kernels.h"
#include "mp3/requantize_reference.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using moxtest::Block;
using moxtest::CodedGranule;
using moxtest::Faults;
using moxtest::Lines;

constexpr double kUnit = 1 << 26;
constexpr double kLargest = INT_MAX;

int32_t upTo(int32_t last) { return moxtest::below(int64_t{last} + 1); }

// Any granule that the syntax allows, and some that it does not forbid: quantised values mostly small, the
// right channel often short so that intensity has bands.
CodedGranule randomGranule() {
  CodedGranule g;
  g.header = {upTo(1), 1, 0, 9, upTo(2), 0, 0, upTo(3), upTo(3), 0, 0, 0, 0};
  if (upTo(2) > 0) g.header.mode = 1;
  const int32_t blockType = upTo(3), mixed = upTo(1);
  for (int ch = 0; ch < 2; ++ch) {
    MoxMp3SideInfo& side = g.side[ch];
    side = {0, 0, 150 + upTo(60), upTo(511), 1, blockType, mixed, {}, {upTo(7), upTo(7), upTo(7)},
            0, 0, upTo(1),        upTo(1),   0};
    if (blockType == 0) side.winSwitch = 0, side.mixedBlock = upTo(1);
    for (int8_t& sf : g.scaleFactors[ch])
      sf = static_cast<int8_t>(upTo(10) - (g.header.id == 0 && ch == 1 ? 4 : 0));
    g.bound[ch] = ch == 1 && upTo(1) == 1 ? upTo(120) : upTo(576);
    const int32_t largest = upTo(3) == 0 ? 8206 : upTo(1) == 0 ? 15 : 1;
    const int32_t emptyWindow = upTo(5);  // of three in coded order, more or less: whole runs of zeros
    for (int32_t i = 0; i < 576; ++i)
      g.lines[ch][i] = i / 12 % 6 == emptyWindow ? 0 : upTo(2 * largest) - largest;
    if (upTo(3) == 0) {  // nearly empty: windows of a short block differ in where they end
      const int32_t kept = upTo(100);
      for (int32_t i = 0; i < 576; ++i) g.lines[ch][i] = i == kept ? 1 : 0;
    }
  }
  return g;
}

void expectReference(const CodedGranule& g, const int32_t* got, const std::array<Lines, 2>& want,
                     const char* what) {
  for (size_t ch = 0; ch < static_cast<size_t>(g.channels()); ++ch)
    for (size_t i = 0; i < 576; ++i) {
      const double units = std::clamp(want[ch][i] * kUnit, -kLargest - 1, kLargest);
      const double scale = std::max(std::fabs(want[0][i]), std::fabs(want[1][i])) * kUnit;
      ASSERT_NEAR(got[576 * ch + i], units, 0.51 + 3e-7 * scale)
          << what << ": channel " << ch << " line " << i;
    }
}

int32_t boundOf(const int32_t* lines) {
  int32_t bound = 576;
  while (bound > 0 && lines[bound - 1] == 0) --bound;
  return bound;
}

struct Outcome {
  Block<int32_t> lines, bound, buffer;
  explicit Outcome(const CodedGranule& g, int64_t shift = 0)
      : lines(1152, shift), bound(2), buffer(576, shift) {
    std::memcpy(lines, g.lines, sizeof g.lines);
    std::memcpy(bound, g.bound, sizeof g.bound);
  }
  moxStatus run(const CodedGranule& g) {
    return moxsReQuantize_MP3_32s_I(lines, bound, g.scaleFactors[0], g.side, &g.header, buffer);
  }
};

TEST(Requantize, EqualsTheFormulasForEveryBlockAndStereoMode) {
  for (int round = 0; round < 4000; ++round) {
    const CodedGranule g = randomGranule();
    const int32_t row = moxac::mp3::sfbRow(g.header);
    Outcome got(g, 4 * (round % 8));
    ASSERT_EQ(got.run(g), moxStatusOk);
    expectReference(g, got.lines, requantizeReference(g, moxMp3SfbLong[row], moxMp3SfbShort[row]),
                    "built-in");
    for (int ch = 0; ch < g.channels(); ++ch) ASSERT_EQ(got.bound[ch], boundOf(got.lines + 576 * ch));
    ASSERT_TRUE(g.channels() == 2 || std::equal(g.lines[1], g.lines[1] + 576, got.lines + 576)) << "mono";

    // The same through tables of the caller's: here, every row that of another rate.
    int16_t sfbLong[6][23], sfbShort[6][14];
    for (int r = 0; r < 6; ++r) {
      std::copy_n(moxMp3SfbLong[r / 3 * 3 + (r + 1) % 3], 23, sfbLong[r]);
      std::copy_n(moxMp3SfbShort[r / 3 * 3 + (r + 1) % 3], 14, sfbShort[r]);
    }
    Outcome other(g);
    ASSERT_EQ(moxsReQuantizeSfb_MP3_32s_I(other.lines, other.bound, g.scaleFactors[0], g.side, &g.header,
                                          sfbLong[0], sfbShort[0], other.buffer),
              moxStatusOk);
    expectReference(g, other.lines, requantizeReference(g, sfbLong[row], sfbShort[row]), "caller's bands");
  }
}

TEST(Requantize, CoversEveryMagnitudeAndSaturates) {
  CodedGranule g;
  g.header = {1, 1, 1, 9, 0, 0, 0, 3, 0, 0, 0, 0, 0};
  g.side[0].globGain = 150;
  g.bound[0] = 576;
  for (int32_t base = 0; base <= 8206; base += 576) {
    for (int32_t i = 0; i < 576; ++i) g.lines[0][i] = std::min(base + i, 8206) * (i % 2 == 0 ? 1 : -1);
    Outcome got(g);
    ASSERT_EQ(got.run(g), moxStatusOk);
    expectReference(g, got.lines, requantizeReference(g, moxMp3SfbLong[3], moxMp3SfbShort[3]), "magnitudes");
  }
  g.side[0].globGain = 255;
  Outcome loud(g);
  ASSERT_EQ(loud.run(g), moxStatusOk);
  EXPECT_EQ(*std::max_element(loud.lines.begin(), loud.lines.begin() + 576),
            INT_MAX - 127);  // the largest float
  EXPECT_EQ(*std::min_element(loud.lines.begin(), loud.lines.begin() + 576), INT_MIN);
  std::fill_n(g.scaleFactors[0], 39,
              int8_t{-128});  // no stream holds this; nothing but silence can come of it
  g.side[0] = {0, 0, 0, 0, 1, 2, 0, {}, {7, 7, 7}, 0, 0, 0, 1, 0};
  Outcome quiet(g);
  ASSERT_EQ(quiet.run(g), moxStatusOk);
  EXPECT_EQ(quiet.bound[0], 0);
}

TEST(Requantize, RefusesInOrderAndWritesNothing) {
  CodedGranule good = randomGranule();
  good.header.mode = 0;
  good.side[0].winSwitch = good.side[1].winSwitch = 1;
  using G = CodedGranule;
  constexpr moxStatus head = moxStatusMp3FrameHeaderErr, side = moxStatusMp3SideInfoErr;
  const auto largest = FIELD(G, lines[1][575]);
  Faults<G>()
      .range(head, FIELD(G, header.id), 0, 1)
      .range(head, FIELD(G, header.layer), 1, 1)
      .range(head, FIELD(G, header.samplingFreq), 0, 2)
      .range(head, FIELD(G, header.mode), 0, 3)
      .range(head, FIELD(G, header.modeExt), 0, 3)
      .range(moxStatusOutOfRange, FIELD(G, bound[1]), 0, 576)
      .range(side, FIELD(G, side[1].globGain), 0, 255)
      .range(side, FIELD(G, side[1].winSwitch), 0, 1)
      .range(side, FIELD(G, side[1].preFlag), 0, 1)
      .range(side, FIELD(G, side[1].sfScale), 0, 1)
      .range(side, FIELD(G, side[1].blockType), 0, 3)
      .range(side, FIELD(G, side[1].mixedBlock), 0, 1)
      .range(side, FIELD(G, side[1].subBlockGain[2]), 0, 7)
      .add(moxStatusBadData, [=](G& g) { g.bound[1] = 576, largest(g) = INT_MIN; })
      .add(moxStatusBadData, [=](G& g) { g.bound[1] = 576, largest(g) = 8207; })
      .expectInOrder([&] { return good; },
                     [](const G& g) {
                       Outcome got(g), before = got;
                       const moxStatus status = got.run(g);
                       EXPECT_TRUE(status >= moxStatusOk || (moxtest::sameBits(got.lines, before.lines) &&
                                                             moxtest::sameBits(got.bound, before.bound) &&
                                                             moxtest::sameBits(got.buffer, before.buffer)));
                       return status;
                     });
  good.header.id = 2;
  Outcome o(good);
  moxtest::expectNeedsEveryPointer(moxsReQuantizeSfb_MP3_32s_I, o.lines, o.bound, good.scaleFactors[0],
                                   good.side, &good.header, moxMp3SfbLong[0], moxMp3SfbShort[0], o.buffer);
  moxtest::expectNeedsEveryPointer(moxsReQuantize_MP3_32s_I, o.lines, o.bound, good.scaleFactors[0],
                                   good.side, &good.header, o.buffer);
}

}  // namespace
