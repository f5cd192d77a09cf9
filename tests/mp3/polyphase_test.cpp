// The fixed-point polyphase banks, the transform inside all of them, and what the float ones refuse; what those compute
// is told in tests/frame/banks_test.cpp.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/polyphase_kernels.h"
#include "support/block.h"
#include "support/direct_forms.h"
#include "support/refusals.h"

namespace {

using moxtest::Block;

constexpr double kUnit = 1 << 26;
constexpr int kSlots = 60;

TEST(CosineTransform, VectorFormsEqualTheirScalarTwins) {
  for (int round = 0; round < 100; ++round) {
    Block<float> x(32), forward(32), transposed(32);
    moxac::mp3::cosineTransform<32>(x, forward);
    moxac::mp3::cosineTransformTransposed<32>(x, transposed);
    const moxac::mp3::SlotVectors c = moxac::mp3::cosineTransform32(
        moxac::load8(x), moxac::load8(x + 8), moxac::load8(x + 16), moxac::load8(x + 24));
    moxac::f32x8 t[4] = {moxac::load8(x), moxac::load8(x + 8), moxac::load8(x + 16), moxac::load8(x + 24)};
    moxac::mp3::cosineTransform32Transposed(t);
    for (int i = 0; i < 8; ++i) {
      const int first = moxac::mp3::kFirstLanes[i], second = moxac::mp3::kSecondLanes[i];
      ASSERT_EQ(c.high0[i], forward[16 + first]);
      ASSERT_EQ(c.high1[i], forward[16 + second]);
      ASSERT_EQ(c.low0[i], forward[first == 0 ? 0 : 16 - first]);
      ASSERT_EQ(c.low1[i], forward[16 - second]);
      for (int v = 0; v < 4; ++v) ASSERT_EQ(t[v][i], transposed[8 * v + i]);
    }
  }
}

TEST(PolyphaseFixed, EqualsTheDirectFormAtEveryPositionStrideAndAlignment) {
  for (const int32_t stride : {1, 2, 3, 8}) {
    Block<int32_t> v(512, 4), x(512, 4);
    v.fill(0), x.fill(0);
    int32_t vPosition = 0, xPosition = 0;
    std::vector<moxtest::Complex> bands;
    std::vector<double> samples, got, analysed;
    for (int slot = 0; slot < kSlots; ++slot) {
      Block<int32_t> xs(32, 4 * (slot % 16)), back(32, 4 * (slot % 16));
      for (int32_t& value : xs)
        bands.emplace_back((value >>= slot < 40 ? 7 : 0) / kUnit);  // last: saturation
      Block<int16_t> audio(31 * stride + 1, 2 * (slot % 32)), before = audio;
      for (int32_t i = 0; i < audio.size(); i += stride) samples.push_back(audio[i] / 32768.0);
      ASSERT_EQ(moxsAnalysisPQMF_MP3_16s32s(audio, back, x, &xPosition, stride), moxStatusOk);
      for (const int32_t value : back) analysed.push_back(value / kUnit);
      ASSERT_EQ(moxsSynthPQMF_MP3_32s16s(xs, audio, v, &vPosition, stride), moxStatusOk);
      for (int32_t i = 0; i < audio.size(); ++i) {
        if (i % stride == 0)
          got.push_back(audio[i]);
        else
          ASSERT_EQ(audio[i], before[i]) << "between the samples";
      }
    }
    const std::vector<double> exact = moxtest::layer3Synthesis().synthesis(bands);
    for (size_t i = 0; i < got.size(); ++i)
      ASSERT_NEAR(got[i], std::clamp(exact[i] * 32768, -32768.0, 32767.0), i < 32 * 40 ? 0.65 : 10) << i;
    const auto want = moxtest::layer3Analysis().analysis(samples);
    for (size_t i = 0; i < analysed.size(); ++i) ASSERT_NEAR(analysed[i], want[i].real(), 5e-7) << i;
  }
}

TEST(PolyphaseBanks, RefuseInOrder) {
  Block<uint8_t> analysis(2107), synthesis(2107);
  auto* const a = reinterpret_cast<MoxMp3AnalysisState*>(analysis.data());
  auto* const s = reinterpret_cast<MoxMp3SynthesisState*>(synthesis.data());
  moxsAnalysisFilterInit_PQMF_MP3_32f(a);
  moxsSynthesisFilterInit_PQMF_MP3_32f(s);
  Block<float> x(32), y(32);
  const Block<float> before = y;
  const auto expect = [&](auto filter, auto* foreign) {
    moxtest::expectNeedsEveryPointer(filter, x, y, foreign);
    EXPECT_EQ(filter(x, y, foreign), moxStatusContextMismatch);
  };
  expect(moxsSynthesisFilter_PQMF_MP3_32f, reinterpret_cast<MoxMp3SynthesisState*>(a));
  expect(moxsAnalysisFilter_PQMF_MP3_32f, reinterpret_cast<MoxMp3AnalysisState*>(s));
  EXPECT_SAME_BITS(y, before);

  Block<int32_t> xs(32), history(512);
  Block<int16_t> audio(64);
  const Block<int32_t> xsBefore = xs, historyBefore = history;
  const Block<int16_t> audioBefore = audio;
  int32_t place = 16;
  moxtest::expectNeedsEveryPointer(moxsSynthPQMF_MP3_32s16s, xs, audio, history, &place, 0);
  moxtest::expectNeedsEveryPointer(moxsAnalysisPQMF_MP3_16s32s, audio, xs, history, &place, 0);
  const auto both = [&](moxStatus status, int32_t position, int32_t stride) {
    place = position;
    EXPECT_EQ(moxsSynthPQMF_MP3_32s16s(xs, audio, history, &place, stride), status);
    EXPECT_EQ(moxsAnalysisPQMF_MP3_16s32s(audio, xs, history, &place, stride), status);
    EXPECT_EQ(place, position);
  };
  for (const int32_t position : {INT_MIN, -1, 16, INT_MAX}) both(moxStatusOutOfRange, position, 0);
  for (const int32_t stride : {INT_MIN, -1, 0}) both(moxStatusBadSize, 15, stride);
  EXPECT_SAME_BITS(xs, xsBefore);
  EXPECT_SAME_BITS(history, historyBefore);
  EXPECT_SAME_BITS(audio, audioBefore);
}

}  // namespace
