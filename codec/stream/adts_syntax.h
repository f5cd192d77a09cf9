// What the frame demuxer must know of ADTS.
#pragma once

#include "codec/stream/adts_frame.h"
#include "codec/stream/frame_demuxer.h"

namespace moxc {

struct AdtsSyntax {
  using Header = AdtsHeader;
  static constexpr PacketContent kContent = PacketContent::adtsFrame;
  static constexpr const char* kContainer = "ADTS";
  static constexpr size_t kHeaderBytes = 7;
  static constexpr size_t kMaxFrame = 8191;
  static constexpr bool kFreeLength = false;

  static std::optional<Header> parse(Bytes bytes) { return parseAdtsHeader(bytes); }
  static bool sameStream(const Header& a, const Header& b) { return a.sameStream(b); }
  static size_t lengthOf(const Header& header) { return header.frameBytes(); }
  static void setLength(Header&, const Header&) {}

  // Frames vary in length, so what stood in a gap can only be estimated; the listener's clock goes on.
  static int64_t lostFrames(int64_t gap, int64_t, const FrameCounts& counts) {
    const int64_t average = counts.frames == 0 ? 0 : counts.bytes / counts.frames;
    return average == 0 ? 0 : (gap + average / 2) / average;
  }
};

using AdtsDemuxer = FrameDemuxer<AdtsSyntax>;

}  // namespace moxc
