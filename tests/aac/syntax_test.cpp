#include <gtest/gtest.h>

#include <cstring>

#include "aac/stream_model.h"
#include "moxac/aac.h"

namespace {

using namespace moxtest;

constexpr int kRounds = 2000;

TEST(ChanPair, PredictionOrInMpeg4TheLongTermDataOfBothChannels) {
  for (int round = 0; round < 2 * kRounds; ++round) {
    auto ics = noiseRecord<MoxAacIcsInfo>(), wantIcs = ics;
    auto pair = noiseRecord<MoxAacChanPairElt>(), wantPair = pair;
    auto holder = noiseRecord<MoxAacMainHeader>(), wantHolder = holder;
    const bool mpeg4 = round % 16 < 8;
    const int32_t objectType = drawBelow(6);
    IcsOptions options{.predSfbMax = drawBelow(42),
                       .ltpHolder = mpeg4 && objectType != 1 ? &wantHolder : nullptr};
    BitWriter out(round % 8);
    if (mpeg4) wantHolder.ltp[0].ltpDataPresent = wantHolder.ltp[1].ltpDataPresent = 0;
    put(out, 1, wantPair.commonWindow);
    if (wantPair.commonWindow != 0) {
      putIcsInfo(out, options, wantIcs);
      put(out, 2, wantPair.msMaskPresent);
      if (wantPair.msMaskPresent == 1)
        putMask(out, wantIcs.numWindowGroups, 0, wantIcs.maxSfb, wantPair.msUsed[0]);
    }
    out.lay();
    const int32_t bands = options.predSfbMax;
    ASSERT_EQ(mpeg4 ? moxsDecodeChanPairElt_MP4_AAC(&out.stream, &out.offset, &ics, &pair, &holder, bands,
                                                    objectType)
                    : moxsDecodeChanPairElt_AAC(&out.stream, &out.offset, &ics, &pair, bands),
              moxStatusOk);
    ASSERT_TRUE(same(ics, wantIcs));
    ASSERT_TRUE(same(pair, wantPair));
    ASSERT_TRUE(same(holder, wantHolder));
    ASSERT_EQ(out.consumed(), out.size());
  }
}

TEST(ChanPair, LimitsFoundWhileReading) {
  MoxAacIcsInfo ics;
  MoxAacChanPairElt pair;
  MoxAacMainHeader holder;
  BitWriter tooWide;  // common window, only long, maxSfb 52
  tooWide.put(1, 1).put(0, 4).put(52, 6).put(0, 1);
  tooWide.lay();
  EXPECT_EQ(moxsDecodeChanPairElt_AAC(&tooWide.stream, &tooWide.offset, &ics, &pair, 41),
            moxStatusAacMaxSfbError);
  EXPECT_EQ(tooWide.consumed(), 11);
  tooWide.lay();
  EXPECT_EQ(moxsDecodeChanPairElt_MP4_AAC(&tooWide.stream, &tooWide.offset, &ics, &pair, &holder, 51, 1),
            moxStatusAacMaxSfbError);

  BitWriter predicted;  // maxSfb 10, predictor data with reset group 7
  predicted.put(1, 1).put(0, 4).put(10, 6).put(3, 2).put(7, 5).put(0, 20);
  predicted.lay();
  EXPECT_EQ(moxsDecodeChanPairElt_MP4_AAC(&predicted.stream, &predicted.offset, &ics, &pair, &holder, 42, 1),
            moxStatusAacPredSfbError);
  EXPECT_EQ(predicted.consumed(), 18);
  EXPECT_EQ(ics.predictorResetGroupNum, 7);
  predicted.lay();
  EXPECT_EQ(moxsDecodeChanPairElt_MP4_AAC(&predicted.stream, &predicted.offset, &ics, &pair, &holder, 42, 2),
            moxStatusOk);
}

TEST(Payload, DataStreamAndFillElementsOfEveryLength) {
  for (int32_t count = 0; count <= 510; ++count)
    for (uint32_t aligned : {0u, 1u}) {
      BitWriter out(count % 8);
      const uint32_t tag = draw(4);
      out.put(tag, 4).put(aligned, 1).put(static_cast<uint32_t>(std::min(count, 255)), 8);
      if (count >= 255) out.put(static_cast<uint32_t>(count - 255), 8);
      if (aligned != 0) out.align();
      Block<uint8_t> want(count), got(count);
      for (uint8_t byte : want) out.put(byte, 8);
      out.lay();
      int32_t gotTag = -1, gotCount = -1;
      ASSERT_EQ(moxsDecodeDatStrElt_AAC(&out.stream, &out.offset, &gotTag, &gotCount, got), moxStatusOk);
      ASSERT_EQ(gotTag, static_cast<int32_t>(tag));
      ASSERT_EQ(gotCount, count);
      ASSERT_EQ(out.consumed(), out.size());
      EXPECT_SAME_BITS(got, want);
    }
  for (int32_t count = 0; count <= 269; ++count) {
    BitWriter out(count % 8);
    if (count < 14 || (count == 14 && draw(1) != 0))  // 14 has two codings
      out.put(static_cast<uint32_t>(count), 4);
    else
      out.put(15, 4).put(static_cast<uint32_t>(count) - 14, 8);
    Block<uint8_t> want(count), got(count);
    for (uint8_t byte : want) out.put(byte, 8);
    out.lay();
    int32_t gotCount = -1;
    ASSERT_EQ(moxsDecodeFillElt_AAC(&out.stream, &out.offset, &gotCount, got), moxStatusOk);
    ASSERT_EQ(gotCount, count);
    ASSERT_EQ(out.consumed(), out.size());
    EXPECT_SAME_BITS(got, want);
  }
}

TEST(MainHeader, WindowsMaskTnsAndLongTermPrediction) {
  int failed = 0;
  for (int round = 0; round < kRounds; ++round) {
    const int32_t channels = 1 + round % 2;
    const int32_t layerFlag = (round / 2) % 2;
    Block<uint8_t> mask(480), wantMask(mask);
    auto header = noiseRecord<MoxAacMainHeader>();
    header.pMsUsed = mask;
    MoxAacMainHeader want = header;
    BitWriter out(round % 8);
    put(out, 2, want.windowSequence);
    put(out, 1, want.windowShape);
    const bool isShort = want.windowSequence == 2;
    put(out, isShort ? 4 : 6, want.maxSfb);
    if (isShort) {
      putGrouping(out, want.scaleFactorGrouping, want.numWindowGroups, want.windowGroupLen);
    } else {
      std::memset(want.windowGroupLen, 0, sizeof want.windowGroupLen);
      want.numWindowGroups = want.windowGroupLen[0] = 1;
    }
    if (channels == 2) {
      put(out, 2, want.msMaskPresent);
      if (want.msMaskPresent == 1)
        putMask(out, want.numWindowGroups, 0, want.maxSfb, wantMask);
      else
        for (int32_t g = 0; g < want.numWindowGroups; ++g)
          std::memset(wantMask.data() + 60 * g, want.msMaskPresent == 2, static_cast<size_t>(want.maxSfb));
    }
    bool good = true;
    for (int32_t ch = 0; good && ch < channels; ++ch) {
      want.tns[ch] = {};
      good = putTns(out, isShort, isShort ? 7 : 13, want.tns[ch]);
      if (!good) break;
      want.ltp[ch] = {};
      putLtp(out, isShort, want.maxSfb, want.ltp[ch]);
    }
    failed += !good;
    out.lay();
    ASSERT_EQ(moxsDecodeMainHeader_AAC(&out.stream, &out.offset, &header, channels, layerFlag),
              !good            ? moxStatusAacTnsOrderError
              : layerFlag != 0 ? moxStatusAacUnsupported
                               : moxStatusOk);
    ASSERT_TRUE(same(header, want));
    EXPECT_SAME_BITS(mask, wantMask);
    ASSERT_EQ(out.consumed(), out.size());
  }
  EXPECT_GT(failed, 0);
}

TEST(ExtensionHeader, EveryCombinationOfItsParts) {
  int failed = 0;
  for (int round = 0; round < 4 * kRounds; ++round) {
    const int32_t tns = round & 1, stereo = (round >> 1) & 1, diff = (round >> 2) & 1,
                  sequence = (round >> 3) & 3;
    const int32_t start = draw(1) != 0 ? drawBelow(52) : 0, end = drawBelow(52);
    const bool isShort = sequence == 2;
    Block<uint8_t> mask(480), wantMask(mask);
    auto header = noiseRecord<MoxAacExtensionHeader>();
    header.pMsUsed = mask;
    MoxAacExtensionHeader want = header;
    BitWriter out(round % 8);
    put(out, isShort ? 4 : 6, want.maxSfb);
    moxStatus status = want.maxSfb > 60 ? moxStatusAacMaxSfbError : moxStatusOk;
    if (status == moxStatusOk && stereo != 0) {
      put(out, 2, want.msMaskPresent);
      if (want.msMaskPresent == 1) putMask(out, isShort ? 4 : 1, start, want.maxSfb, wantMask);
    }
    for (int32_t ch = 0; ch < 2 && tns != 0 && status == moxStatusOk; ++ch)
      if (!putTns(out, isShort, isShort ? 7 : 13, want.tns[ch])) status = moxStatusAacTnsOrderError;
    for (int32_t ch = 0; ch < 2 && diff != 0 && stereo != 0 && status == moxStatusOk; ++ch) {
      int32_t n = 0;
      if (isShort)
        while (start == 0 && n < 8) put(out, 1, want.diffControl[ch][n++]);
      else
        for (int32_t b = start; b < end && b < want.maxSfb; ++b)
          if (wantMask[b] == 0) put(out, 1, want.diffControl[ch][n++]);
    }
    failed += status != moxStatusOk;
    out.lay();
    ASSERT_EQ(moxsDecodeExtensionHeader_AAC(&out.stream, &out.offset, &header, tns, stereo, diff, start, end,
                                            sequence),
              status);
    ASSERT_TRUE(same(header, want));
    EXPECT_SAME_BITS(mask, wantMask);
    ASSERT_EQ(out.consumed(), out.size());
  }
  EXPECT_GT(failed, 0);
}

// Nulls, then the offset, then each operation's own arguments; nothing is read or written.
TEST(AacSyntax, RefusalsInOrder) {
  const uint8_t data[64] = {};
  const uint8_t* p = data;
  const uint8_t* none = nullptr;
  int32_t k = 0, bad = 8, negative = -1, tag, count;
  uint8_t bytes[512], mask[480];
  MoxAacIcsInfo ics;
  MoxAacChanPairElt pair;
  auto header = noiseRecord<MoxAacMainHeader>();
  auto ext = noiseRecord<MoxAacExtensionHeader>();
  header.pMsUsed = ext.pMsUsed = mask;
  const MoxAacMainHeader headerBefore = header;
  const MoxAacExtensionHeader extBefore = ext;

  const auto refusals = [&](auto&& call) {
    EXPECT_EQ(call(nullptr, &bad), moxStatusNullPointer);
    EXPECT_EQ(call(&none, &bad), moxStatusNullPointer);
    EXPECT_EQ(call(&p, nullptr), moxStatusNullPointer);
    EXPECT_EQ(call(&p, &bad), moxStatusBitOffsetError);
    EXPECT_EQ(call(&p, &negative), moxStatusBitOffsetError);
  };
  refusals([&](auto pp, auto po) { return moxsDecodeChanPairElt_AAC(pp, po, &ics, &pair, 99); });
  refusals(
      [&](auto pp, auto po) { return moxsDecodeChanPairElt_MP4_AAC(pp, po, &ics, &pair, &header, 99, 1); });
  refusals([&](auto pp, auto po) { return moxsDecodeDatStrElt_AAC(pp, po, &tag, &count, bytes); });
  refusals([&](auto pp, auto po) { return moxsDecodeFillElt_AAC(pp, po, &count, bytes); });
  refusals([&](auto pp, auto po) { return moxsDecodeMainHeader_AAC(pp, po, &header, 3, 2); });
  refusals([&](auto pp, auto po) { return moxsDecodeExtensionHeader_AAC(pp, po, &ext, 2, 2, 2, 99, 99, 9); });

  for (int missing = 0; missing < 3; ++missing) {
    const auto at = [missing](int place, auto* pointer) { return missing == place ? nullptr : pointer; };
    EXPECT_EQ(moxsDecodeDatStrElt_AAC(&p, &k, at(0, &tag), at(1, &count), at(2, bytes)),
              moxStatusNullPointer);
    EXPECT_EQ(moxsDecodeChanPairElt_MP4_AAC(&p, &k, at(0, &ics), at(1, &pair), at(2, &header), 99, 1),
              moxStatusNullPointer);
    if (missing == 2) continue;
    EXPECT_EQ(moxsDecodeChanPairElt_AAC(&p, &k, at(0, &ics), at(1, &pair), 99), moxStatusNullPointer);
    EXPECT_EQ(moxsDecodeFillElt_AAC(&p, &k, at(0, &count), at(1, bytes)), moxStatusNullPointer);
  }
  EXPECT_EQ(moxsDecodeMainHeader_AAC(&p, &k, nullptr, 1, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, nullptr, 0, 0, 0, 0, 0, 0), moxStatusNullPointer);

  for (int32_t wrong : {-1, 42})
    EXPECT_EQ(moxsDecodeChanPairElt_AAC(&p, &k, &ics, &pair, wrong), moxStatusAacPredSfbError);
  for (int32_t wrong : {-1, 52})
    EXPECT_EQ(moxsDecodeChanPairElt_MP4_AAC(&p, &k, &ics, &pair, &header, wrong, 1), moxStatusAacMaxSfbError);

  for (int32_t wrong : {-1, 0, 3})
    EXPECT_EQ(moxsDecodeMainHeader_AAC(&p, &k, &header, wrong, 2), moxStatusAacChanError);
  for (int32_t wrong : {-1, 2}) {
    EXPECT_EQ(moxsDecodeMainHeader_AAC(&p, &k, &header, 1, wrong), moxStatusAacTnsFlagError);
    EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, wrong, 2, 2, 99, 99, 9), moxStatusAacTnsFlagError);
    EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, 1, wrong, 2, 99, 99, 9),
              moxStatusAacStereoFlagError);
    EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, 1, 1, wrong, 99, 99, 9),
              moxStatusAacDiffCtrlFlagError);
  }
  for (int32_t wrong : {-1, 52}) {
    EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, 1, 1, 1, wrong, 99, 9), moxStatusAacMaxSfbError);
    EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, 1, 1, 1, 0, wrong, 9), moxStatusAacMaxSfbError);
  }
  for (int32_t wrong : {-1, 4})
    EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, 1, 1, 1, 51, 51, wrong), moxStatusAacWinSeqError);
  EXPECT_TRUE(same(header, headerBefore) && same(ext, extBefore) && p == data && k == 0);

  header.pMsUsed = ext.pMsUsed = nullptr;
  EXPECT_EQ(moxsDecodeMainHeader_AAC(&p, &bad, &header, 2, 2), moxStatusNullPointer);
  EXPECT_EQ(moxsDecodeMainHeader_AAC(&p, &k, &header, 1, 0), moxStatusOk);
  EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &bad, &ext, 2, 1, 2, 0, 0, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsDecodeExtensionHeader_AAC(&p, &k, &ext, 0, 0, 1, 0, 51, 0), moxStatusOk);
}

}  // namespace
