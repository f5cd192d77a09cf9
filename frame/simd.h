// The thin vector layer: 256-bit float vectors and 128-bit integer vectors (AVX, no AVX2, no FMA).
// GCC and Clang give the float types the operators + - * / lane by lane; loads, stores, conversions and what else
// works lane by lane stands here, shuffles.h moves lanes, horizontal.h takes vectors together, lanes.h has the
// descriptors that kernels take as template arguments. Intrinsics elsewhere need a measured reason.
#pragma once

#include <immintrin.h>

#include <bit>
#include <cstddef>
#include <cstdint>

namespace moxac {

using f32x8 = __m256;
using f32x4 = __m128;
using f64x4 = __m256d;
using i32x8 = __m256i;
using i32x4 = __m128i;
using i16x8 = __m128i;
using u8x16 = __m128i;
using bytes32 = __m256i;  // memory in 32-byte pieces, whatever it holds

// ---- Floats --------------------------------------------------------------------------------------------

inline f32x8 load8(const float* p) { return _mm256_loadu_ps(p); }
inline void store8(float* p, f32x8 v) { _mm256_storeu_ps(p, v); }
inline f32x8 splat8(float v) { return _mm256_set1_ps(v); }
inline f32x8 lanes8(float a, float b, float c, float d, float e, float f, float g, float h) {
  return _mm256_setr_ps(a, b, c, d, e, f, g, h);
}
inline f32x4 load4(const float* p) { return _mm_loadu_ps(p); }
inline void store4(float* p, f32x4 v) { _mm_storeu_ps(p, v); }
inline f32x4 splat4(float v) { return _mm_set1_ps(v); }
inline f32x4 lanes4(float a, float b, float c, float d) { return _mm_setr_ps(a, b, c, d); }
// p[0], p[1], q[0], q[1]
inline f32x4 loadPairs4(const float* p, const float* q) {
  const f32x4 first = _mm_loadl_pi(_mm_setzero_ps(), reinterpret_cast<const __m64*>(p));
  return _mm_loadh_pi(first, reinterpret_cast<const __m64*>(q));
}
inline f32x8 repeat4(const float* p) { return _mm256_broadcast_ps(reinterpret_cast<const f32x4*>(p)); }
// Past the cache; p on a 32-byte boundary, a fence before others may read.
inline void stream8(float* p, f32x8 v) { _mm256_stream_ps(p, v); }

inline f32x8 minOf(f32x8 a, f32x8 b) { return _mm256_min_ps(a, b); }  // b when either is NaN, as with maxOf
inline f32x8 maxOf(f32x8 a, f32x8 b) { return _mm256_max_ps(a, b); }
inline f32x8 rootOf(f32x8 v) { return _mm256_sqrt_ps(v); }

// Bits of floats.
inline f32x4 asFloats(i32x4 v) { return _mm_castsi128_ps(v); }
inline i32x4 asInts(f32x4 v) { return _mm_castps_si128(v); }
inline f32x8 asFloats(i32x8 v) { return _mm256_castsi256_ps(v); }
inline f32x4 andBits(f32x4 a, f32x4 b) { return _mm_and_ps(a, b); }
inline f32x8 andBits(f32x8 a, f32x8 b) { return _mm256_and_ps(a, b); }
inline f32x4 orBits(f32x4 a, f32x4 b) { return _mm_or_ps(a, b); }
inline f32x8 orBits(f32x8 a, f32x8 b) { return _mm256_or_ps(a, b); }
inline f32x8 xorBits(f32x8 a, f32x8 b) { return _mm256_xor_ps(a, b); }
inline f32x8 signOf(f32x8 v) { return andBits(v, splat8(-0.0f)); }  // the bit alone
inline f32x8 magnitudeOf(f32x8 v) { return _mm256_andnot_ps(splat8(-0.0f), v); }

// value where test is not 0, else +0.
inline float whereNonZero(float test, float value) { return test != 0 ? value : 0; }
inline double whereNonZero(double test, double value) { return test != 0 ? value : 0; }
inline f32x8 whereNonZero(f32x8 test, f32x8 value) {
  return andBits(_mm256_cmp_ps(test, splat8(0), _CMP_NEQ_UQ), value);
}
inline f64x4 whereNonZero(f64x4 test, f64x4 value) {
  return _mm256_and_pd(_mm256_cmp_pd(test, _mm256_setzero_pd(), _CMP_NEQ_UQ), value);
}
inline bool anyNonZero(f32x8 v) { return _mm256_movemask_ps(_mm256_cmp_ps(v, splat8(0), _CMP_NEQ_UQ)) != 0; }

// +0 where test >= limit, else value.
inline float zeroFrom(float limit, float test, float value) { return test >= limit ? 0 : value; }
inline double zeroFrom(double limit, double test, double value) { return test >= limit ? 0 : value; }
inline f32x8 zeroFrom(f32x8 limit, f32x8 test, f32x8 value) {
  return _mm256_andnot_ps(_mm256_cmp_ps(test, limit, _CMP_GE_OQ), value);
}
inline f64x4 zeroFrom(f64x4 limit, f64x4 test, f64x4 value) {
  return _mm256_andnot_pd(_mm256_cmp_pd(test, limit, _CMP_GE_OQ), value);
}

// value where test >= limit, else +0.
inline float whereAtLeast(float test, float limit, float value) { return test >= limit ? value : 0.0f; }
inline f32x4 whereAtLeast(f32x4 test, float limit, f32x4 value) {
  return andBits(_mm_cmp_ps(test, splat4(limit), _CMP_GE_OQ), value);
}
inline f32x8 whereAtLeast(f32x8 test, float limit, f32x8 value) {
  return andBits(_mm256_cmp_ps(test, splat8(limit), _CMP_GE_OQ), value);
}

// ---- Doubles -------------------------------------------------------------------------------------------

inline f64x4 splatDouble4(double v) { return _mm256_set1_pd(v); }
inline f64x4 doubles4(double a, double b, double c, double d) { return _mm256_setr_pd(a, b, c, d); }
inline f64x4 loadDouble4(const double* p) { return _mm256_loadu_pd(p); }
inline void storeDouble4(double* p, f64x4 v) { _mm256_storeu_pd(p, v); }
inline f64x4 minOf(f64x4 a, f64x4 b) { return _mm256_min_pd(a, b); }
inline f64x4 toDouble4(i32x4 v) { return _mm256_cvtepi32_pd(v); }
inline i32x4 roundToInt4(f64x4 v) { return _mm256_cvtpd_epi32(v); }  // to nearest, ties to even
inline f64x4 widen4(f32x4 v) { return _mm256_cvtps_pd(v); }
inline f32x4 narrow4(f64x4 v) { return _mm256_cvtpd_ps(v); }

// One value to nearest, ties to even, within the result's range.
inline int32_t roundToInt(float v) { return _mm_cvtss_si32(_mm_set_ss(v)); }
inline int32_t roundToInt(double v) { return _mm_cvtsd_si32(_mm_set_sd(v)); }

// ---- 32-bit integers -----------------------------------------------------------------------------------

inline i32x4 loadInt4(const int32_t* p) { return _mm_loadu_si128(reinterpret_cast<const i32x4*>(p)); }
inline void storeInt4(int32_t* p, i32x4 v) { _mm_storeu_si128(reinterpret_cast<i32x4*>(p), v); }
inline i32x4 splatInt4(int32_t v) { return _mm_set1_epi32(v); }
inline i32x4 add4(i32x4 a, i32x4 b) { return _mm_add_epi32(a, b); }
inline i32x4 sub4(i32x4 a, i32x4 b) { return _mm_sub_epi32(a, b); }
inline i32x4 and4(i32x4 a, i32x4 b) { return _mm_and_si128(a, b); }
template <int n>
i32x4 shiftRight4(i32x4 v) {
  return _mm_srai_epi32(v, n);
}
inline i32x4 abs4(i32x4 v) { return _mm_abs_epi32(v); }  // 2^31 for the most negative value, as unsigned
inline i32x4 maxUnsigned4(i32x4 a, i32x4 b) { return _mm_max_epu32(a, b); }
inline i32x4 max4(i32x4 a, i32x4 b) { return _mm_max_epi32(a, b); }
inline i32x4 withSignOf4(i32x4 v, i32x4 sign) { return _mm_sign_epi32(v, sign); }  // 0 where sign is 0
inline bool isZeroInt4(i32x4 v) { return _mm_testz_si128(v, v) != 0; }
// No lane, as an unsigned number, is above the limit.
inline bool noneAbove4(i32x4 v, int32_t limit) {
  const i32x4 limits = splatInt4(limit);
  return _mm_movemask_epi8(_mm_cmpeq_epi32(maxUnsigned4(v, limits), limits)) == 0xFFFF;
}
inline f32x4 toFloat4(i32x4 v) { return _mm_cvtepi32_ps(v); }
// Four signed bytes, the lowest first, to four integers.
inline i32x4 widenBytes4(int32_t bytes) { return _mm_cvtepi8_epi32(_mm_cvtsi32_si128(bytes)); }

// The entry of `table` that the low two bits of each index lane name.
inline i32x4 lookUp4(i32x4 table, i32x4 index) { return asInts(_mm_permutevar_ps(asFloats(table), index)); }
// b where bit `bit` of the selector lane is set, else a.
template <int bit>
i32x4 selectByBit4(i32x4 a, i32x4 b, i32x4 selector) {
  const i32x4 mask = _mm_slli_epi32(selector, 31 - bit);
  return asInts(_mm_blendv_ps(asFloats(a), asFloats(b), asFloats(mask)));
}

// Eight integers and their floats; integers above 2^24 round to the nearest float.
inline i32x8 loadInt8(const int32_t* p) { return _mm256_loadu_si256(reinterpret_cast<const i32x8*>(p)); }
inline void storeInt8(int32_t* p, i32x8 v) { _mm256_storeu_si256(reinterpret_cast<i32x8*>(p), v); }
inline i32x8 zeroInt8() { return _mm256_setzero_si256(); }
inline f32x8 toFloat8(i32x8 v) { return _mm256_cvtepi32_ps(v); }
inline i32x8 roundToInt8(f32x8 v) { return _mm256_cvtps_epi32(v); }      // to nearest, ties to even
inline i32x8 truncateToInt8(f32x8 v) { return _mm256_cvttps_epi32(v); }  // towards 0
// Saturated too: the conversion itself turns everything too small (and too large, hence the minimum) into INT32_MIN;
// 2^31 - 128 is the largest float that fits.
inline i32x8 roundSaturated8(f32x8 v) { return roundToInt8(minOf(v, splat8(2147483520.0f))); }

// ---- Halves of vectors ---------------------------------------------------------------------------------

inline f32x4 lowHalf(f32x8 v) { return _mm256_castps256_ps128(v); }
inline f32x4 highHalf(f32x8 v) { return _mm256_extractf128_ps(v, 1); }
inline f32x8 joined(f32x4 low, f32x4 high) { return _mm256_set_m128(high, low); }
inline i32x4 lowHalf(i32x8 v) { return _mm256_castsi256_si128(v); }
inline i32x4 highHalf(i32x8 v) { return _mm256_extractf128_si256(v, 1); }
inline i32x8 joined(i32x4 low, i32x4 high) {
  return _mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1);
}

