// Noiseless decoding against a bit-by-bit model.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <tuple>
#include <vector>

#include "aac/noiseless_reference.h"
#include "aac/stream_model.h"
#include "moxac/aac.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;

// All that a call leaves behind.
struct Outcome {
  MoxAacIcsInfo ics = noiseRecord<MoxAacIcsInfo>();
  MoxAacMainHeader main = noiseRecord<MoxAacMainHeader>();
  MoxAacChanStream stream = noiseRecord<MoxAacChanStream>();
  NoiselessOutput out;
  moxStatus status = 0;
  int64_t position = 0;
};

void expectSame(Outcome got, const Outcome& want) {
  got.stream.pIcsInfo = want.stream.pIcsInfo;
  ASSERT_EQ(got.status, want.status);
  ASSERT_EQ(got.position, want.position);
  ASSERT_TRUE(same(got.ics, want.ics));
  ASSERT_TRUE(same(got.main, want.main));
  ASSERT_TRUE(same(got.stream, want.stream));
  ASSERT_EQ(got.out.scaleFactor, want.out.scaleFactor);
  ASSERT_EQ(got.out.spectrum, want.out.spectrum);
  ASSERT_EQ(got.out.sfbCb, want.out.sfbCb);
  ASSERT_EQ(got.out.tnsCoef, want.out.tnsCoef);
}

struct Call {
  bool mpeg4, commonWindow, layer;
  int32_t objectType, windowSequence, maxSfb;
};

// Runs the operation over the laid stream.
void run(BitWriter& laid, const Call& call, Outcome& got) {
  got.stream.pIcsInfo = call.layer ? nullptr : &got.ics;
  NoiselessOutput& out = got.out;
  got.status = call.mpeg4
                   ? moxsNoiselessDecode_AAC(&laid.stream, &laid.offset, &got.main, out.scaleFactor.data(),
                                             out.spectrum.data(), out.sfbCb.data(), out.tnsCoef.data(),
                                             &got.stream, call.windowSequence, call.maxSfb, call.commonWindow,
                                             call.layer, call.objectType)
                   : moxsNoiselessDecoder_LC_AAC(&laid.stream, &laid.offset, call.commonWindow, &got.stream,
                                                 out.scaleFactor.data(), out.spectrum.data(),
                                                 out.sfbCb.data(), out.tnsCoef.data());
  got.position = laid.consumed();
}

// One random stream, as drawn and then with flipped bits: the operation must leave exactly what the model
// leaves, and load no byte more than three past the last one that it consumed bits from.
void roundAgainstModel(int round, int32_t onlyBook, std::map<moxStatus, int>& statuses, int& full) {
  const int32_t rate = below(12);
  Call call{.mpeg4 = drawBits(1) != 0,
            .commonWindow = drawBits(1) != 0,
            .layer = false,
            .objectType = 1 + below(4),
            .windowSequence = 99,
            .maxSfb = 99};
  call.layer = call.mpeg4 && drawBits(2) == 0;
  Outcome before;
  before.stream.samplingRateIndex = rate;
  before.stream.predSfbMax = call.mpeg4 ? below(42) : 0;
  Outcome head = before;

  BitWriter sound(round % 8), noStream;
  put(sound, 8, head.stream.globalGain);
  const bool beyond = drawBits(call.layer ? 1 : 4) == 0;  // maxSfb may exceed the bands there are
  const bool readsIcs = !call.layer && !call.commonWindow;
  IcsOptions options{.predSfbMax = before.stream.predSfbMax,
                     .maxSfbLong = beyond ? 51 : moxAacNumSwbLong[rate],
                     .maxSfbShort = beyond ? 15 : moxAacNumSwbShort[rate]};
  if (call.mpeg4 && call.objectType != 1 && readsIcs) options.ltpHolder = &head.main, options.ltpChannels = 1;
  if (call.mpeg4 && readsIcs) head.main.ltp[0].ltpDataPresent = head.main.ltp[1].ltpDataPresent = 0;
  putIcsInfo(readsIcs ? sound : noStream, options, head.ics);
  if (call.layer) {
    call.windowSequence = head.ics.windowSequence;
    if (beyond) head.ics.maxSfb = below(52);  // of short windows, too
    call.maxSfb = head.ics.maxSfb;
    head.main.numWindowGroups = before.main.numWindowGroups = head.ics.numWindowGroups;
    std::copy_n(head.ics.windowGroupLen, 8, head.main.windowGroupLen);
    std::copy_n(head.ics.windowGroupLen, 8, before.main.windowGroupLen);
  }
  if (!readsIcs) before.ics = head.ics;

  const int32_t headBits = sound.size();
  const auto compare = [&](BitWriter& stream) {
    Outcome want = head, got = before;
    NoiselessModel model(stream);
    want.status = model.run({call.mpeg4, call.layer, head.ics.windowSequence, head.ics.maxSfb,
                             head.ics.numWindowGroups, head.ics.windowGroupLen, onlyBook},
                            want.stream, want.out);
    want.position = stream.size();
    ++statuses[want.status];
    full += want.status == moxStatusAacSectionError && model.sections == 120;
    stream.lay();
    run(stream, call, got);
    expectSame(got, want);
  };
  ASSERT_NO_FATAL_FAILURE(compare(sound)) << "round " << round;
  for (int flips = 1; flips < 4 && sound.size() > headBits; ++flips) {
    BitWriter damaged = sound.replay(headBits, flips);
    ASSERT_NO_FATAL_FAILURE(compare(damaged)) << "round " << round << " flips " << flips;
  }
}

