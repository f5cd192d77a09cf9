#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/hybrid_reference.h"
#include "mp3/polyphase_kernels.h"
#include "mp3/polyphase_reference.h"
#include "support/block.h"

namespace {

using moxtest::Block;
using moxtest::Slot;

constexpr double kUnit = 1 << 26;
constexpr int32_t kStateBytes = 2107;

// A synthesis or analysis bank in memory of its own, `shift` bytes past a boundary.
template <class State>
struct Bank {
  Block<uint8_t> memory;
  explicit Bank(int64_t shift = 0) : memory(kStateBytes, shift) {}
  State* state() { return reinterpret_cast<State*>(memory.data()); }
};
using SynthesisBank = Bank<MoxMp3SynthesisState>;
using AnalysisBank = Bank<MoxMp3AnalysisState>;

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

TEST(PolyphaseSynthesis, EqualsTheFormulaAtEveryPositionStrideAndAlignment) {
  for (const int32_t stride : {1, 2, 3, 8}) {
    moxtest::SynthesisReference reference;
    SynthesisBank bank(stride);
    ASSERT_EQ(moxsSynthesisFilterInit_PQMF_MP3_32f(bank.state()), moxStatusOk);
    Block<int32_t> v(512, 4);
    v.fill(0);
    int32_t position = 0;
    for (int slot = 0; slot < 60; ++slot) {
      Block<int32_t> xs(32, 4 * (slot % 16));
      Block<float> bands(32, 4 * (slot % 16)), out(32, 4 * (slot % 5));
      Slot s{};
      for (size_t k = 0; k < 32; ++k) {
        xs[static_cast<int64_t>(k)] >>= slot < 40 ? 7 : 0;  // last, 32 times full scale: saturation
        s[k] = xs[static_cast<int64_t>(k)] / kUnit;
        bands[static_cast<int64_t>(k)] = static_cast<float>(s[k]);
      }
      Block<int16_t> audio(31 * stride + 1, 2 * (slot % 32)), before = audio;
      ASSERT_EQ(moxsSynthPQMF_MP3_32s16s(xs, audio, v, &position, stride), moxStatusOk);
      ASSERT_EQ(moxsSynthesisFilter_PQMF_MP3_32f(bands, slot % 2 == 0 ? out : bands, bank.state()),
                moxStatusOk);
      const Slot want = reference.slot(s);
      for (int32_t i = 0; i < audio.size(); ++i) {
        if (i % stride != 0) {
          ASSERT_EQ(audio[i], before[i]) << "between the samples";
          continue;
        }
        const double exact = want[static_cast<size_t>(i / stride)];
        ASSERT_NEAR((slot % 2 == 0 ? out : bands)[i / stride], exact, slot < 40 ? 5e-6 : 3e-4);
        ASSERT_NEAR(audio[i], std::clamp(exact * 32768, -32768.0, 32767.0), slot < 40 ? 0.65 : 10);
      }
    }
  }
}

TEST(PolyphaseAnalysis, EqualsTheFormulaAtEveryPositionAndStride) {
  for (const int32_t stride : {1, 2, 5}) {
    moxtest::AnalysisReference reference;
    AnalysisBank bank(stride);
    ASSERT_EQ(moxsAnalysisFilterInit_PQMF_MP3_32f(bank.state()), moxStatusOk);
    Block<int32_t> x(512, 4);
    x.fill(0);
    int32_t position = 0;
    for (int slot = 0; slot < 40; ++slot) {
      Block<int16_t> audio(31 * stride + 1, 2 * (slot % 32));
      Block<float> samples(32, 4 * (slot % 16)), bands(32);
      Block<int32_t> xs(32, 4 * (slot % 16));
      Slot s{};
      for (int32_t i = 0; i < 32; ++i)
        s[static_cast<size_t>(i)] = samples[i] = static_cast<float>(audio[i * stride]) / 32768;
      ASSERT_EQ(moxsAnalysisPQMF_MP3_16s32s(audio, xs, x, &position, stride), moxStatusOk);
      ASSERT_EQ(moxsAnalysisFilter_PQMF_MP3_32f(samples, bands, bank.state()), moxStatusOk);
      const Slot want = reference.slot(s);
      for (int32_t k = 0; k < 32; ++k) {
        ASSERT_NEAR(bands[k], want[static_cast<size_t>(k)], 5e-7);
        ASSERT_NEAR(xs[k] / kUnit, want[static_cast<size_t>(k)], 5e-7);
      }
    }
  }
}

// The window is not quite perfect: in exact arithmetic, too, its gain wavers by 1e-4 over frequency (84 dB
// for white noise), with aliases 96 dB down.
TEST(Polyphase, SynthesisAfterAnalysisGivesTonesBack481SamplesLater) {
  for (double frequency = 0.0007; frequency < 0.5; frequency += 0.0031) {
    SynthesisBank synthesis;
    AnalysisBank analysis;
    moxsSynthesisFilterInit_PQMF_MP3_32f(synthesis.state());
    moxsAnalysisFilterInit_PQMF_MP3_32f(analysis.state());
    double signal = 0, product = 0, output = 0;
    for (int slot = 0; slot < 120; ++slot) {
      const auto tone = [&](int i) { return std::sin(2 * moxtest::kPi * frequency * i); };
      float samples[32];
      for (int i = 0; i < 32; ++i) samples[i] = static_cast<float>(tone(32 * slot + i));
      moxsAnalysisFilter_PQMF_MP3_32f(samples, samples, analysis.state());
      moxsSynthesisFilter_PQMF_MP3_32f(samples, samples, synthesis.state());
      for (int i = 0; i < 32 && slot >= 32; ++i) {
        const double want = tone(32 * slot + i - 481);
        signal += want * want;
        product += want * samples[i];
        output += static_cast<double>(samples[i]) * samples[i];
      }
    }
    const double gain = product / signal, rest = output - gain * product;
    ASSERT_NEAR(gain, 1, 1.2e-4) << frequency;
    ASSERT_GT(10 * std::log10(signal / rest), 90) << frequency;
  }
}

TEST(PolyphaseBanks, KeepToTheirBytesAndSoundAlikeAtEveryAlignment) {
  Block<float> in(32 * 20), bands(32 * 20), out(32 * 20);
  for (int64_t shift = 0; shift < 64; ++shift) {
    SynthesisBank synthesis(shift);  // Block's guards catch any byte outside
    AnalysisBank analysis(shift);
    ASSERT_EQ(moxsSynthesisFilterInit_PQMF_MP3_32f(synthesis.state()), moxStatusOk);
    ASSERT_EQ(moxsAnalysisFilterInit_PQMF_MP3_32f(analysis.state()), moxStatusOk);
    Block<float> b(32 * 20, 4 * (shift % 16)), o(32 * 20, 4 * (shift % 16));
    for (int slot = 0; slot < 20; ++slot) {
      moxsAnalysisFilter_PQMF_MP3_32f(in + 32 * slot, b + 32 * slot, analysis.state());
      moxsSynthesisFilter_PQMF_MP3_32f(b + 32 * slot, o + 32 * slot, synthesis.state());
    }
    if (shift == 0) std::copy(b.begin(), b.end(), bands.begin()), std::copy(o.begin(), o.end(), out.begin());
    ASSERT_TRUE(moxtest::sameBits(b, bands) && moxtest::sameBits(o, out)) << shift;
  }
}

TEST(PolyphaseBanks, RefuseInOrder) {
  SynthesisBank synthesis;
  AnalysisBank analysis;
  moxsSynthesisFilterInit_PQMF_MP3_32f(synthesis.state());
  moxsAnalysisFilterInit_PQMF_MP3_32f(analysis.state());
  Block<float> x(32), y(32);
  const Block<float> before = y;
  const auto expect = [&](auto filter, auto* own, auto* other) {
    auto* const foreign = reinterpret_cast<decltype(own)>(other);
    EXPECT_EQ(filter(nullptr, y, foreign), moxStatusNullPointer);
    EXPECT_EQ(filter(x, nullptr, foreign), moxStatusNullPointer);
    EXPECT_EQ(filter(x, y, nullptr), moxStatusNullPointer);
    EXPECT_EQ(filter(x, y, foreign), moxStatusContextMismatch);
  };
  expect(moxsSynthesisFilter_PQMF_MP3_32f, synthesis.state(), analysis.state());
  expect(moxsAnalysisFilter_PQMF_MP3_32f, analysis.state(), synthesis.state());
  EXPECT_SAME_BITS(y, before);
}

TEST(Polyphase, FixedFormsRefuseInOrderAndWriteNothing) {
  Block<int32_t> xs(32), history(512);
  Block<int16_t> audio(64);
  const Block<int32_t> xsBefore = xs, historyBefore = history;
  const Block<int16_t> audioBefore = audio;
  const auto expect = [&](moxStatus status, int without, int32_t position, int32_t stride) {
    const auto p = [&](int i, auto* pointer) { return i == without ? nullptr : pointer; };
    int32_t place = position;
    EXPECT_EQ(moxsSynthPQMF_MP3_32s16s(p(0, xs.data()), p(1, audio.data()), p(2, history.data()),
                                       p(3, &place), stride),
              status);
    EXPECT_EQ(moxsAnalysisPQMF_MP3_16s32s(p(1, audio.data()), p(0, xs.data()), p(2, history.data()),
                                          p(3, &place), stride),
              status);
    EXPECT_EQ(place, position);
  };
  for (int without = 0; without < 4; ++without) expect(moxStatusNullPointer, without, 16, 0);
  for (const int32_t position : {INT_MIN, -1, 16, INT_MAX}) expect(moxStatusOutOfRange, -1, position, 0);
  for (const int32_t stride : {INT_MIN, -1, 0}) expect(moxStatusBadSize, -1, 15, stride);
  EXPECT_SAME_BITS(xs, xsBefore);
  EXPECT_SAME_BITS(history, historyBefore);
  EXPECT_SAME_BITS(audio, audioBefore);
}

}  // namespace
