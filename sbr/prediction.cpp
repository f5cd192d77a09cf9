// Prediction coefficients of the SBR high-frequency generator: float sub-bands in vectors, and single
// fixed-point ones.
#include <cmath>

#include "frame/checks.h"
#include "moxac/sbr.h"
#include "sbr/prediction_kernels.h"

namespace moxac::sbr {
namespace {

constexpr int32_t kLastBand = 63;

// Every float of the complex forms is widened first: products are exact then, and a pure tone's determinant,
// a millionth of its terms, keeps its digits.
struct SplitSource {
  const float* const* re;
  const float* const* im;

  Complex<Lanes1d> one(int32_t row, int32_t k) const { return {re[row][k], im[row][k]}; }
  Complex<Lanes4d> four(int32_t row, int32_t k) const {
    return {widen4(load4(re[row] + k)), widen4(load4(im[row] + k))};
  }
};

struct InterleavedSource {
  const Mox32fc* const* rows;

  Complex<Lanes1d> one(int32_t row, int32_t k) const { return {rows[row][k].re, rows[row][k].im}; }
  Complex<Lanes4d> four(int32_t row, int32_t k) const {
    const f32x4 a = load4(&rows[row][k].re), b = load4(&rows[row][k + 2].re);
    return {widen4(evenLanes(a, b)), widen4(oddLanes(a, b))};
  }
};

struct SplitResult {
  float* re;
  float* im;

  void put(int32_t k, Complex<Lanes1d> v) const {
    re[k] = static_cast<float>(v.re);
    im[k] = static_cast<float>(v.im);
  }
  void put(int32_t k, Complex<Lanes4d> v) const {
    store4(re + k, narrow4(v.re));
    store4(im + k, narrow4(v.im));
  }
};

struct InterleavedResult {
  Mox32fc* pairs;

  void put(int32_t k, Complex<Lanes1d> v) const {
    pairs[k] = {static_cast<float>(v.re), static_cast<float>(v.im)};
  }
  void put(int32_t k, Complex<Lanes4d> v) const {
    const f32x4 re = narrow4(v.re), im = narrow4(v.im);
    store4(&pairs[k].re, zipLow(re, im));
    store4(&pairs[k + 2].re, zipHigh(re, im));
  }
};

template <class Source, class Result>
void predictBands(const Source& source, const Result& alpha0, const Result& alpha1, int32_t numBands,
                  int32_t numTimeSlots) {
  int32_t k = 0;
  for (; k + 4 <= numBands; k += 4) {
    const auto p = predictComplex<Lanes4d>(numTimeSlots, [&](int32_t m) { return source.four(m, k); });
    alpha0.put(k, p.alpha0);
    alpha1.put(k, p.alpha1);
  }
  for (; k < numBands; ++k) {
    const auto p = predictComplex<Lanes1d>(numTimeSlots, [&](int32_t m) { return source.one(m, k); });
    alpha0.put(k, p.alpha0);
    alpha1.put(k, p.alpha1);
  }
}

// A coefficient, of magnitude below 4, with 28 fraction bits.
int32_t toQ28(double alpha) { return static_cast<int32_t>(std::lrint(alpha * 0x1p28)); }

}  // namespace
}  // namespace moxac::sbr

using namespace moxac;
using namespace moxac::sbr;

moxStatus moxsPredictCoef_SBR_R_32f_D2L(const float* const* ppSrc, float* pAlpha0, float* pAlpha1,
                                        int32_t numBands, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(ppSrc, pAlpha0, pAlpha1), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  int32_t k = 0;
  for (; k + 8 <= numBands; k += 8) {
    const auto p = predictReal<Lanes8>(numTimeSlots, [&](int32_t m) { return load8(ppSrc[m] + k); });
    store8(pAlpha0 + k, p.alpha0);
    store8(pAlpha1 + k, p.alpha1);
  }
  for (; k < numBands; ++k) {
    const auto p = predictReal<Lanes1>(numTimeSlots, [&](int32_t m) { return ppSrc[m][k]; });
    pAlpha0[k] = p.alpha0;
    pAlpha1[k] = p.alpha1;
  }
  return moxStatusOk;
}

moxStatus moxsPredictCoef_SBR_C_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm,
                                        float* pAlpha0Re, float* pAlpha0Im, float* pAlpha1Re,
                                        float* pAlpha1Im, int32_t numBands, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(ppSrcRe, ppSrcIm, pAlpha0Re, pAlpha0Im, pAlpha1Re, pAlpha1Im), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  predictBands(SplitSource{ppSrcRe, ppSrcIm}, SplitResult{pAlpha0Re, pAlpha0Im},
               SplitResult{pAlpha1Re, pAlpha1Im}, numBands, numTimeSlots);
  return moxStatusOk;
}

moxStatus moxsPredictCoef_SBR_C_32fc_D2L(const Mox32fc* const* ppSrc, Mox32fc* pAlpha0, Mox32fc* pAlpha1,
                                         int32_t numBands, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(ppSrc, pAlpha0, pAlpha1), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  predictBands(InterleavedSource{ppSrc}, InterleavedResult{pAlpha0}, InterleavedResult{pAlpha1}, numBands,
               numTimeSlots);
  return moxStatusOk;
}

moxStatus moxsPredictOneCoef_SBRHQ_32sc_D2L(const Mox32sc* const* ppSrc, Mox32sc* pAlpha0, Mox32sc* pAlpha1,
                                            int32_t band, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(ppSrc, pAlpha0, pAlpha1), moxStatusNullPointer);
  MOX_REQUIRE(inRange(band, 0, kLastBand), moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const auto p = predictComplex<Lanes1d>(numTimeSlots, [&](int32_t m) {
    return Complex<Lanes1d>{static_cast<double>(ppSrc[m][band].re), static_cast<double>(ppSrc[m][band].im)};
  });
  *pAlpha0 = {toQ28(p.alpha0.re), toQ28(p.alpha0.im)};
  *pAlpha1 = {toQ28(p.alpha1.re), toQ28(p.alpha1.im)};
  return moxStatusOk;
}

moxStatus moxsPredictOneCoef_SBRLP_32s_D2L(const int32_t* const* ppSrc, int32_t* pAlpha0, int32_t* pAlpha1,
                                           int32_t band, int32_t numTimeSlots) {
  MOX_REQUIRE(notNull(ppSrc, pAlpha0, pAlpha1), moxStatusNullPointer);
  MOX_REQUIRE(inRange(band, 0, kLastBand), moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const auto p =
      predictReal<Lanes1d>(numTimeSlots, [&](int32_t m) { return static_cast<double>(ppSrc[m][band]); });
  *pAlpha0 = toQ28(p.alpha0);
  *pAlpha1 = toQ28(p.alpha1);
  return moxStatusOk;
}
