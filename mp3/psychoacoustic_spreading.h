// The spreading function between partitions, computed at build time. ISO/IEC 11172-3, Annex D.2.4.
#pragma once

#include <array>
#include <cstddef>

#include "frame/const_math.h"
#include "mp3/psychoacoustic_tables.h"

namespace moxac::mp3 {

inline constexpr int kPartitions = 64;  // room of a row: 63 at most, in whole vectors

// How much of a masker's energy counts `bark` above it (negative: below), stretched as the annex has it.
constexpr double spreading(double bark) {
  const double d = bark * (bark <= 0 ? 3.0 : 1.5);
  const double x = 8 * (d - 0.5) * (d - 2.5);  // 8 ((d - 0.5)^2 - 2 (d - 0.5))
  const double y = 15.811389 + 7.5 * (d + 0.474) - 17.5 * squareRoot(1 + (d + 0.474) * (d + 0.474));
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

// The bands' spans of partitions, and one more for the lines above the last band.
template <size_t kCount>
constexpr std::array<PartitionSpan, kCount + 1> withTheRest(const PartitionSpan (&spans)[kCount],
                                                            int32_t partitions) {
  std::array<PartitionSpan, kCount + 1> all{};
  for (size_t i = 0; i < kCount; ++i) all[i] = spans[i];
  const PartitionSpan& last = spans[kCount - 1];
  all[kCount] = last.last < partitions - 1 ? PartitionSpan{last.last, partitions - 1, 1 - last.w2, 1}
                                           : PartitionSpan{last.last, last.last, 0.5f, 0.5f};
  return all;
}

// What a short partition's threshold is of the energy spread to it.
template <size_t kCount>
constexpr std::array<float, kPartitions> shortMasking(const ShortPartition (&p)[kCount]) {
  std::array<float, kPartitions> of{};
  for (size_t i = 0; i < kCount; ++i)
    of[i] = static_cast<float>(powerOfTwo(double{p[i].snr} * 0.33219280948873623479));
  return of;
}

// All tables of one sampling rate.
struct PsychoacousticTables {
  int32_t longCount, shortCount;
  const LongPartition* longPartitions;
  const ShortPartition* shortPartitions;
  const float (*longSpreading)[kPartitions];
  const float (*shortSpreading)[kPartitions];
  std::array<PartitionSpan, 22> longBands;
  std::array<PartitionSpan, 13> shortBands;
  std::array<float, kPartitions> shortMasking;
};

template <size_t kLong, size_t kShort>
constexpr PsychoacousticTables tablesOf(const LongPartition (&longs)[kLong],
                                        const ShortPartition (&shorts)[kShort],
                                        const Spreading<kLong>& longSpreading,
                                        const Spreading<kShort>& shortSpreading,
                                        const PartitionSpan (&longSpans)[21],
                                        const PartitionSpan (&shortSpans)[12]) {
  return {static_cast<int32_t>(kLong),
          static_cast<int32_t>(kShort),
          longs,
          shorts,
          longSpreading.from,
          shortSpreading.from,
          withTheRest(longSpans, kLong),
          withTheRest(shortSpans, kShort),
          shortMasking(shorts)};
}

// By samplingFreq.
inline constexpr PsychoacousticTables kPsychoacousticTables[3] = {
    tablesOf(kLongPartitions44100, kShortPartitions44100, kSpreadingLong44100, kSpreadingShort44100,
             kPartitionSpansLong44100, kPartitionSpansShort44100),
    tablesOf(kLongPartitions48000, kShortPartitions48000, kSpreadingLong48000, kSpreadingShort48000,
             kPartitionSpansLong48000, kPartitionSpansShort48000),
    tablesOf(kLongPartitions32000, kShortPartitions32000, kSpreadingLong32000, kSpreadingShort32000,
             kPartitionSpansLong32000, kPartitionSpansShort32000),
};

}  // namespace moxac::mp3
