// The fixed-point filter bank against double precision and its scalar twin.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <vector>

#include "aac/mdct_kernels.h"
#include "aac/mdct_reference.h"
#include "moxac/aac.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxac;
using namespace moxac::aac;
using moxtest::Block;
using moxtest::expectNeedsEveryPointer;
using moxtest::FrameReference;

constexpr double kTimeUnit = 1 << MOX_AAC_TIME_FRAC_BITS;
constexpr double kSpectrumUnit = 1 << MOX_AAC_SPECTRUM_FRAC_BITS;

// Lines with the slope of music: the largest such spectra of 16-bit signals.
void fillSpectrum(Block<int32_t>& X, bool isShort) {
  for (int i = 0; i < 1024; ++i) {
    const double fall = std::pow(1.0 + (isShort ? 8 * (i % 128) : i), -0.8);
    X[i] = static_cast<int32_t>(moxtest::noiseValue<double>() * (isShort ? 1 << 26 : 1 << 29) * fall);
  }
}

template <class Visit>
void forEachWindow(Visit&& visit) {
  for (int32_t sequence = 0; sequence < 4; ++sequence)
    for (int32_t shape = 0; shape < 2; ++shape)
      for (int32_t prevShape = 0; prevShape < 2; ++prevShape) visit(sequence, shape, prevShape);
}

std::vector<double> toDouble(const int32_t* v, size_t n, double unit) {
  std::vector<double> d(v, v + n);
  for (double& x : d) x /= unit;
  return d;
}

TEST(AacMdct, InverseIsWithinOneOfDoublePrecisionAndEqualsItsTwin) {
  double worst = 0;
  int differing = 0;
  forEachWindow([&](int32_t sequence, int32_t shape, int32_t prevShape) {
    Block<int32_t> X(1024, 4), overlap(1024, 8), buffer(MOX_AAC_MDCT_BUFFER_WORDS, 12);
    fillSpectrum(X, sequence == 2);
    for (int32_t& v : overlap) v >>= 9;
    const Block<int32_t> before(overlap), source(X);
    const std::vector<double> x =
        FrameReference{sequence, shape, prevShape}.inverse(toDouble(X, 1024, kSpectrumUnit));

    Block<int16_t> pcm(1024, 2);
    ASSERT_EQ(moxsMDCTInv_AAC_32s16s(X, pcm, overlap, sequence, shape, prevShape, 1, buffer), moxStatusOk);
    EXPECT_SAME_BITS(X, source);
    for (int n = 0; n < 1024; ++n) {
      const double sample = before[n] / kTimeUnit + x.data()[n];
      worst = std::max({worst, std::abs(buffer[n] / kTimeUnit - sample),
                        std::abs(overlap[n] / kTimeUnit - x.data()[1024 + n])});
      const double want = std::clamp(std::nearbyint(sample), -32768.0, 32767.0);
      ASSERT_LE(std::abs(pcm[n] - want), 1);
      differing += pcm[n] != want;
      ASSERT_EQ(pcm[n], toPcm(buffer[n]));
    }

    std::vector<float> scratch(kMdctScratchFloats);
    const float* samples = inverseFrame<Lanes1>(X, {sequence, shape, prevShape}, scratch.data());
    for (int n = 0; n < 1024; ++n) {
      ASSERT_EQ(buffer[n], before[n] + toTime(samples[n])) << sequence << " " << n;
      ASSERT_EQ(overlap[n], toTime(samples[1024 + n]));
    }

    // Interleaved: every third sample, the others untouched.
    Block<int16_t> three(3 * 1024 - 2);
    const Block<int16_t> was(three);
    std::copy(before.begin(), before.end(), overlap.begin());
    ASSERT_EQ(moxsMDCTInv_AAC_32s16s(X, three, overlap, sequence, shape, prevShape, 3, buffer), moxStatusOk);
    for (int n = 0; n < 3 * 1024 - 2; ++n) ASSERT_EQ(three[n], n % 3 == 0 ? pcm[n / 3] : was[n]);
  });
  RecordProperty("worst", std::to_string(worst));
  EXPECT_LT(worst, 1.0 / 64) << "units of 16 bits";
  EXPECT_LT(differing, 16 * 1024 / 50);
}

