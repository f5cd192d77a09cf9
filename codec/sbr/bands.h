// The header of spectral band replication, and the frequency tables that follow from it.
// ISO/IEC 14496-3, 4.6.18.3.
#pragma once

#include <cstdint>

#include "codec/io/array.h"
#include "codec/io/bit_reader.h"

namespace moxc::sbr {

// sbr_header(); what it may leave out has default values.
struct Header {
  // A change of one of these starts replication anew.
  struct Spectrum {
    int32_t startFreq = 0, stopFreq = 0, xoverBand = 0;
    int32_t freqScale = 2, alterScale = 1, noiseBands = 2;
    bool operator==(const Spectrum&) const = default;
  };
  Spectrum spectrum;
  bool coarse = false;  // bs_amp_res: steps of 3 dB, not 1.5
  int32_t limiterBands = 2, limiterGains = 2;
  bool interpolate = true, smooth = false;  // bs_interpol_freq, and bs_smoothing_mode of the opposite sense

  static Header read(BitReader& bits);
};

// Borders between bands, in QMF sub-bands: band b is [at[b], at[b + 1]).
struct Borders {
  Array<int32_t, 65> at{};
  int32_t bands = 0;

  int32_t operator[](int32_t i) const { return at[i]; }
  void add(int32_t border) { at[++bands] = border; }
  int32_t end() const { return (*this)[bands]; }
  bool has(int32_t border) const;
};

struct Bands {
  static constexpr int32_t kMaxBands = 48, kMaxNoiseBands = 5;

  int32_t firstBand = 0;     // k0, where the master table begins
  Borders master;            // all the others begin at the crossover, master[xoverBand]
  Borders high, low, noise;  // of envelopes of either resolution, and of noise floors
  Borders limiter;
  struct Patch {
    int32_t from, to, count;  // so many sub-bands are made of those from `from` on
  };
  Array<Patch, 6> patches{};
  int32_t numPatches = 0;

  int32_t begin() const { return high[0]; }               // kx
  int32_t count() const { return high.end() - high[0]; }  // M
  const Borders& envelope(bool highRes) const { return highRes ? high : low; }

  // For an output of that many Hz. False when the header is impossible there.
  bool make(const Header& header, int32_t rate);

 private:
  bool makeMaster(const Header::Spectrum& spectrum, int32_t behindBand);
  bool makePatches(int32_t goalBand);
  void makeLimiter(int32_t limiterBands);
};

}  // namespace moxc::sbr
