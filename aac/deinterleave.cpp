#include <algorithm>
#include <numeric>

#include "aac/band_walk.h"

using namespace moxac;

namespace {

// Whole frames only: every group holds a window, and together they hold 8 (or the long one).
bool validGroups(const int32_t* windowGroupLen, int32_t numWindowGroups, int32_t windowLen) {
  const int32_t windows = 1024 / windowLen;
  const auto* const end = windowGroupLen + numWindowGroups;
  return std::all_of(windowGroupLen, end, [&](int32_t len) { return inRange(len, 1, windows); }) &&
         std::accumulate(windowGroupLen, end, 0) == windows;
}

}  // namespace

moxStatus moxsDeinterleaveSpectrum_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t numWindowGroups,
                                           const int32_t* pWindowGroupLen, int32_t samplingRateIndex,
                                           int32_t windowLen) {
  MOX_REQUIRE(notNull(pSrc, pDst, pWindowGroupLen), moxStatusNullPointer);
  MOX_REQUIRE(validWindowLen(windowLen), moxStatusAacWinLenError);
  MOX_REQUIRE(
      validGroupCount(numWindowGroups, windowLen) && validGroups(pWindowGroupLen, numWindowGroups, windowLen),
      moxStatusAacWinGrpError);
  MOX_REQUIRE(validSamplingRate(samplingRateIndex), moxStatusAacSampleRateError);

  if (windowLen == 1024) {
    std::copy_n(pSrc, 1024, pDst);
    return moxStatusOk;
  }
  const SwbTable swb = shortSwbTable(samplingRateIndex);
  int32_t* dst = pDst;
  for (int32_t g = 0; g < numWindowGroups; ++g) {
    for (int32_t b = 0; b < swb.numSwb; ++b)
      for (int32_t w = 0; w < pWindowGroupLen[g]; ++w)
        for (int32_t i = swb.offset[b]; i < swb.offset[b + 1]; ++i) dst[w * 128 + i] = *pSrc++;
    dst += ptrdiff_t{pWindowGroupLen[g]} * 128;
  }
  return moxStatusOk;
}
