// Long-term prediction against double precision.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <vector>

#include "aac/band_tables.h"
#include "aac/ltp_kernels.h"
#include "aac/mdct_reference.h"
#include "moxac/aac.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using moxtest::Block;
using moxtest::expectNeedsEveryPointer;
using moxtest::expectNeedsPointers;
using moxtest::FrameReference;

constexpr double kTimeUnit = 1 << MOX_AAC_TIME_FRAC_BITS;
constexpr double kSpectrumUnit = 1 << MOX_AAC_SPECTRUM_FRAC_BITS;

TEST(Ltp, PredictsTheTransformOfDelayedSamples) {
  double worst = 0;
  for (int32_t sequence = 0; sequence < 4; ++sequence)
    for (int32_t lag : {0, 1, 700, 1024, 1500, 2047}) {
      Block<int32_t> history(MOX_AAC_LTP_HISTORY), buffer(MOX_AAC_MDCT_BUFFER_WORDS, 4), X(1024, 8);
      for (int32_t& v : history) v >>= 8;
      MoxAacLtpInfo ltp{};
      // A gain of the standard, which Q14 only names, and one that is not.
      const double gain = lag % 2 ? 1.194601 : 0.75;
      ltp.ltpDataPresent = 1, ltp.ltpCoef = lag % 2 ? 19572 : 12288, ltp.ltpLag = sequence == 2 ? -1 : lag;
      for (int w = 0; w < 8; ++w) {
        ltp.shortUsed[w] = w != 3;
        ltp.shortLag[w] = w == 3 || sequence != 2 ? 5000 : std::max(lag - 20 * w, 0);
      }
      // Sample n of a window is as far back as that window's lag says; short windows are taken one by one.
      const auto predicted = [&](int32_t windowLag) {
        std::vector<double> x(2048);
        for (int32_t n = 0; n < 2048; ++n)
          if (n - windowLag < 1024 && 2048 + n - windowLag >= 0)
            x[static_cast<size_t>(n)] = history[2048 + n - windowLag] / kTimeUnit * gain;
        return FrameReference{sequence, 1, 0}.forward(x);
      };
      ASSERT_EQ(moxsLongTermPredict_AAC_32s(history, X, sequence, 1, 0, &ltp, buffer), moxStatusOk);
      for (int w = 0; w < (sequence == 2 ? 8 : 1); ++w) {
        const std::vector<double> want = predicted(sequence == 2 ? ltp.shortLag[w] : lag);
        for (size_t k = 0; k < (sequence == 2 ? 128 : 1024); ++k) {
          const size_t line = static_cast<size_t>(128 * w) + k;
          const double exact = sequence == 2 && w == 3 ? 0 : want[line];
          worst = std::max(worst, std::abs(X[static_cast<int64_t>(line)] / kSpectrumUnit - exact));
        }
      }
    }
  EXPECT_LT(worst, 1) << "lines reach 2^22 here, of which Q14 gains would miss 100";
}

TEST(Ltp, ScalesFourSamplesAsItScalesOne) {
  Block<int32_t> x(400);
  const int32_t edges[] = {INT32_MIN, INT32_MIN + 1, INT32_MAX, -1, 0, 1, 1 << 29, -(1 << 29)};
  std::copy_n(edges, 8, x.begin());
  for (const int64_t gain : {0L, 1L, 1L << 29, 1L << 30, 1282720000L, (1L << 31) - 1})
    for (int32_t i = 0; i < 400; i += 4) {
      int32_t four[4];
      moxac::storeInt4(four, moxac::aac::scaledSample(moxac::loadInt4(x + i), _mm_set1_epi64x(gain)));
      for (int32_t j = 0; j < 4; ++j)
        ASSERT_EQ(four[j], moxac::aac::scaledSample(x[i + j], gain)) << x[i + j] << " " << gain;
    }
}

