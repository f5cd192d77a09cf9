// Envelope adjustment: gives the generated high band the levels, the noise and the sinusoids that the stream asks for.
// ISO/IEC 14496-3, 4.6.18.7.
#pragma once

#include <array>

#include "codec/sbr/bands.h"
#include "codec/sbr/generator.h"
#include "codec/sbr/parser.h"

namespace mox {

// Scale factors as energies, of samples on the 16-bit scale, and noise floors as ratios.
struct SbrLevels {
  std::array<std::array<float, SbrBands::kMaxBands>, kSbrMaxEnvelopes> envelope;
  std::array<std::array<float, SbrBands::kMaxNoiseBands>, kSbrMaxNoiseFloors> noise;
};

// Of one channel, or of both channels of a pair. `fade` makes envelopes softer by so many times 6 dB.
void dequantise(const SbrFrame& frame, const SbrBands& bands, int32_t channels, int32_t fade,
                SbrLevels* levels);

class SbrAdjuster {
 public:
  void run(const SbrHeader& header, const SbrBands& bands, const SbrChannelFrame& frame,
           const SbrLevels& levels, bool reset, SbrHighRow* high);

 private:
  using Row = std::array<float, 64>;  // by sub-band above the crossover

  struct Envelope {
    Row gain, noise, sine;
    bool sudden;  // at a transient: neither smoothed nor given noise
  };
  void mapHarmonics(const SbrBands& bands, const SbrChannelFrame& frame, size_t l, Row& sine, Row& inBand);
  void computeGains(const SbrHeader& header, const SbrBands& bands, const SbrChannelFrame& frame,
                    const SbrLevels& levels, size_t l, const SbrHighRow* high, Envelope& envelope);
  void apply(const SbrHeader& header, const SbrBands& bands, const SbrGrid& grid, bool reset,
             SbrHighRow* high);

  std::array<Envelope, kSbrMaxEnvelopes> envelopes_;
  // What smoothing looks back at: gains and noise of the last four slots.
  std::array<Row, 4> pastGain_{}, pastNoise_{};
  std::array<bool, 64> harmonicBefore_{};  // by sub-band: a sinusoid at the end of the frame before
  std::array<bool, 64> harmonicAtEnd_{};
  bool transientNext_ = false;  // the next frame begins with one
  int32_t noiseIndex_ = 0, sineIndex_ = 0;
};

}  // namespace mox
