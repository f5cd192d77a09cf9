// Inverse quantisation, stereo, noise substitution and reordering against their formulas in wider arithmetic.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <initializer_list>
#include <vector>

#include "aac/band_tables.h"
#include "aac/noise_kernels.h"
#include "aac/quant_inv_kernels.h"
#include "aac/stereo_kernels.h"
#include "moxac/aac.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxac;
using namespace moxac::aac;
using moxtest::Block;
using moxtest::expectNeedsEveryPointer;

constexpr int32_t kRate = 4;  // 44.1 kHz: 49 long bands, 14 short ones
constexpr int32_t kOneGroup[1] = {1};
constexpr int32_t kGroups[3] = {1, 5, 2};

// The arguments that the band-wise operations share; a refusal changes one of them.
struct Frame {
  int32_t groups = 3;
  const int32_t* groupLen = kGroups;
  int32_t maxSfb = 14, rate = kRate, windowLen = 128;
  std::vector<uint8_t> cb = std::vector<uint8_t>(8 * 51, 5);
  std::vector<int16_t> sf = std::vector<int16_t>(8 * 51, 100);
  std::vector<uint8_t> ms = std::vector<uint8_t>(8 * 60, 1);
  std::vector<int32_t> ltp = std::vector<int32_t>(64, 1);
  int32_t msMask = 1;
  uint32_t state = 1;

  static Frame longWindow() {
    Frame f;
    f.groups = 1, f.groupLen = kOneGroup, f.maxSfb = 49, f.windowLen = 1024;
    return f;
  }
  moxStatus quantInv(int32_t* x) const {
    return moxsQuantInv_AAC_32s_I(x, sf.data(), groups, groupLen, maxSfb, cb.data(), rate, windowLen);
  }
  moxStatus midSide(int32_t* l, int32_t* r) {
    return moxsDecodeMsStereo_AAC_32s_I(l, r, msMask, ms.data(), cb.data(), groups, groupLen, maxSfb, rate,
                                        windowLen);
  }
  moxStatus intensity(const int32_t* l, int32_t* r) const {
    return moxsDecodeIsStereo_AAC_32s(l, r, sf.data(), cb.data(), groups, groupLen, maxSfb, rate, windowLen);
  }
  moxStatus noise(int32_t* x) {
    return moxsDecodePNS_AAC_32s(x, ltp.data(), cb.data(), sf.data(), maxSfb, groups, groupLen, rate,
                                 windowLen, &state);
  }
  moxStatus pairNoise(int32_t* l, int32_t* r) {
    return moxsDecodeMsPNS_AAC_32s(l, r, ltp.data(), ltp.data(), cb.data(), cb.data(), sf.data(), sf.data(),
                                   msMask, ms.data(), maxSfb, groups, groupLen, rate, windowLen, &state);
  }
};

TEST(QuantInv, IsThePowerLawForEveryMagnitudeAndScaleFactor) {
  static long double power[8192];
  for (int m = 0; m < 8192; ++m) power[m] = std::pow(static_cast<long double>(m), 4.0L / 3);
  Frame f = Frame::longWindow();
  long double worst = 0;
  for (int32_t sf = -20; sf <= 300; ++sf) {
    std::fill(f.sf.begin(), f.sf.end(), static_cast<int16_t>(sf));
    const long double gain = std::exp2((sf - 100) / 4.0L + int{MOX_AAC_SPECTRUM_FRAC_BITS});
    // Ranges of magnitudes that make every class the band's: below 4, below 16, above; signs alternate.
    for (const auto& [first, last] : {std::pair{0, 3}, {4, 15}, {16, 8191}}) {
      for (int32_t m = first; m <= last;) {
        Block<int32_t> x(1024, sf & 12);
        Block<int32_t> in(1024);
        for (int i = 0; i < 1024; ++i, ++m) in[i] = x[i] = i % 2 ? -std::min(m, last) : std::min(m, last);
        ASSERT_EQ(f.quantInv(x), moxStatusOk);
        for (int i = 0; i < 1024; ++i) {
          ASSERT_EQ(x[i], requantizeLine(in[i], requantizeGain(sf)));
          const long double exact = power[std::abs(in[i])] * gain;
          if (exact >= 0x7FFFFFFF) {
            ASSERT_EQ(x[i], in[i] < 0 ? -0x7FFFFFFF : 0x7FFFFFFF);
            continue;
          }
          const long double error = std::abs(std::abs(x[i]) - exact);
          ASSERT_TRUE(x[i] == 0 || (x[i] < 0) == (in[i] < 0));
          worst = std::max(worst, error);
        }
      }
    }
  }
  EXPECT_LT(worst, 0.500001L) << "units of the last place";
}