TEST(Noiseless, EqualsTheOneBitAtATimeModel) {
  std::map<moxStatus, int> statuses;
  int full = 0;
  for (int round = 0; round < 4000; ++round)
    ASSERT_NO_FATAL_FAILURE(roundAgainstModel(round, round % 4 == 0 ? round / 4 % 12 : -1, statuses, full));
  for (moxStatus wanted : {0, -2, -155, -158, -159, -160, -162, -163, -164, -166})
    EXPECT_GT(statuses[wanted], 0) << "never seen: " << wanted;
  EXPECT_GT(full, 0) << "channels of more than 120 sections";
}

BitWriter longChannel(uint32_t gain, uint32_t maxSfb) {
  BitWriter out;
  out.put(gain, 8).put(0, 4).put(maxSfb, 6).put(0, 1);
  return out;
}

Outcome decodeAt44100(BitWriter& out, bool mpeg4) {
  Outcome got;
  got.stream.samplingRateIndex = 4;
  got.stream.predSfbMax = 0;
  out.lay();
  run(out, {mpeg4, false, false, 2, 0, 0}, got);
  return got;
}

TEST(Noiseless, SectionPiecesAndNoiseEnergy) {
  // Pieces 31 and 18 end at 49, 31 and 20 pass it; one that ends exactly at maxSfb 31 is followed by another.
  for (const auto& [maxSfb, second, status] :
       {std::tuple<uint32_t, uint32_t, moxStatus>{49, 18, 0}, {49, 20, -158}, {31, 0, 0}}) {
    BitWriter out = longChannel(100, maxSfb);
    out.put(0, 4).put(31, 5).put(second, 5).put(0, status == 0 ? 3 : 0);
    const Outcome got = decodeAt44100(out, false);
    EXPECT_EQ(got.status, status) << second;
    EXPECT_EQ(got.position, out.size());
  }
  BitWriter noise = longChannel(100, 2);  // the scale factor behind a noise band continues from its energy
  noise.put(13, 4).put(1, 5).put(1, 4).put(1, 5).put(256, 9).put(0, 1).put(0, 3).put(0, 1);
  const Outcome got = decodeAt44100(noise, true);
  EXPECT_EQ(got.status, moxStatusOk);
  EXPECT_TRUE(got.out.scaleFactor[0] == 10 && got.out.scaleFactor[1] == 10);
}

// A caller's record may hold anything.
TEST(Noiseless, RefusesWindowsThatCannotBe) {
  struct Case {
    int32_t sequence, groups, len, maxSfb;
    moxStatus want;
  };
  for (const Case& c : {Case{-1, 1, 1, 0, -144},
                        {4, 1, 1, 0, -144},
                        {0, 0, 1, 0, -145},
                        {1, 2, 1, 0, -145},
                        {3, 1, 2, 0, -145},
                        {0, 1, 0, 0, -145},
                        {2, 9, 1, 0, -145},
                        {2, 2, 5, 0, -145},
                        {2, 2, -1, 0, -145},
                        {0, 1, 1, -1, -162},
                        {0, 1, 1, 52, -162},
                        {2, 2, 4, 16, -162}})
    for (const auto& [mpeg4, layer] : {std::pair{false, false}, {true, false}, {true, true}}) {
      if (layer && c.maxSfb == 16) continue;  // a layer has room for as many bands as are asked for
      BitWriter out;
      Outcome got;
      got.stream.samplingRateIndex = 5;
      got.stream.predSfbMax = 0;
      got.ics.windowSequence = c.sequence;
      got.ics.maxSfb = c.maxSfb;
      got.ics.numWindowGroups = got.main.numWindowGroups = c.groups;
      std::fill_n(got.ics.windowGroupLen, 8, c.len);
      std::fill_n(got.main.windowGroupLen, 8, c.len);
      out.put(0, 32).lay();
      run(out, {mpeg4, true, layer, 2, c.sequence, c.maxSfb}, got);
      EXPECT_EQ(got.status, c.want) << c.sequence << " " << c.groups << " " << c.len << " " << c.maxSfb;
      EXPECT_EQ(got.out.spectrum, NoiselessOutput().spectrum);
    }
}

