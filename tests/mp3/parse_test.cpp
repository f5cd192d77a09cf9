// Frame header, side information and scale factors, read and written. The widths stand here once more, in
// the order of the standards' syntax tables, as an independent model of both directions.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/layer3_reference.h"
#include "mp3/mp3_stream.h"
#include "support/block.h"
#include "support/guard_page.h"
#include "support/refusals.h"

namespace {

using moxtest::Bits;
using moxtest::Block;
using moxtest::draw;
using moxtest::expectNeedsEveryPointer;
using moxtest::Faults;
using moxtest::noiseRecord;
using moxtest::same;

// A record as a row of integers.
template <class Record>
int32_t* fields(Record& record) {
  return reinterpret_cast<int32_t*>(&record);
}

TEST(Mp3FrameHeader, FieldsOfAnyHeaderComeOutAndGoBack) {
  constexpr int32_t kWidths[] = {1, 2, 1, 4, 2, 1, 1, 2, 2, 1, 1, 2};
  for (int round = 0; round < 2000; ++round) {
    auto want = noiseRecord<MoxMp3FrameHeader>();
    MoxMp3FrameHeader got = want;
    Bits bits;
    bits.put(0xFFF, 12);
    for (int i = 0; i < 12; ++i) {
      fields(want)[i] &= (1 << kWidths[i]) - 1;
      bits.put(static_cast<uint32_t>(fields(want)[i]), kWidths[i]);
    }
    const bool crc = want.protectionBit == 0;
    if (crc) bits.put(static_cast<uint32_t>(want.crcWord &= 0xFFFF), 16);
    std::vector<uint8_t> data = bits.bytes();

    moxtest::GuardPage page(data.size() + 3);
    std::memcpy(page.data(), data.data(), data.size());
    const uint8_t* p = page.data();
    ASSERT_EQ(moxsUnpackFrameHeader_MP3(&p, &got), moxStatusOk);
    ASSERT_EQ(p - page.data(), crc ? 6 : 4);
    ASSERT_TRUE(same(got, want));

    for (int i = 0; i < 12; ++i)
      if (i != 2) fields(got)[i] |= ~0 << kWidths[i];  // only the low bits are written
    Block<uint8_t> out(static_cast<int64_t>(data.size()) + 1);
    const uint8_t behind = out[out.size() - 1];
    uint8_t* w = out;
    ASSERT_EQ(moxsPackFrameHeader_MP3(&got, &w), moxStatusOk);
    ASSERT_EQ(w - out.data(), crc ? 6 : 4);
    data.push_back(behind);
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.end()), data);
  }
}

struct SideInfo {
  MoxMp3SideInfo records[4];
  int32_t mainDataBegin, privateBits, scfsi[8];
};

// A frame's side information in bits, and what a parser must make of it, given what was there before. With
// `stops` the last record claims a switched window of the normal type: the parser ends behind that window's
// fields, the packer in front of them, at bit `packedBits`.
struct CodedSideInfo {
  SideInfo want;
  Bits bits;
  int32_t packedBits;

  CodedSideInfo(const MoxMp3FrameHeader& header, const SideInfo& before, bool stops) : want(before) {
    const bool mpeg1 = header.id == 1;
    const int32_t channels = header.mode == 3 ? 1 : 2, records = channels * (mpeg1 ? 2 : 1);
    field(want.mainDataBegin, mpeg1 ? 9 : 8);
    field(want.privateBits, mpeg1 ? (channels == 1 ? 5 : 3) : channels);
    for (int32_t i = 0; mpeg1 && i < 4 * channels; ++i) field(want.scfsi[i], 1);
    const int32_t stop = stops ? draw(0, records - 1) : records;
    for (int32_t i = 0; i < std::min(stop + 1, records); ++i) {
      MoxMp3SideInfo& r = want.records[i];
      field(r.part23Len, 12);
      field(r.bigVals, 9);
      field(r.globGain, 8);
      field(r.sfCompress, mpeg1 ? 4 : 9);
      bits.put(static_cast<uint32_t>(r.winSwitch = i == stop ? 1 : draw(0, 1)), 1);
      packedBits = bits.size();
      if (r.winSwitch == 1) {
        bits.put(static_cast<uint32_t>(r.blockType = i == stop ? 0 : draw(1, 3)), 2);
        field(r.mixedBlock, 1);
        field(r.tableSelect[0], 5);
        field(r.tableSelect[1], 5);
        for (int32_t& gain : r.subBlockGain) field(gain, 3);
        if (i == stop) return;
        r.reg0Cnt = r.blockType == 2 && r.mixedBlock == 0 ? 8 : 7;
        r.reg1Cnt = r.blockType == 2 && r.mixedBlock == 0 ? 12 : 13;
      } else {
        for (int32_t& table : r.tableSelect) field(table, 5);
        field(r.reg0Cnt, 4);
        field(r.reg1Cnt, 3);
        r.blockType = r.mixedBlock = 0;
      }
      if (mpeg1) field(r.preFlag, 1);
      field(r.sfScale, 1);
      field(r.cnt1TabSel, 1);
    }
    packedBits = bits.size();
  }

