// Prediction coefficients: against the formula in extended precision, vectors against single sub-bands, the
// rules for silence and large results.
#include <cmath>
#include <complex>
#include <vector>

#include "moxac/sbr.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;
using Exact = std::complex<long double>;

// alpha0, alpha1 of the samples x[0..slots+1] of one sub-band.
std::pair<Exact, Exact> formula(const std::vector<Exact>& x) {
  Exact phi01, phi12, phi02;
  long double phi11 = 0, phi22 = 0;
  for (size_t j = 0; j + 2 < x.size(); ++j) {
    phi01 += x[j + 2] * std::conj(x[j + 1]);
    phi12 += x[j + 1] * std::conj(x[j]);
    phi02 += x[j + 2] * std::conj(x[j]);
    phi11 += std::norm(x[j + 1]);
    phi22 += std::norm(x[j]);
  }
  const long double det = phi22 * phi11 - 0.9999990463256836L * std::norm(phi12);
  const Exact alpha1 = det != 0 ? (phi01 * phi12 - phi02 * phi11) / det : Exact{};
  const Exact alpha0 = phi11 != 0 ? -(phi01 + alpha1 * std::conj(phi12)) / phi11 : Exact{};
  if (std::norm(alpha0) >= 16 || std::norm(alpha1) >= 16) return {};
  return {alpha0, alpha1};
}

// Rows of samples for every form: noise in the lower sub-bands, then pure and decaying tones, whose
// determinant is nothing but the relaxation.
struct Signal {
  static constexpr int kBands = 33;
  int slots;
  std::vector<std::vector<float>> re, im;
  std::vector<std::vector<Mox32fc>> pairs;
  std::vector<float*> pRe, pIm;
  std::vector<Mox32fc*> pPairs;

  explicit Signal(int numTimeSlots, bool real = false) : slots(numTimeSlots) {
    for (int m = 0; m < slots + 2; ++m) {
      auto& r = re.emplace_back(kBands);
      auto& i = im.emplace_back(kBands);
      auto& p = pairs.emplace_back(kBands);
      for (size_t k = 0; k < kBands; ++k) {
        std::complex<float> x(noiseValue<float>(), noiseValue<float>());
        if (k >= 20)
          x = std::polar(std::pow(k % 2 == 0 ? 1.0f : 0.96f, float(m)), 0.07f * float(k) * float(m) + 1.0f);
        r[k] = x.real();
        i[k] = real ? 0 : x.imag();
        p[k] = {r[k], i[k]};
      }
    }
    for (size_t m = 0; m < re.size(); ++m) {
      pRe.push_back(re[m].data());
      pIm.push_back(im[m].data());
      pPairs.push_back(pairs[m].data());
    }
  }
  std::vector<Exact> band(size_t k) const {
    std::vector<Exact> x;
    for (size_t m = 0; m < re.size(); ++m) x.emplace_back(re[m][k], im[m][k]);
    return x;
  }
};

TEST(PredictCoef, ComplexFormsFollowTheFormulaAndEachOther) {
  for (const int slots : {1, 2, 38, 60}) {
    const Signal s(slots);
    for (const int numBands : {1, 3, 4, 7, 32, 33}) {
      Block<float> a0r(numBands, 4), a0i(numBands), a1r(numBands, 8), a1i(numBands);
      Block<float> a0(2 * numBands, 4), a1(2 * numBands);
      auto* const p0 = reinterpret_cast<Mox32fc*>(a0.data());
      auto* const p1 = reinterpret_cast<Mox32fc*>(a1.data());
      ASSERT_EQ(
          moxsPredictCoef_SBR_C_32f_D2L(s.pRe.data(), s.pIm.data(), a0r, a0i, a1r, a1i, numBands, slots), 0);
      ASSERT_EQ(moxsPredictCoef_SBR_C_32fc_D2L(s.pPairs.data(), p0, p1, numBands, slots), 0);
      for (int k = 0; k < numBands; ++k) {
        const float split[4] = {a0r[k], a0i[k], a1r[k], a1i[k]};
        const float paired[4] = {p0[k].re, p0[k].im, p1[k].re, p1[k].im};
        EXPECT_EQ(std::memcmp(split, paired, sizeof(split)), 0) << k;
        const auto [want0, want1] = formula(s.band(static_cast<size_t>(k)));
        EXPECT_LT(std::abs(Exact(split[0], split[1]) - want0), 1e-6L) << k << " of " << slots;
        EXPECT_LT(std::abs(Exact(split[2], split[3]) - want1), 1e-6L) << k << " of " << slots;
      }
    }
  }
}

