#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/layer3_reference.h"
#include "mp3/mp3_stream.h"
#include "support/block.h"
#include "support/guard_page.h"

namespace {

using moxtest::BitReader;
using moxtest::BitString;
using moxtest::draw;
using moxtest::layer3Codes;

enum class Form { builtIn, sfb, mbp };

struct Call {
  Form form = Form::builtIn;
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo record{};
  std::vector<int16_t> longBands, shortBands, mixedPoints;
  int32_t bitOffset = 0, hufSize = 0;
};

struct Result {
  moxStatus status = moxStatusOk;
  std::vector<int32_t> lines;
  int32_t bound = -77;
  int64_t position = 0;  // bits from the first byte
};

Result decode(const Call& call, const uint8_t* data) {
  moxtest::Block<int32_t> lines(576, 4);
  lines.fill(-99999);
  Result result;
  const uint8_t* p = data;
  int32_t k = call.bitOffset;
  switch (call.form) {
    case Form::builtIn:
      result.status =
          moxsHuffmanDecode_MP3_1u32s(&p, &k, lines, &result.bound, &call.record, &call.header, call.hufSize);
      break;
    case Form::sfb:
      result.status = moxsHuffmanDecodeSfb_MP3_1u32s(&p, &k, lines, &result.bound, &call.record, &call.header,
                                                     call.hufSize, call.longBands.data());
      break;
    case Form::mbp:
      result.status = moxsHuffmanDecodeSfbMbp_MP3_1u32s(&p, &k, lines, &result.bound, &call.record,
                                                        &call.header, call.hufSize, call.longBands.data(),
                                                        call.shortBands.data(), call.mixedPoints.data());
      break;
  }
  result.lines.assign(lines.begin(), lines.end());
  result.position = (p - data) * 8 + k;
  return result;
}

// Where regions end, by the words of the header comment.
std::vector<int32_t> regionEnds(const Call& call) {
  const int32_t row = call.header.id * 3 + call.header.samplingFreq;
  const int16_t* const longRow =
      call.form == Form::builtIn ? moxac::mp3::kSfbLong[row] : call.longBands.data() + 23 * row;
  const MoxMp3SideInfo& r = call.record;
  const int32_t big = 2 * r.bigVals;
  if (r.winSwitch == 0)
    return {std::min<int32_t>(longRow[r.reg0Cnt + 1], big),
            std::min<int32_t>(longRow[r.reg0Cnt + r.reg1Cnt + 2], big), big};
  int32_t boundary = call.header.id == 1 || r.blockType == 2 ? 36 : 54;
  if (call.form == Form::mbp) {
    const int16_t* const s = call.shortBands.data() + 14 * row;
    const int16_t* const point = call.mixedPoints.data() + 2 * row;
    if (r.blockType != 2) {
      boundary = longRow[8];
    } else if (r.mixedBlock == 0) {
      boundary = 3 * (s[3] - s[0]);
    } else {
      boundary = longRow[point[0]];
      int32_t j = 0;
      while (j < 14 && 3 * s[j] <= boundary) ++j;
      int32_t count = 2;
      for (int32_t i = 0; i < point[1] && j < 14; ++i) {
        boundary += s[j] - s[j - 1];
        if (count++ % 3 == 0) ++j;
      }
    }
  }
  return {std::min(boundary, big), big};
}

Result reference(const Call& call, const uint8_t* data) {
  Result result;
  result.lines.assign(576, -99999);
  BitReader in(data, call.bitOffset);
  const std::vector<int32_t> ends = regionEnds(call);
  int32_t line = 0;
  for (size_t r = 0; r < ends.size() && call.hufSize > 0; ++r)
    for (; line < ends[r]; line += 2)
      layer3Codes().takePair(in, call.record.tableSelect[r], &result.lines[static_cast<size_t>(line)]);
  const auto left = [&] { return call.bitOffset + call.hufSize - in.position(); };
  result.position = in.position();
  if (left() < 0) {
    result.status = moxStatusBadData;
    return result;
  }
  if (call.hufSize == 0) line = 0;
  for (; line < 574 && left() > 0; line += 4)
    layer3Codes().takeQuad(in, call.record.cnt1TabSel, &result.lines[static_cast<size_t>(line)]);
  if (left() < 0) line -= 4;
  std::fill(result.lines.begin() + line, result.lines.end(), 0);
  result.bound = 576;
  while (result.bound > 0 && result.lines[static_cast<size_t>(result.bound - 1)] == 0) --result.bound;
  result.position = call.bitOffset + call.hufSize;
  return result;
}

Call randomCall() {
  Call call;
  call.form = static_cast<Form>(draw(0, 2));
  call.header.id = draw(0, 1);
  call.header.layer = 1;
  call.header.samplingFreq = draw(0, 2);
  MoxMp3SideInfo& r = call.record;
  r.bigVals = draw(0, 3) == 0 ? 288 : draw(0, 288);
  r.winSwitch = draw(0, 1);
  r.blockType = r.winSwitch == 1 ? draw(1, 3) : 0;
  r.mixedBlock = draw(0, 1);
  r.reg0Cnt = draw(0, 15);
  r.reg1Cnt = draw(0, std::min(7, 20 - r.reg0Cnt));
  for (int32_t& t : r.tableSelect) t = draw(0, 31);
  if (r.winSwitch == 1) r.tableSelect[2] = r.reg0Cnt = r.reg1Cnt = 99;  // never looked at
  r.cnt1TabSel = draw(0, 1);
  call.bitOffset = draw(0, 7);
  const int16_t *const ownLong = moxac::mp3::kSfbLong[0], *const ownShort = moxac::mp3::kSfbShort[0];
  call.longBands.assign(ownLong, ownLong + 6 * 23);
  call.shortBands.assign(ownShort, ownShort + 6 * 14);
  for (int row = 0; row < 6; ++row) {
    call.mixedPoints.push_back(static_cast<int16_t>(draw(0, 10)));
    call.mixedPoints.push_back(static_cast<int16_t>(draw(0, 45)));
  }
  if (draw(0, 1) == 1) {  // bands of the caller's own, odd ones among them
    for (size_t i = 0; i < call.longBands.size(); ++i)
      if (i % 23 != 0 && i % 23 != 22)
        call.longBands[i] = static_cast<int16_t>(call.longBands[i] - draw(0, 3));
    for (size_t i = 0; i < call.shortBands.size(); ++i)
      if (i % 14 != 0) call.shortBands[i] = static_cast<int16_t>(call.shortBands[i] - draw(0, 1));
  }
  return call;
}

// What a table can code, small and large values alike, escapes of every width.
int32_t randomValue(int32_t table) {
  const auto& t = layer3Codes().tables[static_cast<size_t>(table)];
  if (t.book == nullptr) return 0;
  int32_t magnitude = draw(0, t.width - 1);
  if (magnitude == 15 && t.linBits > 0) magnitude += draw(0, (1 << draw(0, t.linBits)) - 1);
  return draw(0, 1) == 1 ? -magnitude : magnitude;
}

// A spectrum in the call's tables and its bits; the count1 region ends where `quads` do.
std::vector<int32_t> writeSpectrum(const Call& call, BitString& out, int32_t& bigBits) {
  std::vector<int32_t> lines(576, 0);
  const std::vector<int32_t> ends = regionEnds(call);
  int32_t line = 0;
  for (size_t r = 0; r < ends.size(); ++r)
    for (; line < ends[r]; line += 2) {
      int32_t* const xy = &lines[static_cast<size_t>(line)];
      for (int i = 0; i < 2; ++i) xy[i] = randomValue(call.record.tableSelect[r]);
      layer3Codes().putPair(out, call.record.tableSelect[r], xy[0], xy[1]);
    }
  bigBits = out.size();
  for (int32_t quads = draw(0, 144); quads > 0 && line < 574; --quads, line += 4) {
    int32_t* const v = &lines[static_cast<size_t>(line)];
    for (int i = 0; i < 4; ++i) v[i] = draw(-1, 1);
    layer3Codes().putQuad(out, call.record.cnt1TabSel, v);
  }
  return lines;
}

// The same data with nothing readable behind the last byte that may be touched.
void expectReference(Call call, const std::vector<uint8_t>& data, const Result& want) {
  const int64_t last = want.status == moxStatusOk ? call.bitOffset + call.hufSize : want.position;
  const auto readable = static_cast<size_t>((last + 7) / 8 + (want.status == moxStatusOk ? 0 : 3));
  moxtest::GuardPage page(readable);
  std::copy_n(data.begin(), readable, page.data());
  call.record.part23Len = call.hufSize + draw(0, 1);
  const Result got = decode(call, page.data());
  ASSERT_EQ(got.status, want.status);
  ASSERT_EQ(got.position, want.position);
  ASSERT_EQ(got.bound, want.bound);
  ASSERT_EQ(got.lines, want.lines);
}

TEST(Mp3HuffmanDecode, WrittenSpectraComeBackFromEveryTable) {
  for (int round = 0; round < 4000; ++round) {
    SCOPED_TRACE(round);
    Call call = randomCall();
    if (round < 320) call.record.tableSelect[0] = round / 10;
    BitString bits;
    int32_t bigBits = 0;
    const std::vector<int32_t> lines = writeSpectrum(call, bits, bigBits);
    call.hufSize = bits.size();
    const std::vector<uint8_t> data = bits.bytes(call.bitOffset);
    const Result want = reference(call, data.data());
    if (call.hufSize > 0) {
      ASSERT_EQ(want.lines, lines) << "the reference itself";
    }
    ASSERT_NO_FATAL_FAILURE(expectReference(call, data, want));
  }
}

// Any bits decode to something: ends are cut short or long at random, so quadruples overshoot, stuffing is
// passed over, big values run out of bits.
TEST(Mp3HuffmanDecode, EveryEndStopsAsTheReferenceDoes) {
  int32_t seen[3] = {};
  for (int round = 0; round < 6000; ++round) {
    SCOPED_TRACE(round);
    Call call = randomCall();
    BitString bits;
    int32_t bigBits = 0;
    if (draw(0, 1) == 1) writeSpectrum(call, bits, bigBits);
    const int32_t whole = bits.size();
    while (bits.size() < 288 * 36 + 64) bits.put(moxtest::noiseValue<uint32_t>(), 31);
    const int32_t around = draw(0, 1) == 1 ? bigBits : whole;
    call.hufSize = std::max(0, draw(0, 3) == 0 ? draw(0, 4095) : around + draw(-12, 40));
    const std::vector<uint8_t> data = bits.bytes(call.bitOffset);
    const Result want = reference(call, data.data());
    ++seen[want.status == moxStatusBadData ? 0 : call.hufSize == 0 ? 1 : 2];
    ASSERT_NO_FATAL_FAILURE(expectReference(call, data, want));
  }
  for (const int32_t count : seen) EXPECT_GT(count, 50);
}

// The header tells callers how far reading may go on past hufSize.
TEST(Mp3HuffmanDecode, PairsTakeAtMost36Bits) {
  Call call = randomCall();
  call.record.winSwitch = call.record.blockType = call.record.reg0Cnt = call.record.reg1Cnt = 0;
  call.record.bigVals = 288;
  call.hufSize = 1;
  for (int32_t& table : call.record.tableSelect) table = 23;
  BitString bits;
  for (int i = 0; i < 288; ++i) layer3Codes().putPair(bits, 23, 8206, -8206);
  EXPECT_EQ(bits.size(), 288 * 36);
  std::vector<uint8_t> data = bits.bytes(call.bitOffset);
  data.resize(data.size() + 3);
  expectReference(call, data, reference(call, data.data()));
}

TEST(Mp3HuffmanDecode, EveryGranuleOfTheStreams) {
  for (const moxtest::Mp3Stream& stream : moxtest::allMp3Streams())
    for (const moxtest::Mp3Granule& g : stream.granules) {
      SCOPED_TRACE(stream.name);
      Call call;
      call.header = g.header;
      call.record = g.record;
      int8_t scaleFactors[39] = {};
      const uint8_t* p = stream.mainData.data() + g.firstBit / 8;
      call.bitOffset = static_cast<int32_t>(g.firstBit % 8);
      const int32_t before = call.bitOffset;
      const uint8_t* const start = p;
      moxsUnpackScaleFactors_MP3_1u8s(&p, &call.bitOffset, scaleFactors, &call.record, g.scfsi, &g.header,
                                      g.granule, g.channel);
      call.hufSize = g.record.part23Len - static_cast<int32_t>(8 * (p - start)) - call.bitOffset + before;
      const Result got = decode(call, p), want = reference(call, p);
      ASSERT_EQ(got.status, moxStatusOk);
      ASSERT_EQ(got.position, want.position);
      ASSERT_EQ(got.bound, want.bound);
      ASSERT_EQ(got.lines, want.lines);
    }
}

TEST(Mp3HuffmanDecode, ATableNumberIsCheckedWhenItsRegionComes) {
  for (const int32_t bad : {-1, 32})
    for (const Form form : {Form::builtIn, Form::mbp}) {
      Call call = randomCall();
      call.form = form;
      call.record.winSwitch = 0;
      call.record.blockType = call.record.reg0Cnt = call.record.reg1Cnt = 0;
      call.record.bigVals = 288;
      call.record.tableSelect[0] = 13;
      call.record.tableSelect[1] = bad;
      BitString bits;
      for (int i = 0; i < 400; ++i) bits.put(moxtest::noiseValue<uint32_t>(), 31);
      const std::vector<uint8_t> data = bits.bytes();
      call.hufSize = call.record.part23Len = 4000;
      Result got = decode(call, data.data());
      EXPECT_EQ(got.status, moxStatusMp3SideInfoErr);
      BitReader in(data.data(), call.bitOffset);
      const int32_t end = regionEnds(call)[0];
      for (int32_t line = 0; line < end; line += 2) {
        int32_t xy[2];
        layer3Codes().takePair(in, 13, xy);
        EXPECT_EQ(got.lines[static_cast<size_t>(line)], xy[0]);
        EXPECT_EQ(got.lines[static_cast<size_t>(line + 1)], xy[1]);
      }
      EXPECT_EQ(got.lines[static_cast<size_t>(end + end % 2)], -99999) << "a pair at an odd end is finished";
      EXPECT_EQ(got.position, in.position());

      call.hufSize = 1;  // the bits run out first, the number is still what is reported
      got = decode(call, data.data());
      EXPECT_EQ(got.status, moxStatusMp3SideInfoErr);
      EXPECT_EQ(got.position, in.position());

      call.hufSize = 0;
      got = decode(call, data.data());
      EXPECT_EQ(got.status, moxStatusMp3SideInfoErr);
      EXPECT_EQ(got.position, call.bitOffset);
      EXPECT_EQ(got.lines[0], -99999);
    }
}

// Every field out of range, in the order in which faults are reported: with faults i, i+1, ... present at
// once, fault i's status comes back and nothing is written.
struct Fault {
  moxStatus status;
  void (*inflict)(Call&);
};

void expectFaultOrder(Form form, const std::vector<Fault>& faults) {
  const std::vector<uint8_t> data(2000, 0x5A);
  for (size_t from = 0; from < faults.size(); ++from) {
    Call call = randomCall();
    call.form = form;
    call.record.winSwitch = 0;
    call.record.blockType = call.record.reg0Cnt = call.record.reg1Cnt = 0;
    call.hufSize = call.record.part23Len = 100;
    for (size_t i = faults.size(); i-- > from;) faults[i].inflict(call);
    const Result got = decode(call, data.data());
    EXPECT_EQ(got.status, faults[from].status) << "fault " << from;
    EXPECT_EQ(got.lines[0], -99999);
    EXPECT_EQ(got.bound, -77);
    EXPECT_EQ(got.position, call.bitOffset);
  }
}

TEST(Mp3HuffmanDecode, RefusesInOrder) {
  constexpr moxStatus side = moxStatusMp3SideInfoErr, head = moxStatusMp3FrameHeaderErr;
  const Fault offsetHigh = {moxStatusOutOfRange, [](Call& c) { c.bitOffset = 8; }};
  const Fault offsetLow = {moxStatusOutOfRange, [](Call& c) { c.bitOffset = -1; }};
  const Fault id = {head, [](Call& c) { c.header.id = 2; }};
  const Fault idLow = {head, [](Call& c) { c.header.id = -1; }};
  const Fault layer = {head, [](Call& c) { c.header.layer = 2; }};
  const Fault rate = {head, [](Call& c) { c.header.samplingFreq = 3; }};
  const Fault rateLow = {head, [](Call& c) { c.header.samplingFreq = -1; }};
  const Fault big = {side, [](Call& c) { c.record.bigVals = 289; }};
  const Fault bigLow = {side, [](Call& c) { c.record.bigVals = -1; }};
  const Fault type = {side, [](Call& c) { c.record.blockType = 4; }};
  const Fault window = {side, [](Call& c) { c.record.winSwitch = 2; }};
  const Fault switchedNormal = {side, [](Call& c) { c.record.winSwitch = 1, c.record.blockType = 0; }};
  const Fault count1 = {side, [](Call& c) { c.record.cnt1TabSel = 2; }};
  const Fault regions = {side, [](Call& c) { c.record.reg0Cnt = 14, c.record.reg1Cnt = 7; }};
  const Fault regionLow = {side, [](Call& c) { c.record.reg1Cnt = -1; }};
  const auto sizeAs = [](moxStatus status) {
    return std::pair{Fault{status, [](Call& c) { c.hufSize = -1; }},
                     Fault{status, [](Call& c) { c.hufSize = c.record.part23Len + 1; }}};
  };
  for (const Form form : {Form::builtIn, Form::sfb}) {
    const auto [sizeLow, sizeHigh] = sizeAs(moxStatusOutOfRange);
    expectFaultOrder(form, {offsetHigh, offsetLow, sizeLow, sizeHigh, big, bigLow, type, window, count1, id,
                            idLow, layer, rate, rateLow, switchedNormal});
    expectFaultOrder(form, {rate, regions});
    expectFaultOrder(form, {rate, regionLow});
  }
  const auto [sizeLow, sizeHigh] = sizeAs(side);
  expectFaultOrder(Form::mbp, {offsetHigh, offsetLow, id, idLow, big, bigLow, type, window, switchedNormal,
                               layer, rate, rateLow, count1, sizeLow, sizeHigh});
  expectFaultOrder(Form::mbp, {rate, regions});
  expectFaultOrder(Form::mbp, {rate, regionLow});
}

TEST(Mp3HuffmanDecode, NullPointersComeFirst) {
  Call call = randomCall();
  const uint8_t byte[4] = {};
  const uint8_t* p = byte;
  const uint8_t* none = nullptr;
  int32_t k = 8, bound = 0, lines[576];
  const int16_t* const l = moxac::mp3::kSfbLong[0];
  const int16_t* const s = moxac::mp3::kSfbShort[0];
  const int16_t m[12] = {};
  const auto all = [&](const uint8_t** pp, int32_t* pk, int32_t* dst, int32_t* b, const MoxMp3SideInfo* r,
                       const MoxMp3FrameHeader* h) {
    EXPECT_EQ(moxsHuffmanDecode_MP3_1u32s(pp, pk, dst, b, r, h, 0), moxStatusNullPointer);
    EXPECT_EQ(moxsHuffmanDecodeSfb_MP3_1u32s(pp, pk, dst, b, r, h, 0, l), moxStatusNullPointer);
    EXPECT_EQ(moxsHuffmanDecodeSfbMbp_MP3_1u32s(pp, pk, dst, b, r, h, 0, l, s, m), moxStatusNullPointer);
  };
  const MoxMp3SideInfo* const r = &call.record;
  const MoxMp3FrameHeader* const h = &call.header;
  all(nullptr, &k, lines, &bound, r, h);
  all(&none, &k, lines, &bound, r, h);
  all(&p, nullptr, lines, &bound, r, h);
  all(&p, &k, nullptr, &bound, r, h);
  all(&p, &k, lines, nullptr, r, h);
  all(&p, &k, lines, &bound, nullptr, h);
  all(&p, &k, lines, &bound, r, nullptr);
  EXPECT_EQ(moxsHuffmanDecodeSfb_MP3_1u32s(&p, &k, lines, &bound, r, h, 0, nullptr), moxStatusNullPointer);
  for (int missing = 0; missing < 3; ++missing)
    EXPECT_EQ(moxsHuffmanDecodeSfbMbp_MP3_1u32s(&p, &k, lines, &bound, r, h, 0, missing == 0 ? nullptr : l,
                                                missing == 1 ? nullptr : s, missing == 2 ? nullptr : m),
              moxStatusNullPointer);
}

}  // namespace
