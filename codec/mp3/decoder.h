// MPEG audio Layer III, frame by frame.
#pragma once

#include <array>
#include <optional>

#include "codec/mp3/info_frame.h"
#include "codec/mp3/spectrum.h"
#include "codec/mp3/synthesis.h"
#include "codec/stream/frame_decoder.h"

namespace moxc::mp3 {

class Decoder final : public FrameDecoder {
 public:
  explicit Decoder(const DecodeSettings& settings) : settings_(settings) {}

  void open(const Packet& packet) override;
  bool next(PcmFrame& frame) override;
  bool conceal(PcmFrame& frame) override;
  void reset() override;
  void setSynthesis(bool wanted) override { settings_.synthesise = wanted; }
  const Gapless* began() const override { return began_ ? &gapless_ : nullptr; }

  int64_t frames() const override { return frames_; }
  int64_t concealed() const override { return concealed_; }
  int64_t samplesAFrame() const override { return first_.samples(); }
  void describe(const String& duration, double seconds, const FrameCounts* counts,
                TextLines& lines) const override;
  void faults(const FrameCounts* counts, TextLines& lines) const override;
  void notices(TextLines&) const override {}

 private:
  void beginStream(const Header& header);
  bool openInfoFrame();
  void note();
  void decodeGranule(int32_t granule, Fault fault);
  void repeatLast(Spectrum& spectrum) const;
  PcmFrame frame() const;
  bool crcBelievable() const { return crcRight_ > crcWrong_; }
  double averageRate() const;
  int64_t missingFrames(bool complete) const;
  String bitRateText() const;

  DecodeSettings settings_;
  Frame frame_;
  bool pending_ = false;  // frame_ is to be decoded
  bool known_ = false;    // a stream has begun
  bool began_ = false;
  Header first_;
  std::optional<VbrHeader> vbrHeader_;
  Gapless gapless_;

  SpectrumReader reader_;
  std::optional<Synthesis> synthesis_;
  // The granule being decoded and the last good one take turns.
  std::array<Spectrum, 2> spectra_;
  size_t good_ = 0;
  int32_t repeats_ = 0;
  alignas(32) std::array<int16_t, 4 * kLines> shorts_;
  alignas(32) std::array<float, 4 * kLines> floats_;

  int64_t frames_ = 0, concealed_ = 0, coded_ = 0;
  int64_t partFrames_ = 0, missing_ = 0;  // of the part at hand; of parts before, what they should have had
  int64_t audioBytes_ = 0;                // of coded frames
  double seconds_ = 0;                    // of coded frames
  int32_t lowestRate_ = 0, highestRate_ = 0;  // kbit/s
  int64_t crcRight_ = 0, crcWrong_ = 0;
  bool usesMs_ = false, usesIntensity_ = false;
  std::array<int64_t, 5> damage_{};  // frames by what was wrong first
};

}  // namespace moxc::mp3
