#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <functional>
#include <random>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/requantize_kernels.h"
#include "mp3/requantize_reference.h"
#include "support/block.h"

namespace {

using moxtest::Block;
using moxtest::CodedGranule;
using moxtest::Lines;

constexpr double kUnit = 1 << 26;
constexpr double kLargest = INT_MAX;

int32_t upTo(int32_t last) {
  return static_cast<int32_t>(moxtest::noise()() % static_cast<uint64_t>(last + 1));
}

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
    expectReference(g, got.lines,
                    requantizeReference(g, moxac::mp3::kSfbLong[row], moxac::mp3::kSfbShort[row]),
                    "built-in");
    for (int ch = 0; ch < g.channels(); ++ch) ASSERT_EQ(got.bound[ch], boundOf(got.lines + 576 * ch));
    ASSERT_TRUE(g.channels() == 2 || std::equal(g.lines[1], g.lines[1] + 576, got.lines + 576)) << "mono";

    // The same through tables of the caller's: here, every row that of another rate.
    int16_t sfbLong[6][23], sfbShort[6][14];
    for (int r = 0; r < 6; ++r) {
      std::copy_n(moxac::mp3::kSfbLong[r / 3 * 3 + (r + 1) % 3], 23, sfbLong[r]);
      std::copy_n(moxac::mp3::kSfbShort[r / 3 * 3 + (r + 1) % 3], 14, sfbShort[r]);
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
    expectReference(g, got.lines, requantizeReference(g, moxac::mp3::kSfbLong[3], moxac::mp3::kSfbShort[3]),
                    "magnitudes");
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
  const auto refused = [](const CodedGranule& g, moxStatus status) {
    Outcome got(g), before = got;
    EXPECT_EQ(got.run(g), status);
    EXPECT_SAME_BITS(got.lines, before.lines);
    EXPECT_SAME_BITS(got.bound, before.bound);
    EXPECT_SAME_BITS(got.buffer, before.buffer);
  };
  // From the last check to the first: each fault is met before all those made already.
  struct Fault {
    std::function<void(CodedGranule&)> make;
    moxStatus status;
  };
  const Fault faults[] = {
      {[](CodedGranule& g) { g.bound[1] = 576, g.lines[1][575] = 8207; }, moxStatusBadData},
      {[](CodedGranule& g) { g.lines[1][575] = INT_MIN; }, moxStatusBadData},
      {[](CodedGranule& g) { g.side[1].globGain = 256; }, moxStatusMp3SideInfoErr},
      {[](CodedGranule& g) { g.bound[1] = 577; }, moxStatusOutOfRange},
      {[](CodedGranule& g) { g.bound[1] = -1; }, moxStatusOutOfRange},
      {[](CodedGranule& g) { g.header.id = 2; }, moxStatusMp3FrameHeaderErr},
  };
  CodedGranule g = good;
  for (const Fault& fault : faults) {
    fault.make(g);
    refused(g, fault.status);
  }
  Outcome o(g);
  const auto call = [&](int without) {
    const auto p = [&](int i, auto* pointer) { return i == without ? nullptr : pointer; };
    return moxsReQuantizeSfb_MP3_32s_I(p(0, o.lines.data()), p(1, o.bound.data()), p(2, g.scaleFactors[0]),
                                       p(3, g.side), p(4, &g.header), p(5, moxac::mp3::kSfbLong[0]),
                                       p(6, moxac::mp3::kSfbShort[0]), p(7, o.buffer.data()));
  };
  for (int i = 0; i < 8; ++i) EXPECT_EQ(call(i), moxStatusNullPointer) << i;
  EXPECT_EQ(call(-1), moxStatusMp3FrameHeaderErr);

  // Every field, both sides of its range.
  const auto field = [&](auto member, int32_t first, int32_t last, moxStatus status) {
    for (const int32_t v : {INT_MIN, first - 1, last + 1, INT_MAX}) {
      CodedGranule bad = good;
      member(bad) = v;
      refused(bad, status);
    }
    for (const int32_t v : {first, last}) {
      CodedGranule fine = good;
      member(fine) = v;
      Outcome got(fine);
      EXPECT_EQ(got.run(fine), moxStatusOk);
    }
  };
#define HEADER(name) [](CodedGranule& c) -> int32_t& { return c.header.name; }
#define SIDE(name) [](CodedGranule& c) -> int32_t& { return c.side[1].name; }
  field(HEADER(id), 0, 1, moxStatusMp3FrameHeaderErr);
  field(HEADER(layer), 1, 1, moxStatusMp3FrameHeaderErr);
  field(HEADER(samplingFreq), 0, 2, moxStatusMp3FrameHeaderErr);
  field(HEADER(mode), 0, 3, moxStatusMp3FrameHeaderErr);
  field(HEADER(modeExt), 0, 3, moxStatusMp3FrameHeaderErr);
  field(SIDE(globGain), 0, 255, moxStatusMp3SideInfoErr);
  field(SIDE(winSwitch), 0, 1, moxStatusMp3SideInfoErr);
  field(SIDE(preFlag), 0, 1, moxStatusMp3SideInfoErr);
  field(SIDE(sfScale), 0, 1, moxStatusMp3SideInfoErr);
  field(SIDE(blockType), 0, 3, moxStatusMp3SideInfoErr);
  field(SIDE(mixedBlock), 0, 1, moxStatusMp3SideInfoErr);
  field(SIDE(subBlockGain[2]), 0, 7, moxStatusMp3SideInfoErr);
#undef HEADER
#undef SIDE
}

}  // namespace