TEST(AacMdct, ForwardIsWithinFloatPrecisionAndEqualsItsTwin) {
  double worst = 0;
  forEachWindow([&](int32_t sequence, int32_t shape, int32_t prevShape) {
    Block<int32_t> x(2048, 4), X(1024, 8), buffer(MOX_AAC_MDCT_BUFFER_WORDS);
    for (int32_t& v : x) v >>= 8;
    const std::vector<double> want =
        FrameReference{sequence, shape, prevShape}.forward(toDouble(x, 2048, kTimeUnit));
    ASSERT_EQ(moxsMDCTFwd_AAC_32s(x, X, sequence, shape, prevShape, buffer), moxStatusOk);
    double peak = 0;
    for (double v : want) peak = std::max(peak, std::abs(v));
    for (int k = 0; k < 1024; ++k)
      worst = std::max(worst, (std::abs(X[k] / kSpectrumUnit - want.data()[k]) - 0.5 / kSpectrumUnit) / peak);

    std::vector<float> scratch(kMdctScratchFloats);
    forwardFrame<Lanes1>(x, {sequence, shape, prevShape}, scratch.data());
    for (int k = 0; k < 1024; ++k) ASSERT_EQ(X[k], static_cast<int32_t>(std::lrint(scratch.data()[k])));
    const Block<int32_t> behind(x);
    ASSERT_EQ(moxsMDCTFwd_AAC_32s_I(x, sequence, shape, prevShape, buffer), moxStatusOk);
    ASSERT_TRUE(std::equal(X.begin(), X.end(), x.begin()));
    ASSERT_TRUE(std::equal(x.begin() + 1024, x.end(), behind.begin() + 1024));
  });
  EXPECT_LT(worst, std::exp2(-21)) << "of the largest line";
}

TEST(AacMdct, SaturatesWithoutOverflow) {
  for (int32_t level : {INT32_MAX, INT32_MIN}) {
    Block<int32_t> X(1024), overlap(1024), buffer(MOX_AAC_MDCT_BUFFER_WORDS), x(2048);
    Block<int16_t> pcm(1024);
    // The lines that drive sample 512 furthest, upon an overlap at its limit.
    for (int k = 0; k < 1024; ++k)
      X[k] = std::cos(std::numbers::pi / 1024 * 1024.5 * (k + 0.5)) > 0 ? level : -(level / 2);
    overlap.fill(level > 0 ? 1 << 30 : -(1 << 30));
    ASSERT_EQ(moxsMDCTInv_AAC_32s16s(X, pcm, overlap, 0, 0, 0, 1, buffer), moxStatusOk);
    ASSERT_GT(std::abs(int64_t{buffer[512]}), (int64_t{1} << 31) - 129);
    for (int n = 0; n < 1024; ++n)
      ASSERT_EQ(pcm[n], std::clamp<int64_t>((int64_t{buffer[n]} + 128) >> 8, -32768, 32767));
    for (int32_t v : overlap) ASSERT_LE(std::abs(v), 1 << 30);
    for (int n = 0; n < 2048; ++n)
      x[n] = FrameReference{0, 0, 0}.longWindow(n) > 0 && n % 2 ? level : -(level / 2);
    ASSERT_EQ(moxsMDCTFwd_AAC_32s(x, X, 0, 0, 0, buffer), moxStatusOk);
    for (int32_t v : X) ASSERT_NE(v, INT32_MIN);
  }
}

TEST(AacMdct, RefusesInTheDocumentedOrder) {
  Block<int32_t> X(2048), overlap(1024), buffer(MOX_AAC_MDCT_BUFFER_WORDS);
  Block<int16_t> pcm(1024);
  const Block<int16_t> wasPcm(pcm);
  const Block<int32_t> wasX(X), wasOverlap(overlap);
  const auto both = [&](int32_t sequence, int32_t shape, int32_t prevShape, moxStatus want) {
    EXPECT_EQ(moxsMDCTInv_AAC_32s16s(X, pcm, overlap, sequence, shape, prevShape, 0, buffer), want);
    EXPECT_EQ(moxsMDCTFwd_AAC_32s_I(X, sequence, shape, prevShape, buffer), want);
  };
  EXPECT_EQ(moxsMDCTInv_AAC_32s16s(X, pcm, overlap, 0, 0, 0, 0, buffer), moxStatusBadSize);
  for (int32_t bad : {-1, 2}) {
    both(0, 0, bad, moxStatusOutOfRange);
    both(0, bad, 0, moxStatusOutOfRange);
    both(bad < 0 ? bad : 4, bad, bad, moxStatusAacWinSeqError);
  }
  expectNeedsEveryPointer(moxsMDCTInv_AAC_32s16s, X, pcm, overlap, 9, 0, 0, 0, buffer);
  expectNeedsEveryPointer(moxsMDCTFwd_AAC_32s, X, X, 9, 0, 0, buffer);
  expectNeedsEveryPointer(moxsMDCTFwd_AAC_32s_I, X, 9, 0, 0, buffer);
  EXPECT_SAME_BITS(X, wasX);
  EXPECT_SAME_BITS(pcm, wasPcm);
  EXPECT_SAME_BITS(overlap, wasOverlap);
}

}  // namespace
