// Audio in MP4, M4A, 3GP and QuickTime files, also fragmented. ISO/IEC 14496-12 and -14.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "codec/stream/byte_window.h"
#include "codec/stream/demuxer.h"
#include "codec/stream/mp4_sample_entry.h"
#include "codec/stream/mp4_tags.h"
#include "codec/stream/packet_index.h"

namespace moxc {

// Whether an MP4 file begins there: 0 or kNotFound.
size_t findMp4(Bytes head, bool whole);

// Walks over the boxes of a file as its bytes come: what is small is looked at as a whole, tables entry by entry, and
// what is of no use passed over. An input that cannot seek must have its index (moov) in front of its media.
class Mp4Demuxer final : public Demuxer {
 public:
  // `track`: which of the audio tracks. -1: the first that can be decoded.
  explicit Mp4Demuxer(int32_t track = -1, int64_t position = 0);

  void setSeekable(int64_t inputBytes) override {
    seekable_ = true;
    inputBytes_ = inputBytes;
  }
  size_t feed(Bytes bytes) override { return window_.feed(bytes); }
  void finish() override { whole_ = true; }
  DemuxEvent next(Packet& packet) override;
  int64_t inputPosition() const override { return window_.inputPosition(); }
  bool seek(int64_t packet) override;

  const TrackConfig& config() const override { return config_; }
  const char* container() const override { return "MP4"; }
  const std::string& refusal() const override { return refusal_; }
  int64_t skippedBytes() const override { return 0; }
  std::vector<std::string> faults() const override;
  std::vector<std::string> notes() const override;
  const std::vector<Tag>& tags() const override { return tags_.tags(); }
  const std::vector<Picture>& pictures() const override { return pictures_; }

 private:
  // How a step of the walk went. over: there is nothing more to walk over or to hand out.
  enum class Step { on, more, over };

  struct OpenBox {
    uint32_t type;
    int64_t end;
  };
  struct Edits {
    int64_t delay = 0;
    uint64_t length = 0;  // in the movie's timescale; 0: to the end
    bool any = false, leaps = false, silence = false;
  };
  struct Track {
    uint32_t id = 0, timescale = 0;
    bool isAudio = false, isOther = false;  // as its handler says; neither before that is known
    bool described = false;
    Mp4SampleEntry entry;
    Edits edits;
    PacketIndex index;
    // Of all packets; of one; whether but the last may differ, and it does.
    int64_t duration = 0;
    uint32_t packetDuration = 0, lastDuration = 0;
    bool even = true, odd = false;

    void addDurations(uint32_t count, uint32_t each);
  };
  // Defaults for the packets of fragments; by track, and by fragment.
  struct Defaults {
    uint32_t track = 0, duration = 0, size = 0;
  };
  struct Table {
    uint32_t type = 0;
    size_t entryBytes = 0;
    uint32_t left = 0;  // entries
    uint32_t flags = 0;
    int64_t end = 0;
  };

  Step reach(int64_t position);
  Step walk();
  Step openBox();
  Step openContainer(uint32_t type, int64_t content, int64_t end);
  Step openLeaf(uint32_t type, int64_t content, int64_t end);
  Step openTable(uint32_t type, int64_t content, int64_t end);
  Step readTable();
  void readEntry(Bytes entry);
  void readLeaf(uint32_t type, Bytes content);
  void readEdits(Bytes content);
  void readTrackFragment(Bytes content);
  void openRun(Bytes head, uint32_t count);
  bool closeOpenEnds();
  void leave(uint32_t type);
  void endTrack();
  void endMoov();
  void endMoof();
  void trim();

  bool isContainer(uint32_t type) const;
  bool isTable(uint32_t type) const;
  bool isLeaf(uint32_t type) const;
  bool inside(uint32_t type) const { return depth_ > 0 && open_[depth_ - 1].type == type; }
  // Bytes from there on, which the window begins at at_.
  Bytes ahead(int64_t from, size_t count) const {
    return slice(window_.bytes(), static_cast<size_t>(from - at_), count);
  }
  // Whether the track at hand is not the one to be decoded, as far as is known.
  bool passedOver() const;

  const PacketIndex& index() const { return inFragment_ ? fragment_ : track_.index; }
  void startReading(bool inFragment, int64_t firstNumber);
  Step passBoxes(int64_t position);
  Step takePacket(Packet& packet, DemuxEvent& event);
  void cutShort();
  DemuxEvent endOfInput();

  ByteWindow window_;
  int32_t wantedTrack_;
  bool seekable_ = false, whole_ = false;
  int64_t inputBytes_ = INT64_MAX;
  std::string refusal_;

  // The walk: where the next box begins, and in which boxes that is.
  int64_t at_ = 0;
  std::array<OpenBox, 12> open_{};
  size_t depth_ = 0;
  Table table_;
  bool halves_ = false;  // the table's entries are two sizes of four bits
  int64_t moovEnd_ = 0, moofAt_ = 0;
  bool ended_ = false;

  uint32_t movieTimescale_ = 0;
  bool sawMoov_ = false, fragmented_ = false, configured_ = false, configTold_ = false;
  Track current_, track_;
  bool chosen_ = false;
  int32_t audioTracks_ = 0, chosenTrack_ = 0;
  std::string otherAudio_;
  std::vector<Defaults> defaults_;  // of the tracks

  Defaults runDefaults_;
  bool mine_ = false;                          // the track fragment is of the chosen track
  int64_t fragmentBase_ = 0, fragmentAt_ = 0;  // what offsets count from; where the next run's packets lie
  PacketIndex fragment_;
  uint32_t fragmentChunks_ = 0, unsized_ = 0;  // in it; packets whose size only a default tells

  // Handing out: from the track's own index, or the fragment's.
  bool reading_ = false, inFragment_ = false;
  PacketIndex::Cursor cursor_;
  int64_t firstNumber_ = 0;  // of the fragment's first packet
  int64_t target_ = 0;       // packets before this one are passed over
  int64_t nextNumber_ = 0;   // of the next fragment's first packet
  int64_t knownPackets_ = 0;
  struct Fragment {
    int64_t at, firstNumber;
  };
  std::vector<Fragment> fragments_;  // for seeking; not all, so that two packets or more come to each
  int64_t delivered_ = 0;

  TrackConfig config_;
  Mp4Tags tags_;
  std::vector<Picture> pictures_;
  int64_t missing_ = 0, empty_ = 0, tooLong_ = 0, damagedBoxes_ = 0;
  bool cutShort_ = false;
};

}  // namespace moxc
