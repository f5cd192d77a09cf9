#include "codec/mp3/frame.h"

#include <array>

#include "codec/io/crc.h"
#include "moxac/tables.h"

namespace moxc::mp3 {
const char* versionName(MpegVersion version) {
  constexpr const char* kNames[] = {"MPEG-1", "MPEG-2", "MPEG-2.5"};
  return kNames[static_cast<int>(version)];
}

std::optional<Header> parseHeader(Bytes bytes) {
  // The parser checks no sync bits and no values; the few that matter are looked at here. Of the twelve sync
  // bits the last tells MPEG-2.5, which is not in the standard: the parser takes its headers as MPEG-2.
  if (bytes.size() < 4 || bytes[0] != 0xFF || (bytes[1] & 0xE6) != 0xE2) return std::nullopt;
  const bool mpeg25 = (bytes[1] & 0x10) == 0;
  if (mpeg25 && (bytes[1] & 0x08) != 0) return std::nullopt;  // a reserved combination

  std::array<uint8_t, 12> window{};  // header and CRC word, and room for what the bit reader touches beyond
  std::copy_n(bytes.begin(), std::min<size_t>(bytes.size(), 6), window.begin());
  const uint8_t* cursor = window.data();
  Header header;
  MoxMp3FrameHeader& fields = header.fields;
  if (moxsUnpackFrameHeader_MP3(&cursor, &fields) != moxStatusOk) return std::nullopt;
  if (fields.bitRateIndex == 15 || fields.samplingFreq == 3) return std::nullopt;

  header.version = mpeg25 ? MpegVersion::mpeg25 : fields.id == 1 ? MpegVersion::mpeg1 : MpegVersion::mpeg2;
  header.rate = moxMp3SampleRates[1][fields.samplingFreq] >> static_cast<int>(header.version);
  header.channels = fields.mode == 3 ? 1 : 2;
  header.bitRate = moxMp3BitRates[fields.id][fields.bitRateIndex];
  // The mode extension means something in joint stereo only; later stages look at its bits alone.
  if (fields.mode != 1) fields.modeExt = 0;

  if (header.bitRate != 0) {
    const int32_t length = header.samples() / 8 * header.bitRate * 1000 / header.rate + fields.paddingBit;
    header.frameBytes = static_cast<size_t>(length);
    if (header.frameBytes < header.mainDataAt()) return std::nullopt;
  }
  return header;
}

bool crcMatches(const Frame& frame) {
  MpegCrc crc;
  crc.add(slice(frame.bytes, 2, 2));
  crc.add(slice(frame.bytes, frame.header.sideInfoAt(), frame.header.sideInfoBytes()));
  return crc.value() == static_cast<uint32_t>(frame.header.fields.crcWord);
}

}  // namespace moxc::mp3
