// What docs/conventions.md promises to threads: contexts that are only read serve several at once, and states of their own do
// not touch one another. The thread sanitizer runs these tests too.
#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "moxac/mp3.h"
#include "moxac/transform.h"
#include "moxac/util.h"
#include "moxac/vlc.h"
#include "support/banks.h"
#include "support/block.h"

namespace {

using namespace moxtest;

using Result = std::vector<uint8_t>;

template <class T>
Result bytesOf(const std::vector<T>& values) {
  const auto* const first = reinterpret_cast<const uint8_t*>(values.data());
  return {first, first + values.size() * sizeof(T)};
}

// `work` on four threads at once gives on each what it gives alone.
void expectSameOnThreads(const std::function<Result()>& work) {
  const Result alone = work();
  std::vector<Result> results(4);
  std::vector<std::thread> threads;
  for (Result& result : results)
    threads.emplace_back([&] {
      for (int i = 0; i < 8; ++i) result = work();
    });
  for (std::thread& thread : threads) thread.join();
  for (const Result& result : results) EXPECT_EQ(result, alone);
}

TEST(Threads, ShareVlcSpecs) {
  const int32_t table[] = {0, 0, 1, 2, 4, 3, 1, 5, 3, 7, 6, 3, 5, 7, 3}, widths[] = {2, 1};
  MoxVlcEncodeSpec* encoder = nullptr;
  MoxVlcDecodeSpec *decoder = nullptr, *tuples = nullptr;
  const int32_t pairs[] = {0, 0, 1, 17, 2, 2, 34, 3, 2};
  ASSERT_EQ(moxsVLCEncodeInitAlloc_32s(table, 5, &encoder), moxStatusOk);
  ASSERT_EQ(moxsVLCDecodeInitAlloc_32s(table, 5, widths, 2, &decoder), moxStatusOk);
  ASSERT_EQ(moxsVLCDecodeUTupleInitAlloc_32s(pairs, 3, widths, 2, 2, 4, &tuples), moxStatusOk);
  std::vector<int16_t> values;
  for (int i = 0; i < 1000; ++i) values.push_back(static_cast<int16_t>(table[3 * below(5)]));
  expectSameOnThreads([&] {
    std::vector<uint32_t> stream(200);
    auto* out = reinterpret_cast<uint8_t*>(stream.data());
    const uint8_t* in = out;
    int32_t offset = 0;
    std::vector<int16_t> back(1000), some(400);
    EXPECT_EQ(moxsVLCEncodeBlock_16s1u(values.data(), 1000, &out, &offset, encoder), moxStatusOk);
    offset = 0;
    EXPECT_EQ(moxsVLCDecodeBlock_1u16s(&in, &offset, back.data(), 1000, decoder), moxStatusOk);
    EXPECT_EQ(back, values);
    in = reinterpret_cast<const uint8_t*>(stream.data()), offset = 0;
    EXPECT_EQ(moxsVLCDecodeUTupleBlock_1u16s(&in, &offset, some.data(), 400, tuples), moxStatusOk);
    back.insert(back.end(), some.begin(), some.end());
    return bytesOf(back);
  });
  moxsVLCEncodeFree_32s(encoder);
  moxsVLCDecodeFree_32s(decoder);
  moxsVLCDecodeUTupleFree_32s(tuples);
}

TEST(Threads, ShareMdctSpecsAndWithThemTheFft) {
  MoxMdctSpec *forward = nullptr, *inverse = nullptr, *words = nullptr;
  ASSERT_EQ(moxsMDCTFwdInitAlloc_32f(&forward, 2048), moxStatusOk);
  ASSERT_EQ(moxsMDCTInvInitAlloc_32f(&inverse, 2048), moxStatusOk);
  ASSERT_EQ(moxsMDCTFwdInitAlloc_16s(&words, 2048), moxStatusOk);
  const Block<float> x(2048);
  const Block<int16_t> x16(2048);
  expectSameOnThreads([&] {
    std::vector<float> X(1024), y(2048);
    std::vector<int16_t> X16(1024);
    EXPECT_EQ(moxsMDCTFwd_32f(x, X.data(), forward, nullptr), moxStatusOk);
    EXPECT_EQ(moxsMDCTInv_32f(X.data(), y.data(), inverse, nullptr), moxStatusOk);
    EXPECT_EQ(moxsMDCTFwd_16s_Sfs(x16, X16.data(), words, 6, nullptr), moxStatusOk);
    y.insert(y.end(), X16.begin(), X16.end());
    return bytesOf(y);
  });
  moxsMDCTFwdFree_32f(forward);
  moxsMDCTInvFree_32f(inverse);
  moxsMDCTFwdFree_16s(words);
}

TEST(Threads, RunFilterBanksEachOnItsOwnState) {
  for (const Bank& bank : banks()) {
    const Words src = noiseWords(bank, 40 * bank.in(), 24);
    expectSameOnThreads([&] {
      BankState state(bank);
      return bytesOf(run(bank, src.data(), 40, state));
    });
  }
}

TEST(Threads, RunThePsychoacousticModelAndQuantisationEachOnItsOwnState) {
  MoxMp3FrameHeader header{};
  header.id = header.layer = 1;
  header.mode = 3;
  const MoxMp3EncoderParameters parameters = MOX_MP3_ENCODER_DEFAULTS;
  const Block<int16_t> sound(576 * 6);
  expectSameOnThreads([&] {
    MoxMp3PsychoacousticModelTwoState state{};
    std::vector<MoxMp3PsychoacousticModelTwoAnalysis> records(2);
    for (int32_t g = 0; g < 6; ++g)
      EXPECT_EQ(moxsPsychoacousticModelTwo_MP3_16s(sound + 576 * g, &records[static_cast<size_t>(g % 2)],
                                                   &header, &parameters, &state),
                moxStatusOk);
    std::vector<int32_t> lines(1152), scfsi(4), count1(2);
    for (size_t i = 0; i < lines.size(); ++i) lines[i] = sound[static_cast<int64_t>(i)] << 8;
    std::vector<int8_t> scaleFactors(78);
    MoxMp3SideInfo side[2] = {};
    MoxMp3BitReservoir reservoir{0, 0};
    EXPECT_EQ(moxsQuantize_MP3_32s_I(lines.data(), scaleFactors.data(), scfsi.data(), count1.data(), side,
                                     &reservoir, 3000, 0, records.data(), &header, &parameters),
              moxStatusOk);
    return bytesOf(lines);
  });
}

TEST(Threads, ShareVectorCodeBooks) {
  const Block<float> vectors(8 * 64), x(8), weights(8);
  MoxVqCodeBook* book = nullptr;
  ASSERT_EQ(moxsVQCodeBookInitAlloc_32f(vectors, 8, 64, 1, &book), moxStatusOk);
  expectSameOnThreads([&] {
    const int32_t length = 8;
    std::vector<int32_t> words(2);
    EXPECT_EQ(moxsVQIndexSelect_32f(x, weights, &length, &words[0], &words[1], 1, 16, 16, book, book),
              moxStatusOk);
    return bytesOf(words);
  });
  moxsVQCodeBookFree_32f(book);
}

}  // namespace