// The bits of every lane, as an integer, plus `bits`.
inline f32x4 addBits(f32x4 v, uint32_t bits) {
  return asFloats(add4(asInts(v), splatInt4(static_cast<int32_t>(bits))));
}
inline f32x8 addBits(f32x8 v, uint32_t bits) {
  return joined(addBits(lowHalf(v), bits), addBits(highHalf(v), bits));
}
inline float addBits(float v, uint32_t bits) {
  return std::bit_cast<float>(std::bit_cast<uint32_t>(v) + bits);
}
// The bits of every lane under a mask, or with others set.
inline float maskBits(float v, uint32_t bits) {
  return std::bit_cast<float>(std::bit_cast<uint32_t>(v) & bits);
}
inline f32x4 maskBits(f32x4 v, uint32_t bits) { return andBits(v, splat4(std::bit_cast<float>(bits))); }
inline f32x8 maskBits(f32x8 v, uint32_t bits) { return andBits(v, splat8(std::bit_cast<float>(bits))); }
inline float setBits(float v, uint32_t bits) {
  return std::bit_cast<float>(std::bit_cast<uint32_t>(v) | bits);
}
inline f32x4 setBits(f32x4 v, uint32_t bits) { return orBits(v, splat4(std::bit_cast<float>(bits))); }
inline f32x8 setBits(f32x8 v, uint32_t bits) { return orBits(v, splat8(std::bit_cast<float>(bits))); }

