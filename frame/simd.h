// The thin vector layer: 256-bit float vectors and 128-bit integer vectors (AVX, no AVX2, no FMA).
// GCC and Clang give __m256 and __m128 the operators + - * / lane by lane; loads, stores, shuffles and
// transposes live here, so that kernels read as formulas. Intrinsics elsewhere need a measured reason.
#pragma once

#include <immintrin.h>

#include <cmath>
#include <cstddef>
#include <cstdint>

namespace moxac {

using f32x8 = __m256;
using f32x4 = __m128;
using i32x4 = __m128i;

inline f32x8 load8(const float* p) { return _mm256_loadu_ps(p); }
inline void store8(float* p, f32x8 v) { _mm256_storeu_ps(p, v); }
inline f32x8 splat8(float v) { return _mm256_set1_ps(v); }
inline f32x4 load4(const float* p) { return _mm_loadu_ps(p); }
inline f32x8 repeat4(const float* p) { return _mm256_broadcast_ps(reinterpret_cast<const f32x4*>(p)); }
inline void store4(float* p, f32x4 v) { _mm_storeu_ps(p, v); }
inline f32x4 splat4(float v) { return _mm_set1_ps(v); }
inline i32x4 loadInt4(const int32_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void storeInt4(int32_t* p, i32x4 v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Four signed bytes, the lowest first, to four integers.
inline i32x4 widenBytes4(int32_t bytes) { return _mm_cvtepi8_epi32(_mm_cvtsi32_si128(bytes)); }
inline bool isZeroInt4(i32x4 v) { return _mm_testz_si128(v, v) != 0; }

// Memory in 32-byte pieces, whatever it holds.
using bytes32 = __m256i;
inline bytes32 zeroBytes32() { return _mm256_setzero_si256(); }
inline bytes32 loadBytes32(const void* p) { return _mm256_loadu_si256(static_cast<const __m256i*>(p)); }
inline void storeBytes32(void* p, bytes32 v) { _mm256_storeu_si256(static_cast<__m256i*>(p), v); }
// Past the cache; p on a 32-byte boundary, a fence before others may read.
inline void streamBytes32(void* p, bytes32 v) { _mm256_stream_si256(static_cast<__m256i*>(p), v); }
inline void storeFence() { _mm_sfence(); }

inline void stringMove(const void* src, void* dst, size_t bytes) {
  __asm__ volatile("rep movsb" : "+D"(dst), "+S"(src), "+c"(bytes) : : "memory");
}

// Lane descriptors: kernels over many independent signals take one as a template argument, so that the same
// straight-line code runs once on floats and eight signals at a time, to the same bits.
struct Lanes1 {
  using T = float;
  using V = float;
  static constexpr int kCount = 1;
  static V splat(T v) { return v; }
  static V load(const T* p) { return *p; }
  static void store(T* p, V v) { *p = v; }
};
struct Lanes8 {
  using T = float;
  using V = f32x8;
  static constexpr int kCount = 8;
  static V splat(T v) { return splat8(v); }
  using One = Lanes1;  // the lane type of a single signal
  static V load(const T* p) { return load8(p); }
  static void store(T* p, V v) { store8(p, v); }
};
struct Lanes4 {
  using T = float;
  using V = f32x4;
  static constexpr int kCount = 4;
  static V splat(T v) { return splat4(v); }
  static V load(const T* p) { return load4(p); }
};

// a[i] becomes column i of the matrix whose rows were a[0..7].
inline void transpose8(f32x8 (&a)[8]) {
  f32x8 t[8];
  for (int i = 0; i < 8; i += 2) {
    t[i] = _mm256_unpacklo_ps(a[i], a[i + 1]);
    t[i + 1] = _mm256_unpackhi_ps(a[i], a[i + 1]);
  }
  f32x8 q[8];
  for (int i = 0; i < 8; i += 4) {
    q[i] = _mm256_shuffle_ps(t[i], t[i + 2], 0x44);
    q[i + 1] = _mm256_shuffle_ps(t[i], t[i + 2], 0xEE);
    q[i + 2] = _mm256_shuffle_ps(t[i + 1], t[i + 3], 0x44);
    q[i + 3] = _mm256_shuffle_ps(t[i + 1], t[i + 3], 0xEE);
  }
  for (int i = 0; i < 4; ++i) {
    a[i] = _mm256_permute2f128_ps(q[i], q[i + 4], 0x20);
    a[i + 4] = _mm256_permute2f128_ps(q[i], q[i + 4], 0x31);
  }
}

// The eight lanes in opposite order.
inline f32x8 reverse8(f32x8 v) {
  const f32x8 swapped = _mm256_permute2f128_ps(v, v, 0x01);
  return _mm256_shuffle_ps(swapped, swapped, 0x1B);
}

// Integer lanes: magnitudes, signs, products; four-entry look-ups. (AAC spectral tools)
inline i32x4 splatInt4(int32_t v) { return _mm_set1_epi32(v); }
inline i32x4 abs4(i32x4 v) { return _mm_abs_epi32(v); }  // 2^31 for the most negative value, as unsigned
inline i32x4 maxUnsigned4(i32x4 a, i32x4 b) { return _mm_max_epu32(a, b); }
inline i32x4 max4(i32x4 a, i32x4 b) { return _mm_max_epi32(a, b); }
inline i32x4 withSignOf4(i32x4 v, i32x4 sign) { return _mm_sign_epi32(v, sign); }  // 0 where sign is 0
// The entry of `table` that the low two bits of each index lane name.
inline i32x4 lookUp4(i32x4 table, i32x4 index) {
  return _mm_castps_si128(_mm_permutevar_ps(_mm_castsi128_ps(table), index));
}
// b where bit `bit` of the selector lane is set, else a.
template <int bit>
i32x4 selectByBit4(i32x4 a, i32x4 b, i32x4 selector) {
  const i32x4 mask = _mm_slli_epi32(selector, 31 - bit);
  return _mm_castps_si128(_mm_blendv_ps(_mm_castsi128_ps(a), _mm_castsi128_ps(b), _mm_castsi128_ps(mask)));
}

// Double lanes.
using f64x4 = __m256d;
inline f64x4 splatDouble4(double v) { return _mm256_set1_pd(v); }
inline f64x4 loadDouble4(const double* p) { return _mm256_loadu_pd(p); }
inline f64x4 minOf(f64x4 a, f64x4 b) { return _mm256_min_pd(a, b); }
inline f64x4 maxOf(f64x4 a, f64x4 b) { return _mm256_max_pd(a, b); }
inline double maxOf(double a, double b) {
  return a > b ? a : b;
}  // b where either is not a number, as in lanes
inline f64x4 magnitudeOf(f64x4 v) { return _mm256_andnot_pd(splatDouble4(-0.0), v); }
// v, which is not negative, with the sign of `sign`.
inline double withSignOf(double v, double sign) { return std::copysign(v, sign); }
inline f64x4 withSignOf(f64x4 v, f64x4 sign) {
  return _mm256_or_pd(v, _mm256_and_pd(splatDouble4(-0.0), sign));
}
inline f64x4 toDouble4(i32x4 v) { return _mm256_cvtepi32_pd(v); }
inline i32x4 roundToInt4(f64x4 v) { return _mm256_cvtpd_epi32(v); }  // to nearest, ties to even

using i16x8 = __m128i;
inline i16x8 loadShort8(const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }
inline void storeShort8(int16_t* p, i16x8 v) { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), v); }

// Eight integers and their floats; integers above 2^24 round to the nearest float.
using i32x8 = __m256i;
inline i32x8 loadInt8(const int32_t* p) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)); }
inline void storeInt8(int32_t* p, i32x8 v) { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), v); }
inline f32x8 toFloat8(i32x8 v) { return _mm256_cvtepi32_ps(v); }
// Rounded to nearest, ties to even, saturated: the conversion itself turns everything too small (and too
// large, hence the minimum) into INT32_MIN; 2^31 - 128 is the largest float that fits.
inline i32x8 roundSaturated8(f32x8 v) {
  return _mm256_cvtps_epi32(_mm256_min_ps(v, _mm256_set1_ps(2147483520.0f)));
}

