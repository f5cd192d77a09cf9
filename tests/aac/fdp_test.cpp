// Frequency-domain prediction against a plain model with its tables, to the bit.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <vector>

#include "aac/fdp_kernels.h"
#include "moxac/aac.h"
#include "support/alloc_spy.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxac;
using namespace moxac::aac;
using moxtest::Block;
using moxtest::expectNeedsEveryPointer;

uint32_t bitsOf(float v) { return std::bit_cast<uint32_t>(v); }
float upper16(float v) { return std::bit_cast<float>(bitsOf(v) & 0xFFFF0000u); }
float rounded16(float v) { return std::bit_cast<float>((bitsOf(v) + 0x8000u) & 0xFFFF0000u); }

// The reciprocals as two tables of the bits of var.
float mantTable(uint32_t m) {
  const double exact = 0.953125 / (1 + m / 128.0);
  const double unit = std::exp2(std::floor(std::log2(exact)) - 7);
  return static_cast<float>(std::round(exact / unit) * unit);
}
float expoTable(uint32_t e) {
  return e >= 128 && e <= 254 ? std::ldexp(1.0f, 127 - static_cast<int>(e)) : 0.0f;
}

struct ModelLine {
  float cor0 = 0, cor1 = 0, var0 = 1, var1 = 1, r0 = 0, r1 = 0;

  static float gain(float cor, float var) {
    return cor * mantTable(bitsOf(var) >> 16 & 127) * expoTable(bitsOf(var) >> 23 & 255);
  }
  // Returns the prediction and updates with x, or with x + prediction for a decoder that uses it.
  float step(float& x, bool add) {
    const float k1 = gain(cor0, var0), k2 = gain(cor1, var1);
    const float pred = rounded16(k1 * r0 + k2 * r1);
    if (add) x = x + pred;
    const float e1 = x - k1 * r0;
    cor0 = upper16(0.90625f * cor0 + r0 * x);
    var0 = upper16(0.90625f * var0 + 0.5f * (r0 * r0 + x * x));
    cor1 = upper16(0.90625f * cor1 + r1 * e1);
    var1 = upper16(0.90625f * var1 + 0.5f * (r1 * r1 + e1 * e1));
    r1 = upper16(0.953125f * (r0 - k1 * x));
    r0 = upper16(0.953125f * x);
    return pred;
  }
};

struct State {
  explicit State(int32_t len, int64_t shift = 0) : memory(bytes(len), shift) {
    EXPECT_EQ(moxsFDPInit_32f(&state, len, memory), moxStatusOk);
  }
  static int32_t bytes(int32_t len) {
    int32_t size = 0;
    EXPECT_EQ(moxsFDPGetSize_32f(len, &size), moxStatusOk);
    return size;
  }
  Block<uint8_t> memory;
  MoxAacFdpState* state = nullptr;
};

TEST(Fdp, ReciprocalsAreTheTables) {
  for (uint32_t top = 0; top < 0x8000; ++top) {  // every mantissa and exponent; the sign does not matter
    const float var = std::bit_cast<float>(top << 16);
    ASSERT_EQ(fdpMantissaReciprocal<Lanes1>(var), mantTable(top & 127));
    ASSERT_EQ(fdpExponentReciprocal<Lanes1>(var), expoTable(top >> 7));
  }
}

// Tones, noise and silence at scales where var starts below 2, and some far out.
float signalAt(int frame, int64_t line) {
  const float scale = std::ldexp(1.0f, static_cast<int>(line % 24) - 4);
  const auto tone = static_cast<float>(std::sin(0.3 * frame * static_cast<double>(1 + line % 7)));
  return line % 5 == 0 ? 0.0f : scale * (tone + 0.1f * moxtest::noiseValue<float>());
}