TEST(QuantInv, ExtremesAndRefusals) {
  for (int32_t sf : {-32768, -600, 1000, 32767})
    for (int32_t m : {1, 9, 8191}) {
      Frame f = Frame::longWindow();
      std::fill(f.sf.begin(), f.sf.end(), static_cast<int16_t>(sf));
      Block<int32_t> x(1024);
      x.fill(-m);
      EXPECT_EQ(f.quantInv(x), moxStatusOk);
      EXPECT_EQ(x[1023], sf < 0 ? 0 : -0x7FFFFFFF);
    }

  // A too large magnitude stops at its band; other code books pass untouched.
  for (int32_t bad : {8192, -8192, INT32_MIN}) {
    Frame f;
    f.cb[0] = 16, f.cb[1] = 0, f.cb[2] = 13, f.cb[3] = 14, f.cb[4] = 15, f.cb[5] = 12;
    Block<int32_t> x(1024);
    x.fill(8);                                 // 8^(4/3) = 16
    x[20] = bad;                               // group 0, band 5: lines 20..23
    for (int i = 12; i < 20; ++i) x[i] = bad;  // bands 1 to 4 are neither looked at nor changed
    EXPECT_EQ(f.quantInv(x), moxStatusAacEscapeError);
    EXPECT_EQ(x[3], 256);
    for (int i = 4; i < 12; ++i) EXPECT_EQ(x[i], 8);
    EXPECT_EQ(x[12], bad);
    EXPECT_EQ(x[20], bad);
    EXPECT_EQ(x[21], 8) << "checked before the band is touched";
  }
}

TEST(MidSide, WrapsTogglesIntensityAndSparesNoise) {
  for (int32_t mask : {1, 2}) {
    Frame f;
    f.msMask = mask;
    f.cb[1] = 13, f.cb[2] = 14, f.cb[3] = 15;
    f.ms[4] = 0;
    f.ms[60 + 3] = 0;  // second group, band 3
    Block<int32_t> l(1024, 4), r(1024, 8), wantL(l), wantR(r);
    l[0] = wantL[0] = 0x7FFFFFFF, r[0] = wantR[0] = 1;
    ASSERT_EQ(f.midSide(l, r), moxStatusOk);
    const int32_t* offset = moxAacSwbOffsetShort[kRate];
    for (int g = 0, base = 0; g < 3; base += 128 * kGroups[g++])
      for (int b = 0; b < 14; ++b) {
        const bool used = mask == 2 || !((g == 0 && b == 4) || (g == 1 && b == 3));
        if (!used || (g == 0 && b >= 1 && b <= 3)) continue;
        for (int i = base + offset[b] * kGroups[g]; i < base + offset[b + 1] * kGroups[g]; ++i) {
          const auto a = static_cast<uint32_t>(wantL[i]), c = static_cast<uint32_t>(wantR[i]);
          wantL[i] = static_cast<int32_t>(a + c);
          wantR[i] = static_cast<int32_t>(a - c);
        }
      }
    EXPECT_SAME_BITS(l, wantL);
    EXPECT_SAME_BITS(r, wantR);
    EXPECT_EQ(l[0], INT32_MIN);
    EXPECT_EQ(f.cb[2], mask == 1 ? 15 : 14);
    EXPECT_EQ(f.cb[3], mask == 1 ? 14 : 15);
  }
}

TEST(Intensity, FollowsTheDefinitionAtEveryPosition) {
  Block<int32_t> l(1024);
  l[0] = INT32_MIN, l[1] = 0x7FFFFFFF, l[2] = -1, l[3] = 1, l[4] = 0;
  for (int i = 5; i < 1024; ++i) l[i] >>= i % 32;
  std::vector<int32_t> positions = {-32768, -1000, 1000, 32767};
  for (int32_t pos = -300; pos <= 300; ++pos) positions.push_back(pos);
  for (const int32_t pos : positions)
    for (const uint8_t book : std::initializer_list<uint8_t>{14, 15, 11}) {
      Frame f = Frame::longWindow();
      std::fill(f.sf.begin(), f.sf.end(), static_cast<int16_t>(pos));
      std::fill(f.cb.begin(), f.cb.end(), book);
      Block<int32_t> r(1024), before(r);
      ASSERT_EQ(f.intensity(l, r), moxStatusOk);
      for (int i = 0; i < 1024; ++i) {
        if (book == 11) {
          ASSERT_EQ(r[i], before[i]);
          continue;
        }
        const long double exact = (book == 14 ? -1.0L : 1.0L) * l[i] * std::exp2(-pos / 4.0L);
        const long double bound = std::clamp(exact, -2147483647.0L, 2147483647.0L);
        ASSERT_LE(std::abs(r[i] - bound), 1 + 1e-9L * std::abs(bound)) << pos << " " << l[i];
        ASSERT_EQ(r[i], intensityLine(l[i], pos, book == 14));
      }
    }
}

