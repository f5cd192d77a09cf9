#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "frame/context_ids.h"
#include "moxac/transform.h"
#include "support/block.h"
#include "support/refusals.h"
#include "transform/dts_tables.h"

namespace {

using moxtest::Block;

using Prototype = const float (&)[512];
Prototype prototype(int filter) {
  return filter == moxDtsPerfect ? moxac::transform::kDtsPerfect : moxac::transform::kDtsNonPerfect;
}

double filterTap(Prototype d, int k, int i) {
  const double sign = (i / 64 % 2 == 0 ? 1 : -1) * (k % 4 == 0 || k % 4 == 3 ? 1 : -1);
  return 64 * sign * d[i] * std::cos(M_PI / 32 * (k + 0.5) * (i + 16.5));
}

// The direct double sum over all slots from the start.
std::vector<double> synthesize(Prototype d, const std::vector<float>& x, int slots) {
  std::vector<double> y(static_cast<size_t>(32 * (slots + 15)));
  for (int k = 0; k < 32; ++k)
    for (int i = 0; i < 512; ++i) {
      const double tap = filterTap(d, k, i);
      for (int t = 0; t < slots; ++t)
        y[static_cast<size_t>(32 * t + i)] += tap * x[static_cast<size_t>(32 * t + k)];
    }
  y.resize(static_cast<size_t>(32 * slots));
  return y;
}

struct State {
  explicit State(int64_t shift) : memory(bytes(), shift) {
    EXPECT_EQ(moxsSynthesisFilterInit_DTS_32f(get()), moxStatusOk);
  }
  static int32_t bytes() {
    int32_t size = 0;
    EXPECT_EQ(moxsSynthesisFilterGetSize_DTS_32f(&size), moxStatusOk);
    return size;
  }
  MoxDtsSynthesisState* get() { return reinterpret_cast<MoxDtsSynthesisState*>(memory.data()); }
  Block<uint8_t> memory;
};

TEST(Dts, EqualsTheDirectSumAndItselfInAnySplit) {
  constexpr int kSlots = 70;
  for (const int filter : {moxDtsNonPerfect, moxDtsPerfect}) {
    Prototype d = prototype(filter);
    Block<float> x(32 * kSlots, 4);
    const auto want = synthesize(d, std::vector<float>(x.begin(), x.end()), kSlots);
    double peak = 0;
    for (const double v : want) peak = std::max(peak, std::fabs(v));
    Block<float> whole(32 * kSlots, 12);
    State state(7);
    ASSERT_EQ(moxsSynthesisFilter_DTS_32f(x, whole, kSlots, filter, state.get()), moxStatusOk);
    double square = 0;
    for (int64_t i = 0; i < whole.size(); ++i) square += std::pow(whole[i] - want[static_cast<size_t>(i)], 2);
    const double rms = std::sqrt(square / static_cast<double>(whole.size())) / peak;
    RecordProperty(filter == moxDtsPerfect ? "rms_perfect" : "rms_nonperfect",
                   std::to_string(std::log2(rms)));
    EXPECT_LT(rms, std::ldexp(1.0, -22)) << "2^" << std::log2(rms);

    for (int64_t shift = 0; shift < 64; shift += 9) {
      State pieces(shift);
      Block<float> split = x;  // in place
      for (int at = 0, len = 1; at < kSlots; at += len, len = std::min(1 + len * 3 % 17, kSlots - at))
        ASSERT_EQ(moxsSynthesisFilter_DTS_32f(split + 32 * at, split + 32 * at, len, filter, pieces.get()),
                  moxStatusOk);
      EXPECT_SAME_BITS(split, whole);
    }
  }
}

TEST(Dts, TheMatchedAnalysisComesBackWithGain32) {
  constexpr int kSlots = 64;
  for (const int filter : {moxDtsNonPerfect, moxDtsPerfect}) {
    Prototype d = prototype(filter);
    Block<float> input(32 * kSlots);
    std::vector<float> bands(32 * kSlots);
    for (int t = 0; t < kSlots; ++t)
      for (int k = 0; k < 32; ++k) {
        double sum = 0;
        for (int i = 0; i < 512;
             ++i) {  // the filter reversed in time, over the samples up to this slot's end
          const int n = 32 * t + 31 - (511 - i);
          if (n >= 0) sum += filterTap(d, k, i) * input[n];
        }
        bands[static_cast<size_t>(32 * t + k)] = static_cast<float>(sum);
      }
    State state(0);
    Block<float> output(32 * kSlots);
    ASSERT_EQ(moxsSynthesisFilter_DTS_32f(bands.data(), output, kSlots, filter, state.get()), moxStatusOk);
    double signal = 0, product = 0, error = 0;
    for (int n = 512; n + 480 < 32 * kSlots; ++n) {
      signal += std::pow(input[n], 2);
      product += static_cast<double>(input[n]) * output[n + 480];
    }
    const double gain = product / signal;
    EXPECT_NEAR(gain, 32, 0.003);
    for (int n = 512; n + 480 < 32 * kSlots; ++n) error += std::pow(output[n + 480] / gain - input[n], 2);
    const double ratio = 10 * std::log10(signal / error);
    EXPECT_GT(ratio, filter == moxDtsPerfect ? 120 : 80);
    RecordProperty(filter == moxDtsPerfect ? "db_perfect" : "db_nonperfect", std::to_string(ratio));
  }
}

TEST(Dts, RefusalsInOrder) {
  State state(0);
  Block<float> x(32), y(32);
  const Block<float> before = y;
  moxtest::expectNeedsEveryPointer(moxsSynthesisFilter_DTS_32f, x, y, 0, 2, state.get());
  EXPECT_EQ(moxsSynthesisFilter_DTS_32f(x, y, 0, 2, state.get()), moxStatusOutOfRange);
  EXPECT_EQ(moxsSynthesisFilter_DTS_32f(x, y, 0, 1, state.get()), moxStatusBadSize);
  *reinterpret_cast<moxac::ContextId*>(state.memory.data()) = moxac::ContextId::mp3Synthesis;
  EXPECT_EQ(moxsSynthesisFilter_DTS_32f(x, y, 0, 2, state.get()), moxStatusContextMismatch);
  EXPECT_SAME_BITS(y, before);
}

}  // namespace
