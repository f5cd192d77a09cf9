// M/S and intensity stereo over a grouped spectrum.
#include "aac/band_walk.h"
#include "aac/stereo_kernels.h"

namespace moxac::aac {
namespace {

constexpr bool isIntensity(uint8_t codeBook) {
  return codeBook == MOX_AAC_BOOK_INTENSITY || codeBook == MOX_AAC_BOOK_INTENSITY_INVERTED;
}

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsDecodeMsStereo_AAC_32s_I(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t msMaskPresent,
                                       const uint8_t* pMsUsed, uint8_t* pSfbCb, int32_t numWindowGroups,
                                       const int32_t* pWindowGroupLen, int32_t maxSfb,
                                       int32_t samplingRateIndex, int32_t windowLen) {
  const BandLayout layout{numWindowGroups, pWindowGroupLen, maxSfb, samplingRateIndex, windowLen};
  const bool allBands = msMaskPresent == 2;
  MOX_REQUIRE(notNull(pSrcDstL, pSrcDstR, pSfbCb, pWindowGroupLen), moxStatusNullPointer);
  MOX_REQUIRE(allBands || notNull(pMsUsed), moxStatusNullPointer);
  MOX_TRY(checkBandLayout(layout, inRange(msMaskPresent, 1, 2)));

  forEachBand(layout, [&](const GroupBand& band) {
    if (!allBands && pMsUsed[band.group * MOX_AAC_MS_ROW + band.band] == 0) return;
    uint8_t& codeBook = pSfbCb[band.index];
    if (isIntensity(codeBook)) {
      if (!allBands) codeBook ^= 1;
    } else if (codeBook != MOX_AAC_BOOK_NOISE) {
      midSideBand(pSrcDstL + band.first, pSrcDstR + band.first, band.lines());
    }
  });
  return moxStatusOk;
}

moxStatus moxsDecodeIsStereo_AAC_32s(const int32_t* pSrcL, int32_t* pDstR, const int16_t* pScaleFactor,
                                     const uint8_t* pSfbCb, int32_t numWindowGroups,
                                     const int32_t* pWindowGroupLen, int32_t maxSfb,
                                     int32_t samplingRateIndex, int32_t windowLen) {
  const BandLayout layout{numWindowGroups, pWindowGroupLen, maxSfb, samplingRateIndex, windowLen};
  MOX_REQUIRE(notNull(pSrcL, pDstR, pScaleFactor, pSfbCb, pWindowGroupLen), moxStatusNullPointer);
  MOX_TRY(checkBandLayout(layout));

  forEachBand(layout, [&](const GroupBand& band) {
    const uint8_t codeBook = pSfbCb[band.index];
    if (isIntensity(codeBook))
      intensityBand(pSrcL + band.first, pDstR + band.first, band.lines(), pScaleFactor[band.index],
                    codeBook == MOX_AAC_BOOK_INTENSITY_INVERTED);
  });
  return moxStatusOk;
}
