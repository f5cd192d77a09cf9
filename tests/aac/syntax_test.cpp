// Syntax elements of raw data blocks.
#include <gtest/gtest.h>

#include <cstring>
#include <map>

#include "aac/stream_model.h"
#include "moxac/aac.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;

constexpr int kRounds = 2000;

TEST(ChanPair, PredictionOrInMpeg4TheLongTermDataOfBothChannels) {
  std::map<moxStatus, int> statuses;
  for (int round = 0; round < 2 * kRounds; ++round) {
    auto ics = noiseRecord<MoxAacIcsInfo>(), wantIcs = ics;
    auto pair = noiseRecord<MoxAacChanPairElt>(), wantPair = pair;
    auto holder = noiseRecord<MoxAacMainHeader>(), wantHolder = holder;
    const bool mpeg4 = round % 16 < 8;
    const int32_t objectType = below(6);
    IcsOptions options{.predSfbMax = below(mpeg4 ? 52 : 42),
                       .ltpHolder = mpeg4 && objectType != 1 ? &wantHolder : nullptr,
                       .maxSfbLong = 63};
    BitWriter out(round % 8);
    if (mpeg4) wantHolder.ltp[0].ltpDataPresent = wantHolder.ltp[1].ltpDataPresent = 0;
    put(out, 1, wantPair.commonWindow);
    moxStatus want = moxStatusOk;
    if (wantPair.commonWindow != 0) want = putIcsInfo(out, options, wantIcs);
    ++statuses[want];
    if (wantPair.commonWindow != 0 && want == moxStatusOk) {
      put(out, 2, wantPair.msMaskPresent);
      if (wantPair.msMaskPresent == 1)
        putMask(out, wantIcs.numWindowGroups, 0, wantIcs.maxSfb, wantPair.msUsed[0]);
    }
    out.lay();
    const int32_t bands = options.predSfbMax;
    ASSERT_EQ(mpeg4 ? moxsDecodeChanPairElt_MP4_AAC(&out.stream, &out.offset, &ics, &pair, &holder, bands,
                                                    objectType)
                    : moxsDecodeChanPairElt_AAC(&out.stream, &out.offset, &ics, &pair, bands),
              want);
    ASSERT_TRUE(same(ics, wantIcs));
    ASSERT_TRUE(same(pair, wantPair));
    ASSERT_TRUE(same(holder, wantHolder));
    ASSERT_EQ(out.consumed(), out.size());
  }
  EXPECT_EQ(statuses.size(), 3u) << "success, and both limits found while reading";
}

