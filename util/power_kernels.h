// Power laws and block-floating-point conversion, element by element. Forms over f32x8 stand beside their
// scalar twins; both give the same bits.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "frame/const_math.h"
#include "frame/doubles.h"
#include "frame/lanes.h"
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
  const i16x8 zero = splatShort8(0);
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) {
    const i16x8 upper =
        and4(subShort8(splatShort8(0x3800), shiftLeftShort8<7>(loadShort8(exp + i))), splatShort8(0x7FFF));
    const f32x4 low = asFloats(zipShortsLow(zero, upper));
    const f32x4 high = asFloats(zipShortsHigh(zero, upper));
    store4(dst + i, toFloat4(widenShorts4(mant + i)) * low);
    store4(dst + i + 4, toFloat4(widenShorts4(mant + i + 4)) * high);
  }
  for (; i < len; ++i) dst[i] = makeFloat(mant[i], exp[i]);
}

// sign(x) * |x|^(4/3)
inline float signedPow43(int16_t x) {
  const float y = pow43(x < 0 ? -int32_t{x} : int32_t{x});
  return x < 0 ? -y : y;
}

// The table's entries for four magnitudes in 16-bit fields.
inline f32x4 tableEntries4(uint64_t m) {
  return lanes4(kPow43[m & 0xFFFF], kPow43[(m >> 16) & 0xFFFF], kPow43[(m >> 32) & 0xFFFF], kPow43[m >> 48]);
}

// Eight magnitudes at a time through the table; blocks with one beyond it go element by element.
inline void pow43Block(const int16_t* src, float* dst, int64_t len) {
  const i16x8 largest = splatShort8(kPow43Count - 1);
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) {
    const i16x8 x = loadShort8(src + i), magnitude = absShort8(x);
    if (!isZeroInt4(subSaturatedUnsignedShort8(magnitude, largest))) {  // 2^15 is beyond the table, too
      for (int64_t j = i; j < i + 8; ++j) dst[j] = signedPow43(src[j]);
      continue;
    }
    const i16x8 sign = and4(x, splatShort8(INT16_MIN)), zero = splatShort8(0);
    const f32x4 low = tableEntries4(halfOf<0>(magnitude)), high = tableEntries4(halfOf<1>(magnitude));
    store4(dst + i, orBits(low, asFloats(zipShortsLow(zero, sign))));
    store4(dst + i + 4, orBits(high, asFloats(zipShortsHigh(zero, sign))));
  }
  for (; i < len; ++i) dst[i] = signedPow43(src[i]);
}

// x^(4/3) * gain with x's sign, from the float p next to |x|^(4/3): with r = (x^4 - p^3) / p^3, below 2^-22, the
// power is p * (1 + r)^(1/3), and two terms of that leave an error below 2^-64. p^2 and x^2 are exact, so that p is
// left as it is where it is right, which it is for all cubes: only they meet ties. L is Lanes1d or Lanes4d.
template <class L>
inline typename L::V scaledPow43(typename L::V x, typename L::V p, double gain) {
  using V = typename L::V;
  const V square = x * x, cube = p * p * p;
  const V r = (square * square - cube) / cube;
  const V power = p + p * (r * L::splat(1.0 / 3) - r * r * L::splat(1.0 / 9));
  return withSignOf(whereNonZero(x, power * L::splat(gain)), x);
}

inline void scaledPow43Block(const int16_t* src, int32_t* dst, int64_t len, double gain) {
  int64_t i = 0;
  for (; i + 4 <= len; i += 4) {
    const i32x4 x = widenShorts4(src + i);
    const i32x4 magnitude = abs4(x);
    f32x4 p;
    if (noneAbove4(magnitude, kPow43Count - 1)) {
      p = tableEntries4(static_cast<uint64_t>(_mm_cvtsi128_si64(_mm_packus_epi32(magnitude, magnitude))));
    } else {
      float powers[4];
      for (int j = 0; j < 4; ++j) powers[j] = pow43(std::abs(int32_t{src[i + j]}));
      p = load4(powers);
    }
    storeInt4(dst + i, roundSaturate32(scaledPow43<Lanes4d>(toDouble4(x), widen4(p), gain)));
  }
  for (; i < len; ++i)
    dst[i] = roundSaturate32(scaledPow43<Lanes1d>(src[i], pow43(std::abs(int32_t{src[i]})), gain));
}

