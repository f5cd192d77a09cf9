#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/huffman_call.h"
#include "support/block.h"
#include "support/guard_page.h"
#include "support/refusals.h"

namespace {

using moxtest::BitReader;
using moxtest::BitString;
using moxtest::draw;
using moxtest::Form;
using moxtest::layer3Codes;

using Call = moxtest::HuffmanCall;

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

Result reference(const Call& call, const uint8_t* data) {
  Result result;
  result.lines.assign(576, -99999);
  BitReader in(data, call.bitOffset);
  const std::vector<int32_t> ends = regionEnds(call);
  int32_t line = 0;
  for (size_t r = 0; r < ends.size() && result.status == moxStatusOk; ++r) {
    const int32_t table = call.record.tableSelect[r];
    if (table < 0 || table > 31) result.status = moxStatusMp3SideInfoErr;
    for (; line < ends[r] && result.status == moxStatusOk && call.hufSize > 0; line += 2)
      layer3Codes().takePair(in, table, &result.lines[static_cast<size_t>(line)]);
  }
  const auto left = [&] { return call.bitOffset + call.hufSize - in.position(); };
  result.position = in.position();
  if (result.status == moxStatusOk && left() < 0) result.status = moxStatusBadData;
  if (result.status != moxStatusOk) return result;
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
  const auto form = static_cast<Form>(draw(0, 2));
  return moxtest::randomHuffmanCall(form, draw(0, 1));
}

// The same data with nothing readable behind the last byte that may be touched.
void expectReference(Call call, const std::vector<uint8_t>& data, const Result& want) {
  const int64_t end = (call.bitOffset + call.hufSize + 7) / 8;
  const auto readable =
      static_cast<size_t>(want.status == moxStatusOk ? end : std::max(end, (want.position + 7) / 8 + 3));
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
    const moxtest::Spectrum spectrum = moxtest::randomSpectrum(call);
    const BitString bits = moxtest::codedBits(call, spectrum, 4);
    call.hufSize = bits.size();
    const std::vector<uint8_t> data = bits.bytes(call.bitOffset);
    const Result want = reference(call, data.data());
    if (call.hufSize > 0) {
      ASSERT_EQ(want.lines, spectrum.lines) << "the reference itself";
    }
    ASSERT_NO_FATAL_FAILURE(expectReference(call, data, want));
  }
}

// Any bits decode to something: ends are cut short or long at random, so quadruples overshoot, stuffing is
// passed over, big values run out of bits; and a table number that does not exist ends all when its region comes.
TEST(Mp3HuffmanDecode, EveryEndStopsAsTheReferenceDoes) {
  int32_t seen[4] = {};
  for (int round = 0; round < 8000; ++round) {
    SCOPED_TRACE(round);
    Call call = randomCall();
    const moxtest::Spectrum spectrum = moxtest::randomSpectrum(call);
    BitString bits;
    if (draw(0, 1) == 1) bits = moxtest::codedBits(call, spectrum, 4);
    const int32_t around = draw(0, 1) == 1 ? bits.size() : moxtest::codedBits(call, spectrum, 3).size();
    while (bits.size() < 288 * 36 + 64) bits.put(moxtest::noiseValue<uint32_t>(), 31);
    call.hufSize = std::max(0, draw(0, 3) == 0 ? draw(0, 4095) : around + draw(-12, 40));
    if (draw(0, 15) == 0) call.hufSize = 0;
    if (draw(0, 3) == 0) call.record.tableSelect[draw(0, 1)] = draw(0, 1) == 0 ? -1 : 32;
    const std::vector<uint8_t> data = bits.bytes(call.bitOffset);
    const Result want = reference(call, data.data());
    ++seen[want.status == moxStatusOk ? call.hufSize > 0 : want.status == moxStatusBadData ? 2 : 3];
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
  constexpr moxStatus range = moxStatusOutOfRange;
  const std::vector<Fault> offset = {{range, [](Call& c) { c.bitOffset = 8; }},
                                     {range, [](Call& c) { c.bitOffset = -1; }}};
  const auto size = [](moxStatus status) {
    return std::vector<Fault>{{status, [](Call& c) { c.hufSize = -1; }},
                              {status, [](Call& c) { c.hufSize = c.record.part23Len + 1; }}};
  };
  const std::vector<Fault> id = {{head, [](Call& c) { c.header.id = 2; }},
                                 {head, [](Call& c) { c.header.id = -1; }}};
  const std::vector<Fault> layerAndRate = {{head, [](Call& c) { c.header.layer = 2; }},
                                           {head, [](Call& c) { c.header.samplingFreq = 3; }},
                                           {head, [](Call& c) { c.header.samplingFreq = -1; }}};
  const std::vector<Fault> record = {{side, [](Call& c) { c.record.bigVals = 289; }},
                                     {side, [](Call& c) { c.record.bigVals = -1; }},
                                     {side, [](Call& c) { c.record.blockType = 4; }},
                                     {side, [](Call& c) { c.record.winSwitch = 2; }}};
  const std::vector<Fault> normal = {{side, [](Call& c) { c.record.winSwitch = 1, c.record.blockType = 0; }}};
  const std::vector<Fault> count1 = {{side, [](Call& c) { c.record.cnt1TabSel = 2; }}};
  const auto inTurn = [](std::initializer_list<std::vector<Fault>> groups) {
    std::vector<Fault> all;
    for (const auto& group : groups) all.insert(all.end(), group.begin(), group.end());
    return all;
  };
  for (const Form form : {Form::builtIn, Form::sfb})
    expectFaultOrder(form, inTurn({offset, size(range), record, count1, id, layerAndRate, normal}));
  expectFaultOrder(Form::mbp, inTurn({offset, id, record, normal, layerAndRate, count1, size(side)}));
  for (const Form form : {Form::builtIn, Form::sfb, Form::mbp})
    for (const Fault& regions : {Fault{side, [](Call& c) { c.record.reg0Cnt = 14, c.record.reg1Cnt = 7; }},
                                 Fault{side, [](Call& c) { c.record.reg1Cnt = -1; }}})
      expectFaultOrder(form, inTurn({layerAndRate, {regions}}));
}

TEST(Mp3HuffmanDecode, NullPointersComeFirst) {
  const Call call = randomCall();
  const uint8_t bytes[4] = {}, *p = bytes;
  int32_t k = 8, bound = 0, lines[576];
  const int16_t *const l = call.longBands.data(), *const s = call.shortBands.data();
  moxtest::expectNeedsEveryPointer(moxsHuffmanDecode_MP3_1u32s, &p, &k, lines, &bound, &call.record,
                                   &call.header, -1);
  moxtest::expectNeedsEveryPointer(moxsHuffmanDecodeSfb_MP3_1u32s, &p, &k, lines, &bound, &call.record,
                                   &call.header, -1, l);
  moxtest::expectNeedsEveryPointer(moxsHuffmanDecodeSfbMbp_MP3_1u32s, &p, &k, lines, &bound, &call.record,
                                   &call.header, -1, l, s, call.mixedPoints.data());
}

}  // namespace
