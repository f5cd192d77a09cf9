// AAC, block by block: in ADTS frames, or bare with an AudioSpecificConfig.
#pragma once

#include <memory>

#include "codec/aac/block.h"
#include "codec/aac/survey.h"
#include "codec/aac/synthesis.h"
#include "codec/stream/adts_frame.h"
#include "codec/stream/frame_decoder.h"

namespace moxc::aac {

class Decoder final : public FrameDecoder {
 public:
  // Of ADTS frames, whose headers tell what they are.
  explicit Decoder(const DecodeSettings& settings);
  // Of raw data blocks as that configuration describes them. What cannot be decoded is told by refusal().
  Decoder(const DecodeSettings& settings, Bytes specificConfig, int64_t bits, const char* container);
  // Of raw data blocks; without a layout the blocks tell it.
  Decoder(const DecodeSettings& settings, const Config& config, std::optional<Layout> layout,
          const char* container);
  ~Decoder() override;

  void open(const Packet& packet) override;
  bool next(PcmFrame& frame) override;
  bool conceal(PcmFrame& frame) override;
  void reset() override;
  void setSynthesis(bool wanted) override { settings_.synthesise = wanted; }
  const char* refusal() const override { return refusal_; }

  int64_t frames() const override { return blocks_; }
  int64_t concealed() const override { return concealed_; }
  int64_t samplesAFrame() const override;
  void describe(const String& duration, double seconds, const FrameCounts* counts,
                TextLines& lines) const override;
  void faults(const FrameCounts* counts, TextLines& lines) const override;
  void notices(TextLines& lines) const override;

  // Where a block ends only its own syntax tells: reads it from the front of the bytes and gives its length, or 0 when
  // they hold no whole block. It is the one that the next packet holds.
  size_t readAhead(Bytes bytes);

 private:
  struct Channels;

  void openAdts(Bytes bytes);
  void configure(const Config& config, std::optional<Layout> layout);
  bool followProgram();
  bool decodeBlock();
  bool checkBlock(Bytes data);
  bool placeElements();
  void followReplication();
  bool readBands();
  void rebuild();
  void repeatLast();
  void synthesise(const Vector<Spectrum>& spectra);
  PcmFrame frame() const;
  bool crcBelievable() const { return crcRight_ > crcWrong_; }

  DecodeSettings settings_;
  const char* container_ = "ADTS";
  const char* refusal_ = nullptr;

  bool known_ = false;
  Config config_;
  std::optional<AdtsHeader> header_;
  std::optional<Layout> layout_;
  std::optional<MoxAacPrgCfgElt> program_;  // that gave the layout
  bool programsTell_ = false;               // the layout comes with the blocks
  bool bands_ = false, stereo_ = false;     // spectral band replication, parametric stereo

  std::unique_ptr<BlockReader> reader_;
  std::unique_ptr<Channels> channels_;
  Block block_;
  Bytes adtsFrame_, payload_;  // of the packet; of its blocks not yet read
  int32_t blocksLeft_ = 0;
  bool readAhead_ = false;  // block_ holds the packet's block
  int32_t repeats_ = 0;

  Survey survey_;
  int64_t blocks_ = 0, concealed_ = 0, damaged_ = 0, empty_ = 0, damagedBands_ = 0;
  int64_t audioBytes_ = 0;
  int64_t crcRight_ = 0, crcWrong_ = 0;
};

}  // namespace moxc::aac
