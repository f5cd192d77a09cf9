// The vector pieces of the MDCT: eight points at a time, as blocks in lane order.
#pragma once

#include <cstdint>
#include <cstdlib>

#include "frame/horizontal.h"
#include "transform/fft_butterflies.h"

namespace moxac::transform {

// Results of the 16-bit transform below 2^18, eight times the range of its output, come out right in single
// precision: its error stays below 2^-20 of the largest possible result, a quarter of an output unit.
inline constexpr int32_t kSinglePrecisionBits = 18;

// Samples as floats.
MOX_INLINE f32x8 loadSamples(const float* p) { return load8(p); }
MOX_INLINE f32x8 loadSamples(const int16_t* p) { return shortsToFloat8(loadShort8(p)); }

// p[0], p[2], ... p[14] in lane order.
template <class Sample>
MOX_INLINE f32x8 evens(const Sample* p) {
  return evenLanes(loadSamples(p), loadSamples(p + 8));
}
// p[-1], p[-3], ... p[-15] in lane order.
template <class Sample>
MOX_INLINE f32x8 oddsBefore(const Sample* p) {
  const f32x8 far = loadSamples(p - 16), near = loadSamples(p - 8);
  return pick<0x77>(swapHalves(near), swapHalves(far));
}

// Eight values in natural order, given as two times four, in lane order.
MOX_INLINE f32x8 laneOrder(const float* low, const float* high) {
  const f32x8 a = repeat4(low), b = repeat4(high);
  return pickPairs<0b1100>(a, b);
}
// p[0], p[-1], ... p[-7] in lane order.
MOX_INLINE f32x8 laneOrderDown(const float* p) {
  const f32x8 a = repeat4(p - 3), b = repeat4(p - 7);
  return permuted<0xB1>(pickPairs<0b0011>(a, b));
}
// A block in natural order to lane order.
MOX_INLINE f32x8 toLaneOrder(f32x8 v) {
  const f32x8 swapped = swapHalves(v);
  return blended<0xF0>(firstPairs(v, swapped), lastPairs(swapped, v));
}
MOX_INLINE Complex8 toLaneOrder(Complex8 z) { return {toLaneOrder(z.re), toLaneOrder(z.im)}; }

// z * (c - i*s), the factors given as (c, s).
MOX_INLINE Complex8 rotated(Complex8 z, Complex8 w) {
  return {z.re * w.re + z.im * w.im, z.im * w.re - z.re * w.im};
}

// The factors (c, s) of points m..m+7, m in the lower half or in the upper half of the L points: from the
// blocks of a float context's table,
struct TableFactors {
  const float* table;
  int64_t L;
  MOX_INLINE Complex8 lower(int64_t m) const {
    const float* const p = table + 4 * m;
    return {laneOrder(p, p + 16), laneOrder(p + 4, p + 20)};
  }
  MOX_INLINE Complex8 upper(int64_t m) const {
    const float* const p = table + 4 * (L - 8 - m);
    return {laneOrder(p + 24, p + 8), laneOrder(p + 28, p + 12)};
  }
};
// or from a quarter wave of sines, without the eighth of a step.
struct QuarterFactors {
  const float* wave;
  int64_t L;
  MOX_INLINE Complex8 lower(int64_t m) const {
    return {laneOrderDown(wave + L - m), laneOrder(wave + m, wave + m + 4)};
  }
  MOX_INLINE Complex8 upper(int64_t m) const { return lower(m); }
};

// Points n..n+7 of the transform between the rotations: the forward one folds its samples, both apply the
// first factors. The first pass knows the half.
template <class Sample, class Factors>
struct FoldedInput {
  const Sample* x;
  int64_t L;
  Factors factors;

  MOX_INLINE Complex8 lower(int64_t n) const {
    const f32x8 a = oddsBefore(x + 3 * L - 2 * n) + evens(x + 3 * L + 2 * n);  // negated
    const f32x8 b = oddsBefore(x + L - 2 * n) - evens(x + L + 2 * n);
    const Complex8 w = factors.lower(n);
    return {b * w.im - a * w.re, b * w.re + a * w.im};
  }
  MOX_INLINE Complex8 upper(int64_t n) const {
    const f32x8 a = evens(x + 2 * n - L) - oddsBefore(x + 3 * L - 2 * n);
    const f32x8 b = evens(x + L + 2 * n) + oddsBefore(x + 5 * L - 2 * n);  // negated
    const Complex8 w = factors.upper(n);
    return {a * w.re - b * w.im, -(b * w.re + a * w.im)};
  }
  MOX_INLINE Complex8 operator()(int64_t n) const { return (*this)(n, n >= L / 2); }
  MOX_INLINE Complex8 operator()(int64_t n, bool inUpper) const { return inUpper ? upper(n) : lower(n); }
};

template <class Factors>
struct SpectrumInput {
  const float* X;
  int64_t L;
  Factors factors;

  MOX_INLINE Complex8 values(int64_t n) const { return {evens(X + 2 * n), oddsBefore(X + 2 * L - 2 * n)}; }
  MOX_INLINE Complex8 operator()(int64_t n) const { return (*this)(n, n >= L / 2); }
  MOX_INLINE Complex8 operator()(int64_t n, bool inUpper) const {
    return rotated(values(n), inUpper ? factors.upper(n) : factors.lower(n));
  }
};

// p[2j] = even[j], p[2j+1] = odd[j], both in lane order.
MOX_INLINE void storeAlternating(float* p, f32x8 even, f32x8 odd) {
  store8(p, zipLow(even, odd));
  store8(p + 8, zipHigh(even, odd));
}
// The same rounded to nearest (ties to even) and saturated.
MOX_INLINE void storeRounded(int16_t* p, Complex8 evenOdd) {
  storeShort8(p, packInts(roundToInt8(zipLow(evenOdd.re, evenOdd.im))));
  storeShort8(p + 8, packInts(roundToInt8(zipHigh(evenOdd.re, evenOdd.im))));
}

// The largest magnitude among n samples, n a multiple of 8; 32768 for the lowest sample.
inline uint32_t peakMagnitude(const int16_t* x, int64_t n) {
  i16x8 largest = splatShort8(0);
  for (int64_t i = 0; i < n; i += 8) largest = maxUnsignedShort8(largest, absShort8(loadShort8(x + i)));
  return maxUnsignedShortLane(largest);
}

}  // namespace moxac::transform
