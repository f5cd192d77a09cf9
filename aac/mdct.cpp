#include "aac/mdct_kernels.h"
#include "aac/window_check.h"
#include "frame/align.h"

using namespace moxac;

namespace {

constexpr int32_t kTimeSamples = 1024;
static_assert(MOX_AAC_MDCT_BUFFER_WORDS == kTimeSamples + kMdctScratchFloats + 16);

// Behind the samples, on the next cache line.
float* scratchOf(int32_t* buffer) { return alignUp<float>(buffer + kTimeSamples, 64); }

}  // namespace

moxStatus moxsMDCTInv_AAC_32s16s(const int32_t* pSrcSpectrum, int16_t* pDstPcm, int32_t* pSrcDstOverlapAdd,
                                 int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape,
                                 int32_t stride, int32_t* pBuffer) {
  const FrameWindow window{windowSequence, windowShape, prevWindowShape};
  MOX_REQUIRE(notNull(pSrcSpectrum, pDstPcm, pSrcDstOverlapAdd, pBuffer), moxStatusNullPointer);
  if (const moxStatus status = checkWindow(window); status != moxStatusOk) return status;
  MOX_REQUIRE(stride >= 1, moxStatusBadSize);

  const float* const samples = inverseFrame<DctLanes8>(pSrcSpectrum, window, scratchOf(pBuffer));
  overlapAdd(samples, pSrcDstOverlapAdd, pBuffer, pDstPcm, stride);
  return moxStatusOk;
}

moxStatus moxsMDCTFwd_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t windowSequence, int32_t windowShape,
                              int32_t prevWindowShape, int32_t* pBuffer) {
  const FrameWindow window{windowSequence, windowShape, prevWindowShape};
  MOX_REQUIRE(notNull(pSrc, pDst, pBuffer), moxStatusNullPointer);
  if (const moxStatus status = checkWindow(window); status != moxStatusOk) return status;

  float* const lines = scratchOf(pBuffer);
  forwardFrame<DctLanes8>(pSrc, window, lines);
  storeSpectrum(lines, pDst);
  return moxStatusOk;
}

moxStatus moxsMDCTFwd_AAC_32s_I(int32_t* pSrcDst, int32_t windowSequence, int32_t windowShape,
                                int32_t prevWindowShape, int32_t* pBuffer) {
  return moxsMDCTFwd_AAC_32s(pSrcDst, pSrcDst, windowSequence, windowShape, prevWindowShape, pBuffer);
}
