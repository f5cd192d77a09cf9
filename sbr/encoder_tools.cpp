// The SBR encoder's transient detector and tonality estimate, over rows as the encoder's analysis writes them.
#include "sbr/encoder_tools_kernels.h"

#include "frame/checks.h"
#include "moxac/sbr.h"
#include "sbr/prediction_kernels.h"

using namespace moxac;
using namespace moxac::sbr;

moxStatus moxsDetectTransient_SBR_32f(const Mox32fc* pSrc, int32_t* pDstPosition, float* pDstStrength,
                                      float* pSrcDstLevel, int32_t numBands, int32_t numTimeSlots,
                                      float threshold) {
  MOX_REQUIRE(notNull(pSrc, pDstPosition, pDstStrength, pSrcDstLevel), moxStatusNullPointer);
  MOX_REQUIRE(inRange(numBands, 1, kEncoderBands), moxStatusOutOfRange);
  MOX_REQUIRE(threshold > 0, moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  const Transient found = strongestAttack(pSrc, pSrcDstLevel, numBands, numTimeSlots, threshold);
  *pDstPosition = found.position;
  *pDstStrength = found.strength;
  return moxStatusOk;
}

moxStatus moxsEstimateTNR_SBR_32f(const Mox32fc* pSrc, float* pDst, int32_t numBands, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(inRange(numBands, 1, kEncoderBands), moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  const auto at = [&](int32_t row, int32_t k) { return pSrc + ptrdiff_t{row} * kEncoderBands + k; };
  int32_t k = 0;
  for (; k + 4 <= numBands; k += 4) {
    const auto four = [&](int32_t row) -> Complex<Lanes4d> {
      const f32x4 a = load4(&at(row, k)->re), b = load4(&at(row, k + 2)->re);
      return {widen4(evenLanes(a, b)), widen4(oddLanes(a, b))};
    };
    store4(pDst + k, narrow4(toneToNoise<Lanes4d>(numTimeSlots, four)));
  }
  for (; k < numBands; ++k) {
    const auto one = [&](int32_t row) -> Complex<Lanes1d> { return {at(row, k)->re, at(row, k)->im}; };
    pDst[k] = static_cast<float>(toneToNoise<Lanes1d>(numTimeSlots, one));
  }
  return moxStatusOk;
}
