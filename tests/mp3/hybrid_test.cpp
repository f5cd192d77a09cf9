// The hybrid bank of Layer III in both directions.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/hybrid_kernels.h"
#include "mp3/hybrid_reference.h"
#include "mp3/requantize_reference.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using moxtest::Block;
using moxtest::expectNeedsEveryPointer;
using moxtest::Faults;
using moxtest::HybridReference;
using moxtest::Lines;
using moxtest::Slots;

constexpr double kUnit = 1 << 26;

struct Granule {
  int blockType;
  bool mixed;
};

// Every block type after every other that the standard allows, plain and mixed.
std::vector<Granule> allSequences() {
  const auto follows = [](int type, int before) { return before == 0 || before == 3 ? type < 2 : type >= 2; };
  std::vector<Granule> sequence = {{0, false}};
  while (sequence.size() < 150) {
    const Granule g = {moxtest::below(4), moxtest::below(3) == 0};
    if (follows(g.blockType, sequence.back().blockType)) sequence.push_back(g);
  }
  return sequence;
}

void fillLines(Block<int32_t>& x, int32_t bound, double amplitude) {
  for (int32_t i = 0; i < 576; ++i)
    x[i] = i < bound ? static_cast<int32_t>(moxtest::noiseValue<double>() * amplitude * kUnit) : 0;
}

TEST(HybridInverse, EqualsTheFormulaForEveryBlockSequenceAndBound) {
  HybridReference reference;
  Block<int32_t> overlap(576, 4);
  overlap.fill(0);
  int32_t previous = 0;
  double worst = 0;
  for (const Granule& g : allSequences()) {
    const auto bound = static_cast<int32_t>(moxtest::noise()() % 4 == 0 ? 576 : moxtest::noise()() % 577);
    Block<int32_t> x(576, 4 * (bound % 8)), xs(576, 4 * (bound % 5));
    fillLines(x, bound, 1);
    Lines lines{};
    std::transform(x.begin(), x.end(), lines.begin(), [](int32_t v) { return v / kUnit; });
    for (int32_t i = bound; i < 576; ++i) x[i] = INT_MAX;  // not to be looked at
    ASSERT_EQ(moxsMDCTInv_MP3_32s(x, xs, overlap, bound, &previous, g.blockType, g.mixed), moxStatusOk);
    const Slots want = reference.inverse(lines, g.blockType, g.mixed && g.blockType != 0);
    for (int i = 0; i < 576; ++i) worst = std::max(worst, std::fabs(xs[i] / kUnit - want[i / 32][i % 32]));
  }
  EXPECT_LT(worst, 1.2e-5) << "of full scale; the sums of 18 lines reach about 10";
  RecordProperty("worst", std::to_string(worst));
}

TEST(HybridInverse, TakesTheCallersWindows) {
  Block<float> windows(4 * 36, 4);
  for (const Granule& g : allSequences()) {
    Block<int32_t> x(576), own(576), caller(576), ownOverlap(576), callerOverlap(576);
    fillLines(x, 576, 1);
    ownOverlap.fill(0), callerOverlap.fill(0);
    int32_t ownPrevious = 0, callerPrevious = 0;
    std::copy_n(moxac::mp3::kHybridWindows.of[0], 4 * 36, windows.begin());
    for (float& w : windows) w *= 0.5f;  // half of every window is half of everything
    ASSERT_EQ(moxsMDCTInv_MP3_32s(x, own, ownOverlap, 576, &ownPrevious, g.blockType, g.mixed), moxStatusOk);
    ASSERT_EQ(moxsMDCTInvWindow_MP3_32s(x, caller, callerOverlap, 576, &callerPrevious, g.blockType, g.mixed,
                                        windows),
              moxStatusOk);
    for (int i = 0; i < 576; ++i) {
      ASSERT_NEAR(caller[i], own[i] / 2.0, 1);
      ASSERT_NEAR(callerOverlap[i], ownOverlap[i] / 2.0, 1);
    }
  }
}

TEST(HybridInverse, TransformsEightBandsAsItDoesOne) {
  for (int type : {0, 2}) {
    Block<float> lines(8 * 18);
    moxac::f32x8 v[18], eight[36];
    moxac::mp3::bandsToLanes(lines, v);
    const float* const window = moxac::mp3::kHybridWindows.of[type];
    const auto all = [&](int i, moxac::f32x8 value) { eight[i] = value; };
    type == 2 ? moxac::mp3::inverseShort<moxac::Lanes8>(v, window, all)
              : moxac::mp3::inverseLong<moxac::Lanes8>(v, window, all);
    for (int band = 0; band < 8; ++band) {
      float x[18];
      std::copy_n(lines + 18 * band, 18, x);
      const auto one = [&](int i, float value) {
        EXPECT_EQ(value, eight[i][band]) << type << ' ' << band << ' ' << i;
      };
      type == 2 ? moxac::mp3::inverseShort<moxac::Lanes1>(x, window, one)
                : moxac::mp3::inverseLong<moxac::Lanes1>(x, window, one);
    }
  }
}