// To nearest, ties to even, for values within the int32_t range.
inline void roundToInt8(f32x8 v, i32x4& low, i32x4& high) {
  const __m256i rounded = _mm256_cvtps_epi32(v);
  low = _mm256_castsi256_si128(rounded);
  high = _mm256_extractf128_si256(rounded, 1);
}
inline f32x8 minOf(f32x8 a, f32x8 b) { return _mm256_min_ps(a, b); }
inline f32x8 maxOf(f32x8 a, f32x8 b) { return _mm256_max_ps(a, b); }
inline f32x8 sqrtOf(f32x8 v) { return _mm256_sqrt_ps(v); }

// Sixteen values in order (low, high) apart into those at even and odd places, and together again.
inline void deinterleave8(f32x8 low, f32x8 high, f32x8& even, f32x8& odd) {
  const f32x8 outer = _mm256_permute2f128_ps(low, high, 0x20);
  const f32x8 inner = _mm256_permute2f128_ps(low, high, 0x31);
  even = _mm256_shuffle_ps(outer, inner, 0x88);
  odd = _mm256_shuffle_ps(outer, inner, 0xDD);
}
inline void interleave8(f32x8 even, f32x8 odd, f32x8& low, f32x8& high) {
  const f32x8 a = _mm256_unpacklo_ps(even, odd);
  const f32x8 b = _mm256_unpackhi_ps(even, odd);
  low = _mm256_permute2f128_ps(a, b, 0x20);
  high = _mm256_permute2f128_ps(a, b, 0x31);
}

