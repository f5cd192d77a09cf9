// Packetised elementary streams: the packets that carry audio in MPEG transport and program streams.
// ISO/IEC 13818-1, 2.4.3.6 and 2.5.3; ISO/IEC 11172-1, 2.4.3.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/stream/byte_window.h"
#include "codec/stream/demuxer.h"

namespace moxc {

// What an elementary stream holds, by the first bytes of a frame; nothing where none begins there.
std::optional<PacketContent> contentOfFrame(Bytes frame);

// Strips the headers off the packets of one stream, which come in pieces.
class PesReader {
 public:
  void begin() {  // a packet starts with the next byte
    state_ = State::header;
    headerBytes_ = 0;
  }
  void stop() { state_ = State::none; }
  // Bytes were lost: what follows is payload all the same, but where it ends is not known any more.
  void loseLength() {
    if (state_ == State::payload) left_ = kUnbounded;
    if (state_ == State::header) state_ = State::none;
  }
  // The payload among these bytes, which belong to the packet or stuff it up.
  Bytes take(Bytes bytes);

 private:
  static constexpr int64_t kUnbounded = INT64_MAX;
  enum class State { none, header, payload };
  State state_ = State::none;
  std::array<uint8_t, 9 + 255> header_{};
  size_t headerBytes_ = 0;
  int64_t left_ = 0;
};

// Where a program stream or bare PES packets begin: three start codes that join.
size_t findPes(Bytes head, bool whole);

// The first audio stream of an MPEG program stream, or of PES packets without anything around them.
class PesDemuxer final : public Demuxer {
 public:
  explicit PesDemuxer(int64_t position = 0);

  size_t feed(Bytes bytes) override { return window_.feed(bytes); }
  void finish() override { whole_ = true; }
  DemuxEvent next(Packet& packet) override;
  int64_t inputPosition() const override { return window_.inputPosition(); }

  const TrackConfig& config() const override { return config_; }
  const char* container() const override { return "MPEG-PS"; }
  const std::string& refusal() const override { return refusal_; }
  int64_t skippedBytes() const override { return skipped_; }
  std::vector<std::string> faults() const override;
  std::vector<std::string> notes() const override { return {}; }
  const std::vector<Tag>& tags() const override { return noTags_; }
  const std::vector<Picture>& pictures() const override { return noPictures_; }

 private:
  bool openUnit();
  bool recognise(Bytes payload);

  ByteWindow window_;
  bool whole_ = false;
  TrackConfig config_;
  std::string refusal_;
  PesReader pes_;
  uint32_t stream_ = 0;  // stream_id of the audio; 0: not found yet
  bool told_ = false;    // config was
  int32_t unknown_ = 0;  // audio packets that did not begin with a frame
  size_t unitLeft_ = 0;  // of what the window is in
  bool unitIsAudio_ = false, unitBegins_ = false;
  int64_t skipped_ = 0;
  std::vector<Tag> noTags_;
  std::vector<Picture> noPictures_;
};

}  // namespace moxc
