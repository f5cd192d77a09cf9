// ADTS and ADIF headers and the program configuration element.
#include "aac/headers_kernels.h"
#include "frame/checks.h"

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsUnpackADTSFrameHeader_AAC(const uint8_t** ppBitStream, MoxAacADTSFrameHeader* pHeader) {
  MOX_REQUIRE(notNull(ppBitStream, pHeader) && notNull(*ppBitStream), moxStatusNullPointer);

  BitReader in(ppBitStream, nullptr);
  readAdtsHeader(in, *pHeader);
  return moxStatusOk;
}

moxStatus moxsUnpackADIFHeader_AAC(const uint8_t** ppBitStream, MoxAacADIFHeader* pAdifHeader,
                                   MoxAacPrgCfgElt* pPrgCfgElt, int32_t prgCfgEltMax) {
  MOX_REQUIRE(notNull(ppBitStream, pAdifHeader, pPrgCfgElt) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(inRange(prgCfgEltMax, 1, 16), moxStatusAacPrgNumError);

  BitReader in(ppBitStream, nullptr);
  return readAdifHeader(in, *pAdifHeader, pPrgCfgElt, prgCfgEltMax) ? moxStatusOk : moxStatusAacPrgNumError;
}

moxStatus moxsDecodePrgCfgElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                  MoxAacPrgCfgElt* pPrgCfgElt) {
  MOX_REQUIRE(notNull(ppBitStream, pBitOffset, pPrgCfgElt) && notNull(*ppBitStream), moxStatusNullPointer);
  MOX_REQUIRE(validBitOffset(*pBitOffset), moxStatusBitOffsetError);

  BitReader in(ppBitStream, pBitOffset);
  readPrgCfgElt(in, *pPrgCfgElt);
  return moxStatusOk;
}
