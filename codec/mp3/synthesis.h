// From the spectra of a granule to samples: inverse hybrid transform and polyphase synthesis, with the
// history both keep per channel.
#pragma once

#include <array>
#include <cstdint>

#include "codec/io/memory.h"
#include "codec/mp3/spectrum.h"

namespace moxc::mp3 {

class Synthesis {
 public:
  Synthesis(int32_t channels, bool floatSamples);
  void reset();  // to silence

  // 576 samples per channel, interleaved, from one granule.
  void run(const Spectrum& spectrum, int16_t* samples);  // rounded and saturated
  void run(const Spectrum& spectrum, float* samples);    // full scale is 1

 private:
  struct Channel {
    std::array<int32_t, kLines> overlap{};
    int32_t previousImdcts = 0;
    std::array<int32_t, 512> bank{};  // the fixed-point bank's history and its place in it
    int32_t bankPosition = 0;
    Vector<uint8_t> memory;  // of the float bank, where that is asked for
    MoxMp3SynthesisState* floatBank = nullptr;
  };

  const int32_t* hybrid(const Spectrum& spectrum, int32_t ch);

  Vector<Channel> channels_;
  std::array<int32_t, kLines> slots_{};  // 18 time slots of 32 sub-band samples
};

}  // namespace moxc::mp3
