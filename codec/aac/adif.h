// AAC in ADIF: one header, then block after block without any mark to resume at after damage.
#pragma once

#include <memory>

#include "codec/aac/decoder.h"
#include "codec/stream/byte_window.h"
#include "codec/stream/demuxer.h"

namespace moxc::aac {

inline bool isAdif(Bytes head) { return startsWith(head, "ADIF"); }

// Where a block ends, its decoder tells: the demuxer makes it.
class AdifDemuxer final : public Demuxer, public Allocated {
 public:
  explicit AdifDemuxer(int64_t position) : window_(kWindow) { window_.jump(position); }

  size_t feed(Bytes bytes) override { return window_.feed(bytes); }
  void finish() override { whole_ = true; }
  DemuxEvent next(Packet& packet) override;
  int64_t inputPosition() const override { return window_.inputPosition(); }

  const TrackConfig& config() const override { return config_; }
  const char* container() const override { return "ADIF"; }
  const std::string& refusal() const override { return refusal_; }
  int64_t skippedBytes() const override { return skipped_; }
  std::vector<std::string> faults() const override;
  std::vector<std::string> notes() const override;
  const std::vector<Tag>& tags() const override { return noTags_; }
  const std::vector<Picture>& pictures() const override { return noPictures_; }

  // Once config was told; the caller keeps it as long as the demuxer.
  std::unique_ptr<Decoder> makeDecoder(const DecodeSettings& settings);

 private:
  static constexpr size_t kWindow = 16384;  // no block is longer

  DemuxEvent readHeader();

  ByteWindow window_;
  bool whole_ = false, headerRead_ = false, broken_ = false;
  size_t packetBytes_ = 0, tried_ = 0;
  int32_t programs_ = 0;
  Config blocks_;
  std::optional<Layout> layout_;
  Decoder* decoder_ = nullptr;
  int64_t skipped_ = 0;
  TrackConfig config_;
  std::string refusal_;
  std::vector<Tag> noTags_;
  std::vector<Picture> noPictures_;
};

}  // namespace moxc::aac
