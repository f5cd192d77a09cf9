// Perceptual noise substitution of one channel and of a pair.
#include "aac/band_walk.h"
#include "aac/noise_kernels.h"

namespace moxac::aac {
namespace {

// One channel's share of the arguments.
struct NoiseChannel {
  int32_t* spectrum;
  int32_t* ltpUsedFlags;
  const uint8_t* sfbCb;
  const int16_t* energy;

  bool isNoise(const GroupBand& band) const { return sfbCb[band.index] == MOX_AAC_BOOK_NOISE; }

  void fill(const GroupBand& band, int32_t window, uint32_t& state) const {
    noiseBand(spectrum + band.first + ptrdiff_t{window} * band.width, band.width, energy[band.index], state);
  }

  // One window group: long-term prediction skips noise bands.
  void clearLtpFlags(const BandLayout& layout) const {
    if (layout.numWindowGroups != 1) return;
    for (int32_t b = 0; b < layout.maxSfb; ++b)
      if (sfbCb[b] == MOX_AAC_BOOK_NOISE) ltpUsedFlags[b + 1] = 0;
  }
};

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsDecodePNS_AAC_32s(int32_t* pSrcDst, int32_t* pLtpUsedFlags, const uint8_t* pSfbCb,
                                const int16_t* pScaleFactor, int32_t maxSfb, int32_t numWindowGroups,
                                const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen,
                                uint32_t* pRandomState) {
  const BandLayout layout{numWindowGroups, pWindowGroupLen, maxSfb, samplingRateIndex, windowLen};
  MOX_REQUIRE(notNull(pSrcDst, pSfbCb, pScaleFactor, pWindowGroupLen, pRandomState), moxStatusNullPointer);
  MOX_REQUIRE(numWindowGroups > 1 || notNull(pLtpUsedFlags), moxStatusNullPointer);
  MOX_TRY(checkBandLayout(layout));

  const NoiseChannel channel{pSrcDst, pLtpUsedFlags, pSfbCb, pScaleFactor};
  forEachWindowBand(layout, [&](const GroupBand& band, int32_t window) {
    if (channel.isNoise(band)) channel.fill(band, window, *pRandomState);
  });
  channel.clearLtpFlags(layout);
  return moxStatusOk;
}

moxStatus moxsDecodeMsPNS_AAC_32s(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t* pLtpUsedFlagsL,
                                  int32_t* pLtpUsedFlagsR, const uint8_t* pSfbCbL, const uint8_t* pSfbCbR,
                                  const int16_t* pScaleFactorL, const int16_t* pScaleFactorR,
                                  int32_t msMaskPresent, const uint8_t* pMsUsed, int32_t maxSfb,
                                  int32_t numWindowGroups, const int32_t* pWindowGroupLen,
                                  int32_t samplingRateIndex, int32_t windowLen, uint32_t* pRandomState) {
  const BandLayout layout{numWindowGroups, pWindowGroupLen, maxSfb, samplingRateIndex, windowLen};
  MOX_REQUIRE(notNull(pSrcDstL, pSrcDstR, pSfbCbL, pSfbCbR, pScaleFactorL, pScaleFactorR, pWindowGroupLen,
                      pRandomState),
              moxStatusNullPointer);
  MOX_REQUIRE(numWindowGroups > 1 || notNull(pLtpUsedFlagsL, pLtpUsedFlagsR), moxStatusNullPointer);
  MOX_REQUIRE(msMaskPresent != 1 || notNull(pMsUsed), moxStatusNullPointer);
  MOX_TRY(checkBandLayout(layout, inRange(msMaskPresent, 0, 2)));

  const NoiseChannel left{pSrcDstL, pLtpUsedFlagsL, pSfbCbL, pScaleFactorL};
  const NoiseChannel right{pSrcDstR, pLtpUsedFlagsR, pSfbCbR, pScaleFactorR};
  const auto correlated = [&](const GroupBand& band) {
    return msMaskPresent == 2 ||
           (msMaskPresent == 1 && pMsUsed[band.group * MOX_AAC_MS_ROW + band.band] != 0);
  };
  forEachWindowBand(layout, [&](const GroupBand& band, int32_t window) {
    uint32_t sharedState = *pRandomState;
    if (left.isNoise(band)) left.fill(band, window, *pRandomState);
    if (!right.isNoise(band)) return;
    const bool shared = left.isNoise(band) && correlated(band);
    right.fill(band, window, shared ? sharedState : *pRandomState);
  });
  left.clearLtpFlags(layout);
  right.clearLtpFlags(layout);
  return moxStatusOk;
}
