// The scale-factor bands of one window, as every AAC stage takes them.
#pragma once

#include <cstdint>

#include "moxac/tables.h"

namespace moxac::aac {

// The bands of one window.
struct SwbTable {
  int32_t windowLen;      // 1024 or 128
  int32_t numSwb;         // bands
  const int32_t* offset;  // numSwb + 1 entries
};

// samplingRateIndex 0..11.
inline SwbTable longSwbTable(int32_t samplingRateIndex) {
  return {1024, moxAacNumSwbLong[samplingRateIndex], moxAacSwbOffsetLong[samplingRateIndex]};
}
inline SwbTable shortSwbTable(int32_t samplingRateIndex) {
  return {128, moxAacNumSwbShort[samplingRateIndex], moxAacSwbOffsetShort[samplingRateIndex]};
}
inline SwbTable swbTable(int32_t samplingRateIndex, int32_t windowLen) {
  return windowLen == 128 ? shortSwbTable(samplingRateIndex) : longSwbTable(samplingRateIndex);
}

}  // namespace moxac::aac
