// All frames of a stream in memory.
#pragma once

#include <vector>

#include "codec/mp3/syntax.h"
#include "codec/stream/adts_syntax.h"

namespace moxtest {

template <class Syntax>
struct Walk {
  struct Frame {
    typename Syntax::Header header;
    size_t position;
    moxc::Bytes bytes;  // within the stream that was walked over
    bool afterGap;
  };
  bool found = false;
  size_t bytesBefore = 0;
  std::vector<Frame> frames;
  moxc::FrameCounts counts;
  moxc::Tags tags;
};

template <class Syntax>
Walk<Syntax> walk(moxc::Bytes bytes) {
  Walk<Syntax> result;
  size_t budget = moxc::kMostGuesses;
  const moxc::FoundFrames found = moxc::findFrames<Syntax>(bytes, true, 0, true, budget);
  result.bytesBefore = found.at;
  result.found = found.answer == moxc::Answer::yes;
  if (!result.found) return result;
  moxc::FrameDemuxer<Syntax> demuxer(result.tags, static_cast<int64_t>(found.at));
  size_t fed = found.at;
  moxc::Packet packet;
  for (moxc::DemuxEvent event; (event = demuxer.next(packet)) != moxc::DemuxEvent::end;) {
    if (event == moxc::DemuxEvent::packet) {
      const auto position = static_cast<size_t>(packet.position);
      result.frames.push_back({*Syntax::parse(packet.bytes), position,
                               bytes.subspan(position, packet.bytes.size()), packet.afterGap});
    } else if (event == moxc::DemuxEvent::needMore) {
      fed += demuxer.feed(bytes.subspan(fed));
      if (fed == bytes.size()) demuxer.finish();
    }
  }
  result.counts = demuxer.counts();
  return result;
}

inline Walk<moxc::mp3::Syntax> walkMp3(moxc::Bytes bytes) { return walk<moxc::mp3::Syntax>(bytes); }
inline Walk<moxc::AdtsSyntax> walkAdts(moxc::Bytes bytes) { return walk<moxc::AdtsSyntax>(bytes); }

}  // namespace moxtest
