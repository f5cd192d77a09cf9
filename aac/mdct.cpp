// The filter bank of 1024 and 128 lines, inverse and forward, with its windows.
#include "aac/mdct_kernels.h"
#include "aac/window_check.h"

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsMDCTInv_AAC_32s16s(const int32_t* pSrcSpectrum, int16_t* pDstPcm, int32_t* pSrcDstOverlapAdd,
                                 int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape,
                                 int32_t stride, int32_t* pBuffer) {
  const FrameWindow window{windowSequence, windowShape, prevWindowShape};
  MOX_REQUIRE(notNull(pSrcSpectrum, pDstPcm, pSrcDstOverlapAdd, pBuffer), moxStatusNullPointer);
  MOX_TRY(checkWindow(window));
  MOX_REQUIRE(stride >= 1, moxStatusBadSize);

  const float* const samples = inverseFrame<Lanes8>(pSrcSpectrum, window, mdctScratch(pBuffer));
  overlapAdd(samples, pSrcDstOverlapAdd, pBuffer, pDstPcm, stride);
  return moxStatusOk;
}

moxStatus moxsMDCTFwd_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t windowSequence, int32_t windowShape,
                              int32_t prevWindowShape, int32_t* pBuffer) {
  const FrameWindow window{windowSequence, windowShape, prevWindowShape};
  MOX_REQUIRE(notNull(pSrc, pDst, pBuffer), moxStatusNullPointer);
  MOX_TRY(checkWindow(window));

  float* const lines = mdctScratch(pBuffer);
  forwardFrame<Lanes8>(pSrc, window, lines);
  storeSpectrum(lines, pDst);
  return moxStatusOk;
}

moxStatus moxsMDCTFwd_AAC_32s_I(int32_t* pSrcDst, int32_t windowSequence, int32_t windowShape,
                                int32_t prevWindowShape, int32_t* pBuffer) {
  return moxsMDCTFwd_AAC_32s(pSrcDst, pSrcDst, windowSequence, windowShape, prevWindowShape, pBuffer);
}
