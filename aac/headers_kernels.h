// ADTS and ADIF headers and the program configuration element, field by field.
#pragma once

#include <cstdint>

#include "aac/bit_reader.h"
#include "moxac/aac.h"

namespace moxac::aac {

// adts_fixed_header(), adts_variable_header() and, when protected, crc_check. ISO/IEC 13818-7, 6.2.
inline void readAdtsHeader(BitReader& in, MoxAacADTSFrameHeader& header) {
  in.bits(12);  // syncword: the caller searched for it
  header.id = in.bit();
  header.layer = in.bits(2);
  header.protectionAbsent = in.bit();
  header.profile = in.bits(2);
  header.samplingRateIndex = in.bits(4);
  header.privateBit = in.bit();
  header.channelConfig = in.bits(3);
  header.originalCopy = in.bit();
  header.home = in.bit();
  header.copyrightIdBit = in.bit();
  header.copyrightIdStart = in.bit();
  header.frameLen = in.bits(13);
  header.bufferFullness = in.bits(11);
  header.numRawDataBlocks = in.bits(2) + 1;
  if (header.protectionAbsent == 0) header.crcCheck = in.bits(16);
}

// program_config_element(). The alignment before the comment is to the bytes of the buffer.
inline void readPrgCfgElt(BitReader& in, MoxAacPrgCfgElt& pce) {
  pce.elementInstanceTag = in.bits(4);
  pce.objectType = in.bits(2);
  pce.samplingRateIndex = in.bits(4);
  pce.numFrontChanElt = in.bits(4);
  pce.numSideChanElt = in.bits(4);
  pce.numBackChanElt = in.bits(4);
  pce.numLfeChanElt = in.bits(2);
  pce.numAssocDataElt = in.bits(3);
  pce.numValidCcElt = in.bits(4);

  pce.monoMixdownEltNum = 0;
  pce.stereoMixdownEltNum = 0;
  pce.matrixMixdownIdx = 0;
  pce.pseudoSurroundEnable = 0;
  pce.monoMixdownPresent = in.bit();
  if (pce.monoMixdownPresent != 0) pce.monoMixdownEltNum = in.bits(4);
  pce.stereoMixdownPresent = in.bit();
  if (pce.stereoMixdownPresent != 0) pce.stereoMixdownEltNum = in.bits(4);
  pce.matrixMixdownIdxPresent = in.bit();
  if (pce.matrixMixdownIdxPresent != 0) {
    pce.matrixMixdownIdx = in.bits(2);
    pce.pseudoSurroundEnable = in.bit();
  }

  const auto readFlagsAndTags = [&in](int32_t count, int32_t* flag, int32_t* tag) {
    for (int32_t i = 0; i < count; ++i) {
      flag[i] = in.bit();
      tag[i] = in.bits(4);
    }
  };
  const auto readTags = [&in](int32_t count, int32_t* tag) {
    for (int32_t i = 0; i < count; ++i) tag[i] = in.bits(4);
  };
  readFlagsAndTags(pce.numFrontChanElt, pce.frontEltIsCpe, pce.frontEltTagSel);
  readFlagsAndTags(pce.numSideChanElt, pce.sideEltIsCpe, pce.sideEltTagSel);
  readFlagsAndTags(pce.numBackChanElt, pce.backEltIsCpe, pce.backEltTagSel);
  readTags(pce.numLfeChanElt, pce.lfeEltTagSel);
  readTags(pce.numAssocDataElt, pce.assocDataEltTagSel);
  readFlagsAndTags(pce.numValidCcElt, pce.ccEltIsIndSw, pce.validCcEltTagSel);

  in.align();
  pce.commentFieldBytes = in.bits(8);
  in.bytes(pce.commentFieldData, pce.commentFieldBytes);
}

// adif_header(); false when the stream announces more program configuration elements than pce has room for.
inline bool readAdifHeader(BitReader& in, MoxAacADIFHeader& header, MoxAacPrgCfgElt* pce, int32_t pceMax) {
  header.adifId = in.word();
  header.copyrightIdPresent = in.bit();
  if (header.copyrightIdPresent != 0) in.bytes(header.copyrightId, 9);
  header.originalCopy = in.bit();
  header.home = in.bit();
  header.bitstreamType = in.bit();
  header.bitRate = in.bits(23);
  header.numPrgCfgElt = in.bits(4) + 1;
  if (header.numPrgCfgElt > pceMax) return false;

  for (int32_t i = 0; i < header.numPrgCfgElt; ++i) {
    if (header.bitstreamType == 0) header.bufferFullness[i] = in.bits(20);
    readPrgCfgElt(in, pce[i]);
  }
  return true;
}

}  // namespace moxac::aac
