// The 32-band, 512-tap synthesis bank of the DTS core (ETSI TS 102 114, annex C), one time slot or eight.
//
// With h[i] = (-1)^floor(i/64) * D[i] and s_k = + - - + for k mod 4, band k has the filter
//
//   64 * s_k * h[i] * cos(pi/32 * (k + 1/2) * (i + 33/2)),  i = 0..511.
//
// The cosine changes its sign every 64 taps, which D absorbs, so a slot needs its 64 values for i = 0..63
// only, and they are the type-IV cosine transform C of s_k * X[k], mirrored: C[16..31], -C[31..0],
// -C[0..15]. Of a slot, outputs that it meets at an even age (in slots) use the upper half of C, those at
// an odd age the lower half:
//
//   y[q]    = sum over even ages of C[16+q] * D[32a+q]     - sum over odd ages of C[15-q] * D[32a+q]
//   y[31-q] = - sum over even ages of C[16+q] * D[32a+31-q] - sum over odd ages of C[15-q] * D[32a+31-q]
//
// for q = 0..15. The history keeps a slot as C[16..31], then C[15..0].
#pragma once

#include <cstdint>

#include "frame/lanes.h"
#include "transform/dts_tables.h"
#include "transform/lane_dct.h"

namespace moxac::transform {

inline constexpr int kDtsBands = 32;
inline constexpr int kDtsSlots = 16;  // that the prototype spans
inline constexpr int kDtsHistory = kDtsBands * kDtsSlots;

// The prototype with its factor 64 and the signs above, in the order in which the history is read: for
// each age 16 weights towards y[q], then 16 towards y[31-q].
struct DtsWindow {
  alignas(32) float weight[kDtsSlots][2][16];

  constexpr explicit DtsWindow(const float (&d)[512]) : weight{} {
    for (int age = 0; age < kDtsSlots; ++age)
      for (int q = 0; q < 16; ++q) {
        weight[age][0][q] = (age % 2 == 0 ? 64 : -64) * d[32 * age + q];
        weight[age][1][q] = -64 * d[32 * age + 31 - q];
      }
  }
};
inline constexpr DtsWindow kDtsWindows[2] = {DtsWindow(kDtsNonPerfect), DtsWindow(kDtsPerfect)};

// The cosine transforms of as many slots as L has lanes; x[k] holds band k of each. slot[i] takes the
// history's order.
template <class L>
void dtsModulate(const typename L::V* x, typename L::V* slot) {
  typename L::V c[kDtsBands];
  dct4<kDtsBands, 0, 1, L>([x](int k) { return k % 4 == 0 || k % 4 == 3 ? x[k] : L::splat(0) - x[k]; }, c);
  for (int q = 0; q < 16; ++q) {
    slot[q] = c[16 + q];
    slot[16 + q] = c[15 - q];
  }
}

// The newest slot stands at `position` of the circular history, older ones behind it.
inline void dtsWindow(const DtsWindow& window, const float* history, int32_t position, float* dst) {
  f32x8 low[2] = {splat8(0), splat8(0)};   // y[0..15]
  f32x8 high[2] = {splat8(0), splat8(0)};  // y[31..16]
  for (int age = 0; age < kDtsSlots; ++age) {
    const float* const half = history + ((position + age) % kDtsSlots) * kDtsBands + (age % 2 == 0 ? 0 : 16);
    for (int i = 0; i < 2; ++i) {
      const f32x8 c = load8(half + 8 * i);
      low[i] = low[i] + c * load8(window.weight[age][0] + 8 * i);
      high[i] = high[i] + c * load8(window.weight[age][1] + 8 * i);
    }
  }
  store8(dst, low[0]);
  store8(dst + 8, low[1]);
  store8(dst + 16, reverse8(high[1]));
  store8(dst + 24, reverse8(high[0]));
}

inline int32_t dtsPush(float* history, int32_t position, const float* slot) {
  const int32_t next = (position + kDtsSlots - 1) % kDtsSlots;
  for (int i = 0; i < kDtsBands; i += 8) store8(history + next * kDtsBands + i, load8(slot + i));
  return next;
}

// Eight slots' rows of 32 become 32 vectors of one value each slot, and back.
inline void dtsRowsToLanes(const float* rows, f32x8* lanes) {
  for (int block = 0; block < kDtsBands; block += 8) {
    f32x8 square[8];
    for (int i = 0; i < 8; ++i) square[i] = load8(rows + i * kDtsBands + block);
    transpose8(square);
    for (int i = 0; i < 8; ++i) lanes[block + i] = square[i];
  }
}

inline void dtsLanesToRows(const f32x8* lanes, float* rows) {
  for (int block = 0; block < kDtsBands; block += 8) {
    f32x8 square[8];
    for (int i = 0; i < 8; ++i) square[i] = lanes[block + i];
    transpose8(square);
    for (int i = 0; i < 8; ++i) store8(rows + i * kDtsBands + block, square[i]);
  }
}

// Takes numSlots slots in, returns the position of the newest.
inline int32_t dtsSynthesize(const DtsWindow& window, const float* src, float* dst, int32_t numSlots,
                             float* history, int32_t position) {
  const auto finish = [&](const float* slot) {
    position = dtsPush(history, position, slot);
    dtsWindow(window, history, position, dst);
    dst += kDtsBands;
  };
  int32_t l = 0;
  for (; l + 8 <= numSlots; l += 8) {
    f32x8 x[kDtsBands], lanes[kDtsBands];
    alignas(32) float slots[8][kDtsBands];
    dtsRowsToLanes(src + int64_t{l} * kDtsBands, x);
    dtsModulate<Lanes8>(x, lanes);
    dtsLanesToRows(lanes, slots[0]);
    for (const auto& slot : slots) finish(slot);
  }
  for (; l < numSlots; ++l) {
    float slot[kDtsBands];
    dtsModulate<Lanes1>(src + int64_t{l} * kDtsBands, slot);
    finish(slot);
  }
  return position;
}

}  // namespace moxac::transform
