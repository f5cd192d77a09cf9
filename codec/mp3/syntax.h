// What the frame demuxer must know of MPEG audio: Layer III, and the layers that are only told apart from it.
#pragma once

#include "codec/mp3/frame.h"
#include "codec/stream/frame_demuxer.h"

namespace moxc::mp3 {

struct Syntax {
  using Header = mp3::Header;
  static constexpr PacketContent kContent = PacketContent::mpegAudioFrame;
  static constexpr const char* kContainer = "MPEG audio";
  static constexpr size_t kHeaderBytes = 4;
  static constexpr size_t kMaxFrame = 5760;  // a free-format frame of 640 kbit/s at 8 kHz; others end at 1441
  static constexpr bool kFreeLength = true;

  static std::optional<Header> parse(Bytes bytes) { return parseHeader(bytes); }
  static bool sameStream(const Header& a, const Header& b) { return a.sameStream(b); }
  static size_t lengthOf(const Header& header) { return header.frameBytes; }
  static size_t paddingOf(const Header& header) { return static_cast<size_t>(header.fields.paddingBit); }
  static void setLength(Header& header, const Header& first) {
    if (header.bitRate == 0) header.frameBytes = first.frameBytes - paddingOf(first) + paddingOf(header);
  }
  static size_t shortest(const Header& header) { return header.mainDataAt(); }
  static void setFreeLength(Header& header, size_t bytes) { header.frameBytes = bytes; }

  // A gap of whole frames, give or take their padding, held frames: the listener's clock goes on.
  static int64_t lostFrames(int64_t gap, int64_t lastBytes, const FrameCounts&) {
    const int64_t lost = lastBytes == 0 ? 0 : (gap + lastBytes / 2) / lastBytes;
    return std::abs(gap - lost * lastBytes) <= lost ? lost : 0;
  }
};

using Demuxer = FrameDemuxer<Syntax>;

// Layers I and II, to be named when they are found.
struct OtherLayerSyntax {
  struct Header {
    int32_t layer = 0;    // 1 or 2
    uint32_t stream = 0;  // header bits that do not change
    size_t bytes = 0;
  };
  static constexpr size_t kHeaderBytes = 4;
  static constexpr size_t kMaxFrame = 1728;
  static constexpr bool kFreeLength = false;

  static std::optional<Header> parse(Bytes bytes);
  static bool sameStream(const Header& a, const Header& b) { return a.stream == b.stream; }
  static size_t lengthOf(const Header& header) { return header.bytes; }
  static void setLength(Header&, const Header&) {}
};

}  // namespace moxc::mp3