// The states of the generator, one step per line, scaled to the band's energy: within 0.1 dB but for truncation.
TEST(Noise, IsTheGeneratorsAtTheBandsEnergy) {
  uint32_t state = 12345;
  for (int32_t width = 4; width <= 96; width += 4)
    for (int32_t energy = 0; energy <= 100; ++energy)
      for (int round = 0; round < 10; ++round) {
        Block<int32_t> x(width);
        uint32_t s = state;
        noiseBand(x, width, energy, s);
        std::vector<double> want;
        double sum = 0;
        for (int i = 0; i < width; ++i) {
          state = state * 1664525u + 1013904223u;
          want.push_back(static_cast<int32_t>(state));
          sum += want.back() * want.back();
        }
        ASSERT_EQ(s, state);
        const double gain = std::exp2(energy / 4.0 + int{MOX_AAC_SPECTRUM_FRAC_BITS}) / std::sqrt(sum);
        for (int i = 0; i < width; ++i) {
          const double exact = gain * want[static_cast<size_t>(i)];
          ASSERT_NEAR(x[i], exact, 1 + 0.0115 * std::abs(exact)) << width << " " << energy;
        }
      }
}

TEST(Noise, ExtremeEnergiesAreDefined) {
  for (int32_t energy : {-32768, -100, 120, 255, 32767}) {
    uint32_t state = 99;
    int32_t x[16];
    noiseBand(x, 16, energy, state);
    for (int32_t v : x) {
      EXPECT_NE(v, INT32_MIN);
      EXPECT_TRUE(energy > 0 || v == 0 || v == -1);
      EXPECT_TRUE(energy < 200 || std::abs(v) == 0x7FFFFFFF);
    }
  }
  // State 0 forever would be silence; a band of zeros stays zero.
  EXPECT_EQ(noiseGain(32767), INT64_MAX);
}

TEST(Noise, WalksWindowsAndBandsAndClearsPredictionFlags) {
  Frame f;
  f.state = 5;
  std::fill(f.cb.begin(), f.cb.end(), 3);
  f.cb[2] = f.cb[14 + 1] = f.cb[14 + 6] = 13;
  f.sf[2] = 50, f.sf[14 + 1] = 60, f.sf[14 + 6] = 70;
  Block<int32_t> x(1024), want(x);
  ASSERT_EQ(f.noise(x), moxStatusOk);
  const int32_t* offset = moxAacSwbOffsetShort[kRate];
  const auto width = [&](int b) { return offset[b + 1] - offset[b]; };
  uint32_t state = 5;
  noiseBand(want.data() + offset[2], width(2), 50, state);
  for (int w = 0; w < 5; ++w) {
    noiseBand(want.data() + 128 + offset[1] * 5 + w * width(1), width(1), 60, state);
    noiseBand(want.data() + 128 + offset[6] * 5 + w * width(6), width(6), 70, state);
  }
  EXPECT_SAME_BITS(x, want);
  EXPECT_EQ(f.state, state);
  EXPECT_EQ(std::count(f.ltp.begin(), f.ltp.end(), 0), 0) << "short windows leave the flags";

  Frame g = Frame::longWindow();
  g.cb[7] = g.cb[48] = 13;
  ASSERT_EQ(g.noise(x), moxStatusOk);
  EXPECT_EQ(std::count(g.ltp.begin(), g.ltp.end(), 0), 2);
  EXPECT_EQ(g.ltp[8] | g.ltp[49], 0);
}

