// Rounding to nearest (ties to even) and saturation, one element, four or eight at a time. NaN comes out at the
// lower end.
#pragma once

#include <cstdint>

#include "frame/simd.h"

namespace moxac::util {

inline int16_t roundSaturate16(float v) {
  const float clipped = v > 32767.0f ? 32767.0f : (v > -32768.0f ? v : -32768.0f);
  return static_cast<int16_t>(_mm_cvtss_si32(_mm_set_ss(clipped)));
}

inline __m128i roundSaturate16(f32x8 v) {
  // max gives its second operand when either is NaN.
  const f32x8 clipped = _mm256_min_ps(_mm256_max_ps(v, splat8(-32768.0f)), splat8(32767.0f));
  const __m256i words = _mm256_cvtps_epi32(clipped);
  return _mm_packs_epi32(_mm256_castsi256_si128(words), _mm256_extractf128_si256(words, 1));
}

inline int16_t roundSaturate16(double v) {
  const double clipped = v > 32767.0 ? 32767.0 : (v > -32768.0 ? v : -32768.0);
  return static_cast<int16_t>(_mm_cvtsd_si32(_mm_set_sd(clipped)));
}

inline __m128i roundSaturate16(f64x4 low, f64x4 high) {
  const auto words = [](f64x4 v) {
    return _mm256_cvtpd_epi32(minOf(maxOf(v, splatDouble4(-32768.0)), splatDouble4(32767.0)));
  };
  return _mm_packs_epi32(words(low), words(high));
}

inline int32_t roundSaturate32(double v) {
  const double clipped = v > 2147483647.0 ? 2147483647.0 : (v > -2147483648.0 ? v : -2147483648.0);
  return _mm_cvtsd_si32(_mm_set_sd(clipped));
}

inline i32x4 roundSaturate32(f64x4 v) {
  return roundToInt4(minOf(maxOf(v, splatDouble4(-2147483648.0)), splatDouble4(2147483647.0)));
}

}  // namespace moxac::util
