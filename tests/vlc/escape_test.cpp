// The standards' code books through every convention: the bits are put together here from the tables' words.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "moxac/vlc.h"
#include "support/refusals.h"
#include "vlc/vlc_reference.h"

namespace {

using namespace moxtest;

struct DecoderDelete {
  void operator()(MoxVlcDecodeSpec* spec) const { moxsVLCDecodeUTupleFree_32s(spec); }
};
struct EncoderDelete {
  void operator()(MoxVlcEncodeSpec* spec) const { moxsVLCEncodeFree_32s(spec); }
};
using Decoder = std::unique_ptr<MoxVlcDecodeSpec, DecoderDelete>;
using Encoder = std::unique_ptr<MoxVlcEncodeSpec, EncoderDelete>;

// tupleSize 0: plain values.
Decoder decoderOf(const Rows& rows, int32_t tupleSize = 0, int32_t valueBits = 0) {
  const auto widths = randomWidths(longest(rows), 9);
  const auto n = static_cast<int32_t>(widths.size());
  MoxVlcDecodeSpec* spec = nullptr;
  EXPECT_EQ(tupleSize == 0 ? moxsVLCDecodeInitAlloc_32s(words(rows), count(rows), widths.data(), n, &spec)
                           : moxsVLCDecodeUTupleInitAlloc_32s(words(rows), count(rows), widths.data(), n,
                                                              tupleSize, valueBits, &spec),
            moxStatusOk);
  return Decoder(spec);
}
Encoder encoderOf(const Rows& rows) {
  MoxVlcEncodeSpec* spec = nullptr;
  EXPECT_EQ(moxsVLCEncodeInitAlloc_32s(words(rows), count(rows), &spec), moxStatusOk);
  return Encoder(spec);
}

// What an operation under test is called with; linBits... is empty or one number.
struct Operations {
  std::function<moxStatus(Stream&, int16_t*, int32_t)> decode;
  std::function<moxStatus(const int16_t*, int32_t, uint8_t**, int32_t*)> encode;
  std::function<moxStatus(const int16_t*, int32_t, int32_t*)> countBits;
};
template <class Op, class... LinBits>
auto reading(Op op, const Decoder& spec, LinBits... linBits) {
  return [=, &spec](Stream& s, int16_t* dst, int32_t len) {
    return op(s.pp(), &s.offset, dst, len, linBits..., spec.get());
  };
}
template <class Write, class Count, class... LinBits>
Operations coding(std::function<moxStatus(Stream&, int16_t*, int32_t)> decode, Write write, Count count,
                  const Encoder& spec, LinBits... linBits) {
  return {std::move(decode),
          [=, &spec](const int16_t* src, int32_t len, uint8_t** p, int32_t* k) {
            return write(src, len, linBits..., p, k, spec.get());
          },
          [=, &spec](const int16_t* src, int32_t len, int32_t* bits) {
            return count(src, len, linBits..., bits, spec.get());
          }};
}

// Writes a symbol as the standard says: returns its bits, appends its values.
using WriteSymbol = std::function<std::string(const Symbol&, std::vector<int16_t>&)>;

void expectAgreement(const Book& book, const WriteSymbol& write, const std::vector<Operations>& operations) {
  int32_t maxLength = 0;
  for (const Symbol& symbol : book) maxLength = std::max(maxLength, symbol.row.length + 4);
  for (int32_t trial = 0; trial < 48; ++trial) {
    std::vector<int16_t> want;
    std::vector<std::string> items;
    std::string bits;
    size_t last = 0;
    for (int32_t i = trial < 32 ? 1 + below(8) : 100 + below(200); i > 0; --i) {
      items.push_back(write(book[static_cast<size_t>(below(static_cast<int64_t>(book.size())))], want));
      last = bits.size();
      bits += items.back();
    }
    std::string padded = bits;  // by what the decoder may look at
    padded.resize(std::max(bits.size(), last + static_cast<size_t>(maxLength)), '1');
    const auto len = static_cast<int32_t>(want.size());
    const int32_t shift = trial % 32;
    for (const Operations& op : operations) {
      Stream stream(padded, shift, trial % 2 == 0 ? GuardPage::Side::behind : GuardPage::Side::before);
      Block<int16_t> values(len, 2 * below(8));
      ASSERT_EQ(op.decode(stream, values, len), moxStatusOk);
      EXPECT_EQ(std::vector<int16_t>(values.begin(), values.end()), want);
      EXPECT_EQ(stream.consumed(), static_cast<int64_t>(bits.size()));
      if (!op.encode) continue;

      auto at = static_cast<size_t>(shift);
      Memory wantMemory((at + bits.size() + 31) / 32), memory(wantMemory);
      for (const std::string& item : items) wantMemory.writeItem(item, at);
      uint8_t* out = memory.bytes.data() + shift / 8;
      int32_t offset = shift % 8, counted = 0;
      ASSERT_EQ(op.encode(values, len, &out, &offset), moxStatusOk);
      EXPECT_SAME_BITS(memory.bytes, wantMemory.bytes);
      EXPECT_EQ(8 * (out - memory.bytes.data()) + offset, static_cast<int64_t>(at));
      ASSERT_EQ(op.countBits(values, len, &counted), moxStatusOk);
      EXPECT_EQ(counted, static_cast<int32_t>(bits.size()));
    }
  }
}

int32_t sign(int32_t magnitude) { return below(2) != 0 ? -magnitude : magnitude; }

// An unsigned book of AAC: code word, signs, escapes. A signed one: the code word.
WriteSymbol aacWriter(bool isSigned, bool escapes) {
  return [=](const Symbol& symbol, std::vector<int16_t>& values) {
    std::string bits = codeOf(symbol.row), behind;
    for (int32_t value : symbol.values) {
      if (escapes && value == 16) {
        value = 16 << below(10);
        value += below(value);
        behind += aacEscape(value);
      }
      if (!isSigned) value = sign(value);
      if (!isSigned && value != 0) bits += value < 0 ? '1' : '0';
      values.push_back(static_cast<int16_t>(value));
    }
    return bits + behind;
  };
}

WriteSymbol mp3Writer(int32_t linBits) {
  return [=](const Symbol& symbol, std::vector<int16_t>& values) {
    std::string bits = codeOf(symbol.row);
    for (int32_t value : symbol.values) {
      if (value == 15 && linBits > 0) {
        const int32_t extra = below(1 << linBits);
        bits += bitsOf(extra, linBits);
        value += extra;
      }
      value = sign(value);
      if (value != 0) bits += value < 0 ? '1' : '0';
      values.push_back(static_cast<int16_t>(value));
    }
    return bits;
  };
}

TEST(VlcEscape, AllAacBooks) {
  for (int32_t n = 1; n <= 11; ++n) {
    SCOPED_TRACE(n);
    const Book book = aacBook(n);
    const bool isSigned = n == 1 || n == 2 || n == 5 || n == 6;
    std::vector<Operations> operations;
    const auto tupleSize = static_cast<int32_t>(book[0].values.size());
    const Decoder tuples = isSigned ? nullptr : decoderOf(tupleRows(book, 5), tupleSize, 5);
    const Rows rows = tupleSize == 2 ? aacPairRows(book, isSigned) : Rows{{0, 0, 1}};
    const Decoder decoder = decoderOf(rows);
    const Encoder encoder = encoderOf(rows);
    if (!isSigned) {
      if (n != 11) operations.push_back({reading(moxsVLCDecodeUTupleBlock_1u16s, tuples), {}, {}});
      operations.push_back({reading(moxsVLCDecodeUTupleEscBlock_AAC_1u16s, tuples), {}, {}});
    }
    if (tupleSize == 2)
      operations.push_back(coding(reading(moxsVLCDecodeEscBlock_AAC_1u16s, decoder),
                                  moxsVLCEncodeEscBlock_AAC_16s1u, moxsVLCCountEscBits_AAC_16s32s, encoder));
    expectAgreement(book, aacWriter(isSigned, n == 11), operations);
  }
}

TEST(VlcEscape, AllLayer3Tables) {
  for (int32_t n = 1; n <= 24; ++n) {
    const Book book = mp3Table(n);
    if (book.empty()) continue;
    SCOPED_TRACE(n);
    const Rows rows = mp3PairRows(book);
    const Decoder decoder = decoderOf(rows), tuples = decoderOf(tupleRows(book, 4), 2, 4);
    const Encoder encoder = encoderOf(rows);
    for (int32_t linBits = 0; linBits <= (n < 16 ? 0 : 13); ++linBits) {
      std::vector<Operations> operations = {
          {reading(moxsVLCDecodeUTupleEscBlock_MP3_1u16s, tuples, linBits), {}, {}},
          coding(reading(moxsVLCDecodeEscBlock_MP3_1u16s, decoder, linBits), moxsVLCEncodeEscBlock_MP3_16s1u,
                 moxsVLCCountEscBits_MP3_16s32s, encoder, linBits)};
      if (linBits == 0) operations.push_back({reading(moxsVLCDecodeUTupleBlock_1u16s, tuples), {}, {}});
      expectAgreement(book, mp3Writer(linBits), operations);
    }
  }
  for (const char* table : {"A", "B"}) {
    const Book book = mp3Quads(table);
    const Decoder quads = decoderOf(tupleRows(book, 1), 4, 1);
    const auto one = [&](Stream& s, int16_t* dst, int32_t len) {
      moxStatus status = moxStatusOk;
      for (int32_t i = 0; i < len && status == moxStatusOk; i += 4)
        status = moxsVLCDecodeUTupleOne_1u16s(s.pp(), &s.offset, dst + i, quads.get());
      return status;
    };
    expectAgreement(book, mp3Writer(0),
                    {{reading(moxsVLCDecodeUTupleBlock_1u16s, quads), {}, {}}, {one, {}, {}}});
  }
}

// Entries keep one bit above the largest value: a lone power of two must not become a sign.
TEST(VlcEscape, TuplesWhoseLargestValueIsAPowerOfTwo) {
  for (int32_t top = 0; top < 24; ++top)
    for (const int32_t width : {1, 3, 7, 15}) {
      const Rows rows = {{1 << top, 0, 1}, {0, 1 << (width - 1), width}};
      MoxVlcDecodeSpec* spec = nullptr;
      ASSERT_EQ(moxsVLCDecodeUTupleInitAlloc_32s(words(rows), 2, &width, 1, 2, 12, &spec), moxStatusOk);
      const Decoder owner(spec);
      Stream s("01" + std::string(32, '1'), top);
      int16_t pair[2];
      ASSERT_EQ(moxsVLCDecodeUTupleOne_1u16s(s.pp(), &s.offset, pair, spec), moxStatusOk);
      EXPECT_EQ(pair[top / 12], -(1 << top % 12)) << "value 2^" << top << ", codes of " << width << " bits";
      EXPECT_EQ(pair[1 - top / 12], 0);
    }
}

TEST(VlcEscape, WorkedExamplesOfTheHeader) {
  const auto expect = [](const std::string& bits, int16_t x, int16_t y, auto read) {
    Stream s(bits + std::string(64, '0'), 3);
    int16_t pair[2];
    ASSERT_EQ(read(s, pair, 2), moxStatusOk);
    EXPECT_TRUE(pair[0] == x && pair[1] == y && s.consumed() == static_cast<int64_t>(bits.size()));
  };
  const Decoder eleven = decoderOf(aacPairRows(aacBook(11), false)),
                table24 = decoderOf(mp3PairRows(mp3Table(24))),
                seven = decoderOf(tupleRows(aacBook(7), 3), 2, 3);
  expect("100101100100011", 19, -3, reading(moxsVLCDecodeEscBlock_AAC_1u16s, eleven));
  expect("0010011001101", 18, -2, reading(moxsVLCDecodeEscBlock_MP3_1u16s, table24, 4));
  expect("11010001", 2, -1, reading(moxsVLCDecodeUTupleBlock_1u16s, seven));
}

// Every 16-bit value through the AAC escape and back; 12 ones saturate, 13 are an error.
TEST(VlcEscape, AacEscapeLimits) {
  const Rows rows = aacPairRows(aacBook(11), false);
  const Decoder decoder = decoderOf(rows), tuples = decoderOf(tupleRows(aacBook(11), 5), 2, 5);
  const Encoder encoder = encoderOf(rows);
  std::vector<int16_t> values(65536), decoded(65536);
  for (size_t i = 0; i < values.size(); ++i) values[i] = static_cast<int16_t>(i);
  std::vector<uint32_t> stream(65536 * 2);
  auto* out = reinterpret_cast<uint8_t*>(stream.data());
  const uint8_t* in = out;
  int32_t offset = 0;
  ASSERT_EQ(moxsVLCEncodeEscBlock_AAC_16s1u(values.data(), 65536, &out, &offset, encoder.get()), moxStatusOk);
  offset = 0;
  ASSERT_EQ(moxsVLCDecodeEscBlock_AAC_1u16s(&in, &offset, decoded.data(), 65536, decoder.get()), moxStatusOk);
  EXPECT_EQ(decoded, values);

  for (const int32_t ones : {12, 13, 64})
    for (const auto& read : {Operations{reading(moxsVLCDecodeEscBlock_AAC_1u16s, decoder), {}, {}},
                             {reading(moxsVLCDecodeUTupleEscBlock_AAC_1u16s, tuples), {}, {}}})
      for (int32_t shift = 0; shift < 32; ++shift) {  // two pairs (0, 0), then (-16, 0) with its sign
        const bool good = ones == 12;
        Stream s("000000001110000101" + std::string(static_cast<size_t>(ones), '1') + '0' + bitsOf(5, 16),
                 shift);
        int16_t got[6] = {1, 1, 1, 1, 7, 7};
        EXPECT_EQ(read.decode(s, got, 6), good ? moxStatusOk : moxStatusVlcError);
        EXPECT_TRUE(got[0] == 0 && got[3] == 0 && got[4] == (good ? -32768 : 7) && got[5] == (good ? 0 : 7));
        EXPECT_EQ(s.consumed(), good ? 8 + 10 + 13 + 16 : 8);
      }
}

TEST(VlcEscape, EncodersRefuseWhatTheirBookCannotExpress) {
  const Encoder five = encoderOf(aacPairRows(aacBook(5), true)), one = encoderOf(mp3PairRows(mp3Table(1))),
                big = encoderOf(mp3PairRows(mp3Table(24)));
  Block<uint8_t> stream(32);
  const Block<uint8_t> before = stream;
  uint8_t* at = stream;
  int32_t offset = 3, bits = 9;
  const auto refused = [&](std::vector<int16_t> v, auto write, auto count, const Encoder& spec, auto... lin) {
    const auto len = static_cast<int32_t>(v.size());
    EXPECT_EQ(write(v.data(), len, lin..., &at, &offset, spec.get()), moxStatusVlcError);
    EXPECT_EQ(count(v.data(), len, lin..., &bits, spec.get()), moxStatusVlcError);
  };
  refused({0, 1, 0, 5, 0, 0}, moxsVLCEncodeEscBlock_AAC_16s1u, moxsVLCCountEscBits_AAC_16s32s, five);
  refused({16, 0}, moxsVLCEncodeEscBlock_AAC_16s1u, moxsVLCCountEscBits_AAC_16s32s, five);
  refused({0, 2}, moxsVLCEncodeEscBlock_MP3_16s1u, moxsVLCCountEscBits_MP3_16s32s, one, 0);
  refused({0, -31}, moxsVLCEncodeEscBlock_MP3_16s1u, moxsVLCCountEscBits_MP3_16s32s, big, 4);
  EXPECT_SAME_BITS(stream, before);
  EXPECT_TRUE(at == stream.data() && offset == 3 && bits == 9);
  const int16_t past[2] = {0, -31};
  EXPECT_EQ(moxsVLCCountEscBits_MP3_16s32s(past, 2, 5, &bits, big.get()), moxStatusOk);
}

// Null pointers by themselves; then offset, spec, linBits, length, each fault with those behind it.
TEST(VlcEscape, RefusalsInOrder) {
  const Rows rows = mp3PairRows(mp3Table(24));
  const Decoder plain = decoderOf(rows), quads = decoderOf(tupleRows(mp3Quads("A"), 1), 4, 1);
  const Encoder encoder = encoderOf(rows);
  const auto* const noDecoder = reinterpret_cast<MoxVlcDecodeSpec*>(encoder.get());
  const auto* const noEncoder = reinterpret_cast<MoxVlcEncodeSpec*>(plain.get());
  int16_t values[8] = {};
  Block<uint8_t> stream(64);
  const Block<uint8_t> before(stream);
  const uint8_t* in = stream;
  uint8_t* out = stream;
  int32_t bits = 77, offset = 8;
  // call(fits, len, lin...): with the right spec or a wrong one; lin is empty or the lowest wrong linBits.
  const auto check = [&](auto&& call, moxStatus badOffset, int32_t badLen, auto... lin) {
    for (const int32_t bad : {8, -1}) {
      offset = bad;
      EXPECT_EQ(call(false, 0, lin...), badOffset);
    }
    offset = 0;
    EXPECT_EQ(call(false, 0, lin...), moxStatusContextMismatch);
    if constexpr (sizeof...(lin) > 0) {
      for (const int32_t linBits : {-1, 14}) EXPECT_EQ(call(true, 0, linBits), moxStatusOutOfRange);
    }
    for (const int32_t len : {0, -4, badLen}) EXPECT_EQ(call(true, len, (lin - 1)...), moxStatusBadSize);
  };
  const auto decoder = [&](auto op, const Decoder& spec, moxStatus badOffset, int32_t badLen, auto... lin) {
    expectNeedsEveryPointer(op, &in, &offset, values, 0, lin..., noDecoder);
    check([&](bool fits, int32_t len,
              auto... l) { return op(&in, &offset, values, len, l..., fits ? spec.get() : noDecoder); },
          badOffset, badLen, lin...);
  };
  const auto writer = [&](auto op, auto... lin) {
    expectNeedsEveryPointer(op, values, 0, lin..., &out, &offset, noEncoder);
    check([&](bool fits, int32_t len,
              auto... l) { return op(values, len, l..., &out, &offset, fits ? encoder.get() : noEncoder); },
          moxStatusVlcBadBitOffset, 3, lin...);
  };
  const auto counter = [&](auto op, auto... lin) {
    expectNeedsEveryPointer(op, values, 0, lin..., &bits, noEncoder);
    check([&](bool fits, int32_t len,
              auto... l) { return op(values, len, l..., &bits, fits ? encoder.get() : noEncoder); },
          moxStatusContextMismatch, 3, lin...);
  };
  decoder(moxsVLCDecodeEscBlock_AAC_1u16s, plain, moxStatusVlcBadBitOffset, 3);
  decoder(moxsVLCDecodeEscBlock_MP3_1u16s, plain, moxStatusVlcBadBitOffset, 3, 14);
  decoder(moxsVLCDecodeUTupleBlock_1u16s, quads, moxStatusVlcError, 6);
  decoder(moxsVLCDecodeUTupleEscBlock_AAC_1u16s, quads, moxStatusVlcBadBitOffset, 6);
  decoder(moxsVLCDecodeUTupleEscBlock_MP3_1u16s, quads, moxStatusVlcBadBitOffset, 6, 14);
  writer(moxsVLCEncodeEscBlock_AAC_16s1u);
  writer(moxsVLCEncodeEscBlock_MP3_16s1u, 14);
  counter(moxsVLCCountEscBits_AAC_16s32s);
  counter(moxsVLCCountEscBits_MP3_16s32s, 14);
  expectNeedsEveryPointer(moxsVLCDecodeUTupleOne_1u16s, &in, &offset, values, noDecoder);
  for (const auto& [k, want] : {std::pair<int32_t, moxStatus>{8, moxStatusVlcError},
                                {-1, moxStatusVlcError},
                                {0, moxStatusContextMismatch}}) {
    offset = k;
    EXPECT_EQ(moxsVLCDecodeUTupleOne_1u16s(&in, &offset, values, plain.get()), want);
  }
  EXPECT_TRUE(in == stream.data() && out == stream.data() && bits == 77);
  EXPECT_SAME_BITS(stream, before);

  // Tuple specs: the shape before the table, the table before its values.
  const Rows two = {{3, 0, 1}, {4, 2, 2}};
  const int32_t width = 2;
  int32_t size = 0;
  MoxVlcDecodeSpec* spec = nullptr;
  expectNeedsEveryPointer(moxsVLCDecodeUTupleGetSize_32s, words(two), 0, &width, 1, 3, 1, &size);
  expectNeedsEveryPointer(moxsVLCDecodeUTupleInit_32s, words(two), 0, &width, 1, 3, 1, quads.get());
  expectNeedsEveryPointer(moxsVLCDecodeUTupleInitAlloc_32s, words(two), 0, &width, 1, 3, 1, &spec);
  const auto getSize = [&](int32_t n, int32_t tupleSize, int32_t valueBits) {
    return moxsVLCDecodeUTupleGetSize_32s(words(two), n, &width, 1, tupleSize, valueBits, &size);
  };
  for (const auto& [tupleSize, valueBits] : {std::pair(3, 1), {0, 1}, {2, 0}, {2, 13}, {4, 7}})
    EXPECT_EQ(getSize(0, tupleSize, valueBits), moxStatusOutOfRange);
  EXPECT_EQ(getSize(0, 2, 1), moxStatusVlcError);
  EXPECT_EQ(getSize(2, 2, 1), moxStatusVlcBadTable);  // 4 needs a third bit
  EXPECT_EQ(getSize(2, 4, 6), moxStatusOk);
}

}  // namespace