// Two channels that differ in everything: left before right in each window and band, the right one with a noise of its own
// but where both have noise and mid/side says so.
TEST(Noise, OfAPairIsSharedWhereMidSideSaysSo) {
  for (int round = 0; round < 60; ++round) {
    Frame f = round % 2 == 0 ? Frame::longWindow() : Frame();
    f.msMask = round % 3;
    for (uint8_t& flag : f.ms) flag = static_cast<uint8_t>(moxtest::below(2));
    std::vector<uint8_t> cb[2] = {f.cb, f.cb};
    std::vector<int16_t> sf[2] = {f.sf, f.sf};
    std::vector<int32_t> ltp[2] = {f.ltp, f.ltp};
    for (int ch = 0; ch < 2; ++ch)
      for (size_t i = 0; i < f.cb.size(); ++i) {
        cb[ch][i] = moxtest::below(3) == 0 ? 5 : 13;
        sf[ch][i] = static_cast<int16_t>(40 + moxtest::below(40));
      }
    Block<int32_t> l(1024), r(1024), wantL(l), wantR(r);
    std::vector<int32_t> wantLtp[2] = {ltp[0], ltp[1]};
    uint32_t state = f.state = moxtest::noiseValue<uint32_t>();
    const int32_t* const offset =
        f.windowLen == 128 ? moxAacSwbOffsetShort[kRate] : moxAacSwbOffsetLong[kRate];
    int64_t base = 0;
    for (int32_t g = 0; g < f.groups; base += int64_t{f.windowLen} * f.groupLen[g++])
      for (int32_t w = 0; w < f.groupLen[g]; ++w)
        for (int32_t b = 0; b < f.maxSfb; ++b) {
          const auto i = static_cast<size_t>(g * f.maxSfb + b);
          const int32_t width = offset[b + 1] - offset[b];
          const int64_t first = base + offset[b] * f.groupLen[g] + w * width;
          const bool noise[2] = {cb[0][i] == 13, cb[1][i] == 13};
          const bool shared =
              noise[0] && (f.msMask == 2 || (f.msMask == 1 && f.ms[static_cast<size_t>(60 * g + b)] != 0));
          uint32_t again = state;
          if (noise[0]) noiseBand(wantL + first, width, sf[0][i], state);
          if (noise[1]) noiseBand(wantR + first, width, sf[1][i], shared ? again : state);
          for (size_t ch = 0; ch < 2 && f.groups == 1; ++ch)
            if (noise[ch]) wantLtp[ch][static_cast<size_t>(b + 1)] = 0;
        }
    ASSERT_EQ(moxsDecodeMsPNS_AAC_32s(l, r, ltp[0].data(), ltp[1].data(), cb[0].data(), cb[1].data(),
                                      sf[0].data(), sf[1].data(), f.msMask, f.ms.data(), f.maxSfb, f.groups,
                                      f.groupLen, f.rate, f.windowLen, &f.state),
              moxStatusOk);
    EXPECT_SAME_BITS(l, wantL);
    EXPECT_SAME_BITS(r, wantR);
    EXPECT_TRUE(ltp[0] == wantLtp[0] && ltp[1] == wantLtp[1] && f.state == state) << round;
  }
}

TEST(Deinterleave, PutsEveryWindowInLineOrder) {
  Block<int32_t> src(1024), dst(1024, 4), want(1024);
  for (int rate = 0; rate < 12; ++rate) {
    const int32_t* offset = moxAacSwbOffsetShort[rate];
    const int32_t* in = src;
    for (int g = 0, window = 0; g < 3; window += kGroups[g++])
      for (int b = 0; b < moxAacNumSwbShort[rate]; ++b)
        for (int w = window; w < window + kGroups[g]; ++w)
          for (int i = offset[b]; i < offset[b + 1]; ++i) want[w * 128 + i] = *in++;
    ASSERT_EQ(moxsDeinterleaveSpectrum_AAC_32s(src, dst, 3, kGroups, rate, 128), moxStatusOk);
    EXPECT_SAME_BITS(dst, want);
    ASSERT_EQ(moxsDeinterleaveSpectrum_AAC_32s(src, dst, 1, kOneGroup, rate, 1024), moxStatusOk);
    EXPECT_SAME_BITS(dst, src);
  }
  const int32_t bad[3] = {1, 5, 3}, less[3] = {1, 5, 1};  // other tools take less than a frame
  EXPECT_EQ(moxsDeinterleaveSpectrum_AAC_32s(src, dst, 3, bad, 12, 12), moxStatusAacWinLenError);
  for (const int32_t* lens : {bad, less})
    EXPECT_EQ(moxsDeinterleaveSpectrum_AAC_32s(src, dst, 3, lens, 12, 128), moxStatusAacWinGrpError);
  EXPECT_EQ(moxsDeinterleaveSpectrum_AAC_32s(src, dst, 1, kGroups + 2, 12, 1024), moxStatusAacWinGrpError);
  EXPECT_EQ(moxsDeinterleaveSpectrum_AAC_32s(src, dst, 3, kGroups, 12, 128), moxStatusAacSampleRateError);
}

