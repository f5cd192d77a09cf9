// Layer III Huffman encoding: what it writes is read again.
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
#include "support/refusals.h"

namespace {

using moxtest::Bits;
using moxtest::draw;
using moxtest::Faults;
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
  r = moxtest::randomRegions();
  r.tableSelect[0] = table;
  call.bitOffset = draw(0, 7);

  const int32_t big = 2 * r.bigVals;
  const int16_t* const bands = moxMp3SfbLong[3 + call.header.samplingFreq];
  call.ends[0] = std::min<int32_t>(r.winSwitch == 1 ? 36 : bands[r.reg0Cnt + 1], big);
  call.ends[1] = r.winSwitch == 1 ? big : std::min<int32_t>(bands[r.reg0Cnt + r.reg1Cnt + 2], big);
  call.ends[2] = big;
  int32_t line = 0;
  for (size_t region = 0; region < 3; ++region)
    for (; line < call.ends[region]; ++line)
      call.lines[static_cast<size_t>(line)] = moxtest::randomValue(r.tableSelect[region]);
  call.count1Len = draw(0, (576 - big) / 4) * 4;
  for (; line < big + call.count1Len; ++line) call.lines[static_cast<size_t>(line)] = draw(-1, 1);
  return call;
}

// The bits of the regions before `regions`; with 4 the count1 region's too.
Bits expectedBits(const Call& call, int32_t regions) {
  Bits bits;
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
  if (call.bitOffset > 0) out[0] = 0;
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
    Bits bits = expectedBits(call, 4);
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
      Bits ones;
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
    const int16_t* const bands = moxMp3SfbLong[3 + call.header.samplingFreq];
    call.ends[0] = bands[6], call.ends[1] = bands[12], call.ends[2] = 400;
    const int32_t first = c.region == 0 ? 0 : call.ends[c.region - 1];
    const int32_t end = c.region == 3 ? 440 : call.ends[c.region];
    std::fill(call.lines.begin() + first, call.lines.begin() + end, 0);
    call.lines[static_cast<size_t>(end - 1)] = c.magnitude;
    if (c.region < 3) call.record.tableSelect[c.region] = c.table;
    call.hufSize = 8000;
    const Bits bits = expectedBits(call, c.region);
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
  const auto make = [] {
    Call call = randomCall(1);
    call.record.winSwitch = call.record.blockType = 0;
    call.record.bigVals = 144;
    call.record.tableSelect[0] = call.record.tableSelect[1] = call.record.tableSelect[2] = 1;
    call.lines.assign(576, 1);
    call.count1Len = 0;
    call.hufSize = 99;
    return call;
  };
  Faults<Call>()
      .range(moxStatusOutOfRange, FIELD(Call, bitOffset), 0, 7)
      .range(side, FIELD(Call, record.bigVals), 0, 288)
      .add(side, [](Call& c) { c.record.reg0Cnt = 14, c.record.reg1Cnt = 7; })
      .add(side, [](Call& c) { c.record.reg0Cnt = -1, c.record.reg1Cnt = 0; })
      .add(side, [](Call& c) { c.record.reg0Cnt = 0, c.record.reg1Cnt = -1; })
      .range(side, FIELD(Call, record.cnt1TabSel), 0, 1)
      .range(head, FIELD(Call, header.id), 1, 1)
      .range(head, FIELD(Call, header.layer), 1, 1)
      .range(head, FIELD(Call, header.samplingFreq), 0, 2)
      .range(moxStatusOutOfRange, FIELD(Call, count1Len), 0, 288)
      .add(side, [](Call& c) { c.record.tableSelect[0] = -1; })
      .expectInOrder(make, [](const Call& call) {
        const Written got = encode(call);
        EXPECT_TRUE(got.status >= moxStatusOk || got.bits == 0);
        return got.status;
      });
  Call call = randomCall(1);
  uint8_t byte = 0, *p = &byte;
  int32_t k = 8;
  moxtest::expectNeedsEveryPointer(moxsHuffmanEncode_MP3_32s1u, call.lines.data(), &p, &k, &call.header,
                                   &call.record, 0, 0);
}

}  // namespace
