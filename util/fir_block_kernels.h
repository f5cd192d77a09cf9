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

// Rows summed in one sweep: a sweep is as many sequential streams, which the prefetchers follow, while all
// rows at once would meet in the same cache sets when the stride is a multiple of a page.
constexpr int32_t kFirSweepRows = 8;

// Terms of the sum in their order: term 0 is the newest row with the first tap, term n the row n places
// behind it, which is nTaps - n calls old.
struct FirTerm {
  const float* row;
  float tap;
};

// Adds `count` terms to positions i ... of dst, or begins the sum with them.
template <class V, class Load, class Store, class Splat>
void firSpan(const FirTerm* terms, int32_t count, bool begin, int64_t i, float* dst, Load load, Store store,
             Splat splat) {
  V sum = splat(terms[0].tap) * load(terms[0].row + i);
  if (!begin) sum = load(dst + i) + sum;
  for (int32_t n = 1; n < count; ++n) sum = sum + splat(terms[n].tap) * load(terms[n].row + i);
  store(dst + i, sum);
}

template <int32_t kCount>
void firSweepOf(const FirTerm* terms, bool begin, int32_t len, float* dst) {
  int64_t i = 0;
  for (; i + 8 <= len; i += 8) firSpan<f32x8>(terms, kCount, begin, i, dst, load8, store8, splat8);
  for (; i < len; ++i)
    firSpan<float>(
        terms, kCount, begin, i, dst, [](const float* p) { return *p; }, [](float* p, float v) { *p = v; },
        [](float v) { return v; });
}

inline void firSweep(const FirTerm* terms, int32_t count, bool begin, int32_t len, float* dst) {
  switch (count) {
    case 1:
      return firSweepOf<1>(terms, begin, len, dst);
    case 2:
      return firSweepOf<2>(terms, begin, len, dst);
    case 3:
      return firSweepOf<3>(terms, begin, len, dst);
    case 4:
      return firSweepOf<4>(terms, begin, len, dst);
    case 5:
      return firSweepOf<5>(terms, begin, len, dst);
    case 6:
      return firSweepOf<6>(terms, begin, len, dst);
    case 7:
      return firSweepOf<7>(terms, begin, len, dst);
    default:
      return firSweepOf<kFirSweepRows>(terms, begin, len, dst);
  }
}

inline void firBlock(const MoxFirBlockState& s, const float* taps, float* dst) {
  const int64_t stride = firRowStride(s.blockLen);
  int32_t row = s.newestRow;
  for (int32_t first = 0; first < s.nTaps; first += kFirSweepRows) {
    FirTerm terms[kFirSweepRows];
    int32_t count = 0;
    for (; count < kFirSweepRows && first + count < s.nTaps; ++count) {
      const int32_t n = first + count;
      terms[count] = {s.delay + row * stride, taps[n == 0 ? 0 : s.nTaps - n]};
      row = row + 1 == s.nTaps ? 0 : row + 1;
    }
    firSweep(terms, count, first == 0, s.blockLen, dst);
  }
}

}  // namespace moxac
