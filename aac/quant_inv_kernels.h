// Inverse quantisation of one band, by the magnitude of its largest value.
#pragma once

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>

#include "aac/fixed_point.h"
#include "aac/quant_inv_tables.h"
#include "frame/horizontal.h"

namespace moxac::aac {

inline constexpr uint32_t kLargestQuantized = 8191;

// 2^((sf - 100)/4) in units of the spectral format. Gains that leave no value of the format between zero and
// saturation are held at 2^+-150, which has the same results.
inline double requantizeGain(int32_t scaleFactor) {
  const int32_t quarters = std::clamp(scaleFactor - 100 + 4 * MOX_AAC_SPECTRUM_FRAC_BITS, -600, 600);
  return kQuarterPower[quarters & 3] * exp2Of(quarters >> 2);
}

// (1 + t)^(4/3) for |t| <= 2^-8: the binomial series to t^5, short of the true value by less than 2^-54.
template <class V>
V pow43Correction(V t, V one) {
  const auto c = [&](double v) { return one * v; };
  return one +
         t * (c(4.0 / 3) + t * (c(2.0 / 9) + t * (c(-4.0 / 81) + t * (c(5.0 / 243) + t * c(-8.0 / 729)))));
}

// The eight-bit number nearest to x, as the bits of a float: x^(4/3) is tabled for it.
inline uint32_t headBits(int32_t x) {
  const uint32_t bits = std::bit_cast<uint32_t>(static_cast<float>(x));
  return (bits + 0x8000u) & 0xFFFF0000u;
}
inline double headPow43(uint32_t head) {
  const uint32_t index = (head >> 16) - (127u << 7);
  return kPow43Pieces.mantissa[index & 127] * kPow43Pieces.exponent[index >> 7];
}

// The scalar form: twin of the vectors.
inline int32_t requantizeLine(int32_t x, double gain) {
  if (x == 0) return 0;
  const int32_t magnitude = x < 0 ? -x : x;
  const uint32_t head = headBits(magnitude);
  const double h = std::bit_cast<float>(head);
  const double power = headPow43(head) * pow43Correction((magnitude - h) / h, 1.0);
  const auto y = static_cast<int32_t>(std::lrint(std::min(power * gain, double{kSaturated})));
  return x < 0 ? -y : y;
}

// 0 or 1..8191 by table and series.
inline i32x4 requantize4(i32x4 x, f64x4 gain) {
  const i32x4 magnitude = max4(abs4(x), splatInt4(1));
  const i32x4 bits = asInts(toFloat4(magnitude));
  const i32x4 head = and4(add4(bits, splatInt4(0x8000)), splatInt4(~0xFFFF));
  alignas(16) int32_t heads[4];
  storeInt4(heads, head);
  const auto power43 = [&](int i) { return headPow43(static_cast<uint32_t>(heads[i])); };
  const f64x4 headPower = doubles4(power43(0), power43(1), power43(2), power43(3));
  const f64x4 h = widen4(asFloats(head));
  const f64x4 power = headPower * pow43Correction((toDouble4(magnitude) - h) / h, splatDouble4(1.0));
  return withSignOf4(roundToInt4(minOf(power * gain, splatDouble4(kSaturated))), x);
}

// The results for magnitudes 4q..4q+3.
inline i32x4 smallResults(int32_t q, f64x4 gain) {
  return roundToInt4(minOf(loadDouble4(kPow43Pieces.small + 4 * q) * gain, splatDouble4(kSaturated)));
}

inline uint32_t largestMagnitude(const int32_t* x, ptrdiff_t n) {
  i32x4 largest = splatInt4(0);
  for (ptrdiff_t i = 0; i < n; i += 4) largest = maxUnsigned4(largest, abs4(loadInt4(x + i)));
  return maxUnsignedLane(largest);
}

// n, a multiple of 4, values of one band; largest is their largest magnitude, at most 8191.
inline void requantizeBand(int32_t* x, ptrdiff_t n, uint32_t largest, double scalarGain) {
  if (largest == 0) return;
  const f64x4 gain = splatDouble4(scalarGain);
  if (largest < 4) {
    const i32x4 row = smallResults(0, gain);
    for (ptrdiff_t i = 0; i < n; i += 4) {
      const i32x4 v = loadInt4(x + i);
      storeInt4(x + i, withSignOf4(lookUp4(row, abs4(v)), v));
    }
  } else if (largest < 16) {
    const i32x4 row0 = smallResults(0, gain), row1 = smallResults(1, gain), row2 = smallResults(2, gain),
                row3 = smallResults(3, gain);
    for (ptrdiff_t i = 0; i < n; i += 4) {
      const i32x4 v = loadInt4(x + i);
      const i32x4 m = abs4(v);
      const i32x4 low = selectByBit4<2>(lookUp4(row0, m), lookUp4(row1, m), m);
      const i32x4 high = selectByBit4<2>(lookUp4(row2, m), lookUp4(row3, m), m);
      storeInt4(x + i, withSignOf4(selectByBit4<3>(low, high, m), v));
    }
  } else {
    for (ptrdiff_t i = 0; i < n; i += 4) storeInt4(x + i, requantize4(loadInt4(x + i), gain));
  }
}

}  // namespace moxac::aac
