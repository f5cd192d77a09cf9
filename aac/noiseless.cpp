// Noiseless decoding of a channel: sections, scale factors, tools' side data, spectrum.
#include "aac/noiseless_kernels.h"
#include "frame/checks.h"

namespace moxac::aac {
namespace {

moxStatus decodeLowComplexity(BitReader& in, bool commonWindow, const NoiselessTarget& to) {
  MoxAacChanStream& stream = to.stream;
  MoxAacIcsInfo& ics = *stream.pIcsInfo;
  stream.globalGain = in.bits(8);
  if (!commonWindow) {
    MOX_TRY(readIcsInfo(in, 0, ics));
  }
  const ChannelLayout layout = makeLayout(ics.windowSequence, ics.maxSfb, ics.numWindowGroups,
                                          ics.windowGroupLen, stream.samplingRateIndex);
  MOX_TRY(enterLayout(layout, layout.swb.numSwb, stream));
  return readChannel(in, layout, true, false, to);
}

moxStatus decodeMpeg4(BitReader& in, bool commonWindow, int32_t audioObjectType, MoxAacMainHeader& ltpHolder,
                      const NoiselessTarget& to) {
  MoxAacChanStream& stream = to.stream;
  MoxAacIcsInfo& ics = *stream.pIcsInfo;
  stream.globalGain = in.bits(8);
  if (!commonWindow) {
    for (MoxAacLtpInfo& ltp : ltpHolder.ltp) ltp.ltpDataPresent = 0;
    MOX_TRY(readIcsInfoMp4(in, stream.predSfbMax, audioObjectType, 1, ics, ltpHolder));
  }
  const ChannelLayout layout = makeLayout(ics.windowSequence, ics.maxSfb, ics.numWindowGroups,
                                          ics.windowGroupLen, stream.samplingRateIndex);
  MOX_TRY(enterLayout(layout, layout.isShort() ? MOX_AAC_MAX_SFB_SHORT : MOX_AAC_MAX_SFB_LONG, stream));
  return readChannel(in, layout, true, true, to);
}

// A layered stream has had its window information and tools in the main header.
moxStatus decodeLayer(BitReader& in, int32_t windowSequence, int32_t maxSfb, const MoxAacMainHeader& header,
                      const NoiselessTarget& to) {
  MoxAacChanStream& stream = to.stream;
  stream.globalGain = in.bits(8);
  const ChannelLayout layout = makeLayout(windowSequence, maxSfb, header.numWindowGroups,
                                          header.windowGroupLen, stream.samplingRateIndex);
  MOX_TRY(enterLayout(layout, MOX_AAC_MAX_SFB_LONG, stream));
  return readChannel(in, layout, false, true, to);
}

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsNoiselessDecoder_LC_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t commonWindow,
                                      MoxAacChanStream* pChanStream, int16_t* pScaleFactor,
                                      int32_t* pSpectrum, uint8_t* pSfbCb, int8_t* pTnsCoef) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pChanStream, pScaleFactor, pSpectrum, pSfbCb, pTnsCoef) &&
                  notNull(*ppBitStream, pChanStream->pIcsInfo),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);
  MOX_REQUIRE(inRange(commonWindow, 0, 1), moxStatusAacCommonWindowError);
  MOX_REQUIRE(inRange(pChanStream->samplingRateIndex, 0, MOX_AAC_SAMPLE_RATES - 1),
              moxStatusAacSampleRateError);
  MOX_REQUIRE(pChanStream->predSfbMax == 0, moxStatusAacPredSfbError);

  BitReader in(ppBitStream, pBitOffset);
  return decodeLowComplexity(in, commonWindow == 1,
                             {*pChanStream, pScaleFactor, pSpectrum, pSfbCb, pTnsCoef});
}

moxStatus moxsNoiselessDecode_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                  MoxAacMainHeader* pMainHeader, int16_t* pScaleFactor, int32_t* pSpectrum,
                                  uint8_t* pSfbCb, int8_t* pTnsCoef, MoxAacChanStream* pChanStream,
                                  int32_t windowSequence, int32_t maxSfb, int32_t commonWindow,
                                  int32_t layerFlag, int32_t audioObjectType) {
  MOX_REQUIRE(
      notNull(ppBitStream, pBitOffset, pMainHeader, pScaleFactor, pSpectrum, pSfbCb, pTnsCoef, pChanStream) &&
          notNull(*ppBitStream),
      moxStatusNullPointer);
  MOX_REQUIRE(layerFlag == 1 || notNull(pChanStream->pIcsInfo), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);
  MOX_REQUIRE(inRange(audioObjectType, 0, 16), moxStatusAacAotError);
  MOX_REQUIRE(inRange(layerFlag, 0, 1), moxStatusAacLayerFlagError);
  MOX_REQUIRE(inRange(commonWindow, 0, 1), moxStatusAacCommonWindowError);
  MOX_REQUIRE(layerFlag == 0 || inRange(windowSequence, 0, 3), moxStatusAacWinSeqError);
  MOX_REQUIRE(inRange(pChanStream->samplingRateIndex, 0, MOX_AAC_SAMPLE_RATES - 1),
              moxStatusAacSampleRateError);
  MOX_REQUIRE(layerFlag == 0 || inRange(maxSfb, 0, MOX_AAC_MAX_SFB_LONG), moxStatusAacMaxSfbError);

  BitReader in(ppBitStream, pBitOffset);
  const NoiselessTarget to{*pChanStream, pScaleFactor, pSpectrum, pSfbCb, pTnsCoef};
  return layerFlag == 1 ? decodeLayer(in, windowSequence, maxSfb, *pMainHeader, to)
                        : decodeMpeg4(in, commonWindow == 1, audioObjectType, *pMainHeader, to);
}