TEST(PredictCoef, RealFormFollowsTheFormulaAndItsVectorsTheScalarPath) {
  const int slots = 38;
  Signal s(slots, true);
  for (int numBands = 1; numBands <= Signal::kBands; ++numBands) {
    Block<float> a0(numBands, 4), a1(numBands);
    ASSERT_EQ(moxsPredictCoef_SBR_R_32f_D2L(s.pRe.data(), a0, a1, numBands, slots), 0);
    for (int k = 0; k < numBands; ++k) {
      std::vector<const float*> from;
      for (const float* row : s.pRe) from.push_back(row + k);
      Block<float> alone0(1), alone1(1);
      ASSERT_EQ(moxsPredictCoef_SBR_R_32f_D2L(from.data(), alone0, alone1, 1, slots), 0);
      EXPECT_EQ(std::memcmp(&a0[k], alone0.data(), 4), 0) << k;
      EXPECT_EQ(std::memcmp(&a1[k], alone1.data(), 4), 0) << k;
      if (k >= 20) continue;  // a tone leaves single precision few digits of the determinant
      const auto [want0, want1] = formula(s.band(static_cast<size_t>(k)));
      EXPECT_NEAR(a0[k], static_cast<double>(want0.real()), 2e-6);
      EXPECT_NEAR(a1[k], static_cast<double>(want1.real()), 2e-6);
    }
  }
  // Samples of 2^-26 leave determinants whose squares underflow; scaling by a power of two changes no bit.
  Block<float> a0(20), a1(20), small0(20), small1(20);
  moxsPredictCoef_SBR_R_32f_D2L(s.pRe.data(), a0, a1, 20, slots);
  for (auto& row : s.re)
    for (float& v : row) v *= 0x1p-26f;
  moxsPredictCoef_SBR_R_32f_D2L(s.pRe.data(), small0, small1, 20, slots);
  EXPECT_SAME_BITS(small0, a0);
  EXPECT_SAME_BITS(small1, a1);
}

TEST(PredictCoef, FixedPointFormsFollowTheFormula) {
  const int slots = 38;
  const Signal s(slots);
  for (const double scale : {2147483647.0, 32768.0 * 16, 300.0})
    for (size_t k = 0; k < Signal::kBands; ++k) {
      std::vector<std::vector<Mox32sc>> rows(slots + 2, std::vector<Mox32sc>(64));
      std::vector<std::vector<int32_t>> realRows(slots + 2, std::vector<int32_t>(64));
      std::vector<const Mox32sc*> p;
      std::vector<const int32_t*> pReal;
      std::vector<Exact> x, xReal;
      const size_t band = 63 - k;
      for (size_t m = 0; m < rows.size(); ++m) {
        const auto re = static_cast<int32_t>(s.re[m][k] * scale),
                   im = static_cast<int32_t>(s.im[m][k] * scale);
        rows[m][band] = {re, im};
        realRows[m][band] = re;
        p.push_back(rows[m].data());
        pReal.push_back(realRows[m].data());
        x.emplace_back(re, im);
        xReal.emplace_back(re, 0);
      }
      Mox32sc a0{}, a1{};
      int32_t r0 = 0, r1 = 0;
      ASSERT_EQ(moxsPredictOneCoef_SBRHQ_32sc_D2L(p.data(), &a0, &a1, int32_t(band), slots), 0);
      ASSERT_EQ(moxsPredictOneCoef_SBRLP_32s_D2L(pReal.data(), &r0, &r1, int32_t(band), slots), 0);
      const auto near = [&](Exact got, Exact want) {
        EXPECT_LT(std::abs(got / 0x1p28L - want), 0x1p-24) << k;
      };
      const auto [want0, want1] = formula(x);
      near(Exact(a0.re, a0.im), want0);
      near(Exact(a1.re, a1.im), want1);
      const auto [wantReal0, wantReal1] = formula(xReal);
      near(Exact(r0), wantReal0);
      near(Exact(r1), wantReal1);
    }
}

