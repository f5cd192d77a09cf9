// Block FIR against direct sums.
#include <gtest/gtest.h>

#include <vector>

#include "moxac/util.h"
#include "support/alloc_spy.h"
#include "support/block.h"
#include "util/fir_block_kernels.h"

namespace {

using moxtest::AllocSpy;
using moxtest::Block;

TEST(FirBlock, WeightsEveryAgeInTheWrittenOrder) {
  for (const int32_t nTaps : {1, 2, 3, 4, 11})
    for (const int32_t blockLen : {1, 5, 8, 31, 32, 77}) {
      AllocSpy spy;
      MoxFirBlockState* state = nullptr;
      ASSERT_EQ(moxsFIRBlockInitAlloc_32f(&state, nTaps, blockLen), moxStatusOk);
      EXPECT_EQ(spy.sizes(),
                (std::vector<int32_t>{sizeof(MoxFirBlockState), nTaps * ((blockLen + 3) & ~3) * 4}));
      std::vector<std::vector<float>> history(static_cast<size_t>(nTaps),
                                              std::vector<float>(static_cast<size_t>(blockLen)));
      for (int call = 0; call < 20; ++call) {
        const int64_t shift = 4 * (call % 8);
        Block<float> src(blockLen, shift), dst(blockLen, shift), taps(nTaps, shift), want(blockLen);
        history.insert(history.begin(), std::vector<float>(src.begin(), src.end()));
        history.pop_back();
        for (int32_t i = 0; i < blockLen; ++i) {
          const auto at = [&](int32_t age) {
            return history[static_cast<size_t>(age)][static_cast<size_t>(i)];
          };
          float sum = taps[0] * at(0);
          for (int32_t age = nTaps - 1; age >= 1; --age) sum += taps[age] * at(age);
          want[i] = sum;
        }
        EXPECT_EQ(moxsFIRBlockOne_32f(src, dst, state, taps),
                  shift % 16 ? moxStatusMisalignedData : moxStatusOk);
        ASSERT_TRUE(moxtest::sameBits(dst, want))
            << nTaps << " taps, " << blockLen << " values, call " << call;
        EXPECT_EQ(state->newestRow, (call + 1) % nTaps);
      }
      EXPECT_EQ(moxsFIRBlockFree_32f(state), moxStatusOk);
      EXPECT_EQ(spy.live(), 0);
    }
}

TEST(FirBlock, RefusalsLeaveTheStateAlone) {
  MoxFirBlockState* state = nullptr;
  EXPECT_EQ(moxsFIRBlockInitAlloc_32f(nullptr, 0, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsFIRBlockInitAlloc_32f(&state, 0, 1), moxStatusFirLengthError);
  EXPECT_EQ(moxsFIRBlockInitAlloc_32f(&state, 1, 0), moxStatusFirLengthError);
  EXPECT_EQ(state, nullptr);
  ASSERT_EQ(moxsFIRBlockInitAlloc_32f(&state, 3, 4), moxStatusOk);
  Block<float> x(4), y(4), taps(3);
  const Block<float> before = y;
  EXPECT_EQ(moxsFIRBlockOne_32f(nullptr, y, state, taps), moxStatusNullPointer);
  state->identifier = moxac::ContextId::fdpState;
  EXPECT_EQ(moxsFIRBlockOne_32f(x, y, state, taps), moxStatusContextMismatch);
  EXPECT_EQ(moxsFIRBlockFree_32f(state), moxStatusContextMismatch);
  state->identifier = moxac::ContextId::firBlock;
  for (const int16_t row : {int16_t{3}, int16_t{-1}}) {
    state->newestRow = row;
    EXPECT_EQ(moxsFIRBlockOne_32f(x, y, state, taps), moxStatusFirLengthError);
    EXPECT_EQ(state->newestRow, row);
  }
  EXPECT_SAME_BITS(y, before);
  EXPECT_EQ(moxsFIRBlockFree_32f(state), moxStatusOk);
  EXPECT_EQ(moxsFIRBlockFree_32f(nullptr), moxStatusNullPointer);
}

TEST(FirBlock, CountsAreNarrowedTo16Bits) {
  MoxFirBlockState* state = nullptr;
  ASSERT_EQ(moxsFIRBlockInitAlloc_32f(&state, 40000, 1), moxStatusOk);
  float x = 1, y = 2, tap = 3;
  EXPECT_EQ(moxsFIRBlockOne_32f(&x, &y, state, &tap), moxStatusFirLengthError);
  EXPECT_EQ(moxsFIRBlockFree_32f(state), moxStatusOk);

  ASSERT_EQ(moxsFIRBlockInitAlloc_32f(&state, 65537, 1), moxStatusOk);  // kept as one tap
  ASSERT_GE(moxsFIRBlockOne_32f(&x, &y, state, &tap), moxStatusOk);
  EXPECT_EQ(y, 3.0f);
  EXPECT_EQ(moxsFIRBlockFree_32f(state), moxStatusOk);

  // The row stride of 32767 values is 32768, which the record's field cannot hold.
  ASSERT_EQ(moxsFIRBlockInitAlloc_32f(&state, 2, 32767), moxStatusOk);
  Block<float> in(32767), out(32767);
  const float delay[] = {0.0f, 1.0f};
  const Block<float> first = in;
  ASSERT_GE(moxsFIRBlockOne_32f(in, out, state, delay), moxStatusOk);
  in.fill(0.0f);
  ASSERT_GE(moxsFIRBlockOne_32f(in, out, state, delay), moxStatusOk);
  EXPECT_SAME_BITS(out, first);
  EXPECT_EQ(moxsFIRBlockFree_32f(state), moxStatusOk);
}

TEST(FirBlock, AllocationFailuresReleaseEverything) {
  MoxFirBlockState mark{};
  for (const int failAt : {0, 1}) {
    AllocSpy spy(failAt);
    MoxFirBlockState* state = &mark;
    EXPECT_EQ(moxsFIRBlockInitAlloc_32f(&state, 4, 4), moxStatusOutOfMemory);
    EXPECT_EQ(state, &mark);
    EXPECT_EQ(spy.live(), 0);
  }
  AllocSpy spy;
  for (const int32_t huge : {32768, INT32_MAX}) {
    MoxFirBlockState* state = &mark;
    EXPECT_EQ(moxsFIRBlockInitAlloc_32f(&state, huge, huge), moxStatusOutOfMemory);
    EXPECT_EQ(state, &mark);
  }
  EXPECT_EQ(spy.live(), 0);
}

}  // namespace