 private:
  void field(int32_t& value, int32_t width) {
    value = draw(0, (1 << width) - 1);
    bits.put(static_cast<uint32_t>(value), width);
  }
};

TEST(Mp3SideInfo, FieldsComeOutAndGoBackUpToASwitchedBlockOfTheNormalType) {
  for (int round = 0; round < 6000; ++round) {
    MoxMp3FrameHeader header{};
    header.id = round & 1;
    header.layer = 1;
    header.mode = round >> 1 & 3;
    const bool stops = (round >> 3 & 1) != 0;
    const auto before = noiseRecord<SideInfo>();
    SideInfo got = before;
    const CodedSideInfo coded(header, before, stops);
    std::vector<uint8_t> data = coded.bits.bytes();
    if (!stops) {
      ASSERT_EQ(coded.bits.size(), 8 * moxtest::mp3SideInfoBytes(header));
    }

    moxtest::GuardPage page(data.size() + 3);
    std::memcpy(page.data(), data.data(), data.size());
    const uint8_t* p = page.data();
    ASSERT_EQ(
        moxsUnpackSideInfo_MP3(&p, got.records, &got.mainDataBegin, &got.privateBits, got.scfsi, &header),
        stops ? moxStatusMp3SideInfoErr : moxStatusOk);
    ASSERT_EQ(p - page.data(), coded.bits.size() / 8);
    ASSERT_TRUE(same(got, coded.want));

    const auto packedBytes = static_cast<size_t>(coded.packedBits + 7) / 8;
    Block<uint8_t> out(static_cast<int64_t>(packedBytes) + 1);
    data.resize(packedBytes);
    if (coded.packedBits % 8 != 0) data.back() &= static_cast<uint8_t>(0xFF00 >> coded.packedBits % 8);
    data.push_back(out[out.size() - 1]);
    uint8_t* w = out;
    ASSERT_EQ(moxsPackSideInfo_MP3(got.records, &w, got.mainDataBegin, got.privateBits, got.scfsi, &header),
              moxStatusOk);
    ASSERT_EQ(w - out.data(), out.size() - 1);
    EXPECT_EQ(std::vector<uint8_t>(out.begin(), out.end()), data);
  }
}

// Number of values and width of each run, from the tables' own files and the rules of the standards' clauses.
struct Run {
  int32_t count, width;
  bool skipped;
};

struct ScaleFactorCall {
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo record{};
  int32_t scfsi[4] = {}, granule = 0, channel = 0;
  bool intensity() const { return header.id == 0 && (header.modeExt & 1) != 0 && channel == 1; }
};

std::vector<Run> mpeg1Runs(const ScaleFactorCall& call) {
  static const auto slen = moxtest::csvRows("mp3_scalefac_slen.csv");
  const auto& row = slen[static_cast<size_t>(call.record.sfCompress)];
  const int32_t slen1 = std::stoi(row[1]), slen2 = std::stoi(row[2]);
  if (call.record.blockType == 2)
    return {{call.record.mixedBlock != 0 ? 17 : 18, slen1, false}, {18, slen2, false}};
  std::vector<Run> runs = {{6, slen1, false}, {5, slen1, false}, {5, slen2, false}, {5, slen2, false}};
  for (size_t g = 0; g < 4; ++g) runs[g].skipped = call.granule == 1 && call.scfsi[g] == 1;
  return runs;
}

