// Requantisation, stereo and reordering line by line, in double precision. ISO/IEC 11172-3, 2.4.3.4.7 to
// 2.4.3.4.9; ISO/IEC 13818-3, 2.4.3.2.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "mp3/hybrid_reference.h"
#include "mp3/mp3_spectra.h"

namespace moxtest {

struct LinePlace {
  int band, window;  // window -1: a long band
  int scaleFactor;   // its number
  int target;        // where the line stands after reordering
};

inline std::array<LinePlace, 576> linePlaces(const MoxMp3SideInfo& side, int id, const int16_t* sfbLong,
                                             const int16_t* sfbShort) {
  std::array<LinePlace, 576> places{};
  const bool isShort = side.winSwitch == 1 && side.blockType == 2, mixed = isShort && side.mixedBlock == 1;
  const int longBands = !isShort ? 22 : !mixed ? 0 : id == 1 ? 8 : 6, firstShort = mixed ? 3 : 0;
  for (int b = 0; b < longBands; ++b)
    for (int i = sfbLong[b]; i < sfbLong[b + 1]; ++i) places[static_cast<size_t>(i)] = {b, -1, b, i};
  for (int b = firstShort; isShort && b < 13; ++b)
    for (int w = 0, i = 3 * sfbShort[b]; w < 3; ++w)
      for (int k = sfbShort[b]; k < sfbShort[b + 1]; ++k, ++i)
        places[static_cast<size_t>(i)] = {b, w, longBands + 3 * (b - firstShort) + w, 3 * k + w};
  return places;
}

// Both channels' lines, 1.0 being full scale.
inline std::array<Lines, 2> requantizeReference(const CodedGranule& g, const int16_t* sfbLong,
                                                const int16_t* sfbShort) {
  static constexpr int kPre[22] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 3, 3, 3, 2, 0};
  std::array<Lines, 2> x{}, out{};
  std::array<LinePlace, 576> places[2];
  for (int ch = 0; ch < g.channels(); ++ch) {
    const MoxMp3SideInfo& side = g.side[ch];
    places[ch] = linePlaces(side, g.header.id, sfbLong, sfbShort);
    for (size_t i = 0; i < static_cast<size_t>(g.bound[ch]); ++i) {
      const LinePlace& at = places[ch][i];
      const int factor = std::abs(g.scaleFactors[ch][at.scaleFactor]) +
                         (at.window < 0 && side.preFlag == 1 ? kPre[at.band] : 0);
      const double exponent =
          (side.globGain - 210 - (at.window < 0 ? 0 : 8 * side.subBlockGain[at.window])) / 4.0 -
          (side.sfScale == 1 ? 1.0 : 0.5) * factor;
      const double is = g.lines[ch][i];
      x[static_cast<size_t>(ch)][i] =
          std::copysign(std::pow(std::fabs(is), 4.0 / 3) * std::exp2(exponent), is);
    }
  }

  if (g.header.mode == 1 && g.header.modeExt != 0) {
    int lastShort[3] = {-1, -1, -1}, lastLong = -1;  // bands of the right channel that hold something
    for (size_t i = 0; i < 576; ++i) {
      if (x[1][i] == 0) continue;
      (places[1][i].window < 0 ? lastLong : lastShort[places[1][i].window]) = places[1][i].band;
    }
    const bool shortEmpty = std::max({lastShort[0], lastShort[1], lastShort[2]}) < 0;
    for (size_t i = 0; i < 576; ++i) {
      const LinePlace& at = places[1][i];
      const bool isLong = at.window < 0;
      const int fromBelow = isLong ? (at.band == 21 ? 1 : 0) : at.band == 12 ? 3 : 0;
      const int position = g.scaleFactors[1][at.scaleFactor - fromBelow];
      const bool above = isLong ? shortEmpty && at.band > lastLong : at.band > lastShort[at.window];
      const bool legal = g.header.id == 1 ? position >= 0 && position < 7 : position >= 0;
      double &l = x[0][i], &r = x[1][i];
      if ((g.header.modeExt & 1) != 0 && above && legal) {
        double left = 1, right = 1;
        if (g.header.id == 1) {
          const double angle = position * kPi / 12;
          left = position == 6 ? 1 : std::tan(angle) / (1 + std::tan(angle));
          right = 1 - left;
        } else {
          const double step = std::exp2((g.side[1].sfCompress & 1) == 1 ? -0.5 : -0.25);
          (position % 2 == 1 ? left : right) = std::pow(step, (position + 1) / 2);
        }
        r = l * right;
        l *= left;
      } else if ((g.header.modeExt & 2) != 0) {
        const double mid = l, sides = r;
        l = (mid + sides) / std::sqrt(2.0);
        r = (mid - sides) / std::sqrt(2.0);
      }
    }
  }
  for (size_t ch = 0; ch < 2; ++ch)
    for (size_t i = 0; i < 576; ++i)
      out[ch][static_cast<size_t>(g.channels() > static_cast<int>(ch) ? places[ch][i].target
                                                                      : static_cast<int>(i))] = x[ch][i];
  return out;
}

}  // namespace moxtest
