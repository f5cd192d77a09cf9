// One MPEG audio Layer III frame and what its header says.
#pragma once

#include <cstdint>
#include <optional>

#include "codec/io/bytes.h"
#include "moxac/mp3.h"

namespace moxc::mp3 {

enum class MpegVersion { mpeg1, mpeg2, mpeg25 };

const char* versionName(MpegVersion version);

struct Header {
  MoxMp3FrameHeader fields{};
  MpegVersion version = MpegVersion::mpeg1;
  int32_t rate = 0;       // Hz
  int32_t channels = 0;   // 1 or 2
  int32_t bitRate = 0;    // kbit/s; 0 is the free format
  size_t frameBytes = 0;  // whole frame, padding included; 0 in the free format

  int32_t granules() const { return version == MpegVersion::mpeg1 ? 2 : 1; }
  int32_t samples() const { return 576 * granules(); }  // per channel
  bool hasCrc() const { return fields.protectionBit == 0; }
  size_t sideInfoAt() const { return hasCrc() ? 6 : 4; }
  size_t sideInfoBytes() const {
    const bool mpeg1 = version == MpegVersion::mpeg1;
    return channels == 1 ? (mpeg1 ? 17 : 9) : (mpeg1 ? 32 : 17);
  }
  size_t mainDataAt() const { return sideInfoAt() + sideInfoBytes(); }

  // Whether a frame with that header may stand in the same stream: what a decoder's output depends on is
  // equal.
  bool sameStream(const Header& other) const {
    return version == other.version && rate == other.rate && channels == other.channels &&
           (bitRate == 0) == (other.bitRate == 0);
  }
};

struct Frame {
  Header header;
  Bytes bytes;  // from the header to the frame's end
};

// Reads the header at the start of the bytes. Nothing where there is no Layer III header: no sync bits,
// a reserved version, rate or bit rate, another layer, or a frame too short for its own side information.
std::optional<Header> parseHeader(Bytes bytes);

// The CRC over the last two header bytes and the side information against the frame's CRC word.
// ISO/IEC 11172-3, 2.4.3.1: x^16 + x^15 + x^2 + 1, starting at all ones.
bool crcMatches(const Frame& frame);

}  // namespace moxc::mp3
