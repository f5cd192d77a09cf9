// Requantisation, stereo and reordering of one granule. ISO/IEC 11172-3, 2.4.3.4.7 to 2.4.3.4.9;
// ISO/IEC 13818-3, 2.4.3.2.
//
// Spectra are dequantised to floats in units of Q26, in coded order; stereo works on these, and rounding to
// integers comes last, together with the reordering of short blocks.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstdlib>

#include "frame/checks.h"

#include "frame/const_math.h"
#include "frame/shuffles.h"
#include "frame/trig.h"
#include "moxac/mp3.h"
#include "mp3/bank_tables.h"
#include "mp3/fixed_point.h"
#include "mp3/spectrum_bands.h"
#include "util/pow43_table.h"

namespace moxac::mp3 {

inline constexpr int32_t kLargestMagnitude = util::kPow43Count - 1;

// One channel's spectrum on its way. Room behind the lines lets whole vectors be stored at the end.
struct LineBuffer {
  alignas(32) float line[kMp3Lines + 8];
};

inline bool isShortBlock(const MoxMp3SideInfo& side) { return side.winSwitch == 1 && side.blockType == 2; }

// 2^(quarters / 4) in Q26; 0 where no float reaches down.
inline float quarterPower(int32_t quarters) {
  const int32_t exponent = (quarters >> 2) + kMp3FractionBits;
  if (exponent < -126) return 0;
  return static_cast<float>(kQuarterPower[quarters & 3]) *
         std::bit_cast<float>(static_cast<uint32_t>(exponent + 127) << 23);
}

// The gain of run i: 2^((global_gain - 210 - 8 subblock_gain) / 4 - multiplier (scalefac + preflag pretab)),
// multiplier 1/2 or 1. A negative scale factor is one that would be illegal as an intensity position.
inline float runGain(const MoxMp3SideInfo& side, const SpectrumBands& bands, const int8_t* scaleFactors,
                     int32_t i) {
  const bool isLong = i < bands.longCount;
  const int32_t scale = std::abs(scaleFactors[i]) + (isLong && side.preFlag == 1 ? kPretab[i] : 0);
  const int32_t windowGain = isLong ? 0 : side.subBlockGain[bands.window(i)];
  return quarterPower(side.globGain - 210 - 8 * windowGain - scale * (side.sfScale == 1 ? 4 : 2));
}

// |is|^(4/3) for magnitudes 0..15, sixteen lines at a time: the four bytes of each float are looked up apart.
struct SmallPowers {
  alignas(16) uint8_t byte[4][16] = {};

