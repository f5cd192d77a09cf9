#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/huffman_call.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using moxtest::BitString;
using moxtest::draw;

struct Call : moxtest::HuffmanCall, moxtest::Spectrum {};

Call randomCall(int32_t table) {
  Call call;
  static_cast<moxtest::HuffmanCall&>(call) = moxtest::randomHuffmanCall(moxtest::Form::builtIn, 1);
  call.record.tableSelect[0] = table;
  static_cast<moxtest::Spectrum&>(call) = moxtest::randomSpectrum(call);
  return call;
}

struct Written {
  moxStatus status;
  int32_t bits;
  std::vector<uint8_t> bytes;
};

// Encodes behind `bitOffset` zero bits; nothing behind the last byte may change.
Written encode(const Call& call) {
  moxtest::Block<uint8_t> out(4096);
  std::fill(out.begin(), out.end(), uint8_t{0x5A});
  if (call.bitOffset != 0) out[0] = 0;
  uint8_t* p = out;
  int32_t k = call.bitOffset;
  const moxStatus status = moxsHuffmanEncode_MP3_32s1u(call.lines.data(), &p, &k, &call.header, &call.record,
                                                       call.count1Len, call.hufSize);
  const auto used = (p - out.data()) + (k > 0 ? 1 : 0);
  for (int64_t i = used; i < out.size(); ++i) EXPECT_EQ(out[i], 0x5A);
  return {status, static_cast<int32_t>(8 * (p - out.data())) + k - call.bitOffset,
          std::vector<uint8_t>(out.begin(), out.begin() + used)};
}

TEST(Mp3HuffmanEncode, EveryTableWritesItsCodesAndDecodesBack) {
  for (int round = 0; round < 3200; ++round) {
    SCOPED_TRACE(round);
    Call call = randomCall(round / 100);
    BitString bits = codedBits(call, call, 4);
    call.hufSize = bits.size() + (draw(0, 1) == 1 ? draw(-20, 100) : 0);
    while (bits.size() < call.hufSize) bits.put(1, 1);
    const Written got = encode(call);
    ASSERT_EQ(got.status, moxStatusOk);
    ASSERT_EQ(got.bits, bits.size());
    ASSERT_EQ(got.bytes, bits.bytes(call.bitOffset));

    if (got.bytes.empty()) continue;
    const uint8_t* p = got.bytes.data();
    int32_t k = call.bitOffset, bound = 0;
    std::vector<int32_t> lines(576);
    call.record.part23Len = codedBits(call, call, 4).size();  // stuffing would read as quadruples
    ASSERT_EQ(moxsHuffmanDecode_MP3_1u32s(&p, &k, lines.data(), &bound, &call.record, &call.header,
                                          call.record.part23Len),
              moxStatusOk);
    ASSERT_EQ(lines, call.lines);
  }
}

TEST(Mp3HuffmanEncode, StuffingEndsOnTheBit) {
  Call call;  // no code at all
  call.header.id = call.header.layer = 1;
  for (call.bitOffset = 0; call.bitOffset < 8; ++call.bitOffset)
    for (call.hufSize = -3; call.hufSize < 40; ++call.hufSize) {
      BitString ones;
      while (ones.size() < call.hufSize) ones.put(1, 1);
      const Written got = encode(call);
      ASSERT_EQ(got.status, moxStatusOk);
      ASSERT_EQ(got.bits, ones.size());
      ASSERT_EQ(got.bytes, ones.bytes(call.bitOffset));
    }
}