TEST(Payload, DataStreamAndFillElementsOfEveryLength) {
  // Writes `count` bytes behind the fields put so far, has them read, and compares.
  const auto check = [](BitWriter& out, int32_t count, auto&& read) {
    Block<uint8_t> want(count), got(count);
    for (uint8_t byte : want) out.put(byte, 8);
    out.lay();
    int32_t gotCount = -1;
    ASSERT_EQ(read(&gotCount, got.data()), moxStatusOk);
    ASSERT_EQ(gotCount, count);
    ASSERT_EQ(out.consumed(), out.size());
    EXPECT_SAME_BITS(got, want);
  };
  for (int32_t count = 0; count <= 510; ++count)
    for (uint32_t aligned : {0u, 1u}) {
      BitWriter out(count % 8);
      int32_t tag, gotTag = -1;
      put(out, 4, tag);
      out.put(aligned, 1).put(static_cast<uint32_t>(std::min(count, 255)), 8);
      if (count >= 255) out.put(static_cast<uint32_t>(count - 255), 8);
      if (aligned != 0) out.align();
      check(out, count, [&](int32_t* gotCount, uint8_t* data) {
        return moxsDecodeDatStrElt_AAC(&out.stream, &out.offset, &gotTag, gotCount, data);
      });
      ASSERT_EQ(gotTag, tag);
    }
  for (int32_t count = 0; count <= 269; ++count) {
    BitWriter out(count % 8);
    if (count < 14 || (count == 14 && drawBits(1) != 0))  // 14 has two codings
      out.put(static_cast<uint32_t>(count), 4);
    else
      out.put(15, 4).put(static_cast<uint32_t>(count) - 14, 8);
    check(out, count, [&](int32_t* gotCount, uint8_t* data) {
      return moxsDecodeFillElt_AAC(&out.stream, &out.offset, gotCount, data);
    });
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
    const int32_t start = drawBits(1) != 0 ? below(52) : 0, end = below(52);
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
  int32_t k = 8, tag, count;
  uint8_t bytes[512], mask[480];
  MoxAacIcsInfo ics;
  MoxAacChanPairElt pair;
  auto header = noiseRecord<MoxAacMainHeader>();
  auto ext = noiseRecord<MoxAacExtensionHeader>();
  header.pMsUsed = ext.pMsUsed = mask;
  const MoxAacMainHeader headerBefore = header;
  const MoxAacExtensionHeader extBefore = ext;
  const auto refused = [&](auto op, auto... arguments) {
    expectNeedsEveryPointer(op, &p, &k, arguments...);
    for (k = 8; k >= -1; k -= 9) EXPECT_EQ(op(&p, &k, arguments...), moxStatusBitOffsetError);
    k = 8;
  };
  refused(moxsDecodeChanPairElt_AAC, &ics, &pair, 99);
  refused(moxsDecodeChanPairElt_MP4_AAC, &ics, &pair, &header, 99, 1);
  refused(moxsDecodeDatStrElt_AAC, &tag, &count, bytes);
  refused(moxsDecodeFillElt_AAC, &count, bytes);
  refused(moxsDecodeMainHeader_AAC, &header, 3, 2);
  refused(moxsDecodeExtensionHeader_AAC, &ext, 2, 2, 2, 99, 99, 9);

  k = 0;
  const auto mainHeader = [&](int32_t channels, int32_t layer) {
    return moxsDecodeMainHeader_AAC(&p, &k, &header, channels, layer);
  };
  const auto extension = [&](int32_t tns, int32_t stereo, int32_t diff, int32_t start, int32_t end,
                             int32_t window) {
    return moxsDecodeExtensionHeader_AAC(&p, &k, &ext, tns, stereo, diff, start, end, window);
  };
  for (int32_t above : {0, 1}) {
    const auto wrong = [above](int32_t limit) { return above != 0 ? limit + 1 : -1; };
    EXPECT_EQ(moxsDecodeChanPairElt_AAC(&p, &k, &ics, &pair, wrong(41)), moxStatusAacPredSfbError);
    EXPECT_EQ(moxsDecodeChanPairElt_MP4_AAC(&p, &k, &ics, &pair, &header, wrong(51), 1),
              moxStatusAacMaxSfbError);
    EXPECT_EQ(mainHeader(3 * above, 2), moxStatusAacChanError);
    EXPECT_EQ(mainHeader(1, wrong(1)), moxStatusAacTnsFlagError);
    EXPECT_EQ(extension(wrong(1), 2, 2, 99, 99, 9), moxStatusAacTnsFlagError);
    EXPECT_EQ(extension(1, wrong(1), 2, 99, 99, 9), moxStatusAacStereoFlagError);
    EXPECT_EQ(extension(1, 1, wrong(1), 99, 99, 9), moxStatusAacDiffCtrlFlagError);
    EXPECT_EQ(extension(1, 1, 1, wrong(51), 99, 9), moxStatusAacMaxSfbError);
    EXPECT_EQ(extension(1, 1, 1, 0, wrong(51), 9), moxStatusAacMaxSfbError);
    EXPECT_EQ(extension(1, 1, 1, 51, 51, wrong(3)), moxStatusAacWinSeqError);
  }
  EXPECT_TRUE(same(header, headerBefore) && same(ext, extBefore) && p == data && k == 0);

  header.pMsUsed = ext.pMsUsed = nullptr;  // wanted for two channels, and with the stereo flag
  EXPECT_EQ(mainHeader(2, 2), moxStatusNullPointer);
  EXPECT_EQ(mainHeader(1, 0), moxStatusOk);
  EXPECT_EQ(extension(2, 1, 2, 0, 0, 0), moxStatusNullPointer);
  EXPECT_EQ(extension(0, 0, 1, 0, 51, 0), moxStatusOk);
}

}  // namespace
