// Block FIR: the state record and the weighted sum over rows of the circular history.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/context_ids.h"
#include "frame/simd.h"

struct MoxFirBlockState {
  float* delay;  // nTaps rows of rowStride floats, each one past block
  int16_t nTaps;
  int16_t blockLen;
  int16_t rowStride;  // blockLen rounded up to 4; truncated when that takes 32768, so never relied on
  int16_t newestRow;
  moxac::ContextId identifier;
};
static_assert(offsetof(MoxFirBlockState, nTaps) == 8 && offsetof(MoxFirBlockState, newestRow) == 14 &&
              offsetof(MoxFirBlockState, identifier) == 16);

namespace moxac {

constexpr int64_t firRowStride(int64_t blockLen) { return roundUp<int64_t>(blockLen, 4); }

// kVectors registers of V hold the sums of their positions while all rows pass by.
template <class V, int kVectors, class Load, class Store, class Splat>
void firSpan(const MoxFirBlockState& s, const float* taps, int64_t i, float* dst, Load load, Store store,
             Splat splat) {
  const int64_t stride = firRowStride(s.blockLen);
  constexpr int64_t lanes = static_cast<int64_t>(sizeof(V) / sizeof(float));
  V sum[kVectors];
  int32_t row = s.newestRow;
  for (int v = 0; v < kVectors; ++v) sum[v] = splat(taps[0]) * load(s.delay + row * stride + i + v * lanes);
  for (int32_t age = s.nTaps - 1; age >= 1; --age) {
    row = row + 1 == s.nTaps ? 0 : row + 1;
    const V tap = splat(taps[age]);
    for (int v = 0; v < kVectors; ++v) sum[v] = sum[v] + tap * load(s.delay + row * stride + i + v * lanes);
  }
  for (int v = 0; v < kVectors; ++v) store(dst + i + v * lanes, sum[v]);
}

inline void firBlock(const MoxFirBlockState& s, const float* taps, float* dst) {
  int64_t i = 0;
  for (; i + 32 <= s.blockLen; i += 32) firSpan<f32x8, 4>(s, taps, i, dst, load8, store8, splat8);
  for (; i + 8 <= s.blockLen; i += 8) firSpan<f32x8, 1>(s, taps, i, dst, load8, store8, splat8);
  for (; i < s.blockLen; ++i)
    firSpan<float, 1>(
        s, taps, i, dst, [](const float* p) { return *p; }, [](float* p, float v) { *p = v; },
        [](float v) { return v; });
}

}  // namespace moxac
