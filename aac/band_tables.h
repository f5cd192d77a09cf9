// Scale-factor bands by sampling-rate index, shared by every AAC stage: swb_offset_long_window and
// swb_offset_short_window of ISO/IEC 14496-3 for 1024 and 128 lines, and the bands a TNS filter may reach.
#pragma once

#include <cstdint>

namespace moxac::aac {

inline constexpr int32_t kNumSampleRates =
    12;  // 96, 88.2, 64, 48, 44.1, 32, 24, 22.05, 16, 12, 11.025, 8 kHz
inline constexpr int32_t kMaxSwbLong = 51;
inline constexpr int32_t kMaxSwbShort = 15;

extern const int16_t kNumSwbLong[kNumSampleRates];
extern const int16_t kNumSwbShort[kNumSampleRates];

// Entry b is the first line of band b, entry numSwb the window length; cells past it repeat the length.
extern const int16_t kSwbOffsetLong[kNumSampleRates][kMaxSwbLong + 1];
extern const int16_t kSwbOffsetShort[kNumSampleRates][kMaxSwbShort + 1];

extern const int16_t kTnsMaxBandsLong[kNumSampleRates];
extern const int16_t kTnsMaxBandsShort[kNumSampleRates];

// The bands of one window.
struct SwbTable {
  int32_t windowLen;      // 1024 or 128
  int32_t numSwb;         // bands
  const int16_t* offset;  // numSwb + 1 entries
};

// samplingRateIndex 0..11.
inline SwbTable longSwbTable(int32_t samplingRateIndex) {
  return {1024, kNumSwbLong[samplingRateIndex], kSwbOffsetLong[samplingRateIndex]};
}
inline SwbTable shortSwbTable(int32_t samplingRateIndex) {
  return {128, kNumSwbShort[samplingRateIndex], kSwbOffsetShort[samplingRateIndex]};
}
inline SwbTable swbTable(int32_t samplingRateIndex, int32_t windowLen) {
  return windowLen == 128 ? shortSwbTable(samplingRateIndex) : longSwbTable(samplingRateIndex);
}

}  // namespace moxac::aac
