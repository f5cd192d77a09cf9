// Transient detection and the tone-to-noise estimate of the SBR encoder.
#include "sbr/encoder_tools_kernels.h"

#include "frame/checks.h"
#include "moxac/sbr.h"
#include "sbr/prediction_kernels.h"

using namespace moxac;
using namespace moxac::sbr;

moxStatus moxsDetectTransient_SBR_32f(const float* pSrc, float* pSrcDstMean, int32_t* pDstPosition,
                                      float* pDstStrength, int32_t numTimeSlots, int32_t numBands,
                                      float threshold) {
  MOX_REQUIRE(notNull(pSrc, pSrcDstMean, pDstPosition, pDstStrength), moxStatusNullPointer);
  MOX_REQUIRE(inRange(numBands, 1, kMostBands), moxStatusOutOfRange);
  MOX_REQUIRE(threshold > 0, moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  const Transient found = strongestRise(pSrc, pSrcDstMean, numTimeSlots, numBands);
  *pDstPosition = found.strength >= threshold ? found.position : -1;
  *pDstStrength = found.strength;
  return moxStatusOk;
}

moxStatus moxsEstimateTNR_SBR_32f(const float* const* ppSrcRe, const float* const* ppSrcIm, float* pDst,
                                  int32_t numBands, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(ppSrcRe, ppSrcIm, pDst), moxStatusNullPointer);
  MOX_REQUIRE(inRange(numBands, 1, kMostBands), moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  for (int32_t k = 0; k < numBands; ++k)
    pDst[k] = static_cast<float>(toneToNoise(numTimeSlots, [&](int32_t row) {
      return Complex<Lanes1d>{ppSrcRe[row][k], ppSrcIm[row][k]};
    }));
  return moxStatusOk;
}
