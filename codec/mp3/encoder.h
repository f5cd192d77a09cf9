// From 16-bit samples to a Layer III stream, in memory; MPEG-1.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "codec/mp3/frame_queue.h"
#include "moxac/mp3.h"

namespace moxc::mp3 {

enum class ChannelMode : int32_t { stereo = 0, joint = 1, mono = 3 };  // as the frame header codes them

struct EncoderSettings {
  int32_t rate = 44100;  // 32000, 44100 or 48000
  ChannelMode mode = ChannelMode::joint;
  int32_t bitRate = 128;    // kbit/s, one of the standard's; constant unless there is a quality
  int32_t vbrQuality = -1;  // 0 (best) to 9: variable bit rate; -1 constant
  int32_t lowpass = 0;      // Hz; 0 chooses by bit rate or quality, negative leaves all in

  int32_t channels() const { return mode == ChannelMode::mono ? 1 : 2; }
};

// The bit rates of MPEG-1 Layer III, kbit/s.
std::span<const int32_t> mp3BitRates();

// Encodes samples as they come. The stream begins with a frame that tells length, delay and padding; it is known only
// at the end, and until then its place is held by a frame of zeros.
class Encoder {
 public:
  explicit Encoder(const EncoderSettings& settings);

  // Takes interleaved samples, any number; appends finished frames to out.
  void encode(std::span<const int16_t> samples, std::vector<uint8_t>& out);
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
    std::array<int32_t, 512> history{};
    int32_t position = 0;
    std::array<int32_t, kGranule> overlap{};
  };

  void takeGranule(const int16_t* samples, std::vector<uint8_t>& out);
  void transform(const int16_t* samples, Granule& granule);
  void encodeFrame(std::vector<uint8_t>& out);
  void chooseFrame(int32_t usedBits, int32_t& stuffing);
  void writeFrame(const int8_t* scaleFactors, const int32_t* scfsi, const int32_t* count1Len,
                  const MoxMp3SideInfo* side, const int32_t* lines, int32_t stuffing, int32_t mainDataBegin);
  int32_t frameBytes(int32_t bitRateIndex, int32_t padding) const;
  int32_t mainBits(int32_t bitRateIndex, int32_t padding) const;
  int32_t maxReservoir(int32_t bitRateIndex) const;
  int32_t sideInfoBytes() const { return channels_ == 1 ? 17 : 32; }
  int32_t nextPadding();

  EncoderSettings settings_;
  int32_t channels_;
  int32_t subBands_ = 32;  // that pass the lowpass
  MoxMp3FrameHeader header_{};
  MoxMp3BitReservoir reservoir_{};
  float thresholdScale_ = 1;
  int32_t paddingRest_ = 0;

  bool started_ = false;
  std::vector<int16_t> held_;                   // samples that do not fill a granule yet
  std::array<int16_t, 2 * kGranule> before_{};  // the granule before, whose block type is still open
  int64_t granulesTaken_ = 0, samplesTaken_ = 0;
  std::unique_ptr<MoxMp3PsychoacousticModelTwoState> model_;
  std::array<Channel, 2> channel_;
  std::array<Granule, 2> granules_;
  FrameQueue queue_;
};

}  // namespace moxc::mp3
