// ADTS and ADIF headers, program configuration elements.
#include <gtest/gtest.h>

#include <cstring>

#include "aac/stream_model.h"
#include "moxac/aac.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;

// Writes a random program_config_element and changes in `pce` exactly what a parser must write.
void putPce(BitWriter& out, MoxAacPrgCfgElt& pce, int32_t commentBytes) {
  using Pce = MoxAacPrgCfgElt;
  for (const auto& [bits, field] : {std::pair{4, &Pce::elementInstanceTag},
                                    {2, &Pce::objectType},
                                    {4, &Pce::samplingRateIndex},
                                    {4, &Pce::numFrontChanElt},
                                    {4, &Pce::numSideChanElt},
                                    {4, &Pce::numBackChanElt},
                                    {2, &Pce::numLfeChanElt},
                                    {3, &Pce::numAssocDataElt},
                                    {4, &Pce::numValidCcElt}})
    put(out, bits, pce.*field);
  pce.monoMixdownEltNum = pce.stereoMixdownEltNum = pce.matrixMixdownIdx = pce.pseudoSurroundEnable = 0;
  put(out, 1, pce.monoMixdownPresent);
  if (pce.monoMixdownPresent) put(out, 4, pce.monoMixdownEltNum);
  put(out, 1, pce.stereoMixdownPresent);
  if (pce.stereoMixdownPresent) put(out, 4, pce.stereoMixdownEltNum);
  put(out, 1, pce.matrixMixdownIdxPresent);
  if (pce.matrixMixdownIdxPresent) {
    put(out, 2, pce.matrixMixdownIdx);
    put(out, 1, pce.pseudoSurroundEnable);
  }
  const auto putPairs = [&](int32_t count, int32_t* flag, int32_t* tag) {
    for (int32_t i = 0; i < count; ++i) {
      put(out, 1, flag[i]);
      put(out, 4, tag[i]);
    }
  };
  putPairs(pce.numFrontChanElt, pce.frontEltIsCpe, pce.frontEltTagSel);
  putPairs(pce.numSideChanElt, pce.sideEltIsCpe, pce.sideEltTagSel);
  putPairs(pce.numBackChanElt, pce.backEltIsCpe, pce.backEltTagSel);
  for (int32_t i = 0; i < pce.numLfeChanElt; ++i) put(out, 4, pce.lfeEltTagSel[i]);
  for (int32_t i = 0; i < pce.numAssocDataElt; ++i) put(out, 4, pce.assocDataEltTagSel[i]);
  putPairs(pce.numValidCcElt, pce.ccEltIsIndSw, pce.validCcEltTagSel);
  out.align();
  out.put(static_cast<uint32_t>(commentBytes), 8);
  pce.commentFieldBytes = commentBytes;
  for (int32_t i = 0; i < commentBytes; ++i) {
    pce.commentFieldData[i] = static_cast<uint8_t>(drawBits(8));
    out.put(pce.commentFieldData[i], 8);
  }
}

TEST(AdtsHeader, FieldsAndWhatStaysUntouched) {
  for (int round = 0; round < 200; ++round) {
    auto got = noiseRecord<MoxAacADTSFrameHeader>();
    MoxAacADTSFrameHeader want = got;
    BitWriter out;
    out.put(drawBits(12), 12);
    using Adts = MoxAacADTSFrameHeader;
    for (const auto& [bits, field] : {std::pair{1, &Adts::id},
                                      {2, &Adts::layer},
                                      {1, &Adts::protectionAbsent},
                                      {2, &Adts::profile},
                                      {4, &Adts::samplingRateIndex},
                                      {1, &Adts::privateBit},
                                      {3, &Adts::channelConfig},
                                      {1, &Adts::originalCopy},
                                      {1, &Adts::home},
                                      {1, &Adts::copyrightIdBit},
                                      {1, &Adts::copyrightIdStart},
                                      {13, &Adts::frameLen},
                                      {11, &Adts::bufferFullness},
                                      {2, &Adts::numRawDataBlocks}})
      put(out, bits, want.*field);
    ++want.numRawDataBlocks;
    if (want.protectionAbsent == 0) put(out, 16, want.crcCheck);
    out.lay();
    ASSERT_EQ(moxsUnpackADTSFrameHeader_AAC(&out.stream, &got), moxStatusOk);
    ASSERT_TRUE(same(got, want));
    ASSERT_EQ(out.consumed(), want.protectionAbsent != 0 ? 56 : 72);
  }
}