// Double-precision lanes, fed from floats and rounded back to them, or from integers: those come back rounded to
// nearest, ties to even, and saturated (a conversion turns everything too small into INT32_MIN by itself).
struct Lanes1d {
  using T = double;
  using V = double;
  static constexpr int kCount = 1;
  static V splat(T v) { return v; }
};
struct Lanes4d {
  using T = double;
  using V = f64x4;
  static constexpr int kCount = 4;
  static V splat(T v) { return splatDouble4(v); }
  using One = Lanes1d;
  static V load(const T* p) { return loadDouble4(p); }
  static V load(const int32_t* p) { return toDouble4(loadInt4(p)); }
  static void store(T* p, V v) { _mm256_storeu_pd(p, v); }
  static void store(int32_t* p, V v) { storeInt4(p, roundToInt4(minOf(v, splatDouble4(2147483647.0)))); }
};
inline f64x4 widen4(f32x4 v) { return _mm256_cvtps_pd(v); }
inline f32x4 narrow4(f64x4 v) { return _mm256_cvtpd_ps(v); }

// Four interleaved pairs (a the first two, b the others) to the four first and the four second members; back.
inline f32x4 firstOfPairs4(f32x4 a, f32x4 b) { return _mm_shuffle_ps(a, b, 0x88); }
inline f32x4 secondOfPairs4(f32x4 a, f32x4 b) { return _mm_shuffle_ps(a, b, 0xDD); }
inline f32x4 lowPairs4(f32x4 first, f32x4 second) { return _mm_unpacklo_ps(first, second); }
inline f32x4 highPairs4(f32x4 first, f32x4 second) { return _mm_unpackhi_ps(first, second); }

// value where test is not 0, else +0.
inline float whereNonZero(float test, float value) { return test != 0 ? value : 0; }
inline double whereNonZero(double test, double value) { return test != 0 ? value : 0; }
inline f32x8 whereNonZero(f32x8 test, f32x8 value) {
  return _mm256_and_ps(_mm256_cmp_ps(test, _mm256_setzero_ps(), _CMP_NEQ_UQ), value);
}
inline f64x4 whereNonZero(f64x4 test, f64x4 value) {
  return _mm256_and_pd(_mm256_cmp_pd(test, _mm256_setzero_pd(), _CMP_NEQ_UQ), value);
}

// +0 where test >= limit, else value.
inline float zeroFrom(float limit, float test, float value) { return test >= limit ? 0 : value; }
inline double zeroFrom(double limit, double test, double value) { return test >= limit ? 0 : value; }
inline f32x8 zeroFrom(f32x8 limit, f32x8 test, f32x8 value) {
  return _mm256_andnot_ps(_mm256_cmp_ps(test, limit, _CMP_GE_OQ), value);
}
inline f64x4 zeroFrom(f64x4 limit, f64x4 test, f64x4 value) {
  return _mm256_andnot_pd(_mm256_cmp_pd(test, limit, _CMP_GE_OQ), value);
}

// The transposes and reversals under one name for kernels that take the lane type as an argument.
inline void transpose(f32x8 (&a)[8]) { transpose8(a); }
inline void transpose(f64x4 (&a)[4]) {
  const f64x4 even0 = _mm256_unpacklo_pd(a[0], a[1]), odd0 = _mm256_unpackhi_pd(a[0], a[1]);
  const f64x4 even2 = _mm256_unpacklo_pd(a[2], a[3]), odd2 = _mm256_unpackhi_pd(a[2], a[3]);
  a[0] = _mm256_permute2f128_pd(even0, even2, 0x20);
  a[1] = _mm256_permute2f128_pd(odd0, odd2, 0x20);
  a[2] = _mm256_permute2f128_pd(even0, even2, 0x31);
  a[3] = _mm256_permute2f128_pd(odd0, odd2, 0x31);
}
inline f32x8 reverse(f32x8 v) { return reverse8(v); }
inline f64x4 reverse(f64x4 v) {
  const f64x4 swapped = _mm256_permute2f128_pd(v, v, 0x01);
  return _mm256_permute_pd(swapped, 0x5);
}

}  // namespace moxac
