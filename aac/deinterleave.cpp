// From the grouped, band-wise order of a coded spectrum to the order of its windows.
#include <algorithm>

#include "aac/band_walk.h"

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsDeinterleaveSpectrum_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t numWindowGroups,
                                           const int32_t* pWindowGroupLen, int32_t samplingRateIndex,
                                           int32_t windowLen) {
  MOX_REQUIRE(notNull(pSrc, pDst, pWindowGroupLen), moxStatusNullPointer);
  MOX_REQUIRE(validWindowLen(windowLen), moxStatusAacWinLenError);
  MOX_REQUIRE(countWindows(numWindowGroups, pWindowGroupLen, windowLen) == 1024 / windowLen,  // whole frames
              moxStatusAacWinGrpError);
  MOX_REQUIRE(validSamplingRate(samplingRateIndex), moxStatusAacSampleRateError);

  if (windowLen == 1024) {
    std::copy_n(pSrc, 1024, pDst);
    return moxStatusOk;
  }
  const SwbTable swb = shortSwbTable(samplingRateIndex);
  int32_t* dst = pDst;
  for (int32_t g = 0; g < numWindowGroups; ++g) {
    const int32_t windows = pWindowGroupLen[g];
    for (int32_t b = 0; b < swb.numSwb; ++b) {
      const int32_t first = swb.offset[b], end = swb.offset[b + 1];
      for (int32_t w = 0; w < windows; ++w)
        for (int32_t i = first; i < end; ++i) dst[w * 128 + i] = *pSrc++;
    }
    dst += ptrdiff_t{windows} * 128;
  }
  return moxStatusOk;
}
