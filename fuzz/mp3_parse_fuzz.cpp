// Arbitrary bytes through every MP3 parser, decoder and packer; each buffer has exactly the bytes that the
// headers promise to touch, on the heap, so that sanitizers see one more.
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "fuzz/fuzz_input.h"
#include "moxac/mp3.h"
#include "mp3/band_tables.h"

using namespace moxfuzz;

namespace {

void decodeSpectrum(FuzzInput& in, const MoxMp3SideInfo& record, const MoxMp3FrameHeader& header) {
  constexpr size_t kMostBytes = (7 + 288 * 36 + 7) / 8 + 3;
  const std::vector<uint8_t> data = [&] {
    const std::vector<uint8_t> some = in.bytes(600);
    std::vector<uint8_t> all(kMostBytes);
    for (size_t i = 0; i < kMostBytes; ++i) all[i] = static_cast<uint8_t>(some[i % 600] + i / 600);
    return all;
  }();
  const int16_t *const ownLong = moxMp3SfbLong[0], *const ownShort = moxMp3SfbShort[0];
  std::vector<int16_t> longBands(ownLong, ownLong + 6 * 23), shortBands(ownShort, ownShort + 6 * 14);
  std::vector<int16_t> mixedPoints(12);
  if (in.below(2) == 1) {  // tables of no sense at all
    for (int16_t& v : longBands) v = in.record<int16_t>();
    for (int16_t& v : shortBands) v = in.record<int16_t>();
  }
  for (int16_t& v : mixedPoints) v = in.record<int16_t>();
  const int32_t hufSize = in.below(8) == 0 ? std::min(record.part23Len, 4095) : in.record<uint16_t>() % 4096;
  for (int form = 0; form < 3; ++form) {
    std::vector<int32_t> lines(576);
    const uint8_t* p = data.data();
    int32_t k = in.below(8), bound = 0;
    const int32_t before = k;
    moxStatus status = moxStatusOk;
    if (form == 0)
      status = moxsHuffmanDecode_MP3_1u32s(&p, &k, lines.data(), &bound, &record, &header, hufSize);
    else if (form == 1)
      status = moxsHuffmanDecodeSfb_MP3_1u32s(&p, &k, lines.data(), &bound, &record, &header, hufSize,
                                              longBands.data());
    else
      status = moxsHuffmanDecodeSfbMbp_MP3_1u32s(&p, &k, lines.data(), &bound, &record, &header, hufSize,
                                                 longBands.data(), shortBands.data(), mixedPoints.data());
    require(k >= 0 && k <= 7);
    if (status != moxStatusOk) continue;
    require(8 * (p - data.data()) + k == before + hufSize);
    require(bound >= 0 && bound <= 576 && (bound == 0 || lines[static_cast<size_t>(bound - 1)] != 0));
    MoxMp3FrameHeader encoded = header;
    encoded.id = 1;
    std::vector<uint8_t> out(kMostBytes + 4096 / 8);
    uint8_t* w = out.data();
    k = 0;
    const int32_t count1 = std::max(0, (bound - 2 * record.bigVals + 3) / 4 * 4);
    moxsHuffmanEncode_MP3_32s1u(lines.data(), &w, &k, &encoded, &record, count1, hufSize);
  }
}

void fuzzMp3Parse(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  do {
    auto header = in.record<MoxMp3FrameHeader>();
    const std::vector<uint8_t> headerBytes = in.bytes(6 + 3);
    const uint8_t* p = headerBytes.data();
    moxsUnpackFrameHeader_MP3(&p, &header);
    if (in.below(8) != 0) header.layer = 1;
    if (in.below(8) == 0) header = in.record<MoxMp3FrameHeader>();

    const std::vector<uint8_t> sideBytes = in.bytes(32 + 3);
    std::vector<MoxMp3SideInfo> records(4);
    for (MoxMp3SideInfo& r : records) r = in.record<MoxMp3SideInfo>();
    int32_t mainDataBegin = 0, privateBits = 0;
    std::vector<int32_t> scfsi(8);
    p = sideBytes.data();
    moxsUnpackSideInfo_MP3(&p, records.data(), &mainDataBegin, &privateBits, scfsi.data(), &header);
    std::vector<uint8_t> packed(32 + 1);
    uint8_t* w = packed.data();
    moxsPackSideInfo_MP3(records.data(), &w, mainDataBegin, privateBits, scfsi.data(), &header);

    MoxMp3SideInfo record = records[static_cast<size_t>(in.below(4))];
    if (in.below(8) == 0) record.sfCompress = in.record<int32_t>();
    std::vector<int8_t> values(39);
    const std::vector<uint8_t> valueBytes = in.bytes(1 + 39 * 4 / 8 + 3);
    p = valueBytes.data();
    int32_t k = in.below(9);
    moxsUnpackScaleFactors_MP3_1u8s(&p, &k, values.data(), &record, scfsi.data(), &header, in.below(2),
                                    in.below(2));
    std::vector<uint8_t> valuesPacked(1 + 39 * 4 / 8 + 1);
    w = valuesPacked.data();
    k = in.below(8);
    moxsPackScaleFactors_MP3_8s1u(values.data(), &w, &k, &header, &record, scfsi.data(), in.below(2),
                                  in.below(2));

    if (in.below(4) != 0) record.bigVals %= 289;
    if (in.below(4) != 0) record.winSwitch &= 1;
    decodeSpectrum(in, record, header);
  } while (!in.done());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzMp3Parse(data, size);
  return 0;
}
