// Decoder specs and the decoding of plain values.
#include <gtest/gtest.h>

#include <cmath>

#include "moxac/vlc.h"
#include "moxcore/moxcore.h"
#include "support/alloc_spy.h"
#include "support/refusals.h"
#include "vlc/decode_spec.h"
#include "vlc/vlc_reference.h"

namespace {

using namespace moxtest;
using Widths = std::vector<int32_t>;

moxStatus sizeOf(const Rows& rows, const Widths& widths, int32_t& size) {
  return moxsVLCDecodeGetSize_32s(words(rows), count(rows), widths.data(),
                                  static_cast<int32_t>(widths.size()), &size);
}

// A spec in exactly the reported bytes, between guards, at any alignment.
class DecodeSpec {
 public:
  DecodeSpec(const Rows& rows, const Widths& widths, int64_t shift = 0)
      : memory_(reported(rows, widths, size_), shift) {
    status = moxsVLCDecodeInit_32s(words(rows), count(rows), widths.data(),
                                   static_cast<int32_t>(widths.size()), *this);
  }
  operator MoxVlcDecodeSpec*() { return reinterpret_cast<MoxVlcDecodeSpec*>(memory_.data()); }
  int32_t size() const { return size_; }
  moxStatus status;

 private:
  static int32_t reported(const Rows& rows, const Widths& widths, int32_t& size) {
    EXPECT_EQ(sizeOf(rows, widths, size), moxStatusOk);
    return size;
  }
  int32_t size_ = 0;
  Block<uint8_t> memory_;
};

// The size by the book: every different prefix counted in a set.
int64_t expectedSize(const Rows& rows, const Widths& sizes) {
  const int32_t total = longest(rows);
  int64_t elements = 0, magnitude = 0;
  int32_t consumed = 0, widest = 0;
  for (size_t k = 0; consumed < total; ++k) {
    const int32_t width = std::min(sizes[k], total - consumed);
    std::set<std::string> prefixes;
    for (const Row& row : rows)
      if (row.length > consumed) prefixes.insert(codeOf(row).substr(0, static_cast<size_t>(consumed)));
    elements += static_cast<int64_t>(prefixes.size()) * ((int64_t{1} << width) + 1);
    consumed += width;
    widest = std::max(widest, width);
  }
  for (const Row& row : rows) magnitude = std::max<int64_t>(magnitude, std::abs(int64_t{row.value}));
  const double valueBits = magnitude <= 1 ? 0 : std::ceil(std::log2(static_cast<double>(magnitude)));
  const double lengthBits = std::floor(std::log2(widest)) + 1;
  const double indexBits = std::ceil(std::log2(static_cast<double>(elements + 2)));
  const double need = std::max(lengthBits + valueBits + 2, indexBits + 1);
  return elements * (need <= 8 ? 1 : need <= 16 ? 2 : 4) + 160;
}

TEST(VlcDecode, RecordAndTablesOfASmallCode) {
  const Rows rows = {{0, 0b0, 1}, {1, 0b10, 2}, {2, 0xFFF7, 2}};  // bits above the length do not count
  for (const int64_t shift : {0, 1, 16, 63}) {
    DecodeSpec spec(rows, {1, 9}, shift);
    ASSERT_EQ(spec.status, moxStatusOk);
    EXPECT_EQ(spec.size(), 6 + 160);
    const auto* const base = moxac::alignUp<const uint8_t>(static_cast<MoxVlcDecodeSpec*>(spec), 64);
    uint32_t header[8];
    std::memcpy(header, base, sizeof header);
    EXPECT_EQ(header[0], 0x434D4160u);
    EXPECT_EQ(header[1], 0u);
    EXPECT_EQ(header[2], 2u);
    EXPECT_EQ(header[6], 8u);
    EXPECT_EQ(header[7], 1u);
    const uint8_t* table;
    std::memcpy(&table, base + 16, sizeof table);
    EXPECT_EQ(table, base + 64);
    const uint8_t want[6] = {1, 0 << 2 | 3, 3 << 1, 1, 1 << 2 | 3, 2 << 2 | 3};
    EXPECT_EQ(std::memcmp(table, want, 6), 0);
  }
}

// Complete and incomplete codes at every alignment, in memory that ends with the last permitted word.
TEST(VlcDecode, RandomCodesDecodeAsBitByBit) {
  for (int32_t trial = 0; trial < 400; ++trial) {
    SCOPED_TRACE(trial);
    const int32_t n = trial % 40 == 39 ? 5000 : 1 + below(trial % 4 == 0 ? 600 : 40);
    Rows holes;
    Rows rows = randomCode(n, trial % 3 == 0 ? &holes : nullptr);
    const int32_t span = trial % 5 == 0 ? 2 : 32768;
    for (Row& row : rows) row.value = trial % 2 == 0 ? row.value % span : (row.value * 37) % span - span / 2;
    const Widths widths = randomWidths(longest(rows), n > 1000 ? 5 : 9);
    DecodeSpec spec(rows, widths, below(64));
    ASSERT_EQ(spec.status, moxStatusOk);
    ASSERT_EQ(spec.size(), expectedSize(rows, widths));

    // What the width of the entries leaves of a value: bytes no sign, exact fits no positive power of two.
    const auto* const record =
        moxac::contextRecord<moxac::vlc::VlcDecoder>(static_cast<MoxVlcDecodeSpec*>(spec));
    const auto kept = [&](int32_t value) {
      const auto field = static_cast<uint32_t>(value) << (record->lengthBits + 1);
      const auto drop = static_cast<int32_t>(record->lengthBits + 1);
      if (record->entryBits == 8) return static_cast<int16_t>(static_cast<uint8_t>(field) >> drop);
      if (record->entryBits == 16) return static_cast<int16_t>(static_cast<int16_t>(field) >> drop);
      return static_cast<int16_t>(static_cast<int32_t>(field) >> drop);
    };

    const int32_t len = 1 + below(trial % 2 == 0 ? 20 : 600);
    std::string bits;
    size_t lastCode = 0;
    for (int32_t i = 0; i < len; ++i) {
      lastCode = bits.size();
      bits += codeOf(rows[static_cast<size_t>(below(n))]);
    }
    const auto codeBits = static_cast<int64_t>(bits.size());
    std::string lookedAt = bits;
    while (lookedAt.size() < lastCode + static_cast<size_t>(longest(rows)))
      lookedAt += below(2) != 0 ? '1' : '0';
    const BitByBit reader(rows);
    const auto side = trial % 2 == 0 ? GuardPage::Side::behind : GuardPage::Side::before;
    Stream stream(lookedAt, trial % 32, side);
    Block<int16_t> values(len, 2 * below(8)), want(len);
    size_t at = 0;
    for (int16_t& value : want) value = kept(reader.read(lookedAt, at));

    ASSERT_EQ(moxsVLCDecodeBlock_1u16s(stream.pp(), &stream.offset, values, len, spec), moxStatusOk);
    EXPECT_SAME_BITS(values, want);
    EXPECT_EQ(stream.consumed(), codeBits);
    EXPECT_TRUE(stream.offset >= 0 && stream.offset <= 7);

    stream.rewind();
    values.fill(0);
    for (int16_t& value : values)
      ASSERT_EQ(moxsVLCDecodeOne_1u16s(stream.pp(), &stream.offset, &value, spec), moxStatusOk);
    EXPECT_SAME_BITS(values, want);
    EXPECT_EQ(stream.consumed(), codeBits);

    if (holes.empty()) continue;
    Stream broken(bits + codeOf(holes[0]) + std::string(256, '0'), trial % 32, side);
    Block<int16_t> some(len + 1);
    const int16_t last = some[len];
    EXPECT_EQ(moxsVLCDecodeBlock_1u16s(broken.pp(), &broken.offset, some, len + 1, spec), moxStatusVlcError);
    EXPECT_EQ(std::memcmp(some.data(), want.data(), static_cast<size_t>(len) * 2), 0);
    EXPECT_EQ(some[len], last);
    EXPECT_EQ(broken.consumed(), codeBits);
  }
}

// The shortest stream there is, a bit a code word: reading ahead must not leave it.
TEST(VlcDecode, LongBlocksOfShortCodesStayInTheirWords) {
  DecodeSpec spec({{0, 0, 1}, {1, 2, 2}, {2, 3, 2}}, {2});
  for (int32_t len = 100; len < 400; len += 1 + len / 190 * 6)
    for (int32_t shift = 0; shift < 32; ++shift) {
      Stream stream(std::string(static_cast<size_t>(len) + 1, '0'), shift);
      Block<int16_t> values(len), want(len);
      want.fill(0);
      ASSERT_EQ(moxsVLCDecodeBlock_1u16s(stream.pp(), &stream.offset, values, len, spec), moxStatusOk);
      EXPECT_SAME_BITS(values, want);
      EXPECT_EQ(stream.consumed(), len);
    }
}

// Values of one bit, so that the link index decides between entries of 8 and 16 bits, at 127 elements.
TEST(VlcDecode, SizesAroundTheEntryWidthBoundary) {
  for (int32_t trial = 0; trial < 3000; ++trial) {
    Rows rows = randomCode(20 + below(40));
    for (Row& row : rows) row.value &= 1;
    const Widths widths = randomWidths(longest(rows), 2);
    int32_t size = 0;
    ASSERT_EQ(sizeOf(rows, widths, size), moxStatusOk);
    ASSERT_EQ(size, expectedSize(rows, widths));
  }
}

TEST(VlcDecode, BadWidthsAndLengthsAreRefused) {
  Rows rows = {{0, 0, 1}, {1, 2, 2}, {2, 0x300, 10}};
  int32_t size = 0;
  ASSERT_EQ(sizeOf(rows, {9, 0x7FFFFFFF, -3}, size), moxStatusOk);  // 9 and 1
  EXPECT_EQ(size, 2 * (513 + 3) + 160);
  const int32_t before = size;
  for (const Widths& bad : {Widths{4, 4, 1}, Widths{4, 0, 9}, Widths{0, 10}, Widths{-1}})
    EXPECT_EQ(sizeOf(rows, bad, size), moxStatusVlcBadTable);
  rows[2].length = 32;  // 2^32 entries
  EXPECT_EQ(sizeOf(rows, {32}, size), moxStatusVlcBadTable);
  for (const int32_t length : {33, 0, -1}) {
    rows[1].length = length;
    EXPECT_EQ(sizeOf(rows, {32}, size), moxStatusVlcBadTable);
  }
  EXPECT_EQ(size, before);
}

TEST(VlcDecode, ConflictsAreFoundInEveryOrder) {
  for (const Rows& rows : {Rows{{0, 0, 1}, {1, 1, 4}}, Rows{{1, 1, 4}, {0, 0, 1}}, Rows{{0, 5, 3}, {1, 5, 3}},
                           Rows{{0, 2, 2}, {1, 11, 4}}, Rows{{1, 11, 4}, {0, 2, 2}}})
    for (const Widths& widths : {Widths{4}, Widths{1, 3}, Widths{2, 2}, Widths{1, 1, 1, 1}}) {
      DecodeSpec spec(rows, widths, 8);
      EXPECT_EQ(spec.status, moxStatusVlcBadTable);
    }
}

TEST(VlcDecode, InitAllocLeavesAnUnfinishedBlockToTheCaller) {
  const Rows good = {{0, 0, 1}, {1, 2, 2}}, conflict = {{0, 0, 1}, {1, 1, 4}};
  const int32_t width = 4;
  MoxVlcDecodeSpec* const untouched = reinterpret_cast<MoxVlcDecodeSpec*>(64);
  MoxVlcDecodeSpec* spec = untouched;
  const auto initAlloc = [&](const Rows& rows, int32_t widths) {
    return moxsVLCDecodeInitAlloc_32s(words(rows), count(rows), &width, widths, &spec);
  };
  AllocSpy spy;
  EXPECT_EQ(initAlloc(good, 0), moxStatusVlcBadTable);
  EXPECT_EQ(spec, untouched);
  EXPECT_TRUE(spy.sizes().empty());
  EXPECT_EQ(initAlloc(conflict, 1), moxStatusVlcBadTable);
  moxsVLCDecodeFree_32s(spec);  // not marked allocated
  EXPECT_EQ(spy.live(), 1);
  moxFree(spec);
  ASSERT_EQ(initAlloc(good, 1), moxStatusOk);
  int32_t size = 0;
  ASSERT_EQ(sizeOf(good, {4}, size), moxStatusOk);
  EXPECT_EQ(spy.sizes().back(), size);
  EXPECT_EQ(spy.sizes().size(), 2u);
  moxsVLCDecodeFree_32s(spec);
  EXPECT_EQ(spy.live(), 0);
  moxsVLCDecodeFree_32s(nullptr);
}

TEST(VlcDecode, RefusalsInOrder) {
  const Rows rows = {{0, 0, 1}, {1, 2, 2}};
  const int32_t width = 2;
  int32_t size = 7;
  DecodeSpec spec(rows, {2});
  MoxVlcDecodeSpec* allocated = nullptr;
  expectNeedsEveryPointer(moxsVLCDecodeGetSize_32s, words(rows), 0, &width, 1, &size);
  expectNeedsEveryPointer(moxsVLCDecodeInit_32s, words(rows), 0, &width, 1, spec);
  expectNeedsEveryPointer(moxsVLCDecodeInitAlloc_32s, words(rows), 0, &width, 1, &allocated);
  EXPECT_EQ(moxsVLCDecodeGetSize_32s(words(rows), 0, &width, 0, &size), moxStatusVlcError);
  EXPECT_EQ(size, 7);

  Block<uint8_t> other(64);
  other.fill(0);
  const auto* const foreign = reinterpret_cast<const MoxVlcDecodeSpec*>(other.data());
  Stream stream("0100", 0);
  int16_t value = 77;
  int32_t offset = 8;
  expectNeedsEveryPointer(moxsVLCDecodeOne_1u16s, stream.pp(), &offset, &value, foreign);
  expectNeedsEveryPointer(moxsVLCDecodeBlock_1u16s, stream.pp(), &offset, &value, 0, foreign);
  const auto both = [&](int32_t k, const MoxVlcDecodeSpec* s, moxStatus want) {
    offset = k;
    EXPECT_EQ(moxsVLCDecodeOne_1u16s(stream.pp(), &offset, &value, s), want);
    EXPECT_EQ(moxsVLCDecodeBlock_1u16s(stream.pp(), &offset, &value, 0, s), want);
  };
  both(8, spec, moxStatusVlcError);
  both(-1, spec, moxStatusVlcError);
  both(0, foreign, moxStatusVlcError);
  EXPECT_EQ(moxsVLCDecodeBlock_1u16s(stream.pp(), &offset, &value, 0, spec), moxStatusBadSize);
  moxsVLCDecodeFree_32s(spec);
  both(0, spec, moxStatusVlcError);
  EXPECT_EQ(value, 77);
  EXPECT_EQ(stream.consumed(), 0);
}

TEST(VlcDecode, PrefixesAreCountedExactlyAndFast) {
  for (const int32_t n : {1, 1023, 8191, 8192, 8193, 50000}) {
    Rows rows = randomCode(n);
    for (const int order : {0, 1, 2}) {  // as shuffled, ascending, descending
      const auto leftAligned = [](const Row& row) {
        return static_cast<uint64_t>(static_cast<uint32_t>(row.code)) << (32 - row.length);
      };
      if (order != 0)
        std::sort(rows.begin(), rows.end(), [&](const Row& a, const Row& b) {
          return order == 1 ? leftAligned(a) < leftAligned(b) : leftAligned(a) > leftAligned(b);
        });
      for (const int32_t bits : {1, 8, 12, 20}) {
        int64_t steps = 0;
        const auto less = [&](uint32_t a, uint32_t b) { return ++steps, a < b; };
        std::set<uint64_t> prefixes;
        for (const Row& row : rows)
          if (row.length > bits) prefixes.insert(leftAligned(row) >> (32 - bits));
        EXPECT_EQ(moxac::vlc::countPrefixes({words(rows), n}, bits, less),
                  static_cast<int64_t>(prefixes.size()));
        EXPECT_LE(static_cast<double>(steps), 2.0 * n * (n / 1024.0 + std::log2(n + 1)));
      }
    }
  }
}

}  // namespace
