// One ADTS frame: where it lies and what its header says.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/io/bytes.h"
#include "moxac/tables.h"

namespace moxc {

inline constexpr int32_t kAacSamples = 1024;  // per channel and raw data block

struct AdtsHeader {
  MoxAacADTSFrameHeader fields{};

  int32_t rate() const { return moxAacSampleRates[fields.samplingRateIndex]; }  // Hz
  int32_t objectType() const { return fields.profile + 1; }                     // 1 Main, 2 LC, 3 SSR, 4 LTP
  int32_t blocks() const { return fields.numRawDataBlocks; }
  bool hasCrc() const { return fields.protectionAbsent == 0; }
  size_t frameBytes() const { return static_cast<size_t>(fields.frameLen); }
  // With a CRC, the positions of all blocks but the first stand behind the fixed and variable header, then the
  // check word.
  size_t headerBytes() const { return hasCrc() ? 7 + 2 * static_cast<size_t>(blocks()) : 7; }

  // Whether a frame with that header may stand in the same stream.
  bool sameStream(const AdtsHeader& other) const {
    return fields.id == other.fields.id && fields.profile == other.fields.profile &&
           fields.samplingRateIndex == other.fields.samplingRateIndex &&
           fields.channelConfig == other.fields.channelConfig;
  }
};

// Reads the header at the start of the bytes. Nothing where there is none: no sync bits, another layer, a rate
// that is reserved or not the library's, or a length shorter than the header.
std::optional<AdtsHeader> parseAdtsHeader(Bytes bytes);

}  // namespace moxc