// ---- 16-bit integers and bytes -------------------------------------------------------------------------

inline i16x8 loadShort8(const int16_t* p) { return _mm_loadu_si128(reinterpret_cast<const i16x8*>(p)); }
inline i16x8 loadShort8(const uint16_t* p) { return _mm_loadu_si128(reinterpret_cast<const i16x8*>(p)); }
inline void storeShort8(int16_t* p, i16x8 v) { _mm_storeu_si128(reinterpret_cast<i16x8*>(p), v); }
inline i16x8 splatShort8(int16_t v) { return _mm_set1_epi16(v); }
// Eight values `stride` apart.
inline i16x8 gatherShort8(const int16_t* p, ptrdiff_t stride) {
  return _mm_setr_epi16(p[0], p[stride], p[2 * stride], p[3 * stride], p[4 * stride], p[5 * stride],
                        p[6 * stride], p[7 * stride]);
}
template <int lane>
uint16_t laneShort8(i16x8 v) {
  return static_cast<uint16_t>(_mm_extract_epi16(v, lane));
}
template <int lane>
i16x8 withLaneShort8(i16x8 v, int16_t value) {
  return _mm_insert_epi16(v, value, lane);
}
// Bits 0..63 or 64..127.
template <int half>
uint64_t halfOf(i32x4 v) {
  return static_cast<uint64_t>(_mm_extract_epi64(v, half));
}
inline i16x8 maxShort8(i16x8 a, i16x8 b) { return _mm_max_epi16(a, b); }
inline i16x8 absShort8(i16x8 v) { return _mm_abs_epi16(v); }  // 2^15 for the most negative value, as unsigned
inline i16x8 maxUnsignedShort8(i16x8 a, i16x8 b) { return _mm_max_epu16(a, b); }
inline i16x8 addSaturatedUnsignedShort8(i16x8 a, i16x8 b) { return _mm_adds_epu16(a, b); }
inline i16x8 subShort8(i16x8 a, i16x8 b) { return _mm_sub_epi16(a, b); }
inline i16x8 subSaturatedUnsignedShort8(i16x8 a, i16x8 b) { return _mm_subs_epu16(a, b); }
template <int n>
i16x8 shiftLeftShort8(i16x8 v) {
  return _mm_slli_epi16(v, n);
}

