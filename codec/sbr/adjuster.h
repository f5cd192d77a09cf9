// Envelope adjustment: gives the generated high band the levels, the noise and the sinusoids that the stream asks for.
// ISO/IEC 14496-3, 4.6.18.7.
#pragma once

#include "codec/io/array.h"
#include "codec/sbr/bands.h"
#include "codec/sbr/generator.h"
#include "codec/sbr/parser.h"

namespace moxc::sbr {

// Scale factors as energies, of samples on the 16-bit scale, and noise floors as ratios.
struct Levels {
  Array<Array<float, Bands::kMaxBands>, kMaxEnvelopes> envelope;
  Array<Array<float, Bands::kMaxNoiseBands>, kMaxNoiseFloors> noise;
};

// Of one channel, or of both channels of a pair. `fade` makes envelopes softer by so many times 6 dB.
void dequantise(const Frame& frame, const Bands& bands, int32_t channels, int32_t fade, Levels* levels);

class Adjuster {
 public:
  void run(const Header& header, const Bands& bands, const ChannelFrame& frame, const Levels& levels,
           bool reset, HighRow* high);

  using Row = Array<float, 64>;  // by sub-band above the crossover

 private:
  struct Envelope {
    Row gain, noise, sine;
    bool sudden;  // at a transient: neither smoothed nor given noise
  };
  void mapHarmonics(const Bands& bands, const ChannelFrame& frame, int32_t l, Row& sine, Row& inBand);
  void computeGains(const Header& header, const Bands& bands, const ChannelFrame& frame, const Levels& levels,
                    int32_t l, const HighRow* high, Envelope& envelope);
  static void share(int32_t count, const Row& wanted, const Row& ratio, const Row& current, const Row& inBand,
                    Envelope& envelope);
  static void limit(const Bands& bands, float maxGain, const Row& wanted, const Row& current,
                    Envelope& envelope);
  void apply(const Header& header, const Bands& bands, const Grid& grid, bool reset, HighRow* high);
  void mix(const Bands& bands, const Row& gain, const Row& noise, const Row& sines, HighRow& high);

  Array<Envelope, kMaxEnvelopes> envelopes_;
  // What smoothing looks back at: gains and noise of the last four slots.
  Array<Row, 4> pastGain_{}, pastNoise_{};
  Array<bool, 64> harmonicBefore_{};  // by sub-band: a sinusoid at the end of the frame before
  Array<bool, 64> harmonicAtEnd_{};
  bool transientNext_ = false;  // the next frame begins with one
  int32_t noiseIndex_ = 0, sineIndex_ = 0;
};

}  // namespace moxc::sbr