TEST(Ltp, AddsWhereTheFlagsSay) {
  for (bool isShort : {false, true})
    for (int32_t maxSfb : {5, isShort ? 14 : 49}) {
      Block<int32_t> prediction(1024), spectrum(1024);
      spectrum[0] = 0x7FFFFFF0, prediction[0] = 100;
      for (int i = 1; i < 1024; ++i) spectrum[i] >>= 1, prediction[i] >>= 1;
      MoxAacLtpInfo ltp{};
      ltp.ltpDataPresent = 1;
      for (int b = 0; b < 40; ++b) ltp.longUsed[b] = b % 3 != 1;
      for (int w = 0; w < 8; ++w) ltp.shortUsed[w] = w % 3 != 1;
      MoxAacTnsInfo tns{};
      tns.tnsDataPresent = 1;
      tns.nFilt[0] = 1, tns.length[0] = isShort ? 14 : 49, tns.order[0] = 3, tns.coefRes[0] = 4;
      tns.coef[0] = 5, tns.coef[1] = -3, tns.coef[2] = 1;

      Block<int32_t> want(spectrum), filtered(prediction);
      ASSERT_EQ(moxsEncodeTNS_AAC_32s_I(filtered, tns.nFilt, tns.length, tns.order, tns.coefRes, tns.coef,
                                        tns.direction, maxSfb, 1, 4, isShort ? 128 : 1024),
                moxStatusOk);
      for (int w = 0; w < (isShort ? 8 : 1); ++w)
        for (int b = 0; b < std::min(maxSfb, isShort ? 8 : 40); ++b) {
          const int32_t* offset = isShort ? moxAacSwbOffsetShort[4] : moxAacSwbOffsetLong[4];
          if (isShort ? ltp.shortUsed[w] == 0 : ltp.longUsed[b] == 0) continue;
          for (int i = 128 * w + offset[b]; i < 128 * w + offset[b + 1]; ++i)
            want[i] = static_cast<int32_t>(
                std::clamp<int64_t>(int64_t{want[i]} + filtered[i], -0x7FFFFFFF, 0x7FFFFFFF));
        }
      Block<int32_t> untouched(spectrum);
      ltp.ltpDataPresent = 0;
      const int32_t sequence = isShort ? 2 : 0;
      ASSERT_EQ(moxsLongTermReconstruct_AAC_32s(prediction, spectrum, sequence, maxSfb, 4, &ltp, &tns),
                moxStatusOk);
      EXPECT_SAME_BITS(spectrum, untouched);
      ltp.ltpDataPresent = 1;
      ASSERT_EQ(moxsLongTermReconstruct_AAC_32s(prediction, spectrum, sequence, maxSfb, 4, &ltp, &tns),
                moxStatusOk);
      EXPECT_SAME_BITS(spectrum, want);
      EXPECT_SAME_BITS(prediction, filtered);
    }
}

TEST(Ltp, UpdateMovesTheHistoryOnByAFrame) {
  Block<int32_t> history(MOX_AAC_LTP_HISTORY), time(1024), overlap(1024);
  const Block<int32_t> before(history);
  ASSERT_EQ(moxsLtpUpdate_AAC_32s(time, overlap, history), moxStatusOk);
  for (int i = 0; i < 1024; ++i) {
    ASSERT_EQ(history[i], before[1024 + i]);
    ASSERT_EQ(history[1024 + i], time[i]);
    ASSERT_EQ(history[2048 + i], overlap[i]);
  }
}

TEST(Ltp, RefusesInTheDocumentedOrder) {
  Block<int32_t> h(MOX_AAC_LTP_HISTORY), X(1024), was(X), buffer(MOX_AAC_MDCT_BUFFER_WORDS);
  MoxAacLtpInfo ltp{};
  ltp.ltpDataPresent = 1;
  for (int32_t lag : {-1, 2048}) {
    ltp.ltpLag = ltp.shortLag[7] = lag;
    ltp.shortUsed[7] = 1;
    EXPECT_EQ(moxsLongTermPredict_AAC_32s(h, X, 0, 0, 0, &ltp, buffer), moxStatusOutOfRange);
    EXPECT_EQ(moxsLongTermPredict_AAC_32s(h, X, 2, 0, 0, &ltp, buffer), moxStatusOutOfRange);
  }
  ltp.ltpLag = 0;
  for (int32_t gain : {-1, 32768}) {
    ltp.ltpCoef = gain;
    EXPECT_EQ(moxsLongTermPredict_AAC_32s(h, X, 0, 0, 0, &ltp, buffer), moxStatusOutOfRange);
  }
  EXPECT_EQ(moxsLongTermPredict_AAC_32s(h, X, 0, 2, 0, &ltp, buffer), moxStatusOutOfRange);
  EXPECT_EQ(moxsLongTermPredict_AAC_32s(h, X, 4, 2, 0, &ltp, buffer), moxStatusAacWinSeqError);
  expectNeedsEveryPointer(moxsLongTermPredict_AAC_32s, h, X, 4, 2, 0, &ltp, buffer);
  EXPECT_EQ(moxsLongTermReconstruct_AAC_32s(h, X, 2, 15, 4, &ltp, nullptr), moxStatusAacMaxSfbError);
  EXPECT_EQ(moxsLongTermReconstruct_AAC_32s(h, X, 2, 15, 12, &ltp, nullptr), moxStatusAacSampleRateError);
  EXPECT_EQ(moxsLongTermReconstruct_AAC_32s(h, X, 2, 52, 12, &ltp, nullptr), moxStatusAacMaxSfbError);
  EXPECT_EQ(moxsLongTermReconstruct_AAC_32s(h, X, -1, 52, 12, &ltp, nullptr), moxStatusAacWinSeqError);
  expectNeedsPointers(moxsLongTermReconstruct_AAC_32s, 6, h, X, -1, 52, 12, &ltp, nullptr);
  expectNeedsEveryPointer(moxsLtpUpdate_AAC_32s, X, X, h);
  MoxAacTnsInfo tns{};
  tns.tnsDataPresent = 1, tns.nFilt[0] = 4;
  EXPECT_EQ(moxsLongTermReconstruct_AAC_32s(h, X, 0, 40, 4, &ltp, &tns), moxStatusAacTnsNumFiltError);
  EXPECT_SAME_BITS(X, was);
}

}  // namespace
