// Makes ADTS streams for the tests from the blocks of others, and from any bytes at all.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include "codec/stream/adts_frame.h"
#include "support/bits.h"

namespace moxtest {

// A header of 7 bytes for a frame of `bytes` in all; what `like` says but for length, protection and blocks.
inline std::vector<uint8_t> adtsHeader(const MoxAacADTSFrameHeader& like, size_t bytes, int32_t blocks,
                                       bool crc) {
  const auto field = [](int32_t value) { return static_cast<uint32_t>(value); };
  return Bits()
      .put(0xFFF, 12)
      .put(field(like.id), 1)
      .put(0, 2)
      .put(crc ? 0 : 1, 1)
      .put(field(like.profile), 2)
      .put(field(like.samplingRateIndex), 4)
      .put(0, 1)
      .put(field(like.channelConfig), 3)
      .put(0, 4)
      .put(static_cast<uint32_t>(bytes), 13)
      .put(0x7FF, 11)
      .put(field(blocks - 1), 2)
      .bytes();
}

inline void append(std::vector<uint8_t>& out, moxc::Bytes bytes) {
  out.insert(out.end(), bytes.begin(), bytes.end());
}

inline void appendFrame(std::vector<uint8_t>& out, const MoxAacADTSFrameHeader& like, moxc::Bytes block) {
  append(out, adtsHeader(like, 7 + block.size(), 1, false));
  append(out, block);
}

// Any bytes as the blocks of a stream: the first three choose profile, rate and layout, every later frame takes its
// length from a byte of its own.
inline std::vector<uint8_t> wrapInAdts(moxc::Bytes bytes) {
  MoxAacADTSFrameHeader like{};
  const auto take = [&bytes] {
    const uint8_t value = bytes.empty() ? uint8_t{0} : bytes[0];
    bytes = moxc::slice(bytes, 1);
    return value;
  };
  like.profile = take() % 4;
  like.samplingRateIndex = take() % 12;
  like.channelConfig = take() % 8;
  std::vector<uint8_t> out;
  while (!bytes.empty()) {
    const size_t length = size_t{take()} * 4;
    appendFrame(out, like, moxc::slice(bytes, 0, length));
    bytes = moxc::slice(bytes, length);
  }
  return out;
}

}  // namespace moxtest
