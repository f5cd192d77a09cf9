// Long-term prediction: estimate, spectrum and update.
#include <algorithm>

#include "aac/band_walk.h"
#include "aac/ltp_kernels.h"
#include "aac/window_check.h"

namespace moxac::aac {
namespace {

constexpr int32_t kMaxLag = 2047;
constexpr int32_t kMaxGain = 32767;  // Q14: just below 2

bool validLags(const MoxAacLtpInfo& ltp, bool isShort) {
  if (!isShort) return inRange(ltp.ltpLag, 0, kMaxLag);
  for (int32_t w = 0; w < 8; ++w)
    if (ltp.shortUsed[w] != 0 && !inRange(ltp.shortLag[w], 0, kMaxLag)) return false;
  return true;
}

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsLongTermPredict_AAC_32s(const int32_t* pSrcHistory, int32_t* pDstPrediction,
                                      int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape,
                                      const MoxAacLtpInfo* pLtpInfo, int32_t* pBuffer) {
  const FrameWindow window{windowSequence, windowShape, prevWindowShape};
  MOX_REQUIRE(notNull(pSrcHistory, pDstPrediction, pLtpInfo, pBuffer), moxStatusNullPointer);
  MOX_TRY(checkWindow(window));
  const bool present = pLtpInfo->ltpDataPresent != 0;
  MOX_REQUIRE(!present || (inRange(pLtpInfo->ltpCoef, 0, kMaxGain) &&
                           validLags(*pLtpInfo, windowSequence == MOX_AAC_EIGHT_SHORT)),
              moxStatusOutOfRange);

  if (!present) {
    std::fill_n(pDstPrediction, 1024, 0);
    return moxStatusOk;
  }
  float* const lines = mdctScratch(pBuffer);
  predictFrame(pSrcHistory, *pLtpInfo, window, pBuffer, lines);
  storeSpectrum(lines, pDstPrediction);
  return moxStatusOk;
}

moxStatus moxsLongTermReconstruct_AAC_32s(int32_t* pSrcDstPrediction, int32_t* pSrcDstSpectrum,
                                          int32_t windowSequence, int32_t maxSfb, int32_t samplingRateIndex,
                                          const MoxAacLtpInfo* pLtpInfo, const MoxAacTnsInfo* pTnsInfo) {
  MOX_REQUIRE(notNull(pSrcDstPrediction, pSrcDstSpectrum, pLtpInfo), moxStatusNullPointer);
  MOX_REQUIRE(inRange<int32_t>(windowSequence, MOX_AAC_ONLY_LONG, MOX_AAC_LONG_STOP),
              moxStatusAacWinSeqError);
  MOX_REQUIRE(inRange(maxSfb, 0, MOX_AAC_MAX_SFB_LONG), moxStatusAacMaxSfbError);
  MOX_REQUIRE(validSamplingRate(samplingRateIndex), moxStatusAacSampleRateError);
  const SwbTable swb = swbTable(samplingRateIndex, windowSequence == MOX_AAC_EIGHT_SHORT ? 128 : 1024);
  MOX_REQUIRE(maxSfb <= swb.numSwb, moxStatusAacMaxSfbError);

  if (pLtpInfo->ltpDataPresent == 0) return moxStatusOk;
  if (pTnsInfo != nullptr && pTnsInfo->tnsDataPresent != 0) {
    MOX_TRY(moxsEncodeTNS_AAC_32s_I(pSrcDstPrediction, pTnsInfo->nFilt, pTnsInfo->length, pTnsInfo->order,
                                    pTnsInfo->coefRes, pTnsInfo->coef, pTnsInfo->direction, maxSfb, 1,
                                    samplingRateIndex, swb.windowLen));
  }
  addPrediction(pSrcDstPrediction, pSrcDstSpectrum, *pLtpInfo, swb, maxSfb);
  return moxStatusOk;
}

moxStatus moxsLtpUpdate_AAC_32s(const int32_t* pSrcTime, const int32_t* pSrcOverlap,
                                int32_t* pSrcDstHistory) {
  MOX_REQUIRE(notNull(pSrcTime, pSrcOverlap, pSrcDstHistory), moxStatusNullPointer);

  std::copy_n(pSrcDstHistory + 1024, 1024, pSrcDstHistory);
  std::copy_n(pSrcTime, 1024, pSrcDstHistory + 1024);
  std::copy_n(pSrcOverlap, 1024, pSrcDstHistory + 2048);
  return moxStatusOk;
}
