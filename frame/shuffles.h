// Lanes moved within vectors and between them.
#pragma once

#include <cstdint>

#include "frame/simd.h"

namespace moxac {

// ---- In either half apart: lanes 0..3 and 4..7 ---------------------------------------------------------

// From each half, of both in turn: lanes a0 b0 a1 b1, and a2 b2 a3 b3.
inline f32x8 zipLow(f32x8 a, f32x8 b) { return _mm256_unpacklo_ps(a, b); }
inline f32x8 zipHigh(f32x8 a, f32x8 b) { return _mm256_unpackhi_ps(a, b); }
inline f32x4 zipLow(f32x4 a, f32x4 b) { return _mm_unpacklo_ps(a, b); }
inline f32x4 zipHigh(f32x4 a, f32x4 b) { return _mm_unpackhi_ps(a, b); }
// Lanes a0 a2 b0 b2, and a1 a3 b1 b3.
inline f32x8 evenLanes(f32x8 a, f32x8 b) { return _mm256_shuffle_ps(a, b, 0x88); }
inline f32x8 oddLanes(f32x8 a, f32x8 b) { return _mm256_shuffle_ps(a, b, 0xDD); }
inline f32x4 evenLanes(f32x4 a, f32x4 b) { return _mm_shuffle_ps(a, b, 0x88); }
inline f32x4 oddLanes(f32x4 a, f32x4 b) { return _mm_shuffle_ps(a, b, 0xDD); }
// Lanes a0 a1 b0 b1, and a2 a3 b2 b3.
inline f32x8 firstPairs(f32x8 a, f32x8 b) { return _mm256_shuffle_ps(a, b, 0x44); }
inline f32x8 lastPairs(f32x8 a, f32x8 b) { return _mm256_shuffle_ps(a, b, 0xEE); }
inline f32x4 firstPairs(f32x4 a, f32x4 b) { return _mm_movelh_ps(a, b); }
inline f32x4 lastPairs(f32x4 a, f32x4 b) { return _mm_movehl_ps(b, a); }
// Any lanes: a's for the two low ones, b's for the two high ones, two bits each.
template <int kLanes>
f32x8 pick(f32x8 a, f32x8 b) {
  return _mm256_shuffle_ps(a, b, kLanes);
}
// The same of pairs of lanes, one bit each: a's pair, b's pair, and again in the high half.
template <int kPairs>
f32x8 pickPairs(f32x8 a, f32x8 b) {
  return _mm256_castpd_ps(_mm256_shuffle_pd(_mm256_castps_pd(a), _mm256_castps_pd(b), kPairs));
}
template <int kLanes>
f32x8 permuted(f32x8 v) {
  return _mm256_permute_ps(v, kLanes);
}
template <int kLanes>
f32x4 permuted(f32x4 v) {
  return _mm_permute_ps(v, kLanes);
}
inline f32x8 reverseHalves(f32x8 v) { return permuted<0x1B>(v); }
inline f32x8 swapPairs(f32x8 v) { return pick<0x4E>(v, v); }
inline f32x8 swapNeighbours(f32x8 v) { return pick<0xB1>(v, v); }
// Transposes the 4x4 matrices that the two halves of w0..w3 hold, rows in vectors.
inline void transposeHalves(f32x8& w0, f32x8& w1, f32x8& w2, f32x8& w3) {
  const f32x8 t0 = zipLow(w0, w1), t1 = zipHigh(w0, w1);
  const f32x8 t2 = zipLow(w2, w3), t3 = zipHigh(w2, w3);
  w0 = firstPairs(t0, t2);
  w1 = lastPairs(t0, t2);
  w2 = firstPairs(t1, t3);
  w3 = lastPairs(t1, t3);
}

// ---- Across the halves ---------------------------------------------------------------------------------

// b's lanes where the mask has a bit, a's elsewhere.
template <int kMask>
f32x8 blended(f32x8 a, f32x8 b) {
  return _mm256_blend_ps(a, b, kMask);
}
inline f32x8 lowHalves(f32x8 a, f32x8 b) { return _mm256_permute2f128_ps(a, b, 0x20); }
inline f32x8 highHalves(f32x8 a, f32x8 b) { return _mm256_permute2f128_ps(a, b, 0x31); }
// a's high half, then b's low one.
inline f32x8 innerHalves(f32x8 a, f32x8 b) { return _mm256_permute2f128_ps(a, b, 0x21); }
inline f32x8 swapHalves(f32x8 v) { return _mm256_permute2f128_ps(v, v, 0x01); }
inline f32x8 lowToHigh(f32x8 v) { return _mm256_permute2f128_ps(v, v, 0x08); }  // zero below
// The eight lanes in opposite order.
inline f32x8 reverse8(f32x8 v) {
  const f32x8 swapped = swapHalves(v);
  return pick<0x1B>(swapped, swapped);
}

// a[i] becomes column i of the matrix whose rows were a[0..7].
inline void transpose8(f32x8 (&a)[8]) {
  transposeHalves(a[0], a[1], a[2], a[3]);
  transposeHalves(a[4], a[5], a[6], a[7]);
  for (int i = 0; i < 4; ++i) {
    const f32x8 low = lowHalves(a[i], a[i + 4]);
    a[i + 4] = highHalves(a[i], a[i + 4]);
    a[i] = low;
  }
}
inline void transpose4(f32x4& a, f32x4& b, f32x4& c, f32x4& d) { _MM_TRANSPOSE4_PS(a, b, c, d); }

// Sixteen values in order (low, high) apart into those at even and odd places, and together again.
inline void deinterleave8(f32x8 low, f32x8 high, f32x8& even, f32x8& odd) {
  const f32x8 outer = lowHalves(low, high), inner = highHalves(low, high);
  even = evenLanes(outer, inner);
  odd = oddLanes(outer, inner);
}
inline void interleave8(f32x8 even, f32x8 odd, f32x8& low, f32x8& high) {
  const f32x8 a = zipLow(even, odd), b = zipHigh(even, odd);
  low = lowHalves(a, b);
  high = highHalves(a, b);
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

// ---- Integers ------------------------------------------------------------------------------------------

// 16-bit lanes of both in turn: a0 b0 .. a3 b3, and a4 b4 .. a7 b7; pairs of them; bytes.
inline i16x8 zipShortsLow(i16x8 a, i16x8 b) { return _mm_unpacklo_epi16(a, b); }
inline i16x8 zipShortsHigh(i16x8 a, i16x8 b) { return _mm_unpackhi_epi16(a, b); }
inline i32x4 zipIntsLow(i32x4 a, i32x4 b) { return _mm_unpacklo_epi32(a, b); }
inline i32x4 zipIntsHigh(i32x4 a, i32x4 b) { return _mm_unpackhi_epi32(a, b); }
inline u8x16 zipBytesLow(u8x16 a, u8x16 b) { return _mm_unpacklo_epi8(a, b); }
inline u8x16 zipBytesHigh(u8x16 a, u8x16 b) { return _mm_unpackhi_epi8(a, b); }
// 16-bit lane k of the result is lane k-th of the list.
template <int a, int b, int c, int d, int e, int f, int g, int h>
i16x8 permutedShorts(i16x8 v) {
  return _mm_shuffle_epi8(
      v, _mm_setr_epi8(2 * a, 2 * a + 1, 2 * b, 2 * b + 1, 2 * c, 2 * c + 1, 2 * d, 2 * d + 1, 2 * e,
                       2 * e + 1, 2 * f, 2 * f + 1, 2 * g, 2 * g + 1, 2 * h, 2 * h + 1));
}
// From each half: the first 64 bits of a, then of b; the last ones.
inline bytes32 firstQuarters(bytes32 a, bytes32 b) {
  return _mm256_castpd_si256(_mm256_unpacklo_pd(_mm256_castsi256_pd(a), _mm256_castsi256_pd(b)));
}
inline bytes32 lastQuarters(bytes32 a, bytes32 b) {
  return _mm256_castpd_si256(_mm256_unpackhi_pd(_mm256_castsi256_pd(a), _mm256_castsi256_pd(b)));
}

}  // namespace moxac
