// Power laws and block-floating-point conversion, element by element. Forms over f32x8 stand beside their
// scalar twins; both give the same bits.
#pragma once

#include <bit>
#include <cmath>
#include <cstdint>

#include "frame/simd.h"
#include "util/pow43_table.h"
#include "util/round.h"

namespace moxac::util {

// Mantissa times the float whose bits are 2^-15 less exponent << 23, sign cleared.
inline float makeFloat(int16_t mantissa, uint16_t exponent) {
  const uint32_t bits = (0x38000000u - (uint32_t{exponent} << 23)) & 0x7FFFFFFFu;
  return static_cast<float>(mantissa) * std::bit_cast<float>(bits);
}

// The factors' upper halves fit 16-bit lanes: their lower halves are zero.
inline void makeFloatBlock(const int16_t* mant, const uint16_t* exp, int64_t len, float* dst) {
  const auto halfwords8 = [](const void* p) { return _mm_loadu_si128(static_cast<const __m128i*>(p)); };
  const auto halfwords4 = [](const void* p) { return _mm_loadl_epi64(static_cast<const __m128i*>(p)); };
  const __m128i zero = _mm_setzero_si128();
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) {
    const __m128i upper =
        _mm_and_si128(_mm_sub_epi16(_mm_set1_epi16(0x3800), _mm_slli_epi16(halfwords8(exp + i), 7)),
                      _mm_set1_epi16(0x7FFF));
    const f32x4 low = _mm_castsi128_ps(_mm_unpacklo_epi16(zero, upper));
    const f32x4 high = _mm_castsi128_ps(_mm_unpackhi_epi16(zero, upper));
    store4(dst + i, _mm_cvtepi32_ps(_mm_cvtepi16_epi32(halfwords4(mant + i))) * low);
    store4(dst + i + 4, _mm_cvtepi32_ps(_mm_cvtepi16_epi32(halfwords4(mant + i + 4))) * high);
  }
  for (; i < len; ++i) dst[i] = makeFloat(mant[i], exp[i]);
}

// sign(x) * |x|^(4/3)
inline float signedPow43(int16_t x) {
  const float y = pow43(x < 0 ? -int32_t{x} : int32_t{x});
  return x < 0 ? -y : y;
}

// Eight magnitudes at a time through the table; blocks with one beyond it go element by element.
inline void pow43Block(const int16_t* src, float* dst, int64_t len) {
  const float* const table = kPow43.data();
  const __m128i largest = _mm_set1_epi16(kPow43Count - 1);
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + i));
    const __m128i magnitude =
        _mm_abs_epi16(x);  // -32768 stays 0x8000, beyond the table as an unsigned number
    const __m128i beyond = _mm_subs_epu16(magnitude, largest);
    if (!_mm_testz_si128(beyond, beyond)) {
      for (int64_t j = i; j < i + 8; ++j) dst[j] = signedPow43(src[j]);
      continue;
    }
    const auto four = [table](uint64_t m) {
      return _mm_setr_ps(table[m & 0xFFFF], table[(m >> 16) & 0xFFFF], table[(m >> 32) & 0xFFFF],
                         table[m >> 48]);
    };
    const __m128i sign = _mm_and_si128(x, _mm_set1_epi16(INT16_MIN));
    const __m128i zero = _mm_setzero_si128();
    const f32x4 low = four(static_cast<uint64_t>(_mm_cvtsi128_si64(magnitude)));
    const f32x4 high = four(static_cast<uint64_t>(_mm_extract_epi64(magnitude, 1)));
    store4(dst + i, _mm_or_ps(low, _mm_castsi128_ps(_mm_unpacklo_epi16(zero, sign))));
    store4(dst + i + 4, _mm_or_ps(high, _mm_castsi128_ps(_mm_unpackhi_epi16(zero, sign))));
  }
  for (; i < len; ++i) dst[i] = signedPow43(src[i]);
}

// sign(x) * |x|^(3/4) = sqrt(|x|) * sqrt(sqrt(|x|)) with x's sign.
inline float signedPow34(float x) {
  const float root = std::sqrt(std::fabs(x));
  return std::copysign(root * std::sqrt(root), x);
}

inline f32x8 signedPow34(f32x8 x) {
  const f32x8 sign = _mm256_and_ps(x, splat8(-0.0f));
  const f32x8 root = _mm256_sqrt_ps(_mm256_andnot_ps(splat8(-0.0f), x));
  return _mm256_or_ps(root * _mm256_sqrt_ps(root), sign);
}

inline void pow34Block(const float* src, float* dst, int64_t len) {
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) store8(dst + i, signedPow34(load8(src + i)));
  for (; i < len; ++i) dst[i] = signedPow34(src[i]);
}

inline void pow34Block(const float* src, int16_t* dst, int64_t len) {
  int64_t i = 0;
  for (; i + 8 <= len; i += 8)
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + i), roundSaturate16(signedPow34(load8(src + i))));
  for (; i < len; ++i) dst[i] = roundSaturate16(signedPow34(src[i]));
}

// 2^(quarters/4) in double; the quarter roots correctly rounded.
inline double quarterPower(int64_t quarters) {
  constexpr double kRoot[4] = {1.0, 1.189207115002721, 1.4142135623730951, 1.681792830507429};
  const int64_t whole = quarters >> 2;
  const int64_t clipped = whole < -2000 ? -2000 : (whole > 2000 ? 2000 : whole);
  return std::ldexp(kRoot[quarters & 3], static_cast<int>(clipped));
}

// x * 2^-scaleFactor for any scaleFactor.
inline double scaleDown(double x, int32_t scaleFactor) {
  const int32_t clipped = scaleFactor < -2000 ? -2000 : (scaleFactor > 2000 ? 2000 : scaleFactor);
  return std::ldexp(x, -clipped);
}

}  // namespace moxac::util
