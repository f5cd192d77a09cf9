// From the spectrum of a channel to samples: inverse MDCT, windows and overlap, with the history that the next
// frame needs.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <vector>

#include "moxac/aac.h"
#include "moxac/transform.h"

namespace moxc::aac {

// One channel's frame, ready for the filter bank: lines in window order with MOX_AAC_SPECTRUM_FRAC_BITS fraction
// bits, on the 16-bit scale.
struct Spectrum {
  int32_t windowSequence = 0;  // 0 only long, 1 long start, 2 eight short, 3 long stop
  int32_t windowShape = 0;     // 0 sine, 1 Kaiser-Bessel derived
  alignas(32) std::array<int32_t, 1024> lines{};
};

class Synthesis {
 public:
  // keepHistory: long-term prediction will be asked for.
  Synthesis(int32_t channels, bool floatSamples, bool keepHistory);

  // The spectrum that long-term prediction gives for a frame with these windows. False when its lag is impossible.
  bool predict(size_t channel, const Spectrum& windows, const MoxAacLtpInfo& ltp, int32_t* prediction);

  // 1024 samples, `stride` apart.
  void run(size_t channel, const Spectrum& spectrum, int16_t* samples,
           int32_t stride);  // rounded and saturated
  void run(size_t channel, const Spectrum& spectrum, float* samples, int32_t stride);  // full scale is 1

 private:
  struct Channel {
    int32_t previousShape = 0;
    std::array<int32_t, 1024> overlap{};  // of the fixed-point filter bank
    std::vector<int32_t> history;         // of long-term prediction
    std::vector<float> floatOverlap;
  };
  struct Transform {  // inverse, of one length
    explicit Transform(int32_t length);
    std::unique_ptr<MoxMdctSpec, moxStatus (*)(MoxMdctSpec*)> spec;
    std::vector<uint8_t> buffer;
  };

  void runFixed(Channel& channel, const Spectrum& spectrum, int16_t* samples, int32_t stride);
  void runLong(Channel& channel, const Spectrum& spectrum, float* samples, size_t stride);
  void runShort(Channel& channel, const Spectrum& spectrum, float* samples, size_t stride);

  std::vector<Channel> channels_;
  bool keepHistory_;
  std::vector<int32_t> work_;  // of the fixed-point filter bank
  std::unique_ptr<Transform> long_, short_;
  alignas(32) std::array<float, 2048> frame_{};  // inversely transformed
};

}  // namespace moxc::aac
