// The syntax elements around the channels' spectra.
#include "aac/syntax_kernels.h"
#include "frame/checks.h"

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsDecodeChanPairElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacIcsInfo* pIcsInfo,
                                    MoxAacChanPairElt* pChanPairElt, int32_t predSfbMax) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pIcsInfo, pChanPairElt) && notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);
  MOX_REQUIRE(inRange(predSfbMax, 0, 41), moxStatusAacPredSfbError);

  BitReader in(ppBitStream, pBitOffset);
  return readChanPair(in, *pIcsInfo, *pChanPairElt, [&] { return readIcsInfo(in, predSfbMax, *pIcsInfo); });
}

moxStatus moxsDecodeChanPairElt_MP4_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                        MoxAacIcsInfo* pIcsInfo, MoxAacChanPairElt* pChanPairElt,
                                        MoxAacMainHeader* pMainHeader, int32_t predSfbMax,
                                        int32_t audioObjectType) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pIcsInfo, pChanPairElt, pMainHeader) && notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);
  MOX_REQUIRE(inRange(predSfbMax, 0, MOX_AAC_MAX_SFB_LONG), moxStatusAacMaxSfbError);

  BitReader in(ppBitStream, pBitOffset);
  for (MoxAacLtpInfo& ltp : pMainHeader->ltp) ltp.ltpDataPresent = 0;
  return readChanPair(in, *pIcsInfo, *pChanPairElt, [&] {
    return readIcsInfoMp4(in, predSfbMax, audioObjectType, 2, *pIcsInfo, *pMainHeader);
  });
}

moxStatus moxsDecodeDatStrElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pTag,
                                  int32_t* pCount, uint8_t* pData) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pTag, pCount, pData) && notNull(*ppBitStream),
              moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);

  BitReader in(ppBitStream, pBitOffset);
  readDataStream(in, *pTag, *pCount, pData);
  return moxStatusOk;
}

moxStatus moxsDecodeFillElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pCount,
                                uint8_t* pData) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pCount, pData) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);

  BitReader in(ppBitStream, pBitOffset);
  readFill(in, *pCount, pData);
  return moxStatusOk;
}

moxStatus moxsDecodeMainHeader_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                   MoxAacMainHeader* pMainHeader, int32_t numChannels, int32_t layerFlag) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pMainHeader) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(numChannels != 2 || notNull(pMainHeader->pMsUsed), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);
  MOX_REQUIRE(inRange(numChannels, 1, 2), moxStatusAacChanError);
  MOX_REQUIRE(inRange(layerFlag, 0, 1), moxStatusAacTnsFlagError);

  BitReader in(ppBitStream, pBitOffset);
  MOX_TRY(readMainHeader(in, numChannels, *pMainHeader));
  return layerFlag == 1 ? moxStatusAacUnsupported : moxStatusOk;
}

moxStatus moxsDecodeExtensionHeader_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                        MoxAacExtensionHeader* pExtHeader, int32_t tnsFlag,
                                        int32_t stereoFlag, int32_t diffCtrlFlag, int32_t startSfb,
                                        int32_t endSfb, int32_t windowSequence) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pExtHeader) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(stereoFlag != 1 || notNull(pExtHeader->pMsUsed), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);
  MOX_REQUIRE(inRange(tnsFlag, 0, 1), moxStatusAacTnsFlagError);
  MOX_REQUIRE(inRange(stereoFlag, 0, 1), moxStatusAacStereoFlagError);
  MOX_REQUIRE(inRange(diffCtrlFlag, 0, 1), moxStatusAacDiffCtrlFlagError);
  MOX_REQUIRE(inRange(startSfb, 0, MOX_AAC_MAX_SFB_LONG), moxStatusAacMaxSfbError);
  MOX_REQUIRE(inRange(endSfb, 0, MOX_AAC_MAX_SFB_LONG), moxStatusAacMaxSfbError);
  MOX_REQUIRE(inRange(windowSequence, 0, 3), moxStatusAacWinSeqError);

  BitReader in(ppBitStream, pBitOffset);
  const ExtensionLayout layout{tnsFlag == 1, stereoFlag == 1, diffCtrlFlag == 1,
                               startSfb,     endSfb,          windowSequence};
  return readExtensionHeader(in, layout, *pExtHeader);
}
