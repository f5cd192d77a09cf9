// The hybrid filter bank, inverse and forward. ISO/IEC 11172-3, 2.4.3.4.10 and Annex C.
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/hybrid_kernels.h"
#include "mp3/spectrum_bands.h"

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsMDCTInvWindow_MP3_32s(const int32_t* pSrcXr, int32_t* pDstXs, int32_t* pSrcDstOverlap,
                                    int32_t nonZeroBound, int32_t* pPrevNumOfImdct, int32_t blockType,
                                    int32_t mixedBlock, const float* pWindow) {
  MOX_REQUIRE(notNull(pSrcXr, pDstXs, pSrcDstOverlap, pPrevNumOfImdct, pWindow), moxStatusNullPointer);
  MOX_REQUIRE(inRange(nonZeroBound, 0, kMp3Lines) && inRange(*pPrevNumOfImdct, 0, kSubBands),
              moxStatusOutOfRange);
  MOX_REQUIRE(inRange(blockType, 0, 3) && inRange(mixedBlock, 0, 1), moxStatusOutOfRange);

  *pPrevNumOfImdct = inverseHybrid(pSrcXr, pDstXs, pSrcDstOverlap, nonZeroBound, *pPrevNumOfImdct, blockType,
                                   mixedBlock == 1 && blockType != 0, pWindow);
  return moxStatusOk;
}

moxStatus moxsMDCTInv_MP3_32s(const int32_t* pSrcXr, int32_t* pDstXs, int32_t* pSrcDstOverlap,
                              int32_t nonZeroBound, int32_t* pPrevNumOfImdct, int32_t blockType,
                              int32_t mixedBlock) {
  return moxsMDCTInvWindow_MP3_32s(pSrcXr, pDstXs, pSrcDstOverlap, nonZeroBound, pPrevNumOfImdct, blockType,
                                   mixedBlock, kHybridWindows.of[0]);
}

moxStatus moxsMDCTFwd_MP3_32s(const int32_t* pSrcXs, int32_t* pDstXr, int32_t* pSrcDstOverlap,
                              int32_t blockType, int32_t mixedBlock, const MoxMp3FrameHeader* pFrameHeader) {
  MOX_REQUIRE(notNull(pSrcXs, pDstXr, pSrcDstOverlap, pFrameHeader), moxStatusNullPointer);
  MOX_REQUIRE(inRange(blockType, 0, 3) && inRange(mixedBlock, 0, 1), moxStatusOutOfRange);
  MOX_REQUIRE(inRange(pFrameHeader->id, 0, 1) && inRange(pFrameHeader->samplingFreq, 0, 2),
              moxStatusMp3FrameHeaderErr);

  alignas(32) float lines[kMp3Lines];
  const bool mixed = mixedBlock == 1 && blockType != 0;
  forwardHybrid(pSrcXs, lines, pSrcDstOverlap, blockType, mixed);

  const bool isShort = blockType == 2;
  int32_t rounded[kMp3Lines];
  int32_t* const dst = isShort ? rounded : pDstXr;
  for (int32_t i = 0; i < kMp3Lines; i += 8) storeInt8(dst + i, roundSaturated8(load8(lines + i)));
  if (isShort) {
    const int32_t row = sfbRow(*pFrameHeader);
    windowsApart(rounded,
                 spectrumBands(true, mixed, pFrameHeader->id, moxMp3SfbLong[row], moxMp3SfbShort[row]),
                 pDstXr);
  }
  return moxStatusOk;
}
