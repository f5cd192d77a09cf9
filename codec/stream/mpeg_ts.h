// Audio in MPEG transport streams. ISO/IEC 13818-1, 2.4.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/stream/byte_window.h"
#include "codec/stream/demuxer.h"
#include "codec/stream/pes.h"

namespace moxc {

// Where transport packets begin: five sync bytes at a packet's distance, or, at the very start, all up to the end.
size_t findMpegTs(Bytes head, bool whole);

// Hands out the bytes of one elementary stream. What is lost in between leaves a gap in them, which the demuxer of the
// frames notices by itself.
class MpegTsDemuxer final : public Demuxer {
 public:
  // `track`: which of the audio streams, in the order in which the programs' tables come.
  explicit MpegTsDemuxer(int32_t track = 0, int64_t position = 0);

  void setSeekable(int64_t /*inputBytes*/) override { seekable_ = true; }
  size_t feed(Bytes bytes) override { return window_.feed(bytes); }
  void finish() override { whole_ = true; }
  DemuxEvent next(Packet& packet) override;
  int64_t inputPosition() const override { return window_.inputPosition(); }

  const TrackConfig& config() const override { return config_; }
  const char* container() const override { return "MPEG-TS"; }
  const std::string& refusal() const override { return refusal_; }
  int64_t skippedBytes() const override { return skipped_; }
  std::vector<std::string> faults() const override;
  std::vector<std::string> notes() const override;
  const std::vector<Tag>& tags() const override { return noTags_; }
  const std::vector<Picture>& pictures() const override { return noPictures_; }

 private:
  static constexpr size_t kPacketBytes = 188;

  // continuity_counter of one PID.
  enum class Order { next, repeated, gap };
  struct Counter {
    int32_t last = -1;
    Order follow(int32_t counter, bool jumps);
  };
  struct Section {
    std::vector<uint8_t> bytes;
    bool open = false;
    Counter counter;
    bool add(Bytes& payload);
  };
  struct Program {
    int32_t number = 0, pid = 0;
    bool counted = false;  // its audio streams are
    Section section;
  };
  struct Header;

  bool lock();
  bool takePacket(Bytes bytes, Packet& packet);
  void takeSections(Bytes payload, const Header& header, Section& section, Program* program);
  void endSection(Bytes section, Program* program);
  void readPrograms(Bytes section);
  void readStreams(Bytes section, Program& program);
  bool takeAudio(Bytes payload, const Header& header, Packet& packet);
  void choose(int32_t pid, std::optional<PacketContent> content);
  bool restartToGuess();
  void refuseAtEnd();

  ByteWindow window_;
  int64_t start_;
  int32_t track_;
  bool seekable_ = false, whole_ = false, locked_ = false;
  size_t stride_ = kPacketBytes,
         between_ = 0;  // from packet to packet; bytes left of what stands between two
  int64_t packets_ = 0;
  bool guess_ = false;  // without tables, by what PES packets hold

  Section table_;
  std::vector<Program> programs_;
  int32_t chosenProgram_ = -1;
  int32_t audioStreams_ = 0;  // in the tables so far
  std::string otherAudio_;    // the first kind that is not decoded

  TrackConfig config_;
  std::string refusal_;
  int32_t pid_ = -1;  // of the audio; -1: not known yet
  bool contentKnown_ = false, configPending_ = false;
  Counter counter_;
  PesReader pes_;
  bool pesBegins_ = false;  // no payload of this PES packet yet
  std::array<uint8_t, kPacketBytes> lastPayload_{};
  size_t lastPayloadBytes_ = 0;

  int64_t skipped_ = 0, before_ = 0, behind_ = 0, gaps_ = 0, broken_ = 0, scrambled_ = 0, delivered_ = 0;
  std::vector<Tag> noTags_;
  std::vector<Picture> noPictures_;
};

}  // namespace moxc
