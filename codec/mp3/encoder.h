// From samples to a Layer III stream, in memory; MPEG-1.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "codec/mp3/frame_queue.h"
#include "codec/mp3/loudness.h"
#include "moxac/mp3.h"

namespace moxc::mp3 {

enum class ChannelMode : int32_t { stereo = 0, joint = 1, mono = 3 };  // as the frame header codes them

struct EncoderSettings {
  int32_t rate = 44100;  // 32000, 44100 or 48000
  ChannelMode mode = ChannelMode::joint;
  int32_t bitRate =
      128;  // kbit/s; constant, one of the standard's, unless `average` or a quality says otherwise
  bool average =
      false;  // the bit rate (any from 32 to 320) is that of the whole, each frame takes what it needs
  float vbrQuality = -1;   // 0 (best) to 9.999, fractions too: variable bit rate; negative: by bitRate
  int32_t effort = 5;      // 0 (best) to 9 (fastest)
  int32_t lowpass = 0;     // Hz; 0 chooses by bit rate or quality, negative leaves all in
  int32_t highpass = 0;    // Hz, up to 400; 0 leaves all in
  bool checksums = false;  // a CRC word in every frame
  bool strict = false;     // keeps to the 7680 bits of input buffer that the standard promises
  MoxMp3EncoderParameters parameters = MOX_MP3_ENCODER_DEFAULTS;  // but attempts, which effort chooses

  int32_t channels() const { return mode == ChannelMode::mono ? 1 : 2; }
  bool variable() const { return average || vbrQuality >= 0; }
};

// The bit rates of MPEG-1 Layer III, kbit/s.
std::span<const int32_t> mp3BitRates();

// Encodes samples as they come. The stream begins with a frame that tells length, delay and padding; it is known only
// at the end, and until then its place is held by a frame of zeros.
class Encoder {
 public:
  explicit Encoder(const EncoderSettings& settings);
  Encoder(const Encoder&) = delete;  // the analysis banks stay where they were made

  // Takes interleaved samples, any number; appends finished frames to out. Floats have full scale 1, integers that of
  // their type; what is finer than 16 bits is kept up to the quantiser.
  void encode(std::span<const float> samples, std::vector<uint8_t>& out);
  void encode(std::span<const int16_t> samples, std::vector<uint8_t>& out);
  void encode(std::span<const int32_t> samples, std::vector<uint8_t>& out);
  // The rest of the stream. Nothing may be encoded afterwards.
  void finish(std::vector<uint8_t>& out);
  // After finish(): what belongs at the stream's start instead of the zeros.
  std::vector<uint8_t> infoFrame() const;

 private:
  static constexpr int32_t kGranule = 576;

  struct Granule {
    std::array<int32_t, 2 * kGranule> lines;
    std::array<MoxMp3PsychoacousticModelTwoAnalysis, 2> psy;
  };
  struct Channel {
    std::array<uint8_t, 2107> bank;  // the analysis bank's state
    std::array<int32_t, kGranule> overlap{};
  };

  template <class Sample>
  void encodeScaled(std::span<const Sample> samples, float scale, std::vector<uint8_t>& out);
  void takeGranule(const float* samples, std::vector<uint8_t>& out);
  void transform(const float* samples, Granule& granule);
  void cutOff(int32_t* lines, int32_t blockType) const;
  void encodeFrame(std::vector<uint8_t>& out);
  void chooseFrame(int32_t usedBits, int32_t& stuffing);
  void writeFrame(const int8_t* scaleFactors, const int32_t* scfsi, const int32_t* count1Len,
                  const MoxMp3SideInfo* side, const int32_t* lines, int32_t stuffing, int32_t mainDataBegin);
  int32_t frameBytes(int32_t bitRateIndex, int32_t padding) const;
  int32_t mainBits(int32_t bitRateIndex, int32_t padding) const;
  int32_t maxReservoir(int32_t bitRateIndex) const;
  int32_t sideInfoBytes() const { return channels_ == 1 ? 17 : 32; }
  int32_t headBytes() const { return (settings_.checksums ? 6 : 4) + sideInfoBytes(); }
  int32_t nextPadding();
  void followAverage();
  void followQuality();
  void storeCrc(uint8_t* frame) const;
  uint32_t gainField() const;
  MoxMp3AnalysisState* bankOf(int32_t channel);

  EncoderSettings settings_;
  int32_t channels_;
  int32_t subBands_ = 32, lines_ = kGranule;  // that pass the low-pass
  int32_t firstLine_ = 0;                     // that passes the high-pass
  MoxMp3FrameHeader header_{};
  MoxMp3BitReservoir reservoir_{};
  float noiseLevel_ = 0;  // dB that noise may be above the thresholds
  float recent_ = 1;      // bytes of the last frames over those expected of the quality
  float overdraft_ = 0;   // frames' worth of bits taken beyond the average
  int32_t paddingRest_ = 0;

  bool started_ = false, finishing_ = false;
  std::vector<float> held_;                   // samples that do not fill a granule yet
  std::array<float, 2 * kGranule> before_{};  // the granule before, whose block type is still open
  int64_t granulesTaken_ = 0, samplesTaken_ = 0;
  std::unique_ptr<MoxMp3PsychoacousticModelTwoState> model_;
  std::array<Channel, 2> channel_;
  std::array<Granule, 2> granules_{};
  FrameQueue queue_;
  Loudness loudness_;
};

}  // namespace moxc::mp3
