#include "codec/mp3/syntax.h"

namespace moxc::mp3 {

// ISO/IEC 11172-3 and 13818-3, 2.4.2.3.
std::optional<OtherLayerSyntax::Header> OtherLayerSyntax::parse(Bytes bytes) {
  static constexpr int32_t kRates1[2][15] = {
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 144, 160, 176, 192, 224, 256},
      {0, 32, 64, 96, 128, 160, 192, 224, 256, 288, 320, 352, 384, 416, 448},
  };
  static constexpr int32_t kRates2[2][15] = {
      {0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160},
      {0, 32, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, 384},
  };
  static constexpr int32_t kSampleRates[] = {44100, 48000, 32000};
  if (bytes.size() < kHeaderBytes || bytes[0] != 0xFF || (bytes[1] & 0xF0) != 0xF0) return std::nullopt;
  const int32_t layer = 4 - (bytes[1] >> 1 & 3);
  const size_t mpeg1 = bytes[1] >> 3 & 1u, rate = bytes[2] >> 2 & 3u, index = bytes[2] >> 4;
  if (layer > 2 || rate == 3 || index == 0 || index == 15) return std::nullopt;
  const int32_t hertz = kSampleRates[rate] >> (mpeg1 != 0 ? 0 : 1), padding = bytes[2] >> 1 & 1;
  const int32_t bits = 1000 * (layer == 1 ? kRates1 : kRates2)[mpeg1][index];
  const int32_t length = layer == 1 ? (12 * bits / hertz + padding) * 4 : 144 * bits / hertz + padding;
  return Header{layer, bigEndian(bytes, 1, 2) & 0xFE0Cu, static_cast<size_t>(length)};
}

}  // namespace moxc::mp3