// Regions before the faulty one are written, the cursor stands behind them, and no stuffing follows.
TEST(Mp3HuffmanEncode, AFaultyRegionStopsBehindTheEarlierOnes) {
  struct Case {
    int32_t region, table, magnitude;
  };
  for (const Case& c : {Case{0, -1, 0},
                        {1, -1, 0},
                        {2, -1, 0},
                        {2, 32, 0},
                        {1, 4, 1},
                        {2, 14, 1},
                        {1, 1, 2},
                        {0, 15, 16},
                        {2, 13, INT_MIN},
                        {1, 16, 17},
                        {2, 24, 31},
                        {0, 31, 15 + 8192},
                        {3, 0, 2}}) {
    SCOPED_TRACE(testing::Message() << "region " << c.region << " table " << c.table);
    Call call = randomCall(7);
    call.record.winSwitch = call.record.blockType = 0;
    call.record.bigVals = 200;
    call.record.reg0Cnt = call.record.reg1Cnt = 5;
    call.record.tableSelect[1] = call.record.tableSelect[2] = 7;
    call.lines.assign(576, 0);
    for (int32_t i = 0; i < 400; ++i) call.lines[static_cast<size_t>(i)] = draw(-5, 5);
    call.count1Len = 40;
    std::vector<int32_t> ends = regionEnds(call);
    ends.push_back(440);
    const int32_t first = c.region == 0 ? 0 : ends[static_cast<size_t>(c.region - 1)];
    const int32_t end = ends[static_cast<size_t>(c.region)];
    std::fill(call.lines.begin() + first, call.lines.begin() + end, 0);
    call.lines[static_cast<size_t>(end - 1)] = c.magnitude;
    if (c.region < 3) call.record.tableSelect[c.region] = c.table;
    call.hufSize = 8000;
    const BitString bits = codedBits(call, call, static_cast<size_t>(c.region));
    const Written got = encode(call);
    EXPECT_EQ(got.status, moxStatusMp3SideInfoErr);
    EXPECT_EQ(got.bits, bits.size());
    EXPECT_EQ(got.bytes, bits.bytes(call.bitOffset));
  }
  Call negative = randomCall(5);
  negative.record.winSwitch = negative.record.blockType = 1;
  negative.record.tableSelect[1] = 5;
  negative.lines.assign(576, 1);
  negative.record.tableSelect[2] = -1;
  EXPECT_EQ(encode(negative).status, moxStatusMp3SideInfoErr) << "also of an empty region";
}

TEST(Mp3HuffmanEncode, RefusesInOrder) {
  constexpr moxStatus side = moxStatusMp3SideInfoErr, head = moxStatusMp3FrameHeaderErr;
  struct Fault {
    moxStatus status;
    void (*inflict)(Call&);
  };
  const Fault faults[] = {
      {moxStatusOutOfRange, [](Call& c) { c.bitOffset = 8; }},
      {moxStatusOutOfRange, [](Call& c) { c.bitOffset = -1; }},
      {side, [](Call& c) { c.record.bigVals = 289; }},
      {side, [](Call& c) { c.record.bigVals = -1; }},
      {side, [](Call& c) { c.record.reg0Cnt = 14, c.record.reg1Cnt = 7; }},
      {side, [](Call& c) { c.record.reg0Cnt = -1, c.record.reg1Cnt = 0; }},
      {side, [](Call& c) { c.record.reg0Cnt = 0, c.record.reg1Cnt = -1; }},
      {side, [](Call& c) { c.record.cnt1TabSel = 2; }},
      {head, [](Call& c) { c.header.id = 0; }},
      {head, [](Call& c) { c.header.layer = 2; }},
      {head, [](Call& c) { c.header.samplingFreq = 3; }},
      {moxStatusOutOfRange, [](Call& c) { c.count1Len = -4; }},
      {moxStatusOutOfRange, [](Call& c) { c.record.bigVals = 287, c.count1Len = 4; }},
      {side, [](Call& c) { c.record.tableSelect[0] = -1; }},
  };
  const uint8_t before[4] = {1, 2, 3, 4};
  for (size_t from = 0; from < std::size(faults); ++from) {
    Call call = randomCall(1);
    for (size_t i = std::size(faults); i-- > from;) faults[i].inflict(call);
    uint8_t out[4];
    std::memcpy(out, before, 4);
    uint8_t* p = out;
    int32_t k = call.bitOffset;
    EXPECT_EQ(moxsHuffmanEncode_MP3_32s1u(call.lines.data(), &p, &k, &call.header, &call.record,
                                          call.count1Len, 99),
              faults[from].status)
        << from;
    EXPECT_EQ(p, out);
    if (from + 1 < std::size(faults)) {
      EXPECT_EQ(std::memcmp(out, before, 4), 0);
    }
  }
  Call call = randomCall(1);
  uint8_t byte = 0, *p = &byte;
  int32_t k = 8;
  moxtest::expectNeedsEveryPointer(moxsHuffmanEncode_MP3_32s1u, call.lines.data(), &p, &k, &call.header,
                                   &call.record, 0, 0);
}

}  // namespace