std::vector<Run> mpeg2Runs(const ScaleFactorCall& call, int32_t& preFlag) {
  static const auto counts = moxtest::csvRows("mp3_scalefac_nr_of_sfb.csv");
  const bool is = call.intensity();
  const int32_t c = is ? call.record.sfCompress / 2 : call.record.sfCompress;
  const int32_t limits[6] = {0, 400, 500, 0, 180, 244};
  int32_t row = is ? (c < 180 ? 3 : c < 244 ? 4 : 5) : (c < 400 ? 0 : c < 500 ? 1 : 2);
  const int32_t v = c - limits[row];
  int32_t widths[4] = {};
  switch (row) {
    case 0:
      widths[0] = v / 16 / 5, widths[1] = v / 16 % 5, widths[2] = v / 4 % 4, widths[3] = v % 4;
      break;
    case 1:
      widths[0] = v / 4 / 5, widths[1] = v / 4 % 5, widths[2] = v % 4;
      break;
    case 3:
      widths[0] = v / 36, widths[1] = v % 36 / 6, widths[2] = v % 6;
      break;
    case 4:
      widths[0] = v / 16, widths[1] = v / 4 % 4, widths[2] = v % 4;
      break;
    default:
      widths[0] = v / 3, widths[1] = v % 3;
  }
  preFlag = row == 2;
  const int32_t kind = call.record.blockType != 2 ? 0 : 1 + (call.record.mixedBlock & 1);
  const auto& numbers = counts[static_cast<size_t>(row * 3 + kind)];
  std::vector<Run> runs;
  for (size_t k = 0; k < 4; ++k) runs.push_back({std::stoi(numbers[2 + k]), widths[k], false});
  return runs;
}

void expectScaleFactors(ScaleFactorCall call) {
  int32_t preFlag = call.record.preFlag;
  const bool mpeg1 = call.header.id == 1;
  const std::vector<Run> runs = mpeg1 ? mpeg1Runs(call) : mpeg2Runs(call, preFlag);
  Block<int8_t> got(39);
  std::vector<int8_t> want(got.begin(), got.end());
  if (mpeg1) want[21] = 0;
  Bits bits;
  size_t at = 0;
  for (const Run& run : runs)
    for (int32_t i = 0; i < run.count; ++i, ++at) {
      if (run.skipped) {
        got[static_cast<int64_t>(at)] = want[at] = 3;  // what granule 0 left there
        continue;
      }
      const int32_t illegal = (1 << run.width) - 1;
      const int32_t value = draw(0, 3) == 0 ? illegal : draw(0, illegal);
      bits.put(static_cast<uint32_t>(value), run.width);
      want[at] = static_cast<int8_t>(call.intensity() && value == illegal ? -value : value);
    }
  if (!mpeg1 || call.record.blockType == 2)
    for (int i = 0; i < 3; ++i) want[at++] = 0;

  const int32_t offset = draw(0, 7);
  const std::vector<uint8_t> data = bits.bytes(offset);
  moxtest::GuardPage page(bits.size() == 0 ? 0 : data.size() + 3);  // of no bits none is touched
  if (bits.size() > 0) std::memcpy(page.data(), data.data(), data.size());
  const uint8_t* p = page.data();
  int32_t k = offset;
  MoxMp3SideInfo record = call.record;
  ASSERT_EQ(moxsUnpackScaleFactors_MP3_1u8s(&p, &k, got, &record, call.scfsi, &call.header, call.granule,
                                            call.channel),
            moxStatusOk);
  ASSERT_EQ(8 * (p - page.data()) + k, offset + bits.size());
  ASSERT_EQ(std::vector<int8_t>(got.begin(), got.end()), want);
  if (!mpeg1 && record.blockType == 2) call.record.mixedBlock &= 1;
  call.record.preFlag = preFlag;
  ASSERT_TRUE(same(record, call.record));

  Block<uint8_t> out(static_cast<int64_t>(data.size()) + 1);
  out[0] = 0;  // a byte that is gone on with has zeros below the cursor
  const uint8_t behind = out[out.size() - 1];
  uint8_t* w = out;
  k = offset;
  record.preFlag = 77;
  ASSERT_EQ(moxsPackScaleFactors_MP3_8s1u(got, &w, &k, &call.header, &record, call.scfsi, call.granule,
                                          call.channel),
            moxStatusOk);
  ASSERT_EQ(8 * (w - out.data()) + k, offset + bits.size());
  ASSERT_TRUE(std::equal(data.begin(), data.end(), out.begin()));
  ASSERT_TRUE(data.empty() || out[out.size() - 1] == behind);
  ASSERT_EQ(record.preFlag, mpeg1 ? 77 : preFlag);
}

