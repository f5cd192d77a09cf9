// Sums and extremes over the lanes of a vector.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/simd.h"

namespace moxac {

// Lanes four apart first, then two apart, then neighbours.
inline f32x4 sumHalves(f32x8 v) { return lowHalf(v) + highHalf(v); }
inline float sumLanes(f32x8 v) {
  const f32x4 four = sumHalves(v);
  const f32x4 two = four + _mm_movehl_ps(four, four);
  return _mm_cvtss_f32(two) + _mm_cvtss_f32(_mm_movehdup_ps(two));
}

inline float maxLane(f32x8 v) {
  alignas(32) float lanes[8];
  store8(lanes, v);
  return *std::max_element(lanes, lanes + 8);
}

inline uint32_t maxUnsignedLane(i32x4 v) {
  v = maxUnsigned4(v, _mm_shuffle_epi32(v, 0x4E));
  v = maxUnsigned4(v, _mm_shuffle_epi32(v, 0xB1));
  return static_cast<uint32_t>(_mm_cvtsi128_si32(v));
}

inline int16_t maxShortLane(i16x8 v) {
  alignas(16) int16_t lanes[8];
  storeShort8(lanes, v);
  return *std::max_element(lanes, lanes + 8);
}
inline uint16_t maxUnsignedShortLane(i16x8 v) {
  alignas(16) uint16_t lanes[8];
  _mm_store_si128(reinterpret_cast<i16x8*>(lanes), v);
  return *std::max_element(lanes, lanes + 8);
}

// The least unsigned lane, and where it is first.
struct LeastLane {
  uint16_t value, place;
};
inline LeastLane minUnsignedShortLane(i16x8 v) {
  const i16x8 found = _mm_minpos_epu16(v);
  return {laneShort8<0>(found), laneShort8<1>(found)};
}

}  // namespace moxac
