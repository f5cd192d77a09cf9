#include "codec/stream/adts_frame.h"

#include <array>

namespace moxc {

std::optional<AdtsHeader> parseAdtsHeader(Bytes bytes) {
  if (bytes.size() < 7 || bigEndian(bytes, 0, 2) >> 4 != 0xFFF) return std::nullopt;
  // The library reads up to three bytes past the nine of a header with check word.
  std::array<uint8_t, 12> padded{};
  std::copy_n(bytes.begin(), std::min<size_t>(bytes.size(), 9), padded.begin());
  const uint8_t* at = padded.data();
  AdtsHeader header;
  moxsUnpackADTSFrameHeader_AAC(&at, &header.fields);
  if (header.fields.layer != 0 || header.fields.samplingRateIndex > 11) return std::nullopt;
  if (header.frameBytes() < header.headerBytes()) return std::nullopt;
  return header;
}

}  // namespace moxc
