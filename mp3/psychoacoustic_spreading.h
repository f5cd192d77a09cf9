// The spreading function between partitions, computed at build time. ISO/IEC 11172-3, Annex D.2.4.
#pragma once

#include <cstddef>

#include "mp3/powers.h"
#include "mp3/psychoacoustic_tables.h"

namespace moxac::mp3 {

inline constexpr int kPartitions = 64;  // room of a row: 63 at most, in whole vectors

// How much of a masker's energy counts `bark` above it (negative: below), stretched as the annex has it.
constexpr double spreading(double bark) {
  const double d = bark * (bark <= 0 ? 3.0 : 1.5);
  const double x = 8 * (d - 0.5) * (d - 2.5);  // 8 ((d - 0.5)^2 - 2 (d - 0.5))
  const double square = 1 + (d + 0.474) * (d + 0.474);
  double root = 1 + (d < 0 ? -d : d);
  for (int step = 0; step < 6; ++step) root = (root + square / root) / 2;  // Newton
  const double y = 15.811389 + 7.5 * (d + 0.474) - 17.5 * root;
  return y < -100 ? 0 : powerOfTwo(((x < 0 ? x : 0) + y) * 0.33219280948873623479) /* 10^(./10) */;
}

// from[j][i]: the share of masker j in partition i, each i's shares normalised.
template <size_t kCount>
struct Spreading {
  alignas(32) float from[kCount][kPartitions] = {};

  template <class Partition>
  explicit constexpr Spreading(const Partition (&p)[kCount]) {
    for (size_t j = 0; j < kCount; ++j)
      for (size_t i = 0; i < kCount; ++i)
        from[j][i] = static_cast<float>(spreading(double{p[i].bval} - double{p[j].bval}) * double{p[i].norm});
  }
};

inline constexpr Spreading kSpreadingLong44100(kLongPartitions44100);
inline constexpr Spreading kSpreadingLong48000(kLongPartitions48000);
inline constexpr Spreading kSpreadingLong32000(kLongPartitions32000);
inline constexpr Spreading kSpreadingShort44100(kShortPartitions44100);
inline constexpr Spreading kSpreadingShort48000(kShortPartitions48000);
inline constexpr Spreading kSpreadingShort32000(kShortPartitions32000);

// All tables of one sampling rate.
struct PsychoacousticTables {
  int32_t longCount, shortCount;
  const LongPartition* longPartitions;
  const ShortPartition* shortPartitions;
  const float (*longSpreading)[kPartitions];
  const float (*shortSpreading)[kPartitions];
  const PartitionSpan* longBands;   // 21
  const PartitionSpan* shortBands;  // 12
};

// By samplingFreq.
inline constexpr PsychoacousticTables kPsychoacousticTables[3] = {
    {63, 39, kLongPartitions44100, kShortPartitions44100, kSpreadingLong44100.from, kSpreadingShort44100.from,
     kPartitionSpansLong44100, kPartitionSpansShort44100},
    {62, 38, kLongPartitions48000, kShortPartitions48000, kSpreadingLong48000.from, kSpreadingShort48000.from,
     kPartitionSpansLong48000, kPartitionSpansShort48000},
    {59, 42, kLongPartitions32000, kShortPartitions32000, kSpreadingLong32000.from, kSpreadingShort32000.from,
     kPartitionSpansLong32000, kPartitionSpansShort32000},
};

}  // namespace moxac::mp3