// One slot of x[0] = 0, x[1] = 1, x[2]: the determinant is 0, so alpha1 is 0 and alpha0 = -x[2].
TEST(PredictCoef, SilenceZeroDeterminantAndTheResetAtFour) {
  for (const int bands : {1, 8})
    for (const float last : {0.0f, 3.5f, 0x1.FFFFFEp1f, 4.0f, -4.0f, 5.0f, -3.0f}) {
      const std::vector<float> zero(8), one(8, 1.0f), x2(8, last);
      const std::vector<Mox32fc> czero(8), cone(8, {1, 0}), cx2(8, {0, last});
      const float* rows[] = {zero.data(), one.data(), x2.data()};
      const Mox32fc* crows[] = {czero.data(), cone.data(), cx2.data()};
      const float want = std::abs(last) >= 4 ? 0 : -last;
      Block<float> a0(bands), a1(bands), c0(2 * bands), c1(2 * bands);
      moxsPredictCoef_SBR_R_32f_D2L(rows, a0, a1, bands, 1);
      moxsPredictCoef_SBR_C_32fc_D2L(crows, reinterpret_cast<Mox32fc*>(c0.data()),
                                     reinterpret_cast<Mox32fc*>(c1.data()), bands, 1);
      for (int k = 0; k < bands; ++k) {
        EXPECT_EQ(a0[k], want);
        EXPECT_EQ(a1[k], 0);
        EXPECT_EQ(c0[2 * k], 0);
        EXPECT_EQ(c0[2 * k + 1], want);
        EXPECT_EQ(c1[2 * k], 0);
        EXPECT_EQ(c1[2 * k + 1], 0);
      }
      const int32_t fixed[] = {0, 1 << 20, static_cast<int32_t>(last * 0x1p20f)};
      const int32_t* fixedRows[] = {fixed, fixed + 1, fixed + 2};
      int32_t r0 = 1, r1 = 1;
      moxsPredictOneCoef_SBRLP_32s_D2L(fixedRows, &r0, &r1, 0, 1);
      EXPECT_EQ(r0, want == 0 ? 0 : -fixed[2] * 256);
      EXPECT_EQ(r1, 0);
    }
  // Rows of nothing: 0, 0 without a division, in vectors and alone.
  const std::vector<float> zero(9);
  const std::vector<const float*> rows(12, zero.data());
  Block<float> a0(9), a1(9), im0(9), im1(9);
  moxsPredictCoef_SBR_R_32f_D2L(rows.data(), a0, a1, 9, 10);
  for (int k = 0; k < 9; ++k) EXPECT_TRUE(a0[k] == 0 && a1[k] == 0);
  moxsPredictCoef_SBR_C_32f_D2L(rows.data(), rows.data(), a0, im0, a1, im1, 9, 10);
  for (int k = 0; k < 9; ++k) EXPECT_TRUE(a0[k] == 0 && a1[k] == 0 && im0[k] == 0 && im1[k] == 0);
}

TEST(PredictCoef, RefusesInOrderAndWritesNothing) {
  const Signal s(4);
  Block<float> out(4);
  const Block<float> before = out;
  float* const o = out;
  auto* const c = reinterpret_cast<Mox32fc*>(o);
  float* const* const re = s.pRe.data();
  Mox32fc* const* const pairs = s.pPairs.data();
  const Mox32sc* hq[3] = {};
  const int32_t* lp[3] = {};
  Mox32sc h{7, 7};
  int32_t l = 7;
  // A null wins over band and length.
  expectNeedsEveryPointer(moxsPredictCoef_SBR_R_32f_D2L, re, o, o, 1, 0);
  expectNeedsEveryPointer(moxsPredictCoef_SBR_C_32f_D2L, re, re, o, o, o, o, 1, 0);
  expectNeedsEveryPointer(moxsPredictCoef_SBR_C_32fc_D2L, pairs, c, c, 1, 0);
  expectNeedsEveryPointer(moxsPredictOneCoef_SBRHQ_32sc_D2L, hq, &h, &h, 64, 0);
  expectNeedsEveryPointer(moxsPredictOneCoef_SBRLP_32s_D2L, lp, &l, &l, -1, 0);
  for (const int band : {-1, 0, 63, 64}) {
    const moxStatus want = band == 0 || band == 63 ? moxStatusOk : moxStatusOutOfRange;
    EXPECT_EQ(moxsPredictOneCoef_SBRHQ_32sc_D2L(hq, &h, &h, band, 0), want);
    EXPECT_EQ(moxsPredictOneCoef_SBRLP_32s_D2L(lp, &l, &l, band, -3), want);
  }
  EXPECT_EQ(moxsPredictCoef_SBR_R_32f_D2L(re, o, o, 1, 0), moxStatusOk);
  EXPECT_EQ(moxsPredictCoef_SBR_R_32f_D2L(re, o, o, 0, 4), moxStatusOk);
  EXPECT_EQ(moxsPredictCoef_SBR_C_32fc_D2L(pairs, c, c, 1, -1), moxStatusOk);
  EXPECT_TRUE(h.re == 7 && l == 7);
  EXPECT_SAME_BITS(out, before);
}

}  // namespace
