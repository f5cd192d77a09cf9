// The runs of lines that share a scale factor, in the order in which spectra are coded: long bands, then
// the short bands window by window. ISO/IEC 11172-3, 2.4.3.4.7 and 2.4.3.4.8.
#pragma once

#include <algorithm>
#include <cstdint>

#include "moxac/mp3.h"
#include "mp3/band_tables.h"

namespace moxac::mp3 {

inline constexpr int kScaleFactors = 39;      // of one granule and channel, at most
inline constexpr int kFirstShortOfMixed = 3;  // the short band at which a mixed block leaves its long ones

// Scale factor i, too, is that of run i.
struct SpectrumBands {
  int32_t longCount;                 // runs of long blocks; window (i - longCount) % 3 of the others
  int32_t count;                     // all runs
  int32_t firstShortBand;            // the short band of run longCount
  int32_t start[kScaleFactors + 1];  // first line of each run, the end behind the last

  int32_t window(int32_t i) const { return (i - longCount) % 3; }
};

// 22 long bands, or 13 short ones in three windows, or for mixed blocks 8 (MPEG-2: 6) long bands and short
// bands 3 to 12.
inline SpectrumBands spectrumBands(bool isShort, bool mixed, int32_t id, const int16_t* sfbLong,
                                   const int16_t* sfbShort) {
  SpectrumBands bands;
  bands.longCount = !isShort ? 22 : !mixed ? 0 : id == 1 ? 8 : 6;
  bands.firstShortBand = isShort && mixed ? kFirstShortOfMixed : 0;
  for (int32_t i = 0; i < bands.longCount; ++i) bands.start[i] = sfbLong[i];
  bands.count = bands.longCount;
  if (isShort)
    for (int32_t b = bands.firstShortBand; b < 13; ++b) {
      const int32_t width = sfbShort[b + 1] - sfbShort[b];
      for (int32_t w = 0; w < 3; ++w) bands.start[bands.count++] = 3 * sfbShort[b] + w * width;
    }
  bands.start[bands.count] = kMp3Lines;
  return bands;
}

// Short blocks are coded window by window and transformed line by line: line k of window w of a short band
// that starts at s is coded at s + w width + k and transformed at s + 3 k + w. The long runs are copied.
inline void windowsTogether(const int32_t* coded, const SpectrumBands& bands, int32_t* lines) {
  std::copy(coded, coded + bands.start[bands.longCount], lines);
  for (int32_t i = bands.longCount; i < bands.count; i += 3) {
    const int32_t first = bands.start[i], width = bands.start[i + 1] - first;
    for (int32_t k = 0; k < width; ++k)
      for (int32_t w = 0; w < 3; ++w) lines[first + 3 * k + w] = coded[first + w * width + k];
  }
}

inline void windowsApart(const int32_t* lines, const SpectrumBands& bands, int32_t* coded) {
  std::copy(lines, lines + bands.start[bands.longCount], coded);
  for (int32_t i = bands.longCount; i < bands.count; i += 3) {
    const int32_t first = bands.start[i], width = bands.start[i + 1] - first;
    for (int32_t w = 0; w < 3; ++w)
      for (int32_t k = 0; k < width; ++k) coded[first + w * width + k] = lines[first + 3 * k + w];
  }
}

}  // namespace moxac::mp3