TEST(Mp3ScaleFactors, EveryCompressionOfEveryBlockKindComesOutAndGoesBack) {
  for (int32_t id = 0; id < 2; ++id)
    for (int32_t compress = 0; compress < (id == 1 ? 16 : 512); ++compress)
      for (int32_t kind = 0; kind < 12; ++kind)
        for (int round = 0; round < 4; ++round) {
          SCOPED_TRACE(testing::Message() << "id " << id << " sfCompress " << compress << " kind " << kind);
          ScaleFactorCall call;
          call.header.id = id;
          call.header.modeExt = round;
          call.record = noiseRecord<MoxMp3SideInfo>();
          call.record.sfCompress = compress;
          call.record.blockType = kind % 3 == 0 ? draw(0, 1) * 3 : 2;
          call.record.mixedBlock = kind % 3 == 2 ? 1 : 0;
          if (id == 0) call.record.mixedBlock += draw(-2, 2) * 2;
          call.granule = kind / 3 % 2;
          call.channel = kind / 6;
          for (int32_t& bit : call.scfsi) bit = draw(0, 1);
          ASSERT_NO_FATAL_FAILURE(expectScaleFactors(call));
        }
}

TEST(Mp3ScaleFactors, PackerTakesAMixedFlagBeyondOneAsLong) {
  for (const int32_t id : {0, 1}) {
    ScaleFactorCall call;
    call.header.id = id;
    call.record.sfCompress = 15;
    call.record.blockType = 2;
    call.record.mixedBlock = 2;
    MoxMp3SideInfo longRecord = call.record;
    longRecord.blockType = 0;
    const Block<int8_t> values(39);
    uint8_t a[64] = {}, b[64] = {};
    uint8_t *pa = a, *pb = b;
    int32_t ka = 0, kb = 0;
    moxsPackScaleFactors_MP3_8s1u(values, &pa, &ka, &call.header, &call.record, call.scfsi, 0, 0);
    moxsPackScaleFactors_MP3_8s1u(values, &pb, &kb, &call.header, &longRecord, call.scfsi, 0, 0);
    EXPECT_EQ(pa - a, pb - b);
    EXPECT_EQ(ka, kb);
    EXPECT_EQ(std::memcmp(a, b, sizeof a), 0);
  }
}

TEST(Mp3BandTables, EqualTheTablesOwnFilesAndCloseTheSpectrum) {
  const auto longs = moxtest::csvRows("mp3_sfb_long.csv"), shorts = moxtest::csvRows("mp3_sfb_short.csv");
  for (size_t row = 0; row < 6; ++row) {
    for (size_t i = 0; i < 23; ++i) EXPECT_EQ(moxMp3SfbLong[row][i], std::stoi(longs[row][3 + i]));
    for (size_t i = 0; i < 14; ++i) EXPECT_EQ(moxMp3SfbShort[row][i], std::stoi(shorts[row][3 + i]));
    EXPECT_EQ(moxMp3SfbLong[row][22], 576);
    EXPECT_EQ(moxMp3SfbShort[row][13], 192);
  }
}

TEST(Mp3BitReservoir, HoldsWhatADecoderCanHold) {
  const auto rates = moxtest::csvRows("mp3_bitrates.csv");
  const int32_t hertz[] = {44100, 48000, 32000};
  MoxMp3FrameHeader header{};
  header.id = 1;
  MoxMp3BitReservoir reservoir;
  for (header.samplingFreq = 0; header.samplingFreq < 3; ++header.samplingFreq)
    for (header.bitRateIndex = 0; header.bitRateIndex < 15; ++header.bitRateIndex) {
      reservoir = {-1, -1};
      ASSERT_EQ(moxsBitReservoirInit_MP3(&reservoir, &header), moxStatusOk);
      const int32_t kbps = std::stoi(rates[static_cast<size_t>(header.bitRateIndex)][1]);
      const int32_t frame = 8 * (144000 * kbps / hertz[header.samplingFreq]);
      EXPECT_EQ(reservoir.resBits, 0);
      EXPECT_EQ(reservoir.maxResBits, frame >= 7680 ? 0 : std::min(7680 - frame, 4088));
    }
  header.samplingFreq = header.bitRateIndex = 0;
  using Header = MoxMp3FrameHeader;
  Faults<Header>()
      .range(moxStatusMp3FrameHeaderErr, FIELD(Header, id), 1, 1)
      .range(moxStatusMp3FrameHeaderErr, FIELD(Header, bitRateIndex), 0, 14)
      .range(moxStatusMp3FrameHeaderErr, FIELD(Header, samplingFreq), 0, 2)
      .expectInOrder([&] { return header; },
                     [&](const Header& h) { return moxsBitReservoirInit_MP3(&reservoir, &h); });
  expectNeedsEveryPointer(moxsBitReservoirInit_MP3, &reservoir, &header);
}

