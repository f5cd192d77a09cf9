// Runs a demuxer over bytes that come in pieces, and keeps what comes out. Aborts when it breaks its promises: the tests
// and the fuzz drivers share this.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "codec/stream/demuxer.h"

namespace moxtest {

struct Demuxed {
  // 'c' config, 'p' packet, 'l' lost, 'r' refused, 'e' end; pieces of an elementary stream count as one packet.
  std::string events;
  std::vector<std::vector<uint8_t>> packets;
  std::vector<int64_t> positions, numbers;  // of the packets
  std::vector<moxc::TrackConfig> configs;
  std::string refusal;
  std::vector<std::string> faults, notes;

  bool sameAs(const Demuxed& other) const {
    return events == other.events && packets == other.packets && positions == other.positions &&
           numbers == other.numbers && refusal == other.refusal && faults == other.faults &&
           notes == other.notes;
  }
};

using PieceSize = std::function<size_t()>;
inline PieceSize wholeInput() {
  return [] { return SIZE_MAX; };
}
inline PieceSize byteByByte() {
  return [] { return size_t{1}; };
}
inline PieceSize randomPieces(uint32_t seed) {
  return [random = std::mt19937(seed)]() mutable { return size_t{1} << (random() % 14) | random() % 1000; };
}

// Goes on until the end, or `limit` packets. `resumed`: a demuxer that has told its configuration.
inline Demuxed demux(moxc::Demuxer& demuxer, moxc::Bytes input, PieceSize pieceSize, bool seekable,
                     size_t limit = SIZE_MAX, bool resumed = false) {
  const auto require = [](bool kept) {
    if (!kept) std::abort();
  };
  const auto size = static_cast<int64_t>(input.size());
  Demuxed out;
  std::vector<uint8_t> piece;  // its own memory, so that a sanitizer sees the end
  int64_t stands = demuxer.inputPosition();
  bool finished = false, joining = false;
  for (;;) {
    moxc::Packet packet;
    const moxc::DemuxEvent event = demuxer.next(packet);
    const bool elementary =
        !out.configs.empty() && (out.configs.back().content == moxc::PacketContent::adtsBytes ||
                                 out.configs.back().content == moxc::PacketContent::latmBytes ||
                                 out.configs.back().content == moxc::PacketContent::mpegAudioBytes);
    if (event == moxc::DemuxEvent::needMore) {
      const int64_t wanted = demuxer.inputPosition();
      require(wanted >= 0 && (seekable || wanted == stands) && (!finished || wanted != stands));
      stands = wanted;
      if (stands >= size) {
        demuxer.finish();
        finished = true;
        continue;
      }
      finished = false;
      const moxc::Bytes part =
          moxc::slice(input, static_cast<size_t>(stands), std::max<size_t>(1, pieceSize()));
      piece.assign(part.begin(), part.end());
      const size_t taken = demuxer.feed(piece);
      require(taken > 0 && taken <= piece.size());
      stands += static_cast<int64_t>(taken);
      require(demuxer.inputPosition() == stands);
    } else if (event == moxc::DemuxEvent::packet) {
      require(resumed || !out.configs.empty());
      uint32_t behind = 0;  // eight bytes behind the packet are readable
      for (size_t i = 0; i < 8; ++i) behind += packet.bytes.data()[packet.bytes.size() + i];
      require(behind < 8 * 256);
      if (elementary && joining) {
        out.packets.back().insert(out.packets.back().end(), packet.bytes.begin(), packet.bytes.end());
      } else {
        out.packets.emplace_back(packet.bytes.begin(), packet.bytes.end());
        out.positions.push_back(packet.position);
        out.numbers.push_back(packet.number);
        out.events += 'p';
      }
      joining = elementary;
      if (out.packets.size() == limit) return out;
    } else if (event == moxc::DemuxEvent::config) {
      out.configs.push_back(demuxer.config());
      out.events += 'c';
      joining = false;
    } else if (event == moxc::DemuxEvent::lost) {
      out.events += 'l';
    } else {
      out.events += event == moxc::DemuxEvent::end ? 'e' : 'r';
      require(demuxer.next(packet) == event &&
              (event == moxc::DemuxEvent::refused) == !demuxer.refusal().empty());
      out.refusal = demuxer.refusal();
      out.faults = demuxer.faults();
      out.notes = demuxer.notes();
      require(demuxer.skippedBytes() >= 0 && (demuxer.skippedBytes() == 0 || !out.faults.empty()));
      return out;
    }
  }
}

}  // namespace moxtest