// sign(x) * |x|^(3/4) = sqrt(|x|) * sqrt(sqrt(|x|)) with x's sign.
inline float signedPow34(float x) {
  const float root = std::sqrt(std::fabs(x));
  return std::copysign(root * std::sqrt(root), x);
}

inline f32x8 signedPow34(f32x8 x) {
  const f32x8 root = rootOf(magnitudeOf(x));
  return orBits(root * rootOf(root), signOf(x));
}

inline void pow34Block(const float* src, float* dst, int64_t len) {
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) store8(dst + i, signedPow34(load8(src + i)));
  for (; i < len; ++i) dst[i] = signedPow34(src[i]);
}

inline void pow34Block(const float* src, int16_t* dst, int64_t len) {
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) storeShort8(dst + i, roundSaturate16(signedPow34(load8(src + i))));
  for (; i < len; ++i) dst[i] = roundSaturate16(signedPow34(src[i]));
}

// sign(x) * |x|^(3/4) * scale in double, exact enough for every 16-bit x.
inline double scaledPow34(double x, double scale) {
  const double root = std::sqrt(std::fabs(x));
  return std::copysign(root * std::sqrt(root), x) * scale;
}

inline f64x4 scaledPow34(f64x4 x, f64x4 scale) {
  const f64x4 root = rootOf(magnitudeOf(x));
  return withSignOf(root * rootOf(root), x) * scale;
}

inline void scaledPow34Block(const int16_t* src, int16_t* dst, int64_t len, double scale) {
  const f64x4 scales = splatDouble4(scale);
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) {
    const f64x4 low = toDouble4(widenShorts4(src + i)), high = toDouble4(widenShorts4(src + i + 4));
    storeShort8(dst + i, roundSaturate16(scaledPow34(low, scales), scaledPow34(high, scales)));
  }
  for (; i < len; ++i) dst[i] = roundSaturate16(scaledPow34(src[i], scale));
}

// 2^(quarters/4) in double; the far ends, infinite and 0 in every format here, give 2^1000 and 2^-1000.
inline double quarterPower(int64_t quarters) {
  const int64_t octaves = std::clamp<int64_t>(quarters >> 2, -1000, 1000);
  return std::ldexp(kQuarterPower[quarters & 3], static_cast<int>(octaves));
}

// 2^-scaleFactor for any scaleFactor; the far ends as above.
inline double scaleDown(int32_t scaleFactor) {
  return std::ldexp(1.0, -std::clamp(scaleFactor, -1000, 1000));
}

// 2^((scaleFactor - offset)/4): a quarter root whose exponent moves by whole octaves. Vectors with a power that is
// not a normal float go element by element.
inline void gainsOfScaleFactors(const int16_t* src, float* dst, int64_t len, int32_t offset) {
  const i32x4 roots = asInts(narrow4(loadDouble4(kQuarterPower)));
  const i32x4 offsets = splatInt4(std::clamp(offset, -100000, 100000));
  int64_t i = 0;
  const auto alone = [&](int64_t end) {
    for (; i < end; ++i) dst[i] = static_cast<float>(quarterPower(int64_t{src[i]} - int64_t{offset}));
  };
  while (i + 4 <= len) {
    const i32x4 x = widenShorts4(src + i);
    const i32x4 quarters = sub4(x, offsets), octaves = shiftRight4<2>(quarters);
    const i32x4 outside =
        _mm_or_si128(_mm_cmpgt_epi32(octaves, splatInt4(127)), _mm_cmpgt_epi32(splatInt4(-126), octaves));
    if (isZeroInt4(outside)) {
      const i32x4 power = _mm_add_epi32(lookUp4(roots, quarters), _mm_slli_epi32(octaves, 23));
      store4(dst + i, asFloats(power));
      i += 4;
    } else {
      alone(i + 4);
    }
  }
  alone(len);
}

}  // namespace moxac::util