TEST(HybridInverse, SaturatesAndFallsSilent) {
  Block<int32_t> x(576), xs(576), overlap(576);
  for (int32_t& v : x) v = moxtest::noise()() % 2 == 0 ? INT_MAX : INT_MIN;
  overlap.fill(0);
  int32_t previous = 0;
  HybridReference reference;
  Lines lines{};
  std::transform(x.begin(), x.end(), lines.begin(), [](int32_t v) { return v / kUnit; });
  for (int granule = 0; granule < 3; ++granule) {
    const int32_t bound = granule == 0 ? 576 : 0;
    ASSERT_EQ(moxsMDCTInv_MP3_32s(x, xs, overlap, bound, &previous, 0, 0), moxStatusOk);
    EXPECT_EQ(previous, granule == 0 ? 32 : 0);
    const Slots want = reference.inverse(granule == 0 ? lines : Lines{}, 0, false);
    for (int i = 0; i < 576; ++i) {
      const double units = std::clamp(want[i / 32][i % 32] * kUnit, -2147483648.0, 2147483647.0);
      ASSERT_NEAR(xs[i], units, 1e-5 * 2147483648.0) << granule << ' ' << i;
      ASSERT_TRUE(granule < 2 || xs[i] == 0);
    }
  }
}

TEST(HybridForward, EqualsTheFormulaInCodedOrder) {
  HybridReference reference;
  Block<int32_t> overlap(576, 4);
  overlap.fill(0);
  for (const Granule& g : allSequences()) {
    const bool mixed = g.mixed && g.blockType != 0;
    MoxMp3FrameHeader header{};
    header.id = static_cast<int32_t>(moxtest::noise()() % 2);
    header.samplingFreq = static_cast<int32_t>(moxtest::noise()() % 3);
    Block<int32_t> xs(576, 4), xr(576, 8);
    fillLines(xs, 576, 1);
    Slots slots;
    for (int i = 0; i < 576; ++i) slots[i / 32][i % 32] = xs[i] / kUnit;
    ASSERT_EQ(moxsMDCTFwd_MP3_32s(xs, xr, overlap, g.blockType, g.mixed, &header), moxStatusOk);
    EXPECT_SAME_BITS(overlap, xs);
    const Lines want = reference.forward(slots, g.blockType, mixed);
    MoxMp3SideInfo side{};
    side.winSwitch = 1, side.blockType = g.blockType, side.mixedBlock = mixed;
    const int32_t row = moxac::mp3::sfbRow(header);
    const auto places = moxtest::linePlaces(side, header.id, moxMp3SfbLong[row], moxMp3SfbShort[row]);
    for (size_t i = 0; i < 576; ++i)
      ASSERT_NEAR(xr[static_cast<int64_t>(i)] / kUnit, want[static_cast<size_t>(places[i].target)], 4e-6);
  }
}

struct Call {
  MoxMp3FrameHeader header{};
  int32_t bound = 576, previous = 32, blockType = 3, mixed = 1;
};

TEST(Hybrid, RefusesInOrderAndWritesNothing) {
  Block<int32_t> in(576), out(576), overlap(576);
  const float* const windows = moxac::mp3::kHybridWindows.of[0];
  const auto block = Faults<Call>()
                         .range(moxStatusOutOfRange, FIELD(Call, blockType), 0, 3)
                         .range(moxStatusOutOfRange, FIELD(Call, mixed), 0, 1);
  Call wrong{{}, 577, 33, 4, 2};
  wrong.header.id = 2;
  int32_t previous = wrong.previous;
  expectNeedsEveryPointer(moxsMDCTInvWindow_MP3_32s, in, out, overlap, wrong.bound, &previous,
                          wrong.blockType, wrong.mixed, windows);
  expectNeedsEveryPointer(moxsMDCTFwd_MP3_32s, in, out, overlap, wrong.blockType, wrong.mixed, &wrong.header);
  Faults<Call>()
      .add(block)
      .range(moxStatusMp3FrameHeaderErr, FIELD(Call, header.id), 0, 1)
      .range(moxStatusMp3FrameHeaderErr, FIELD(Call, header.samplingFreq), 0, 2)
      .expectInOrder([] { return Call{}; },
                     [&](const Call& c) {
                       const Block<int32_t> xs(in);
                       Block<int32_t> xr(out), history(overlap);
                       const moxStatus status =
                           moxsMDCTFwd_MP3_32s(xs, xr, history, c.blockType, c.mixed, &c.header);
                       EXPECT_TRUE(status >= moxStatusOk ||
                                   (moxtest::sameBits(xr, out) && moxtest::sameBits(history, overlap)));
                       return status;
                     });
  Faults<Call>()
      .range(moxStatusOutOfRange, FIELD(Call, bound), 0, 576)
      .range(moxStatusOutOfRange, FIELD(Call, previous), 0, 32)
      .add(block)
      .expectInOrder([] { return Call{}; },
                     [&](Call c) {
                       Block<int32_t> xs(out), history(overlap);
                       const moxStatus status = moxsMDCTInvWindow_MP3_32s(
                           in, xs, history, c.bound, &c.previous, c.blockType, c.mixed, windows);
                       EXPECT_TRUE(status >= moxStatusOk ||
                                   (moxtest::sameBits(xs, out) && moxtest::sameBits(history, overlap)));
                       return status;
                     });
}

}  // namespace
