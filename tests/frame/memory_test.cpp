// Allocation, fills and copies.
#include "frame/memory.h"

#include <gtest/gtest.h>

#include <climits>

#include "frame/memory_kernels.h"
#include "support/alloc_spy.h"
#include "support/block.h"

namespace {

using moxac::copyBytes;
using moxac::fillZeroBytes;
using moxac::fillZeroWords32;
using moxtest::AllocSpy;
using moxtest::Block;

// Every size class of the kernels, their edges, and every start within a cache line.
const int32_t kLengths[] = {1,     2,     3,     15,    31,    32,    33,    63,    64,    65,
                            127,   255,   256,   257,   287,   511,   4097,  16383, 16384, 16415,
                            16416, 16447, 32767, 32768, 32769, 32799, 32800, 33000, 65599};

TEST(Memory, ZeroAndCopyTouchExactlyTheirBytesAtEveryAlignment) {
  for (const int32_t len : kLengths) {
    const int step = len > 4096 ? 7 : 1;
    for (int shift = 0; shift < 64; shift += step) {
      Block<uint8_t> dst(len, shift), src(len, (shift * 5 + 3) % 64), zero(len);
      zero.fill(0);
      ASSERT_EQ(copyBytes(src, dst, len), moxStatusOk);
      ASSERT_TRUE(moxtest::sameBits(dst, src)) << len << " bytes at " << shift;
      ASSERT_EQ(fillZeroBytes(dst, len), moxStatusOk);
      ASSERT_TRUE(moxtest::sameBits(dst, zero)) << len << " bytes at " << shift;
      if (len >= 64) {
        Block<uint8_t> streamed(len, shift);
        moxac::zeroStreaming(streamed, static_cast<size_t>(len));
        ASSERT_TRUE(moxtest::sameBits(streamed, zero)) << len << " bytes at " << shift;
      }
    }
  }
}

TEST(Memory, BothCopyKernelsAgree) {
  for (const int32_t len : {64, 100, 32767, 32768, 40000})
    for (int shift = 0; shift < 16; ++shift) {
      Block<uint8_t> src(len, 1), a(len, shift), b(len, shift);
      moxac::copyVector(src, a, static_cast<size_t>(len));
      moxac::copyStringMove(src, b, static_cast<size_t>(len));
      EXPECT_SAME_BITS(a, src);
      EXPECT_SAME_BITS(b, src);
    }
}

TEST(Memory, LargeFillsBelowAndAboveTheCacheSize) {
  for (const int32_t len : {0x200000, 0x200001, 0x200001 + 77, 64 << 20}) {
    Block<uint8_t> dst(len, 5);
    ASSERT_EQ(fillZeroBytes(dst, len), moxStatusOk);
    for (int32_t i = 0; i < len; ++i) ASSERT_EQ(dst[i], 0) << i;
  }
}

TEST(Memory, WordsAreFourBytes) {
  Block<int32_t> words(1000, 4), zero(1000);
  zero.fill(0);
  ASSERT_EQ(fillZeroWords32(words, 1000), moxStatusOk);
  EXPECT_SAME_BITS(words, zero);
}

TEST(Memory, RefusalsInOrder) {
  Block<uint8_t> a(4), b(4);
  const Block<uint8_t> before = a;
  EXPECT_EQ(fillZeroBytes(nullptr, 0), moxStatusNullPointer);
  EXPECT_EQ(fillZeroBytes(a, 0), moxStatusBadSize);
  EXPECT_EQ(fillZeroWords32(nullptr, 1), moxStatusNullPointer);
  EXPECT_EQ(fillZeroWords32(a, -1), moxStatusBadSize);
  EXPECT_EQ(copyBytes(nullptr, a, 0), moxStatusNullPointer);
  EXPECT_EQ(copyBytes(b, nullptr, 1), moxStatusNullPointer);
  EXPECT_EQ(copyBytes(b, a, 0), moxStatusBadSize);
  EXPECT_SAME_BITS(a, before);
}

TEST(Memory, AllocatorIsNotAskedForNothingNorForTooMuch) {
  AllocSpy spy;
  EXPECT_EQ(moxac::allocBytes(0), nullptr);
  EXPECT_EQ(moxac::allocWords32(-1), nullptr);
  EXPECT_EQ(moxac::allocWords32(INT32_MAX / 4 + 1), nullptr);
  EXPECT_TRUE(spy.sizes().empty());
  void* const words = moxac::allocWords32(3);
  ASSERT_NE(words, nullptr);
  EXPECT_EQ(spy.sizes().back(), 12);
  moxac::freeBlock(words);
  EXPECT_EQ(spy.live(), 0);
}

}  // namespace