// From the last check to the first, each fault is added to those behind it and wins.
TEST(SpectralTools, RefuseInTheDocumentedOrderAndTouchNothing) {
  for (int op = 0; op < 5; ++op) {
    Frame f;
    std::fill(f.cb.begin(), f.cb.end(), 13);
    Block<int32_t> l(1024), r(1024), wasL(l), wasR(r);
    const auto call = [&] {
      return op == 0   ? f.quantInv(r)
             : op == 1 ? f.midSide(l, r)
             : op == 2 ? f.intensity(l, r)
             : op == 3 ? f.noise(r)
                       : f.pairNoise(l, r);
    };
    // Each of these values of a field is refused.
    const auto refused = [&](auto& field, std::initializer_list<int32_t> values, moxStatus want) {
      for (const int32_t value : values) {
        field = value;
        EXPECT_EQ(call(), want) << op << " " << value;
      }
    };
    refused(f.maxSfb, {15}, moxStatusAacMaxSfbError);
    if (op == 1 || op == 4) refused(f.msMask, {3, -1}, moxStatusAacMsMaskError);
    refused(f.rate, {-1, 12}, moxStatusAacSampleRateError);
    refused(f.maxSfb, {-1, 52}, moxStatusAacMaxSfbError);
    for (const auto& lens : {std::array{1, 5, 3}, {1, 0, 2}, {-1, 5, 2}}) {
      f.groupLen = lens.data();
      EXPECT_EQ(call(), moxStatusAacWinGrpError);
    }
    f.groupLen = kGroups;
    refused(f.groups, {0, -1, 9}, moxStatusAacWinGrpError);
    f.windowLen = 1024;
    refused(f.groups, {0, 2}, moxStatusAacWinGrpError);
    refused(f.windowLen, {0, 256}, moxStatusAacWinLenError);
    EXPECT_SAME_BITS(l, wasL);
    EXPECT_SAME_BITS(r, wasR);

    f = Frame();
    f.maxSfb = 0;
    EXPECT_EQ(call(), moxStatusOk);
    EXPECT_SAME_BITS(r, wasR);
  }
}

TEST(SpectralTools, NeedEveryPointer) {
  Frame f;
  Block<int32_t> l(1024), r(1024);
  int32_t* const ltp = f.ltp.data();
  const int16_t* const sf = f.sf.data();
  uint8_t *const cb = f.cb.data(), *const ms = f.ms.data();
  expectNeedsEveryPointer(moxsQuantInv_AAC_32s_I, l, sf, 0, kOneGroup, 99, cb, 12, 9);
  expectNeedsEveryPointer(moxsDecodeMsStereo_AAC_32s_I, l, r, 1, ms, cb, 0, kOneGroup, 99, 12, 9);
  expectNeedsEveryPointer(moxsDecodeIsStereo_AAC_32s, l, r, sf, cb, 0, kOneGroup, 99, 12, 9);
  expectNeedsEveryPointer(moxsDecodePNS_AAC_32s, l, ltp, cb, sf, 99, 1, kOneGroup, 12, 9, &f.state);
  expectNeedsEveryPointer(moxsDecodeMsPNS_AAC_32s, l, r, ltp, ltp, cb, cb, sf, sf, 1, ms, 99, 1, kOneGroup,
                          12, 9, &f.state);
  expectNeedsEveryPointer(moxsDeinterleaveSpectrum_AAC_32s, l, r, 3, kGroups, 12, 12);
  // Flags of prediction are wanted for one group only, those of M/S for mask 1 only.
  const auto pairWithout = [&](int32_t* flags, int32_t mask, int32_t groups) {
    return moxsDecodeMsPNS_AAC_32s(l, r, flags, flags, cb, cb, sf, sf, mask, nullptr, 14, groups, kGroups,
                                   kRate, 128, &f.state);
  };
  EXPECT_EQ(pairWithout(nullptr, 2, 3), moxStatusOk);
  EXPECT_EQ(pairWithout(nullptr, 1, 3), moxStatusNullPointer);
  EXPECT_EQ(pairWithout(nullptr, 0, 1), moxStatusNullPointer);
  EXPECT_EQ(moxsDecodePNS_AAC_32s(l, nullptr, cb, sf, 14, 3, kGroups, kRate, 128, &f.state), moxStatusOk);
  EXPECT_EQ(moxsDecodeMsStereo_AAC_32s_I(l, r, 2, nullptr, cb, 3, kGroups, 14, kRate, 128), moxStatusOk);
}

}  // namespace
