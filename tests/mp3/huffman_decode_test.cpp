// Layer III Huffman decoding against a bit-by-bit model.
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
#include "support/refusals.h"

namespace {

using moxtest::BitReader;
using moxtest::Bits;
using moxtest::draw;
using moxtest::Faults;
using moxtest::layer3Codes;
using moxtest::randomValue;

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
      call.form == Form::builtIn ? moxMp3SfbLong[row] : call.longBands.data() + 23 * row;
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
  call.record = moxtest::randomRegions();
  if (call.record.winSwitch == 1) call.record.reg0Cnt = call.record.reg1Cnt = 99;  // never looked at
  call.bitOffset = draw(0, 7);
  const int16_t *const ownLong = moxMp3SfbLong[0], *const ownShort = moxMp3SfbShort[0];
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

// A spectrum in the call's tables and its bits; the count1 region ends where `quads` do.
std::vector<int32_t> writeSpectrum(const Call& call, Bits& out, int32_t& bigBits) {
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
    Bits bits;
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
    Bits bits;
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
  Bits bits;
  for (int i = 0; i < 288; ++i) layer3Codes().putPair(bits, 23, 8206, -8206);
  EXPECT_EQ(bits.size(), 288 * 36);
  std::vector<uint8_t> data = bits.bytes(call.bitOffset);
  data.resize(data.size() + 3);
  expectReference(call, data, reference(call, data.data()));
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
      Bits bits;
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

TEST(Mp3HuffmanDecode, RefusesInOrder) {
  constexpr moxStatus side = moxStatusMp3SideInfoErr, head = moxStatusMp3FrameHeaderErr;
  const std::vector<uint8_t> data(2000, 0x5A);
  const auto expect = [&](Form form, const Faults<Call>& faults) {
    const auto make = [&] {
      Call call = randomCall();
      call.form = form;
      call.record.winSwitch = call.record.blockType = call.record.reg0Cnt = call.record.reg1Cnt = 0;
      for (int32_t& table : call.record.tableSelect) table = 1;
      call.record.bigVals = 20;
      call.hufSize = call.record.part23Len = 4000;
      return call;
    };
    faults.expectInOrder(make, [&](const Call& call) {
      const Result got = decode(call, data.data());
      EXPECT_TRUE(got.status >= moxStatusOk ||
                  (got.lines[0] == -99999 && got.bound == -77 && got.position == call.bitOffset));
      return got.status;
    });
  };
  const auto offset = Faults<Call>().range(moxStatusOutOfRange, FIELD(Call, bitOffset), 0, 7);
  const auto size = [](moxStatus status) {
    return Faults<Call>().range(status, FIELD(Call, hufSize), 0, 4000);
  };
  const auto id = Faults<Call>().range(head, FIELD(Call, header.id), 0, 1);
  const auto rate = Faults<Call>()
                        .range(head, FIELD(Call, header.layer), 1, 1)
                        .range(head, FIELD(Call, header.samplingFreq), 0, 2);
  const auto window = Faults<Call>()
                          .range(side, FIELD(Call, record.bigVals), 0, 288)
                          .add(side, [](Call& c) { c.record.blockType = 4; })
                          .add(side, [](Call& c) { c.record.winSwitch = 2; });
  const auto count1 = Faults<Call>().range(side, FIELD(Call, record.cnt1TabSel), 0, 1);
  const auto normal =
      Faults<Call>().add(side, [](Call& c) { c.record.winSwitch = 1, c.record.blockType = 0; });
  const auto regions = Faults<Call>(rate)
                           .add(side, [](Call& c) { c.record.reg0Cnt = 14, c.record.reg1Cnt = 7; })
                           .add(side, [](Call& c) { c.record.reg0Cnt = 0, c.record.reg1Cnt = -1; });
  for (const Form form : {Form::builtIn, Form::sfb}) {
    expect(form, Faults<Call>(offset)
                     .add(size(moxStatusOutOfRange))
                     .add(window)
                     .add(count1)
                     .add(id)
                     .add(rate)
                     .add(normal));
    expect(form, regions);
  }
  expect(Form::mbp,
         Faults<Call>(offset).add(id).add(window).add(normal).add(rate).add(count1).add(size(side)));
  expect(Form::mbp, regions);

  Call call = randomCall();
  const uint8_t* p = data.data();
  int32_t k = 8, bound = 0, lines[576];
  const int16_t *const longs = moxMp3SfbLong[0], *const shorts = moxMp3SfbShort[0], points[12] = {};
  const auto nulls = [&](auto op, auto... bands) {
    moxtest::expectNeedsEveryPointer(op, &p, &k, lines, &bound, &call.record, &call.header, 0, bands...);
  };
  nulls(moxsHuffmanDecode_MP3_1u32s);
  nulls(moxsHuffmanDecodeSfb_MP3_1u32s, longs);
  nulls(moxsHuffmanDecodeSfbMbp_MP3_1u32s, longs, shorts, points);
}

}  // namespace
