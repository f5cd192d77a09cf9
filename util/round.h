// Rounding to nearest (ties to even) and saturation, one element, four or eight at a time. NaN comes out at the
// lower end.
#pragma once

#include <cstdint>

#include "frame/doubles.h"

namespace moxac::util {

inline int16_t roundSaturate16(float v) {
  const float clipped = v > 32767.0f ? 32767.0f : (v > -32768.0f ? v : -32768.0f);
  return static_cast<int16_t>(roundToInt(clipped));
}

inline i16x8 roundSaturate16(f32x8 v) {
  // max gives its second operand when either is NaN.
  return packInts(roundToInt8(minOf(maxOf(v, splat8(-32768.0f)), splat8(32767.0f))));
}

inline int16_t roundSaturate16(double v) {
  const double clipped = v > 32767.0 ? 32767.0 : (v > -32768.0 ? v : -32768.0);
  return static_cast<int16_t>(roundToInt(clipped));
}

inline i16x8 roundSaturate16(f64x4 low, f64x4 high) {
  const auto words = [](f64x4 v) {
    return roundToInt4(minOf(maxOf(v, splatDouble4(-32768.0)), splatDouble4(32767.0)));
  };
  return packInts(words(low), words(high));
}

inline int32_t roundSaturate32(double v) {
  const double clipped = v > 2147483647.0 ? 2147483647.0 : (v > -2147483648.0 ? v : -2147483648.0);
  return roundToInt(clipped);
}

inline i32x4 roundSaturate32(f64x4 v) {
  return roundToInt4(minOf(maxOf(v, splatDouble4(-2147483648.0)), splatDouble4(2147483647.0)));
}

}  // namespace moxac::util
