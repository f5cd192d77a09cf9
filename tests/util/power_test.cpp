// Power laws and scaling against double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "moxac/util.h"
#include "support/block.h"
#include "util/pow43_table.h"
#include "util/power_kernels.h"

namespace {

using moxtest::Block;

// All 65536 values of a 16-bit input.
std::vector<int16_t> everyInput() {
  std::vector<int16_t> all(65536);
  for (size_t i = 0; i < all.size(); ++i) all[i] = static_cast<int16_t>(static_cast<int32_t>(i) - 32768);
  return all;
}

int16_t saturate16(long double rounded) {
  return static_cast<int16_t>(std::clamp<long double>(rounded, -32768.0L, 32767.0L));
}

long double signedPower(int32_t x, long double exponent) {
  return std::copysign(std::pow(std::fabs(static_cast<long double>(x)), exponent),
                       static_cast<long double>(x));
}

TEST(Pow43, CorrectlyRoundedForEveryInput) {
  const auto all = everyInput();
  std::vector<float> got(all.size());
  ASSERT_EQ(moxsPow43_16s32f(all.data(), got.data(), 65536), moxStatusOk);
  for (size_t i = 0; i < all.size(); ++i) {
    // f is nearest when k^4 lies between the cubes of the midpoints to f's neighbours, exactly in integers.
    const uint64_t k = static_cast<uint64_t>(std::abs(int32_t{all[i]}));
    const float f = std::fabs(got[i]);
    ASSERT_EQ(std::signbit(got[i]), all[i] < 0);
    if (k == 0) {
      ASSERT_EQ(f, 0.0f);
      continue;
    }
    int e = 0;
    const auto m = static_cast<uint64_t>(std::ldexp(std::frexp(f, &e), 24));
    const int shift = 3 * (25 - e);  // midpoints are (2m -+ 1) * 2^(e - 25); k^4 may pass 64 bits
    ASSERT_GE(shift, 0);
    const long double fourth = std::ldexp(static_cast<long double>(k * k * k * k), shift);
    const auto cube = [](uint64_t v) {
      return static_cast<long double>(v) * static_cast<long double>(v) * static_cast<long double>(v);
    };
    ASSERT_LE(cube(2 * m - 1), fourth) << all[i];
    ASSERT_GE(cube(2 * m + 1), fourth) << all[i];
  }
  EXPECT_EQ(got[32768 - 3], -4.3267488f);
  EXPECT_EQ(got[32768 + 8], 16.0f);
}

TEST(Pow43, EqualsItsTwinAtEveryTailAndAlignment) {
  for (const int32_t len : {1, 7, 8, 9, 200})
    for (int64_t shift = 0; shift < 32; shift += 2)
      for (const int limit : {8206, 32767}) {
        Block<int16_t> x(len, shift);
        Block<float> got(len, 4 * (shift % 8)), want(len);
        for (int32_t i = 0; i < len; ++i) {
          x[i] = static_cast<int16_t>(x[i] % (limit + 1));
          want[i] = moxac::util::signedPow43(x[i]);
        }
        ASSERT_EQ(moxsPow43_16s32f(x, got, len), moxStatusOk);
        ASSERT_TRUE(moxtest::sameBits(got, want));
      }
}

TEST(Pow43, LengthZeroIsFineAndRefusalsComeInOrder) {
  int16_t x = 1;
  float y = 5.0f;
  EXPECT_EQ(moxsPow43_16s32f(&x, &y, 0), moxStatusOk);
  EXPECT_EQ(moxsPow43_16s32f(nullptr, &y, -1), moxStatusNullPointer);
  EXPECT_EQ(moxsPow43_16s32f(&x, nullptr, 1), moxStatusNullPointer);
  EXPECT_EQ(moxsPow43_16s32f(&x, &y, -1), moxStatusBadSize);
  EXPECT_EQ(y, 5.0f);
}

TEST(MakeFloat, BitRuleForEveryExponentAndFormulaBelow112) {
  for (int32_t exponent = 0; exponent < 65536; ++exponent)
    for (const int16_t mantissa : {int16_t{1}, int16_t{-32768}, int16_t{16384}}) {
      const float got = moxac::util::makeFloat(mantissa, static_cast<uint16_t>(exponent));
      const uint32_t bits = (0x38000000u - (static_cast<uint32_t>(exponent) << 23)) & 0x7FFFFFFFu;
      float factor;
      std::memcpy(&factor, &bits, 4);
      if (!std::isnan(factor)) {
        ASSERT_EQ(got, static_cast<float>(mantissa) * factor) << exponent;
      }
      if (exponent < 112) {
        ASSERT_EQ(got, std::ldexp(static_cast<float>(mantissa), -15 - exponent)) << exponent;
      }
    }
  const int16_t half = 16384;
  const uint16_t zero = 0;
  float y = 0;
  moxsMakeFloat_16s32f(&half, &zero, 1, &y);
  EXPECT_EQ(y, 0.5f);
}

TEST(MakeFloat, EqualsItsTwinAtEveryTailAndAlignment) {
  for (const int32_t len : {1, 7, 8, 9, 64, 1001})
    for (int64_t shift = 0; shift < 32; shift += 2) {
      Block<int16_t> mant(len, shift);
      Block<uint16_t> exp(len, (shift * 3) % 32);
      Block<float> got(len, (shift * 2) % 32), want(len);
      for (int32_t i = 0; i < len; ++i) want[i] = moxac::util::makeFloat(mant[i], exp[i]);
      const bool aligned = shift % 16 == 0;
      EXPECT_EQ(moxsMakeFloat_16s32f(mant, exp, len, got), aligned ? moxStatusOk : moxStatusMisalignedData);
      ASSERT_TRUE(moxtest::sameBits(got, want));
    }
  EXPECT_EQ(moxsMakeFloat_16s32f(nullptr, nullptr, 0, nullptr), moxStatusNullPointer);
  Block<int16_t> m(1);
  Block<uint16_t> e(1);
  Block<float> d(1);
  EXPECT_EQ(moxsMakeFloat_16s32f(m, e, 0, d), moxStatusBadSize);
}

TEST(Scale, MultipliesEachBandAndNothingElse) {
  for (int64_t shift = 0; shift < 32; shift += 4) {
    Block<float> x(100, shift), want = x;
    const int32_t offsets[] = {3, 3, 4, 21, 61, 97};  // an empty band first
    const float scales[] = {9.0f, 0.5f, -3.25f, 1e-3f, 7.7f};
    for (int b = 0; b < 5; ++b)
      for (int32_t i = offsets[b]; i < offsets[b + 1]; ++i) want[i] *= scales[b];
    ASSERT_EQ(moxsScale_32f_I(x, scales, offsets, 5), moxStatusOk);
    EXPECT_SAME_BITS(x, want);
    EXPECT_EQ(moxsScale_32f_I(x, scales, offsets, 0), moxStatusBadSize);
    EXPECT_EQ(moxsScale_32f_I(x, nullptr, offsets, 0), moxStatusNullPointer);
    EXPECT_SAME_BITS(x, want);
  }
}

TEST(Pow34, SixteenBitFormIsExactForEveryInputAndScale) {
  const auto all = everyInput();
  std::vector<int16_t> got(all.size());
  for (const int32_t scale : {-40, -8, -1, 0, 1, 5, 11, 12, 40, INT32_MAX, INT32_MIN}) {
    ASSERT_EQ(moxsPow34_16s_Sfs(all.data(), got.data(), 65536, scale), moxStatusOk);
    for (size_t i = 0; i < all.size(); ++i) {
      const long double y = std::ldexp(signedPower(all[i], 0.75L), -std::clamp(scale, -9999, 9999));
      ASSERT_EQ(got[i], saturate16(std::nearbyint(y))) << all[i] << " scale " << scale;
    }
  }
  EXPECT_EQ(moxsPow34_16s_Sfs(nullptr, nullptr, 0, 0), moxStatusBadSize) << "the length is tested first";
  EXPECT_EQ(moxsPow34_16s_Sfs(nullptr, got.data(), 1, 0), moxStatusNullPointer);
}

TEST(Pow34, FloatFormsKeepTheirErrorAndTheirTwin) {
  const float special[] = {0.0f, -0.0f, INFINITY, -INFINITY, 1.0f, -16.0f, 1e-40f, 3e38f};
  long double worst = 0;
  for (const int32_t len : {1, 8, 1003})
    for (int64_t shift = 0; shift < 32; shift += 4) {
      Block<float> x(len, shift), y(len, shift);
      Block<int16_t> n(len, shift);
      for (int32_t i = 0; i < len; ++i)
        x[i] = i < 8 ? special[i] : std::ldexp(x[i], static_cast<int>(moxtest::noise()() % 40) - 15);
      const moxStatus want = shift % 16 == 0 ? moxStatusOk : moxStatusMisalignedData;
      EXPECT_EQ(moxsPow34_32f(x, y, len), want);
      EXPECT_EQ(moxsPow34_32f16s(x, n, len), want);
      for (int32_t i = 0; i < len; ++i) {
        const float twin = moxac::util::signedPow34(x[i]);
        ASSERT_EQ(std::memcmp(&y[i], &twin, 4), 0) << x[i];
        ASSERT_EQ(n[i], saturate16(std::nearbyint(y[i]))) << x[i];
        if (!std::isfinite(x[i]) || std::fabs(x[i]) < 1e-37f) continue;
        const long double exact =
            std::copysign(std::pow(std::fabs(static_cast<long double>(x[i])), 0.75L), x[i]);
        worst = std::max(worst, std::fabs(y[i] / exact - 1.0L));
      }
    }
  RecordProperty("worst_relative_error", std::to_string(static_cast<double>(worst)));
  EXPECT_LT(worst, std::ldexp(3.5L, -24));
  float x = NAN, y = 0;
  int16_t n = 0;
  moxsPow34_32f(&x, &y, 1);
  moxsPow34_32f16s(&x, &n, 1);
  EXPECT_TRUE(std::isnan(y));
  EXPECT_EQ(n, -32768);
  EXPECT_EQ(moxsPow34_32f(nullptr, &y, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsPow34_32f(&x, &y, 0), moxStatusBadSize);
  EXPECT_EQ(moxsPow34_32f16s(&x, nullptr, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsPow34_32f16s(&x, &n, 0), moxStatusBadSize);
}

TEST(Pow43Scale, MatchesTheFormulaForEveryInput) {
  const auto all = everyInput();
  std::vector<int32_t> got(all.size());
  const int32_t offsets[] = {0, 65536};
  for (const int16_t gain : {int16_t{0}, int16_t{1}, int16_t{2}, int16_t{3}, int16_t{-5}, int16_t{30},
                             int16_t{-32768}, int16_t{32767}})
    for (const int32_t scale : {0, 3, -7, INT32_MIN, INT32_MAX}) {
      ASSERT_EQ(moxsPow43Scale_16s32s_Sf(all.data(), got.data(), &gain, offsets, 1, scale), moxStatusOk);
      for (size_t i = 0; i < all.size(); i += scale == 0 ? 1 : 37) {
        const long double exponent = gain / 4.0L - static_cast<long double>(scale);
        const long double y = all[i] == 0
                                  ? 0.0L
                                  : signedPower(all[i], 4.0L / 3.0L) *
                                        std::exp2(std::clamp<long double>(exponent, -9000.0L, 9000.0L));
        const long double want = std::clamp<long double>(y, -2147483648.0L, 2147483647.0L);
        // Half a unit, plus what double precision leaves of a value near a tie.
        ASSERT_LE(std::fabs(got[i] - want), 0.5L + 1e-6L) << all[i] << " gain " << gain << " scale " << scale;
      }
    }
  // The results of cubes are fourth powers and meet ties, which go to the even side.
  for (int32_t scale = 0; scale <= 20; ++scale) {
    const int16_t gain = 0;
    moxsPow43Scale_16s32s_Sf(all.data(), got.data(), &gain, offsets, 1, scale);
    for (int32_t root = -32; root <= 31; ++root) {
      const auto at = static_cast<size_t>(root * root * root + 32768);
      const double want = std::nearbyint(std::ldexp(std::copysign(std::pow(root, 4), root), -scale));
      ASSERT_EQ(all[at], root * root * root);
      ASSERT_EQ(got[at], want) << all[at] << " scale " << scale;
    }
  }
  EXPECT_EQ(moxsPow43Scale_16s32s_Sf(all.data(), got.data(), nullptr, offsets, 0, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsPow43Scale_16s32s_Sf(all.data(), got.data(), all.data(), offsets, 0, 0), moxStatusBadSize);
}

// The vectors take four or eight values; one at a time there are none.
TEST(Power, WholeVectorsGiveTheBitsOfSingleElements) {
  constexpr int32_t kLen = 4011;
  for (const int16_t gain : {int16_t{7}, int16_t{-21}, int16_t{0}})
    for (const int16_t limit : {int16_t{200}, int16_t{32767}}) {
      Block<int16_t> x(kLen), got34(kLen), want34(kLen);
      Block<int32_t> got43(kLen), want43(kLen);
      Block<float> gotSf(kLen), wantSf(kLen);
      for (int16_t& v : x) v = static_cast<int16_t>(v % limit);
      const int32_t all[] = {0, kLen}, one[] = {0, 1};
      ASSERT_EQ(moxsPow43Scale_16s32s_Sf(x, got43, &gain, all, 1, 0), moxStatusOk);
      ASSERT_EQ(moxsPow34_16s_Sfs(x, got34, kLen, gain), moxStatusOk);
      ASSERT_EQ(moxsCalcSF_16s32f(x, gotSf, kLen, gain), moxStatusOk);
      for (int32_t i = 0; i < kLen; ++i) {
        moxsPow43Scale_16s32s_Sf(&x[i], &want43[i], &gain, one, 1, 0);
        moxsPow34_16s_Sfs(&x[i], &want34[i], 1, gain);
        moxsCalcSF_16s32f(&x[i], &wantSf[i], 1, gain);
      }
      EXPECT_SAME_BITS(got43, want43);
      EXPECT_SAME_BITS(got34, want34);
      EXPECT_SAME_BITS(gotSf, wantSf);
    }
}

TEST(CalcSF, CorrectlyRoundedForEveryInput) {
  const auto all = everyInput();
  std::vector<float> got(all.size());
  for (const int32_t offset : {0, 100, -99, INT32_MIN, INT32_MAX}) {
    ASSERT_EQ(moxsCalcSF_16s32f(all.data(), got.data(), 65536, offset), moxStatusOk);
    for (size_t i = 0; i < all.size(); ++i) {
      const long double quarters = static_cast<long double>(all[i]) - static_cast<long double>(offset);
      ASSERT_EQ(got[i], static_cast<float>(std::exp2(quarters / 4.0L))) << all[i] << " offset " << offset;
    }
  }
  EXPECT_EQ(moxsCalcSF_16s32f(all.data(), nullptr, 0, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsCalcSF_16s32f(all.data(), got.data(), 0, 0), moxStatusBadSize);
}

TEST(Spread, FillsBandsWithTheRoundedValue) {
  const auto all = everyInput();
  const int32_t offsets[] = {2, 5, 5, 9};
  for (const int32_t scale : {0, 1, 3, 15, 16, -1, -20, INT32_MIN, INT32_MAX})
    for (size_t k = 0; k + 3 <= all.size(); k += scale == 1 ? 3 : 301) {
      Block<int16_t> dst(12, 2), want = dst;
      for (int b = 0; b < 3; ++b) {
        const long double y = std::ldexp(static_cast<long double>(all[k + static_cast<size_t>(b)]),
                                         -std::clamp(scale, -9999, 9999));
        for (int32_t i = offsets[b]; i < offsets[b + 1]; ++i) want[i] = saturate16(std::nearbyint(y));
      }
      ASSERT_EQ(moxsSpread_16s_Sfs(&all[k], dst, offsets, 3, scale), moxStatusOk);
      ASSERT_TRUE(moxtest::sameBits(dst, want)) << all[k] << " scale " << scale;
    }
  Block<int16_t> dst(4);
  EXPECT_EQ(moxsSpread_16s_Sfs(all.data(), dst, nullptr, 0, 0), moxStatusNullPointer);
  EXPECT_EQ(moxsSpread_16s_Sfs(all.data(), dst, offsets, 0, 0), moxStatusBadSize);
}

}  // namespace
