// What the DTS synthesis bank refuses; what it computes is told in tests/frame/banks_test.cpp.
#include <gtest/gtest.h>

#include "moxac/transform.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using moxtest::Block;

TEST(Dts, RefusalsInOrder) {
  Block<uint8_t> memory(2079), noState(2079);
  noState.fill(0);
  auto* const state = reinterpret_cast<MoxDtsSynthesisState*>(memory.data());
  auto* const foreign = reinterpret_cast<MoxDtsSynthesisState*>(noState.data());
  ASSERT_EQ(moxsSynthesisFilterInit_DTS_32f(state), moxStatusOk);
  Block<float> x(32), y(32);
  const Block<float> before = y;
  moxtest::expectNeedsEveryPointer(moxsSynthesisFilter_DTS_32f, x, y, 0, 2, foreign);
  EXPECT_EQ(moxsSynthesisFilter_DTS_32f(x, y, 0, 2, foreign), moxStatusContextMismatch);
  for (const int32_t filter : {-1, 2})
    EXPECT_EQ(moxsSynthesisFilter_DTS_32f(x, y, 0, filter, state), moxStatusOutOfRange);
  for (const int32_t slots : {0, -1})
    EXPECT_EQ(moxsSynthesisFilter_DTS_32f(x, y, slots, 1, state), moxStatusBadSize);
  EXPECT_SAME_BITS(y, before);
}

}  // namespace
