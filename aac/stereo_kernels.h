// Mid/side and intensity stereo of one band.
#pragma once

#include <algorithm>
#include <cstdint>

#include "aac/fixed_point.h"
#include "frame/simd.h"

namespace moxac::aac {

// 2^(-k/4) in Q30.
inline constexpr int32_t kIntensityGain[4] = {1073741824, 902905651, 759250125, 638450708};

// L + R and L - R modulo 2^32; n is a multiple of 4.
inline void midSideBand(int32_t* left, int32_t* right, int32_t n) {
  for (int32_t i = 0; i < n; i += 4) {
    const i32x4 l = loadInt4(left + i), r = loadInt4(right + i);
    storeInt4(left + i, add4(l, r));
    storeInt4(right + i, sub4(l, r));
  }
}

// sign * floor(l * g / 2^(30 + floor(position / 4))), saturated: the definition, for any position.
inline int32_t intensityLine(int32_t l, int32_t position, bool negative) {
  const int64_t product = int64_t{l} * kIntensityGain[position & 3];
  const int32_t shift = 30 + (position >> 2);
  int64_t scaled;
  if (shift >= 0)
    scaled = product >> std::min(shift, 63);
  else if (shift == -1 || product == 0)
    scaled = product * 2;
  else  // twice doubled, even the smallest product, 638450708, is out of range
    scaled = product < 0 ? -INT64_MAX : INT64_MAX;
  return saturateSymmetric(negative ? -scaled : scaled);
}

// Positions from 0: the low word of the shifted product is the result, or, from a shift by 32 on, the high
// word shifted by the rest. n is a multiple of 4. In intrinsics, since nothing else here multiplies to 64 bits:
// half the instructions of the plain loop.
inline void intensityBand(const int32_t* left, int32_t* right, int32_t n, int32_t position, bool negative) {
  if (position < 0) {
    for (int32_t i = 0; i < n; ++i) right[i] = intensityLine(left[i], position, negative);
    return;
  }
  const int32_t shift = 30 + (position >> 2);
  const i32x4 gain = splatInt4(kIntensityGain[position & 3]);
  const i32x4 signs = splatInt4(negative ? -1 : 1);
  const i32x4 lowShift = _mm_cvtsi32_si128(shift);
  const i32x4 highShift = _mm_cvtsi32_si128(shift - 32);  // a count above 31 leaves the sign
  for (int32_t i = 0; i < n; i += 4) {
    const i32x4 l = loadInt4(left + i);
    const i32x4 even = _mm_mul_epi32(l, gain);
    const i32x4 odd = _mm_mul_epi32(_mm_srli_epi64(l, 32), gain);
    i32x4 scaled;
    if (shift < 32)
      scaled = _mm_blend_epi16(_mm_srl_epi64(even, lowShift),
                               _mm_slli_epi64(_mm_srl_epi64(odd, lowShift), 32), 0xCC);
    else
      scaled = _mm_sra_epi32(_mm_blend_epi16(_mm_srli_epi64(even, 32), odd, 0xCC), highShift);
    storeInt4(right + i, withSignOf4(max4(scaled, splatInt4(-kSaturated)), signs));
  }
}

}  // namespace moxac::aac
