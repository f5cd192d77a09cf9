// Requantisation with stereo and reordering. ISO/IEC 11172-3, 2.4.3.4.7 to 2.4.3.4.9; 13818-3, 2.4.3.2.
#include <cstdint>

#include "frame/checks.h"
#include "moxac/mp3.h"
#include "mp3/band_tables.h"
#include "mp3/header_fields.h"
#include "mp3/requantize_kernels.h"

namespace moxac::mp3 {
namespace {

bool validHeader(const MoxMp3FrameHeader& header) {
  return inRange(header.id, 0, 1) && header.layer == 1 && inRange(header.samplingFreq, 0, 2) &&
         inRange(header.mode, 0, 3) && inRange(header.modeExt, 0, 3);
}

bool validSideInfo(const MoxMp3SideInfo& side) {
  const bool fields = inRange(side.globGain, 0, 255) && inRange(side.winSwitch, 0, 1) &&
                      inRange(side.preFlag, 0, 1) && inRange(side.sfScale, 0, 1);
  if (!fields || side.winSwitch == 0) return fields;
  return inRange(side.blockType, 0, 3) && inRange(side.mixedBlock, 0, 1) &&
         inRange(side.subBlockGain[0], 0, 7) && inRange(side.subBlockGain[1], 0, 7) &&
         inRange(side.subBlockGain[2], 0, 7);
}

template <class Holds>
bool everyChannel(int32_t channels, Holds&& holds) {
  for (int32_t ch = 0; ch < channels; ++ch)
    if (!holds(ch)) return false;
  return true;
}

moxStatus requantizeGranule(int32_t* xr, int32_t* nonZeroBound, const int8_t* scaleFactors,
                            const MoxMp3SideInfo* side, const MoxMp3FrameHeader& header,
                            const int16_t* sfbLong, const int16_t* sfbShort, int32_t* buffer) {
  const int32_t channels = channelCount(header);
  SpectrumBands bands[2];
  LineBuffer lines[2];
  for (int32_t ch = 0; ch < channels; ++ch) {
    const bool mixed = isShortBlock(side[ch]) && side[ch].mixedBlock == 1;
    bands[ch] = spectrumBands(isShortBlock(side[ch]), mixed, header.id, sfbLong, sfbShort);
    MOX_REQUIRE(dequantize(xr + kMp3Lines * ch, nonZeroBound[ch], side[ch], bands[ch],
                           scaleFactors + kScaleFactors * ch, lines[ch]),
                moxStatusBadData);
  }
  int32_t bounds[2] = {nonZeroBound[0], channels == 2 ? nonZeroBound[1] : 0};
  if (header.mode == 1 && header.modeExt != 0) {
    const int32_t bound = std::max(bounds[0], bounds[1]);
    if ((header.modeExt & 1) != 0)
      intensityStereo(lines[0], lines[1], bounds[0], bounds[1], bands[1], scaleFactors + kScaleFactors,
                      side[1], header);
    else
      midSide(lines[0], lines[1], 0, bound);
    bounds[0] = bounds[1] = bound;
  }
  for (int32_t ch = 0; ch < channels; ++ch)
    nonZeroBound[ch] = roundAndReorder(lines[ch], bounds[ch], bands[ch], xr + kMp3Lines * ch, buffer);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsReQuantizeSfb_MP3_32s_I(int32_t* pSrcDstIsXr, int32_t* pNonZeroBound,
                                      const int8_t* pScaleFactor, const MoxMp3SideInfo* pSideInfo,
                                      const MoxMp3FrameHeader* pFrameHeader, const int16_t* pSfbTableLong,
                                      const int16_t* pSfbTableShort, int32_t* pBuffer) {
  MOX_REQUIRE(notNull(pSrcDstIsXr, pNonZeroBound, pScaleFactor, pSideInfo, pFrameHeader, pSfbTableLong,
                      pSfbTableShort, pBuffer),
              moxStatusNullPointer);
  MOX_REQUIRE(validHeader(*pFrameHeader), moxStatusMp3FrameHeaderErr);
  const int32_t channels = channelCount(*pFrameHeader);
  MOX_REQUIRE(everyChannel(channels, [&](int32_t ch) { return inRange(pNonZeroBound[ch], 0, kMp3Lines); }),
              moxStatusOutOfRange);
  MOX_REQUIRE(everyChannel(channels, [&](int32_t ch) { return validSideInfo(pSideInfo[ch]); }),
              moxStatusMp3SideInfoErr);

  const int32_t row = sfbRow(*pFrameHeader);
  return requantizeGranule(pSrcDstIsXr, pNonZeroBound, pScaleFactor, pSideInfo, *pFrameHeader,
                           pSfbTableLong + 23 * row, pSfbTableShort + 14 * row, pBuffer);
}

moxStatus moxsReQuantize_MP3_32s_I(int32_t* pSrcDstIsXr, int32_t* pNonZeroBound, const int8_t* pScaleFactor,
                                   const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader,
                                   int32_t* pBuffer) {
  return moxsReQuantizeSfb_MP3_32s_I(pSrcDstIsXr, pNonZeroBound, pScaleFactor, pSideInfo, pFrameHeader,
                                     moxMp3SfbLong[0], moxMp3SfbShort[0], pBuffer);
}
