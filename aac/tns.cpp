// Temporal noise shaping: the walk over windows and filters, with its checks.
#include "aac/band_walk.h"
#include "aac/tns_kernels.h"

namespace moxac::aac {
namespace {

// The side data, read along as windows and filters are walked.
struct TnsSideData {
  const int32_t* numFilt;
  const int32_t* length;
  const int32_t* order;
  const int32_t* coefRes;
  const int8_t* coef;
  const int32_t* direction;
};

struct TnsLimits {
  int32_t windows, maxFilters, maxOrder, maxBands;
};

TnsLimits tnsLimits(int32_t windowLen, int32_t samplingRateIndex) {
  return windowLen == 128 ? TnsLimits{8, 1, 7, moxAacTnsMaxBandsShort[samplingRateIndex]}
                          : TnsLimits{1, 3, 12, moxAacTnsMaxBandsLong[samplingRateIndex]};
}

template <TnsMode mode>
moxStatus filterFrame(int32_t* spectrum, TnsSideData side, int32_t maxSfb, const SwbTable& swb,
                      const TnsLimits& limits) {
  const int32_t tnsMaxBands = std::min(maxSfb, limits.maxBands);
  for (int32_t w = 0; w < limits.windows; ++w, spectrum += swb.windowLen) {
    const int32_t nFilt = side.numFilt[w];
    MOX_REQUIRE(inRange(nFilt, 0, limits.maxFilters), moxStatusAacTnsNumFiltError);
    int32_t top = swb.numSwb;
    for (int32_t f = 0; f < nFilt; ++f) {
      const int32_t length = *side.length++;
      MOX_REQUIRE(inRange(length, 0, top), moxStatusAacTnsLengthError);
      const int32_t bottom = top - length;
      const int32_t order = *side.order++;
      MOX_REQUIRE(inRange(order, 0, limits.maxOrder), moxStatusAacTnsOrderError);
      if (order > 0) {
        const int32_t resolution = side.coefRes[w];
        MOX_REQUIRE(inRange(resolution, 3, 4), moxStatusAacTnsCoefResError);
        MOX_REQUIRE(
            std::all_of(side.coef, side.coef + order, [](int8_t c) { return inRange<int>(c, -8, 7); }),
            moxStatusAacTnsCoefError);
        const TnsFilter filter = tnsFilter(side.coef, order, resolution);
        side.coef += order;
        const int32_t direction = *side.direction++;
        MOX_REQUIRE(inRange(direction, 0, 1), moxStatusAacTnsDirectionError);
        runTnsFilter<mode>(spectrum, swb.offset[std::min(tnsMaxBands, bottom)],
                           swb.offset[std::min(tnsMaxBands, top)], direction, filter);
      }
      top = bottom;
    }
  }
  return moxStatusOk;
}

template <TnsMode mode>
moxStatus checkedTns(int32_t* pSrcDst, const TnsSideData& side, int32_t maxSfb, bool validMode,
                     int32_t samplingRateIndex, int32_t windowLen) {
  MOX_REQUIRE(
      notNull(pSrcDst, side.numFilt, side.length, side.order, side.coefRes, side.coef, side.direction),
      moxStatusNullPointer);
  MOX_REQUIRE(validWindowLen(windowLen), moxStatusAacWinLenError);
  MOX_REQUIRE(validMode, moxStatusAacTnsModeError);
  MOX_REQUIRE(validSamplingRate(samplingRateIndex), moxStatusAacSampleRateError);
  const SwbTable swb = swbTable(samplingRateIndex, windowLen);
  MOX_REQUIRE(inRange(maxSfb, 0, MOX_AAC_MAX_SFB_LONG) && maxSfb <= swb.numSwb, moxStatusAacMaxSfbError);

  return filterFrame<mode>(pSrcDst, side, maxSfb, swb, tnsLimits(windowLen, samplingRateIndex));
}

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsDecodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength,
                                  const int32_t* pOrder, const int32_t* pCoefRes, const int8_t* pCoef,
                                  const int32_t* pDirection, int32_t maxSfb, int32_t /*mode*/,
                                  int32_t samplingRateIndex, int32_t windowLen) {
  return checkedTns<TnsMode::synthesis>(pSrcDst, {pNumFilt, pLength, pOrder, pCoefRes, pCoef, pDirection},
                                        maxSfb, true, samplingRateIndex, windowLen);
}

moxStatus moxsEncodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength,
                                  const int32_t* pOrder, const int32_t* pCoefRes, const int8_t* pCoef,
                                  const int32_t* pDirection, int32_t maxSfb, int32_t mode,
                                  int32_t samplingRateIndex, int32_t windowLen) {
  return checkedTns<TnsMode::analysis>(pSrcDst, {pNumFilt, pLength, pOrder, pCoefRes, pCoef, pDirection},
                                       maxSfb, mode == 1, samplingRateIndex, windowLen);
}
