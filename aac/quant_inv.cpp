// Inverse quantisation of a grouped spectrum.
#include "aac/band_walk.h"
#include "aac/quant_inv_kernels.h"

namespace moxac::aac {
namespace {

// Silence, noise and intensity bands carry no quantised values; every other code book is one of values, the
// virtual ones of book 11 (16 and up) among them.
constexpr bool isQuantized(uint8_t codeBook) {
  return codeBook != MOX_AAC_BOOK_ZERO &&
         !inRange<int32_t>(codeBook, MOX_AAC_BOOK_NOISE, MOX_AAC_BOOK_INTENSITY);
}

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsQuantInv_AAC_32s_I(int32_t* pSrcDst, const int16_t* pScaleFactor, int32_t numWindowGroups,
                                 const int32_t* pWindowGroupLen, int32_t maxSfb, const uint8_t* pSfbCb,
                                 int32_t samplingRateIndex, int32_t windowLen) {
  const BandLayout layout{numWindowGroups, pWindowGroupLen, maxSfb, samplingRateIndex, windowLen};
  MOX_REQUIRE(notNull(pSrcDst, pScaleFactor, pWindowGroupLen, pSfbCb), moxStatusNullPointer);
  MOX_TRY(checkBandLayout(layout));

  moxStatus status = moxStatusOk;
  forEachBand(layout, [&](const GroupBand& band) {
    if (status != moxStatusOk || !isQuantized(pSfbCb[band.index])) return;
    int32_t* const x = pSrcDst + band.first;
    const uint32_t largest = largestMagnitude(x, band.lines());
    if (largest > kLargestQuantized)
      status = moxStatusAacEscapeError;
    else
      requantizeBand(x, band.lines(), largest, requantizeGain(pScaleFactor[band.index]));
  });
  return status;
}