TEST(Noiseless, RefusalsInOrder) {
  const uint8_t data[64] = {};
  const uint8_t* p = data;
  int32_t k = 8;
  MoxAacIcsInfo ics;
  auto main = noiseRecord<MoxAacMainHeader>();
  auto stream = noiseRecord<MoxAacChanStream>();
  NoiselessOutput out;
  int16_t* sf = out.scaleFactor.data();
  int32_t* spectrum = out.spectrum.data();
  uint8_t* cb = out.sfbCb.data();
  int8_t* coef = out.tnsCoef.data();
  const auto lc = [&](int32_t common) {
    return moxsNoiselessDecoder_LC_AAC(&p, &k, common, &stream, sf, spectrum, cb, coef);
  };
  const auto mp4 = [&](int32_t ws, int32_t maxSfb, int32_t common, int32_t layer, int32_t aot) {
    return moxsNoiselessDecode_AAC(&p, &k, &main, sf, spectrum, cb, coef, &stream, ws, maxSfb, common, layer,
                                   aot);
  };
  stream.pIcsInfo = nullptr;
  EXPECT_EQ(lc(2), moxStatusNullPointer) << "pIcsInfo";
  EXPECT_EQ(mp4(9, 99, 2, 0, 99), moxStatusNullPointer) << "pIcsInfo";
  EXPECT_EQ(mp4(9, 99, 2, 1, 99), moxStatusBitOffsetError) << "a layer needs no pIcsInfo";
  stream.pIcsInfo = &ics;
  expectNeedsEveryPointer(moxsNoiselessDecoder_LC_AAC, &p, &k, 2, &stream, sf, spectrum, cb, coef);
  expectNeedsEveryPointer(moxsNoiselessDecode_AAC, &p, &k, &main, sf, spectrum, cb, coef, &stream, 9, 99, 2,
                          2, 99);

  stream.predSfbMax = 1;
  for (int32_t above : {0, 1}) {
    const auto wrong = [above](int32_t limit) { return above != 0 ? limit + 1 : -1; };
    k = wrong(7);
    EXPECT_EQ(lc(2), moxStatusBitOffsetError);
    EXPECT_EQ(mp4(9, 99, 2, 2, 99), moxStatusBitOffsetError);
    k = 0;
    stream.samplingRateIndex = wrong(11);
    EXPECT_EQ(lc(wrong(1)), moxStatusAacCommonWindowError);
    EXPECT_EQ(lc(0), moxStatusAacSampleRateError);
    EXPECT_EQ(mp4(4, 52, 2, 2, wrong(16)), moxStatusAacAotError);
    EXPECT_EQ(mp4(4, 52, 2, wrong(1), 16), moxStatusAacLayerFlagError);
    EXPECT_EQ(mp4(4, 52, wrong(1), 1, 16), moxStatusAacCommonWindowError);
    EXPECT_EQ(mp4(wrong(3), 52, 0, 1, 0), moxStatusAacWinSeqError);
    EXPECT_EQ(mp4(3, 52, 0, 1, 0), moxStatusAacSampleRateError);
    EXPECT_EQ(mp4(wrong(3), 52, 0, 0, 0), moxStatusAacSampleRateError)
        << "the sequence counts in layers only";
    stream.samplingRateIndex = 0;
    EXPECT_EQ(lc(0), moxStatusAacPredSfbError);
    EXPECT_EQ(mp4(0, wrong(51), 0, 1, 0), moxStatusAacMaxSfbError);
  }
  EXPECT_TRUE(p == data && k == 0);
  const NoiselessOutput untouched;
  EXPECT_TRUE(out.spectrum == untouched.spectrum && out.sfbCb == untouched.sfbCb);
}

}  // namespace
