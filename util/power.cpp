// Element-wise powers and scale factors.
#include "frame/checks.h"
#include "moxac/util.h"
#include "util/power_kernels.h"

using namespace moxac;
using namespace moxac::util;

moxStatus moxsMakeFloat_16s32f(const int16_t* pSrcMant, const uint16_t* pSrcExp, int32_t len, float* pDst) {
  MOX_REQUIRE(notNull(pSrcMant, pSrcExp, pDst), moxStatusNullPointer);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);

  makeFloatBlock(pSrcMant, pSrcExp, len, pDst);
  return alignmentStatus(pSrcMant, pSrcExp, pDst);
}

moxStatus moxsScale_32f_I(float* pSrcDst, const float* pScale, const int32_t* pBandOffset, int32_t numBands) {
  MOX_REQUIRE(notNull(pSrcDst, pScale, pBandOffset), moxStatusNullPointer);
  MOX_REQUIRE(numBands >= 1, moxStatusBadSize);

  for (int32_t b = 0; b < numBands; ++b) {
    const float scale = pScale[b];
    const int64_t end = pBandOffset[b + 1];
    for (int64_t i = pBandOffset[b]; i < end; ++i) pSrcDst[i] *= scale;
  }
  return moxStatusOk;
}

moxStatus moxsPow43_16s32f(const int16_t* pSrc, float* pDst, int32_t len) {
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(len >= 0, moxStatusBadSize);

  pow43Block(pSrc, pDst, len);
  return moxStatusOk;
}

moxStatus moxsPow43Scale_16s32s_Sf(const int16_t* pSrc, int32_t* pDst, const int16_t* pScale,
                                   const int32_t* pBandOffset, int32_t numBands, int32_t scaleFactor) {
  MOX_REQUIRE(notNull(pSrc, pDst, pScale, pBandOffset), moxStatusNullPointer);
  MOX_REQUIRE(numBands >= 1, moxStatusBadSize);

  for (int32_t b = 0; b < numBands; ++b) {
    const double gain = quarterPower(int64_t{pScale[b]} - 4 * int64_t{scaleFactor});
    const int64_t first = pBandOffset[b];
    scaledPow43Block(pSrc + first, pDst + first, pBandOffset[b + 1] - first, gain);
  }
  return moxStatusOk;
}

moxStatus moxsPow34_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, int32_t scaleFactor) {
  MOX_REQUIRE(len >= 1, moxStatusBadSize);
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);

  scaledPow34Block(pSrc, pDst, len, scaleDown(scaleFactor));
  return moxStatusOk;
}

moxStatus moxsPow34_32f(const float* pSrc, float* pDst, int32_t len) {
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);

  pow34Block(pSrc, pDst, len);
  return alignmentStatus(pSrc, pDst);
}

moxStatus moxsPow34_32f16s(const float* pSrc, int16_t* pDst, int32_t len) {
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);

  pow34Block(pSrc, pDst, len);
  return alignmentStatus(pSrc, pDst);
}

moxStatus moxsCalcSF_16s32f(const int16_t* pSrc, float* pDst, int32_t len, int32_t offset) {
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);

  gainsOfScaleFactors(pSrc, pDst, len, offset);
  return moxStatusOk;
}

moxStatus moxsSpread_16s_Sfs(const int16_t* pSrc, int16_t* pDst, const int32_t* pBandOffset, int32_t numBands,
                             int32_t scaleFactor) {
  MOX_REQUIRE(notNull(pSrc, pDst, pBandOffset), moxStatusNullPointer);
  MOX_REQUIRE(numBands >= 1, moxStatusBadSize);

  for (int32_t b = 0; b < numBands; ++b) {
    const int16_t value = roundSaturate16(pSrc[b] * scaleDown(scaleFactor));
    const int64_t end = pBandOffset[b + 1];
    for (int64_t i = pBandOffset[b]; i < end; ++i) pDst[i] = value;
  }
  return moxStatusOk;
}
