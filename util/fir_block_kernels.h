// Block FIR: the state record and the weighted sum over rows of the circular history.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/context_ids.h"
#include "frame/lanes.h"

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

namespace moxac::util {

constexpr int64_t firRowStride(int64_t blockLen) { return roundUp<int64_t>(blockLen, 4); }

// Rows summed in one sweep, and vectors of each row that one span of it takes: four rows are as many sequential
// streams, which the prefetchers follow; four vectors use up every cache line at once, while rows whose stride is a
// multiple of a page meet in the same cache sets and push each other's lines out.
inline constexpr int32_t kFirSweepRows = 4;
inline constexpr int32_t kFirSpanVectors = 4;

// Terms of the sum in their order: term 0 is the newest row with the first tap, term n the row n places
// behind it, which is nTaps - n calls old.
struct FirTerm {
  const float* row;
  float tap;
};

// Adds kTerms terms to kVectors vectors of dst from position i on, or begins the sum with them.
template <class Lanes, int32_t kVectors, int32_t kTerms, bool kBegin>
[[gnu::always_inline]] inline void firSpan(const FirTerm* terms, int64_t i, float* dst) {
  typename Lanes::V sum[kVectors];
  for (int32_t v = 0; v < kVectors; ++v) {
    const int64_t at = i + v * Lanes::kCount;
    const auto first = Lanes::splat(terms[0].tap) * Lanes::load(terms[0].row + at);
    if constexpr (kBegin)
      sum[v] = first;
    else
      sum[v] = Lanes::load(dst + at) + first;
  }
  for (int32_t n = 1; n < kTerms; ++n)
    for (int32_t v = 0; v < kVectors; ++v)
      sum[v] = sum[v] + Lanes::splat(terms[n].tap) * Lanes::load(terms[n].row + i + v * Lanes::kCount);
  for (int32_t v = 0; v < kVectors; ++v) Lanes::store(dst + i + v * Lanes::kCount, sum[v]);
}

template <int32_t kTerms, bool kBegin>
void firSweepOf(const FirTerm* terms, int32_t len, float* dst) {
  constexpr int32_t kSpan = kFirSpanVectors * Lanes8::kCount;
  int64_t i = 0;
  for (; i + kSpan <= len; i += kSpan) firSpan<Lanes8, kFirSpanVectors, kTerms, kBegin>(terms, i, dst);
  for (; i + Lanes8::kCount <= len; i += Lanes8::kCount) firSpan<Lanes8, 1, kTerms, kBegin>(terms, i, dst);
  for (; i < len; ++i) firSpan<Lanes1, 1, kTerms, kBegin>(terms, i, dst);
}

template <bool kBegin>
void firSweep(const FirTerm* terms, int32_t count, int32_t len, float* dst) {
  switch (count) {
    case 1:
      return firSweepOf<1, kBegin>(terms, len, dst);
    case 2:
      return firSweepOf<2, kBegin>(terms, len, dst);
    case 3:
      return firSweepOf<3, kBegin>(terms, len, dst);
    default:
      return firSweepOf<kFirSweepRows, kBegin>(terms, len, dst);
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
    if (first == 0)
      firSweep<true>(terms, count, s.blockLen, dst);
    else
      firSweep<false>(terms, count, s.blockLen, dst);
  }
}

}  // namespace moxac::util
