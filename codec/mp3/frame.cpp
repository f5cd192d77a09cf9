#include "codec/mp3/frame.h"

#include <array>

#include "codec/io/crc.h"

namespace moxc::mp3 {
namespace {

// Bit rates in kbit/s by index; ISO/IEC 11172-3 and 13818-3, 2.4.2.3. Index 0 is the free format.
constexpr int32_t kBitRates[2][15] = {
    {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
    {0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320},
};
constexpr int32_t kMpeg1Rates[3] = {44100, 48000, 32000};

}  // namespace

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
  header.rate = kMpeg1Rates[fields.samplingFreq] >> static_cast<int>(header.version);
  header.channels = fields.mode == 3 ? 1 : 2;
  header.bitRate = kBitRates[fields.id][fields.bitRateIndex];
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