TEST(PrgCfgElt, EveryFieldFromEveryOffset) {
  for (int round = 0; round < 400; ++round) {
    const int32_t comments[] = {0, 255, static_cast<int32_t>(drawBits(8))};
    auto got = noiseRecord<MoxAacPrgCfgElt>();
    MoxAacPrgCfgElt want = got;
    BitWriter out(round % 8);
    putPce(out, want, comments[round % 3]);
    out.lay();
    ASSERT_EQ(moxsDecodePrgCfgElt_AAC(&out.stream, &out.offset, &got), moxStatusOk);
    ASSERT_TRUE(same(got, want));
    ASSERT_EQ(out.consumed(), out.size());
  }
}

TEST(AdifHeader, ReadsAllElementsOrRefusesTheirNumber) {
  for (int round = 0; round < 200; ++round) {
    auto got = noiseRecord<MoxAacADIFHeader>();
    MoxAacADIFHeader want = got;
    BitWriter out;
    const uint32_t id = drawBits(32);
    want.adifId = static_cast<int32_t>(id);
    out.put(id, 32);
    put(out, 1, want.copyrightIdPresent);
    if (want.copyrightIdPresent)
      for (uint8_t& byte : want.copyrightId) out.put(byte = static_cast<uint8_t>(drawBits(8)), 8);
    put(out, 1, want.originalCopy);
    put(out, 1, want.home);
    put(out, 1, want.bitstreamType);
    put(out, 23, want.bitRate);
    put(out, 4, want.numPrgCfgElt);
    ++want.numPrgCfgElt;
    const int32_t wholeBytes = out.size() / 8 * 8;
    MoxAacADIFHeader wantRefused = want;

    MoxAacPrgCfgElt elements[17], wantElements[17];
    Block<uint8_t> before(sizeof elements);
    std::memcpy(elements, before, sizeof elements);
    std::memcpy(wantElements, before, sizeof elements);
    for (int32_t i = 0; i < want.numPrgCfgElt; ++i) {
      if (want.bitstreamType == 0) put(out, 20, want.bufferFullness[i]);
      putPce(out, wantElements[i], static_cast<int32_t>(drawBits(4)));
    }

    for (int32_t max = 0; max <= 17; ++max) {
      MoxAacADIFHeader header = got;
      std::memcpy(elements, before, sizeof elements);
      out.lay();
      const moxStatus status = moxsUnpackADIFHeader_AAC(&out.stream, &header, elements, max);
      if (max < 1 || max > 16) {
        ASSERT_EQ(status, moxStatusAacPrgNumError);
        ASSERT_EQ(out.consumed(), 0);
        ASSERT_TRUE(same(header, got));
      } else if (max < want.numPrgCfgElt) {
        ASSERT_EQ(status, moxStatusAacPrgNumError);
        ASSERT_EQ(out.consumed(), wholeBytes);
        ASSERT_TRUE(same(header, wantRefused));
        ASSERT_EQ(std::memcmp(elements, before, sizeof elements), 0);
      } else {
        ASSERT_EQ(status, moxStatusOk);
        ASSERT_EQ(out.consumed(), out.size());
        ASSERT_TRUE(same(header, want));
        ASSERT_EQ(std::memcmp(elements, wantElements, sizeof elements), 0);
      }
    }
  }
}

TEST(AacHeaders, Refusals) {
  const uint8_t data[8] = {};
  const uint8_t* stream = data;
  int32_t offset = 8;
  MoxAacADTSFrameHeader adts;
  MoxAacADIFHeader adif;
  MoxAacPrgCfgElt pce;
  expectNeedsEveryPointer(moxsUnpackADTSFrameHeader_AAC, &stream, &adts);
  expectNeedsEveryPointer(moxsUnpackADIFHeader_AAC, &stream, &adif, &pce, 0);
  expectNeedsEveryPointer(moxsDecodePrgCfgElt_AAC, &stream, &offset, &pce);
  for (offset = 8; offset >= -1; offset -= 9)
    EXPECT_EQ(moxsDecodePrgCfgElt_AAC(&stream, &offset, &pce), moxStatusBitOffsetError);
  EXPECT_EQ(stream, data);
}

}  // namespace
