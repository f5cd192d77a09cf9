// AAC in LATM with LOAS frames around it, as broadcasters send it. ISO/IEC 14496-3, 1.7.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "codec/io/bit_reader.h"
#include "codec/stream/byte_window.h"
#include "codec/stream/demuxer.h"

namespace moxc {

// Where LOAS frames begin: three that join convince, at the very start also fewer if the input ends with them.
size_t findLatm(Bytes head, bool whole);

// How a LOAS frame is laid out; one program of one layer.
struct StreamMuxConfig {
  int32_t subframes = 1;          // packets in a frame
  int64_t fixedBits = 0;          // of each packet; 0: its length stands in front of it
  std::vector<uint8_t> specific;  // AudioSpecificConfig, filled up with zero bits
  int64_t specificBits = 0;
  std::string refusal;  // what it is when it is not demuxed
};

class LatmDemuxer final : public Demuxer {
 public:
  // The input is fed from `position` on, where findLatm() found it.
  explicit LatmDemuxer(int64_t position = 0);

  size_t feed(Bytes bytes) override { return window_.feed(bytes); }
  void finish() override { whole_ = true; }
  DemuxEvent next(Packet& packet) override;
  int64_t inputPosition() const override { return window_.inputPosition(); }

  const TrackConfig& config() const override { return config_; }
  const char* container() const override { return "LATM"; }
  const std::string& refusal() const override { return refusal_; }
  int64_t skippedBytes() const override { return skipped_; }
  std::vector<std::string> faults() const override;
  std::vector<std::string> notes() const override;
  const std::vector<Tag>& tags() const override { return noTags_; }
  const std::vector<Picture>& pictures() const override { return noPictures_; }

 private:
  enum class Sync { frame, again, more };  // again: something was dropped, or the input has ended

  Sync lock();
  Sync synchronise();
  DemuxEvent openFrame();
  DemuxEvent takeConfig();
  DemuxEvent takePacket(Packet& packet);
  void dropFrame();
  void skip(size_t count);
  void endGap();

  ByteWindow window_;
  int64_t start_;
  bool whole_ = false;   // no more will be fed
  bool locked_ = false;  // a frame is expected where the window begins
  bool ever_ = false;    // was locked before
  TrackConfig config_;
  StreamMuxConfig mux_, read_;
  bool configured_ = false;
  std::string refusal_;

  size_t frameBytes_ = 0;    // of the frame that the window begins with; 0: none is open
  size_t at_ = 0;            // bits of it that were read
  int32_t packetsLeft_ = 0;  // in it
  std::vector<uint8_t> packet_;

  // Bytes in front of the window that belong to no frame, until one begins or the input ends.
  int64_t gap_ = 0;
  bool gapIsZero_ = true, lost_ = false;
  std::string lastRefusal_;
  int64_t skipped_ = 0, before_ = 0, behind_ = 0, truncated_ = 0;  // bytes
  int64_t damaged_ = 0, refused_ = 0, unconfigured_ = 0;           // frames
  std::vector<Tag> noTags_;
  std::vector<Picture> noPictures_;
};

}  // namespace moxc