// Saturated to 16 bits, to unsigned bytes.
inline i16x8 packInts(i32x4 low, i32x4 high) { return _mm_packs_epi32(low, high); }
inline i16x8 packInts(i32x8 v) { return packInts(lowHalf(v), highHalf(v)); }
inline u8x16 packShorts(i16x8 low, i16x8 high) { return _mm_packus_epi16(low, high); }
// Four or eight 16-bit integers to 32 bits and to floats.
inline i32x4 widenShorts4(const int16_t* p) {
  return _mm_cvtepi16_epi32(_mm_loadl_epi64(reinterpret_cast<const i16x8*>(p)));
}
inline f32x8 shortsToFloat8(i16x8 v) {
  return toFloat8(joined(_mm_cvtepi16_epi32(v), _mm_cvtepi16_epi32(_mm_unpackhi_epi64(v, v))));
}

inline u8x16 loadBytes16(const void* p) { return _mm_loadu_si128(static_cast<const u8x16*>(p)); }
inline u8x16 splatByte16(int8_t v) { return _mm_set1_epi8(v); }
inline u8x16 minBytes16(u8x16 a, u8x16 b) { return _mm_min_epu8(a, b); }
// The byte of `table` that each index byte (0..15) names.
inline u8x16 lookUpBytes16(u8x16 table, u8x16 index) { return _mm_shuffle_epi8(table, index); }

// ---- Memory --------------------------------------------------------------------------------------------

inline bytes32 zeroBytes32() { return _mm256_setzero_si256(); }
inline bytes32 loadBytes32(const void* p) { return _mm256_loadu_si256(static_cast<const bytes32*>(p)); }
inline void storeBytes32(void* p, bytes32 v) { _mm256_storeu_si256(static_cast<bytes32*>(p), v); }
// Past the cache; p on a 32-byte boundary, a fence before others may read.
inline void streamBytes32(void* p, bytes32 v) { _mm256_stream_si256(static_cast<bytes32*>(p), v); }
inline void storeFence() { _mm_sfence(); }

inline void stringMove(const void* src, void* dst, size_t bytes) {
  __asm__ volatile("rep movsb" : "+D"(dst), "+S"(src), "+c"(bytes) : : "memory");
}

}  // namespace moxac
