// Reading and writing bits through the cursor.
#include "frame/bit_cursor.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

#include "support/block.h"
#include "support/guard_page.h"

namespace {

using moxac::alignToByte;
using moxac::readBits;
using moxac::writeBits;

uint32_t bitByBit(const uint8_t* p, int32_t offset, int32_t n) {
  uint32_t value = 0;
  for (int32_t i = offset; i < offset + n; ++i) value = (value << 1) | ((p[i / 8] >> (7 - i % 8)) & 1u);
  return value;
}

TEST(BitCursor, ReadsEveryWidthAtEveryOffset) {
  moxtest::Block<uint8_t> data(8);
  for (int32_t offset = 0; offset < 8; ++offset)
    for (int32_t n = 1; offset + n <= 32; ++n) {
      const uint8_t* p = data;
      int32_t k = offset;
      ASSERT_EQ(readBits(&p, &k, n), bitByBit(data, offset, n)) << n << " bits at " << offset;
      ASSERT_EQ(p - data.data(), (offset + n) / 8);
      ASSERT_EQ(k, (offset + n) % 8);
    }
}

TEST(BitCursor, ZeroBitsAtOffsetZeroYieldTheWholeWord) {
  const uint8_t data[] = {0x12, 0x34, 0x56, 0x78};
  const uint8_t* p = data;
  int32_t k = 0;
  EXPECT_EQ(readBits(&p, &k, 0), 0x12345678u);
  EXPECT_EQ(p, data);
  EXPECT_EQ(k, 0);
}

TEST(BitCursor, ReadsNoMoreThanThreeBytesPastTheField) {
  moxtest::GuardPage page(4);
  const uint8_t* p = page.data();
  int32_t k = 0;
  readBits(&p, &k, 8);
  EXPECT_EQ(p, page.data() + 1);
}

TEST(BitCursor, AlignsUpwardsOnly) {
  const uint8_t data[2] = {};
  const uint8_t* p = data;
  int32_t k = 0;
  alignToByte(&p, &k);
  EXPECT_EQ(p, data);
  k = 3;
  alignToByte(&p, &k);
  EXPECT_EQ(p, data + 1);
  EXPECT_EQ(k, 0);
}

TEST(BitCursor, WhatIsWrittenReadsBackWhateverTheBufferHeld) {
  for (int round = 0; round < 500; ++round) {
    moxtest::Block<uint8_t> out(600);
    std::vector<std::pair<uint32_t, int32_t>> fields;
    uint8_t* w = out;
    int32_t wk = 0;
    for (int i = 0; i < 100; ++i) {
      const auto value = moxtest::noiseValue<uint32_t>();
      const auto n = static_cast<int32_t>(moxtest::noiseValue<uint32_t>() % 32);
      fields.emplace_back(value, n);
      writeBits(&w, &wk, value, n);
    }
    const uint8_t* r = out;
    int32_t rk = 0;
    for (const auto& [value, n] : fields) {
      const auto want = static_cast<uint32_t>(value & ((uint64_t{1} << n) - 1));
      ASSERT_EQ(bitByBit(r, rk, n), want);
      r += (rk + n) / 8;
      rk = (rk + n) % 8;
    }
    ASSERT_EQ(r, w);
    ASSERT_EQ(rk, wk);
  }
}

TEST(BitCursor, WriterCornerCases) {
  uint8_t data[8];
  std::memset(data, 0x5A, sizeof data);
  uint8_t* p = data;
  int32_t k = 0;
  writeBits(&p, &k, 0xFF, 0);
  EXPECT_EQ(p, data);
  EXPECT_EQ(data[0], 0x5A) << "no bits, no write";

  writeBits(&p, &k, 0x1F, 5);
  EXPECT_EQ(data[0], 0xF8) << "a byte entered at its start is begun afresh";
  writeBits(&p, &k, 0x2A, 7);
  writeBits(&p, &k, 0x9, 4);
  EXPECT_EQ(p, data + 2);
  EXPECT_EQ(k, 0);
  EXPECT_EQ(data[0], 0xFA);
  EXPECT_EQ(data[1], 0xA9);
  EXPECT_EQ(data[2], 0x5A) << "the next byte is written back unchanged";

  writeBits(&p, &k, 0xFFFFFFFFu, 32);
  EXPECT_EQ(p, data + 6);
  for (int i = 2; i < 6; ++i) EXPECT_EQ(data[i], 0) << "32 bits are 32 zeros";
  EXPECT_EQ(data[6], 0x5A);
}

}  // namespace