// What the scale-factor operations are called with.
struct ScaleFactorArguments {
  MoxMp3FrameHeader header{};
  MoxMp3SideInfo record{};
  int32_t offset = 0, granule = 0, channel = 0;
};

TEST(Mp3Parse, RefusesInOrder) {
  const uint8_t bytes[64] = {};
  const uint8_t* p = bytes;
  uint8_t buffer[64];
  uint8_t* w = buffer;
  SideInfo side{};
  int8_t values[39];
  int32_t k = 8;
  MoxMp3FrameHeader header{};
  header.layer = 1;
  MoxMp3FrameHeader bad = header;  // the pointer wins over it
  bad.mode = 4;
  expectNeedsEveryPointer(moxsUnpackFrameHeader_MP3, &p, &header);
  expectNeedsEveryPointer(moxsPackFrameHeader_MP3, &header, &w);
  expectNeedsEveryPointer(moxsUnpackSideInfo_MP3, &p, side.records, &side.mainDataBegin, &side.privateBits,
                          side.scfsi, &bad);
  expectNeedsEveryPointer(moxsPackSideInfo_MP3, side.records, &w, 0, 0, side.scfsi, &bad);
  expectNeedsEveryPointer(moxsUnpackScaleFactors_MP3_1u8s, &p, &k, values, side.records, side.scfsi, &header,
                          2, 2);
  expectNeedsEveryPointer(moxsPackScaleFactors_MP3_8s1u, values, &w, &k, &header, side.records, side.scfsi, 0,
                          0);

  using Header = MoxMp3FrameHeader;
  const Faults<Header> headers = Faults<Header>()
                                     .range(moxStatusMp3FrameHeaderErr, FIELD(Header, id), 0, 1)
                                     .range(moxStatusMp3FrameHeaderErr, FIELD(Header, layer), 1, 1)
                                     .range(moxStatusMp3FrameHeaderErr, FIELD(Header, mode), 0, 3);
  headers.expectInOrder([&] { return header; },
                        [&](const Header& h) {
                          p = bytes;
                          return moxsUnpackSideInfo_MP3(&p, side.records, &side.mainDataBegin,
                                                        &side.privateBits, side.scfsi, &h);
                        });
  headers.expectInOrder([&] { return header; },
                        [&](const Header& h) {
                          w = buffer;
                          return moxsPackSideInfo_MP3(side.records, &w, 0, 0, side.scfsi, &h);
                        });

  using Call = ScaleFactorArguments;
  for (const int32_t id : {0, 1}) {
    Faults<Call> fields;  // those that both directions look at
    fields.range(moxStatusMp3SideInfoErr, FIELD(Call, record.sfCompress), 0, id == 1 ? 15 : 511);
    if (id == 0) fields.range(moxStatusMp3FrameHeaderErr, FIELD(Call, header.modeExt), 0, 3);
    Faults<Call> unpacking = Faults<Call>()
                                 .range(moxStatusOutOfRange, FIELD(Call, offset), 0, 7)
                                 .range(moxStatusOutOfRange, FIELD(Call, granule), 0, 1)
                                 .range(moxStatusOutOfRange, FIELD(Call, channel), 0, 1)
                                 .add(fields);
    const auto good = [&] {
      Call call;
      call.header.id = id, call.header.layer = 1;
      call.header.modeExt = id == 1 ? 4 : 0;  // looked at by MPEG-2 alone
      return call;
    };
    unpacking.expectInOrder(good, [&](Call call) {
      p = bytes;
      return moxsUnpackScaleFactors_MP3_1u8s(&p, &call.offset, values, &call.record, side.scfsi, &call.header,
                                             call.granule, call.channel);
    });
    fields.expectInOrder(good, [&](Call call) {
      w = buffer;
      return moxsPackScaleFactors_MP3_8s1u(values, &w, &call.offset, &call.header, &call.record, side.scfsi,
                                           0, 0);
    });
  }
}

}  // namespace