  constexpr SmallPowers() {
    for (int n = 1; n < 16; ++n) {
      const auto bits = std::bit_cast<uint32_t>(static_cast<float>(n * static_cast<double>(cubeRoot(n))));
      for (int b = 0; b < 4; ++b) byte[b][n] = static_cast<uint8_t>(bits >> (8 * b));
    }
  }
};
inline constexpr SmallPowers kSmallPowers;

// The powers of sixteen lines, in four vectors of four; false when some magnitude is above 8206.
inline bool powersOf16(const int32_t* is, f32x4 (&power)[4]) {
  i32x4 magnitude[4];
  for (int i = 0; i < 4; ++i) magnitude[i] = abs4(loadInt4(is + 4 * i));
  // Unsigned, so that the magnitude of INT32_MIN counts as the 2^31 that it is.
  const i32x4 largest =
      maxUnsigned4(maxUnsigned4(magnitude[0], magnitude[1]), maxUnsigned4(magnitude[2], magnitude[3]));
  if (noneAbove4(largest, 15)) {
    const u8x16 bytes =
        packShorts(packInts(magnitude[0], magnitude[1]), packInts(magnitude[2], magnitude[3]));
    const auto look = [&](int b) { return lookUpBytes16(loadBytes16(kSmallPowers.byte[b]), bytes); };
    const u8x16 b0 = look(0), b1 = look(1), b2 = look(2), b3 = look(3);
    const i16x8 low01 = zipBytesLow(b0, b1), low23 = zipBytesLow(b2, b3);
    const i16x8 high01 = zipBytesHigh(b0, b1), high23 = zipBytesHigh(b2, b3);
    power[0] = asFloats(zipShortsLow(low01, low23));
    power[1] = asFloats(zipShortsHigh(low01, low23));
    power[2] = asFloats(zipShortsLow(high01, high23));
    power[3] = asFloats(zipShortsHigh(high01, high23));
    return true;
  }
  if (!noneAbove4(largest, kLargestMagnitude)) return false;
  alignas(16) int32_t index[16];
  for (int i = 0; i < 4; ++i) storeInt4(index + 4 * i, magnitude[i]);
  const auto at = [&](int i) { return util::kPow43[static_cast<size_t>(index[i])]; };
  for (int i = 0; i < 16; i += 4) power[i / 4] = lanes4(at(i), at(i + 1), at(i + 2), at(i + 3));
  return true;
}

// xr = sign(is) |is|^(4/3) gain; lines from count on become zero. False when some magnitude is above 8206.
inline bool dequantize(const int32_t* is, int32_t count, const MoxMp3SideInfo& side,
                       const SpectrumBands& bands, const int8_t* scaleFactors, LineBuffer& xr) {
  float* const x = xr.line;
  for (int32_t i = 0; i < bands.count && bands.start[i] < count; ++i) {
    const f32x8 gain = splat8(runGain(side, bands, scaleFactors, i));
    for (int32_t k = bands.start[i]; k < bands.start[i + 1]; k += 8) store8(x + k, gain);
  }
  int32_t first = 0;
  for (; first < count; first += 16) {
    const int32_t* q = is + first;
    int32_t last[16] = {};
    if (first + 16 > count) {
      std::copy(q, is + count, last);
      q = last;
    }
    f32x4 power[4];
    if (!powersOf16(q, power)) return false;
    for (int i = 0; i < 16; i += 8) {
      const f32x8 magnitude = joined(power[i / 4], power[i / 4 + 1]) * load8(x + first + i);
      store8(x + first + i, orBits(magnitude, signOf(asFloats(loadInt8(q + i)))));
    }
  }
  std::fill(x + std::min(first, count), x + kMp3Lines, 0.0f);
  return true;
}

// ---- Stereo ------------------------------------------------------------------------------------------

// What the right channel of an intensity run sends: the share of each channel in the left channel's lines.
struct IntensityShares {
  float left, right;
};

// MPEG-1 positions 0..6: is_ratio = tan(position pi / 12), left ratio / (1 + ratio), right 1 / (1 + ratio).
inline constexpr auto kIntensityShares = [] {
  std::array<IntensityShares, 7> shares{};
  for (int p = 0; p < 7; ++p) {
    const double sine = sinPi(p, 12), cosine = cosPi(p, 12);
    shares[static_cast<size_t>(p)] = {static_cast<float>(sine / (sine + cosine)),
                                      static_cast<float>(cosine / (sine + cosine))};
  }
  return shares;
}();

// MPEG-2: an odd position p turns the left channel down by (p + 1) / 2 steps, an even one the right by p / 2;
// a step is 2^(-1/2) with intensity_scale 1, else 2^(-1/4).
inline IntensityShares intensitySharesMpeg2(int32_t position, int32_t intensityScale) {
  const int32_t quarters = (position + 1) / 2 * (intensityScale == 1 ? 2 : 1);
  const float down = quarterPower(-quarters) * (1 / kMp3One);
  return position % 2 == 1 ? IntensityShares{down, 1} : IntensityShares{1, down};
}

// Which runs of the right channel hold intensity positions: those above its last non-zero line, for short
// blocks window by window; long runs below short ones only when all three windows are empty.
inline void findIntensityRuns(const SpectrumBands& bands, const LineBuffer& right, int32_t bound,
                              bool (&isIntensity)[kScaleFactors]) {
  bool open[3] = {true, true, true};  // nothing but zeros from here up
  for (int32_t i = bands.count - 1; i >= 0; --i) {
    bool empty = true;
    for (int32_t k = bands.start[i]; k < std::min(bands.start[i + 1], bound) && empty; ++k)
      empty = right.line[k] == 0;
    if (i >= bands.longCount) {
      bool& window = open[bands.window(i)];
      window = isIntensity[i] = window && empty;
    } else {
      open[0] = isIntensity[i] = open[0] && open[1] && open[2] && empty;
    }
  }
}

// L = (M + S) / sqrt 2, R = (M - S) / sqrt 2. Lines first..last-1.
inline void midSide(LineBuffer& left, LineBuffer& right, int32_t first, int32_t last) {
  constexpr float kRoot = 0.707106781186547524f;
  float *const l = left.line, *const r = right.line;
  int32_t k = first;
  for (; k + 8 <= last; k += 8) {
    const f32x8 m = load8(l + k), s = load8(r + k);
    store8(l + k, (m + s) * splat8(kRoot));
    store8(r + k, (m - s) * splat8(kRoot));
  }
  for (; k < last; ++k) {
    const float m = l[k], s = r[k];
    l[k] = (m + s) * kRoot;
    r[k] = (m - s) * kRoot;
  }
}

// Stereo of a frame with intensity. The runs are the right channel's; a run whose position is illegal, or
// that is not intensity-coded, is M/S when the frame is. The last band has no position of its own and takes
// that of the band below.
inline void intensityStereo(LineBuffer& left, LineBuffer& right, int32_t leftBound, int32_t rightBound,
                            const SpectrumBands& bands, const int8_t* positions, const MoxMp3SideInfo& side,
                            const MoxMp3FrameHeader& header) {
  const bool hasMidSide = (header.modeExt & 2) != 0;
  const int32_t end = std::max(leftBound, rightBound);
  const int32_t lastBand = bands.count > bands.longCount ? 3 : 1;  // runs of the last band
  bool isIntensity[kScaleFactors];
  findIntensityRuns(bands, right, rightBound, isIntensity);
  for (int32_t i = 0; i < bands.count && bands.start[i] < end; ++i) {
    const int32_t first = bands.start[i], last = std::min(bands.start[i + 1], end);
    const int32_t position = positions[i >= bands.count - lastBand ? i - lastBand : i];
    const bool legal = header.id == 1 ? inRange(position, 0, 6) : position >= 0;
    if (isIntensity[i] && legal) {
      const IntensityShares share = header.id == 1 ? kIntensityShares[static_cast<size_t>(position)]
                                                   : intensitySharesMpeg2(position, side.sfCompress & 1);
      for (int32_t k = first; k < last; ++k) {
        right.line[k] = left.line[k] * share.right;
        left.line[k] *= share.left;
      }
    } else if (hasMidSide) {
      midSide(left, right, first, last);
    }
  }
}

// ---- Output ------------------------------------------------------------------------------------------

// Rounds, and brings the windows of short blocks together. Returns the index of the last non-zero line plus
// one.
inline int32_t roundAndReorder(const LineBuffer& xr, int32_t bound, const SpectrumBands& bands, int32_t* dst,
                               int32_t* buffer) {
  const bool reorders = bands.count > bands.longCount && bands.start[bands.longCount] < bound;
  int32_t* const rounded = reorders ? buffer : dst;
  int32_t i = 0;
  for (; i < bound; i += 8) storeInt8(rounded + i, roundSaturated8(load8(xr.line + i)));
  std::fill(rounded + i, rounded + kMp3Lines, 0);
  if (reorders) {
    windowsTogether(rounded, bands, dst);
    int32_t run = bands.longCount;
    while (bands.start[run] < bound) run += 3;
    bound = bands.start[run];
  }
  while (bound > 0 && dst[bound - 1] == 0) --bound;
  return bound;
}

}  // namespace moxac::mp3
