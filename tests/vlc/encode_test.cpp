// Encoder specs, the writing of code words, and counting.
#include <gtest/gtest.h>

#include <climits>
#include <cstdlib>
#include <memory>

#include "frame/align.h"
#include "moxac/vlc.h"
#include "support/alloc_spy.h"
#include "support/refusals.h"
#include "vlc/vlc_reference.h"

namespace {

using namespace moxtest;

class EncodeSpec {
 public:
  explicit EncodeSpec(const Rows& rows, int64_t shift = 0) : memory_(reported(rows), shift) {
    EXPECT_EQ(moxsVLCEncodeInit_32s(words(rows), count(rows), *this), moxStatusOk);
  }
  operator MoxVlcEncodeSpec*() { return reinterpret_cast<MoxVlcEncodeSpec*>(memory_.data()); }

 private:
  static int32_t reported(const Rows& rows) {
    int32_t size = 0;
    EXPECT_EQ(moxsVLCEncodeGetSize_32s(words(rows), count(rows), &size), moxStatusOk);
    return size;
  }
  Block<uint8_t> memory_;
};

TEST(VlcEncode, RecordAndSizes) {
  int32_t size = 0;
  const Rows one = {{7, 1, 1}};
  ASSERT_EQ(moxsVLCEncodeGetSize_32s(words(one), 1, &size), moxStatusOk);
  EXPECT_EQ(size, 140);
  const Rows rows = {{-2, 0, 1}, {1, -14, 2}, {5, 3, 2}};  // range 7, 4 binary digits of 8
  ASSERT_EQ(moxsVLCEncodeGetSize_32s(words(rows), 3, &size), moxStatusOk);
  EXPECT_EQ(size, (7 + 16) * 4 + 132);

  for (const int64_t shift : {0, 1, 16, 63}) {
    EncodeSpec spec(rows, shift);
    const auto* const base = moxac::alignUp<const uint32_t>(static_cast<MoxVlcEncodeSpec*>(spec), 64);
    const uint32_t* lengths;
    std::memcpy(&lengths, base, sizeof lengths);
    EXPECT_EQ(lengths, base + 16);
    EXPECT_EQ(base[2], 2u);
    EXPECT_EQ(base[3], 4u);
    EXPECT_EQ(base[4], 0u);
    EXPECT_EQ(base[5], 0x434D415Fu);
    const uint32_t wantLengths[8] = {1, 0, 0, 2, 0, 0, 0, 2}, wantCodes[8] = {0, 0, 0, 2, 0, 0, 0, 3};
    EXPECT_EQ(std::memcmp(lengths, wantLengths, sizeof wantLengths), 0);
    EXPECT_EQ(std::memcmp(lengths + 16, wantCodes, sizeof wantCodes), 0);
  }
  const Rows wide = {{INT32_MIN, 0, 1}, {INT32_MAX, 1, 1}};
  EXPECT_EQ(moxsVLCEncodeGetSize_32s(words(wide), 2, &size), moxStatusVlcBadTable);
}

// Every cursor in a word, every length of a block up to 40 and some longer: the model, One and Block agree on
// every bit of the memory, and counting on its length.
TEST(VlcEncode, OneBlockAndCountAgree) {
  for (int32_t trial = 0; trial < 32 * 48; ++trial) {
    SCOPED_TRACE(trial);
    const int32_t n = 2 + below(trial % 8 == 0 ? 500 : 30);
    Rows rows = randomCode(n);
    for (Row& row : rows) row.value = 3 * row.value - n;
    EncodeSpec spec(rows, below(64));
    const int32_t len = trial % 48 < 40 ? 1 + trial % 48 : 1 + below(1000);
    Block<int16_t> values(len, 2 * below(4));
    auto at = static_cast<size_t>(trial / 48);
    const size_t start = at;
    int32_t total = 0;
    std::vector<const Row*> chosen;
    for (int16_t& value : values) {
      chosen.push_back(&rows[static_cast<size_t>(below(n))]);
      value = static_cast<int16_t>(chosen.back()->value);
      total += chosen.back()->length;
    }
    const size_t memoryWords = (start + static_cast<size_t>(total) + 31) / 32;
    Memory want(memoryWords), one(want), block(want);
    for (const Row* row : chosen) want.writeItem(codeOf(*row), at);

    uint8_t* p = one.bytes.data() + start / 8;
    auto offset = static_cast<int32_t>(start % 8);
    for (const int16_t value : values)
      ASSERT_EQ(moxsVLCEncodeOne_16s1u(value, &p, &offset, spec), moxStatusOk);
    EXPECT_SAME_BITS(one.bytes, want.bytes);
    EXPECT_EQ(8 * (p - one.bytes.data()) + offset, static_cast<int64_t>(at));

    p = block.bytes.data() + start / 8;
    offset = static_cast<int32_t>(start % 8);
    ASSERT_EQ(moxsVLCEncodeBlock_16s1u(values, len, &p, &offset, spec), moxStatusOk);
    EXPECT_SAME_BITS(block.bytes, want.bytes);
    EXPECT_EQ(8 * (p - block.bytes.data()) + offset, static_cast<int64_t>(at));

    int32_t bits = 0;
    EXPECT_EQ(moxsVLCCountBits_16s32s(values, len, &bits, spec), moxStatusOk);
    EXPECT_EQ(bits, total);
  }
}

TEST(VlcEncode, CountsBeyond32BitsAreRefused) {
  EncodeSpec spec({{0, 0, 32}});
  constexpr int32_t kLen = 1 << 26;  // zeros that the system need not store
  const std::unique_ptr<int16_t, void (*)(void*)> zeros(static_cast<int16_t*>(std::calloc(kLen, 2)),
                                                        std::free);
  ASSERT_NE(zeros, nullptr);
  int32_t bits = 5;
  EXPECT_EQ(moxsVLCCountBits_16s32s(zeros.get(), kLen, &bits, spec), moxStatusBadSize);
  EXPECT_EQ(bits, 5);
  EXPECT_EQ(moxsVLCCountBits_16s32s(zeros.get(), kLen - 1, &bits, spec), moxStatusOk);
  EXPECT_EQ(bits, INT32_MAX - 31);
}

TEST(VlcEncode, RefusalsInOrder) {
  const Rows rows = {{-1, 0, 1}, {1, 2, 2}};
  int32_t size = 7;
  EncodeSpec spec(rows);
  MoxVlcEncodeSpec* const untouched = reinterpret_cast<MoxVlcEncodeSpec*>(64);
  MoxVlcEncodeSpec* allocated = untouched;
  expectNeedsEveryPointer(moxsVLCEncodeGetSize_32s, words(rows), 0, &size);
  expectNeedsEveryPointer(moxsVLCEncodeInit_32s, words(rows), 0, spec);
  expectNeedsEveryPointer(moxsVLCEncodeInitAlloc_32s, words(rows), 0, &allocated);
  EXPECT_EQ(moxsVLCEncodeGetSize_32s(words(rows), 0, &size), moxStatusVlcError);
  for (const int32_t length : {0, -1, 33}) {
    const Rows bad = {{-1, 0, length}, {1, 2, 2}};
    EXPECT_EQ(moxsVLCEncodeGetSize_32s(words(bad), 2, &size), moxStatusVlcBadTable);
    EXPECT_EQ(moxsVLCEncodeInit_32s(words(bad), 2, untouched), moxStatusVlcBadTable);
    EXPECT_EQ(moxsVLCEncodeInitAlloc_32s(words(bad), 2, &allocated), moxStatusVlcBadTable);
  }
  EXPECT_TRUE(allocated == untouched && size == 7);
  {
    AllocSpy spy;
    ASSERT_EQ(moxsVLCEncodeInitAlloc_32s(words(rows), 2, &allocated), moxStatusOk);
    EXPECT_EQ(spy.sizes(), std::vector<int32_t>{(2 + 4) * 4 + 132});
    moxsVLCEncodeFree_32s(allocated);
    EXPECT_EQ(spy.live(), 0);
    moxsVLCEncodeFree_32s(nullptr);
  }

  Block<uint8_t> stream(64);
  const Block<uint8_t> before = stream;
  uint8_t* at = stream;
  int32_t offset = 8, bits = 11;
  int16_t values[3] = {1, -1, 1};
  const auto* const foreign = reinterpret_cast<const MoxVlcEncodeSpec*>(before.data());
  expectNeedsEveryPointer(moxsVLCEncodeOne_16s1u, 1, &at, &offset, foreign);
  expectNeedsEveryPointer(moxsVLCEncodeBlock_16s1u, values, 0, &at, &offset, foreign);
  expectNeedsEveryPointer(moxsVLCCountBits_16s32s, values, 0, &bits, foreign);
  const auto all = [&](int32_t k, int32_t len, const MoxVlcEncodeSpec* s) {
    offset = k;
    EXPECT_EQ(moxsVLCEncodeOne_16s1u(values[2], &at, &offset, s), moxStatusVlcError);
    EXPECT_EQ(moxsVLCEncodeBlock_16s1u(values, len, &at, &offset, s), moxStatusVlcError);
    if (k == 5) {
      EXPECT_EQ(moxsVLCCountBits_16s32s(values, len, &bits, s), moxStatusVlcError);
    }
  };
  all(8, 0, spec);
  all(-1, 0, spec);
  all(5, 0, foreign);
  EXPECT_EQ(moxsVLCEncodeBlock_16s1u(values, 0, &at, &offset, spec), moxStatusBadSize);
  EXPECT_EQ(moxsVLCCountBits_16s32s(values, 0, &bits, spec), moxStatusVlcError);
  // Outside the range, in it but without a row, and in the array's unused end.
  for (const int16_t missing : std::initializer_list<int16_t>{-2, 0, 2, -32768, 32767}) {
    values[2] = missing;
    all(5, 3, spec);
  }
  values[2] = 1;
  moxsVLCEncodeFree_32s(spec);
  all(5, 3, spec);
  EXPECT_SAME_BITS(stream, before);
  EXPECT_TRUE(at == stream.data() && offset == 5 && bits == 11);
}

}  // namespace