TEST(Fdp, EqualsTheModelToTheBitAtEveryAlignmentAndFlag) {
  constexpr int32_t kLen = 683;  // tails of every kind
  const int32_t offset[] = {0, 4, 8, 16, 17, 40, 40, 301, 310, 683};
  for (int64_t shift : {0, 1, 17}) {
    State inverse(kLen, shift), forward(kLen, 64 - shift - 1);
    EXPECT_EQ(static_cast<void*>(inverse.state), inverse.memory.data());
    ModelLine modelInverse[kLen], modelForward[kLen];
    for (int frame = 0; frame < 60; ++frame) {
      Block<float> x(kLen, frame % 2 * 4), y(kLen, frame % 3 * 8);
      uint8_t used[9];
      for (uint8_t& u : used) u = static_cast<uint8_t>(moxtest::noise()() % 3);
      for (int i = 0; i < kLen; ++i) x[i] = signalAt(frame, i);
      Block<float> wantX(x), wantY(x), source(x);
      for (int b = 0; b < 9; ++b)
        for (int i = offset[b]; i < offset[b + 1]; ++i) modelInverse[i].step(wantX[i], used[b] != 0);
      for (int i = 0; i < kLen; ++i) wantY[i] -= modelForward[i].step(source[i], false);

      EXPECT_EQ(moxsFDPFwd_32f(x, y, forward.state), frame % 2 || frame % 3 % 2 ? 2 : 0);
      ASSERT_TRUE(moxtest::sameBits(y, wantY)) << "frame " << frame;
      EXPECT_EQ(moxsFDPInv_32f_I(x, offset, 9, used, inverse.state), frame % 2 ? 2 : 0);
      ASSERT_TRUE(moxtest::sameBits(x, wantX)) << "frame " << frame;

      if (frame % 4 == 3) {  // every way to reset, in the model and in the state
        const int32_t start = frame % 30;
        EXPECT_EQ(moxsFDPResetGroup_32f(start, 30, inverse.state), moxStatusOk);
        EXPECT_EQ(moxsFDPResetSfb_32f(offset, 9, used, forward.state), moxStatusOk);
        for (int i = start; i < kLen; i += 30) modelInverse[i] = {};
        for (int b = 0; b < 9; ++b)
          if (used[b]) std::fill(modelForward + offset[b], modelForward + offset[b + 1], ModelLine{});
      }
    }
    EXPECT_EQ(moxsFDPReset_32f(forward.state), moxStatusOk);
    Block<float> x(kLen), y(kLen);
    moxsFDPFwd_32f(x, y, forward.state);
    EXPECT_SAME_BITS(y, x) << "after a reset every prediction is 0";
  }
}

TEST(Fdp, LifeAndRefusals) {
  int32_t size = -1;
  for (int32_t len : {0, -1, INT32_MIN, 89478485, INT32_MAX})
    EXPECT_EQ(moxsFDPGetSize_32f(len, &size), moxStatusBadSize) << len;
  EXPECT_EQ(size, -1);
  for (int32_t len : {1, 16, 17, 672, 1024})
    EXPECT_EQ(State::bytes(len), 6 * ((4 * len + 63) / 64 * 64) + 128);

  MoxAacFdpState* state = nullptr;
  {
    moxtest::AllocSpy spy;
    EXPECT_EQ(moxsFDPInitAlloc_32f(&state, 0), moxStatusBadSize);
    ASSERT_EQ(moxsFDPInitAlloc_32f(&state, 672), moxStatusOk);
    EXPECT_EQ(spy.sizes(), std::vector<int32_t>{State::bytes(672)});
    EXPECT_EQ(moxsFDPFree_32f(state), moxStatusOk);
    EXPECT_EQ(spy.live(), 0);
  }

  State s(40);
  Block<float> x(40), y(40);
  Block<uint8_t> memory(128);
  const int32_t offset[] = {-7, 8, 90};  // lines that are not there are passed over
  const uint8_t flag[] = {1, 1};
  EXPECT_EQ(moxsFDPInit_32f(&state, 0, memory), moxStatusBadSize);
  EXPECT_EQ(moxsFDPResetGroup_32f(INT32_MAX, INT32_MAX, s.state), moxStatusOk);
  EXPECT_EQ(moxsFDPInv_32f_I(x, offset, 2, flag, s.state), moxStatusOk);
  EXPECT_EQ(moxsFDPResetSfb_32f(offset, 2, flag, s.state), moxStatusOk);

  // A living state, then a freed one, which outweighs every other fault.
  for (const bool freed : {false, true}) {
    const auto expect = [&](moxStatus status, moxStatus want) {
      EXPECT_EQ(status, freed ? moxStatusContextMismatch : want);
    };
    expect(moxsFDPResetGroup_32f(-1, 0, s.state), moxStatusBadSize);
    expect(moxsFDPResetGroup_32f(0, 0, s.state), moxStatusFdpStepError);
    expect(moxsFDPResetSfb_32f(offset, 0, flag, s.state), moxStatusBadSize);
    expect(moxsFDPInv_32f_I(x, offset, 0, flag, s.state), moxStatusBadSize);
    expect(moxsFDPFwd_32f(x, y, s.state), moxStatusOk);
    expect(moxsFDPReset_32f(s.state), moxStatusOk);
    expect(moxsFDPFree_32f(s.state), moxStatusOk);
  }
  expectNeedsEveryPointer(moxsFDPGetSize_32f, 0, &size);
  expectNeedsEveryPointer(moxsFDPInit_32f, &state, 0, memory);
  expectNeedsEveryPointer(moxsFDPInitAlloc_32f, &state, 0);
  expectNeedsEveryPointer(moxsFDPFree_32f, s.state);
  expectNeedsEveryPointer(moxsFDPReset_32f, s.state);
  expectNeedsEveryPointer(moxsFDPResetGroup_32f, -1, 0, s.state);
  expectNeedsEveryPointer(moxsFDPResetSfb_32f, offset, 0, flag, s.state);
  expectNeedsEveryPointer(moxsFDPInv_32f_I, x, offset, 0, flag, s.state);
  expectNeedsEveryPointer(moxsFDPFwd_32f, x, y, s.state);
}

}  // namespace
