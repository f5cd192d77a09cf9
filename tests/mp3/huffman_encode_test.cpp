#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <cstring>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/layer3_reference.h"
#include "support/block.h"

namespace {

using moxtest::BitString;
using moxtest::draw;
using moxtest::layer3Codes;

struct Call {
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo record{};
  std::vector<int32_t> lines = std::vector<int32_t>(576, 0);
  int32_t bitOffset = 0, count1Len = 0, hufSize = 0;

  int32_t ends[3] = {};  // of the regions, as a decoder sees them
};

Call randomCall(int32_t table) {
  Call call;
  call.header.id = call.header.layer = 1;
  call.header.samplingFreq = draw(0, 2);
  MoxMp3SideInfo& r = call.record;
  r.bigVals = draw(0, 288);
  r.winSwitch = draw(0, 1);
  r.blockType = r.winSwitch == 1 ? draw(1, 3) : 0;
  r.mixedBlock = draw(0, 1);
  r.reg0Cnt = draw(0, 15);
  r.reg1Cnt = draw(0, std::min(7, 20 - r.reg0Cnt));
  for (int32_t& t : r.tableSelect) t = draw(0, 31);
  if (r.winSwitch == 1) r.tableSelect[2] = 99;  // of an empty region only a negative number is a fault
  r.tableSelect[0] = table;
  r.cnt1TabSel = draw(0, 1);
  call.bitOffset = draw(0, 7);

  const int32_t big = 2 * r.bigVals;
  const int16_t* const bands = moxac::mp3::kSfbLong[3 + call.header.samplingFreq];
  call.ends[0] = std::min<int32_t>(r.winSwitch == 1 ? 36 : bands[r.reg0Cnt + 1], big);
  call.ends[1] = r.winSwitch == 1 ? big : std::min<int32_t>(bands[r.reg0Cnt + r.reg1Cnt + 2], big);
  call.ends[2] = big;
  int32_t line = 0;
  for (size_t region = 0; region < 3; ++region)
    for (; line < call.ends[region]; ++line) {
      const auto& t = layer3Codes().tables[static_cast<size_t>(r.tableSelect[region])];
      if (t.book == nullptr) continue;
      int32_t magnitude = draw(0, t.width - 1);
      if (magnitude == 15 && t.linBits > 0) magnitude += draw(0, (1 << draw(0, t.linBits)) - 1);
      call.lines[static_cast<size_t>(line)] = draw(0, 1) == 1 ? -magnitude : magnitude;
    }
  call.count1Len = draw(0, (576 - big) / 4) * 4;
  for (; line < big + call.count1Len; ++line) call.lines[static_cast<size_t>(line)] = draw(-1, 1);
  return call;
}

// The bits of the regions before `regions`; with 4 the count1 region's too.
BitString expectedBits(const Call& call, int32_t regions) {
  BitString bits;
  int32_t line = 0;
  for (int32_t r = 0; r < std::min(regions, 3); ++r)
    for (; line < call.ends[r]; line += 2)
      layer3Codes().putPair(bits, call.record.tableSelect[r], call.lines[static_cast<size_t>(line)],
                            call.lines[static_cast<size_t>(line + 1)]);
  for (int32_t i = 0; regions == 4 && i < call.count1Len; i += 4)
    layer3Codes().putQuad(bits, call.record.cnt1TabSel, &call.lines[static_cast<size_t>(line + i)]);
  return bits;
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
    BitString bits = expectedBits(call, 4);
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
    call.record.part23Len = expectedBits(call, 4).size();  // stuffing would read as quadruples
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
    const int16_t* const bands = moxac::mp3::kSfbLong[3 + call.header.samplingFreq];
    call.ends[0] = bands[6], call.ends[1] = bands[12], call.ends[2] = 400;
    const int32_t first = c.region == 0 ? 0 : call.ends[c.region - 1];
    const int32_t end = c.region == 3 ? 440 : call.ends[c.region];
    std::fill(call.lines.begin() + first, call.lines.begin() + end, 0);
    call.lines[static_cast<size_t>(end - 1)] = c.magnitude;
    if (c.region < 3) call.record.tableSelect[c.region] = c.table;
    call.hufSize = 8000;
    const BitString bits = expectedBits(call, c.region);
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
  uint8_t byte = 0;
  uint8_t *p = &byte, *none = nullptr;
  int32_t k = 8;
  for (int i = 0; i < 6; ++i)
    EXPECT_EQ(moxsHuffmanEncode_MP3_32s1u(i == 0 ? nullptr : call.lines.data(),
                                          i == 1   ? nullptr
                                          : i == 2 ? &none
                                                   : &p,
                                          i == 3 ? nullptr : &k, i == 4 ? nullptr : &call.header,
                                          i == 5 ? nullptr : &call.record, 0, 0),
              moxStatusNullPointer);
}

}  // namespace
