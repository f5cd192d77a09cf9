// Conjugate code-book search: the code book, weighted distances, candidate lists.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/context.h"
#include "frame/horizontal.h"
#include "moxac/util.h"

namespace moxac::util {

// Rows are padded with zeros to whole vectors of eight.
constexpr int32_t vqRowStride(int32_t vectorLen) { return roundUp<int32_t>(vectorLen, 8); }

struct VqRecord {
  ContextId identifier;
  uint32_t allocated;
  int32_t vectorLen;
  int32_t numVectors;
  int32_t polarity;
  float vectors[1];  // numVectors rows of vqRowStride(vectorLen) floats, behind the fixed fields

  float* row(int32_t k) { return vectors + int64_t{k} * vqRowStride(vectorLen); }
  const float* row(int32_t k) const { return vectors + int64_t{k} * vqRowStride(vectorLen); }
  int32_t codeWords() const { return numVectors << polarity; }
  const float* vectorOf(int32_t codeWord) const {
    return row(codeWord < numVectors ? codeWord : codeWord - numVectors);
  }
  float signOf(int32_t codeWord) const { return codeWord < numVectors ? 1.0f : -1.0f; }
};

constexpr size_t vqRecordBytes(int32_t vectorLen, int32_t numVectors) {
  return roundUp16(offsetof(VqRecord, vectors) + static_cast<size_t>(vqRowStride(vectorLen)) *
                                                     static_cast<size_t>(numVectors) * sizeof(float));
}

// A target of len values, padded with zero weight to whole vectors of eight.
struct VqTarget {
  alignas(32) float value[moxVqMaxVectorLen] = {};
  alignas(32) float weight[moxVqMaxVectorLen] = {};
  int32_t paddedLen;

  VqTarget(const float* src, const float* w, int32_t len) : paddedLen(vqRowStride(len)) {
    std::copy_n(src, len, value);
    std::copy_n(w, len, weight);
  }
};

// x - s*v for the sign +1, and for -1 as well where a book has both. Errors are sums of such differences, never of
// energies less products: vectors far from the origin and close to one another would vanish in those.
template <int kSigns>
inline void vqDifferences(f32x8 x, f32x8 v, f32x8 (&difference)[kSigns]) {
  difference[0] = x - v;
  if constexpr (kSigns == 2) difference[1] = x + v;
}

// The distance to the nearer one of a vector's signs. The sum keeps eight partial sums; rows of a book are padded,
// but a vector may be used in part, so its excess meets zero weights (weights come first: 0 times a finite value).
template <int kSigns>
inline float vqDistance(const VqTarget& t, const float* c) {
  f32x8 sum[kSigns];
  for (f32x8& s : sum) s = splat8(0.0f);
  for (int32_t j = 0; j < t.paddedLen; j += 8) {
    const f32x8 w = load8(t.weight + j);
    f32x8 d[kSigns];
    vqDifferences(load8(t.value + j), load8(c + j), d);
    for (int s = 0; s < kSigns; ++s) sum[s] = sum[s] + w * d[s] * d[s];
  }
  float nearest = sumLanes(sum[0]);
  if constexpr (kSigns == 2) nearest = std::min(nearest, sumLanes(sum[1]));
  return nearest;
}

// The numCand nearest vectors, nearest first, the lower index first among equals.
template <int kSigns>
inline void vqNearest(const VqTarget& t, const VqRecord& book, int32_t numCand, int32_t* cand) {
  float distance[moxVqMaxVectors];
  int32_t found = 0;
  for (int32_t k = 0; k < book.numVectors; ++k) {
    const float d = vqDistance<kSigns>(t, book.row(k));
    if (found == numCand && !(d < distance[found - 1])) continue;
    int32_t at = found < numCand ? found++ : found - 1;
    for (; at > 0 && d < distance[at - 1]; --at) {
      distance[at] = distance[at - 1];
      cand[at] = cand[at - 1];
    }
    distance[at] = d;
    cand[at] = k;
  }
}

inline void vqPreliminary(const VqTarget& t, const VqRecord& book, int32_t numCand, int32_t* cand) {
  (book.polarity == 1 ? vqNearest<2> : vqNearest<1>)(t, book, numCand, cand);
}

struct VqPair {
  int32_t codeWord0, codeWord1;
};

// The target less a vector of the first book, with every sign.
template <int kSigns>
struct VqRemainder {
  alignas(32) float value[kSigns][moxVqMaxVectorLen];

  VqRemainder(const VqTarget& t, const float* c) {
    for (int32_t j = 0; j < t.paddedLen; j += 8) {
      f32x8 d[kSigns];
      vqDifferences(load8(t.value + j), load8(c + j), d);
      for (int s = 0; s < kSigns; ++s) store8(value[s] + j, d[s]);
    }
  }
};

// Four times the error of a pair, for every pair of signs: the sum of w * ((x - s0*c0) + (x - s1*c1))^2.
template <int kSigns0, int kSigns1>
inline void vqPairErrors(const VqTarget& t, const VqRemainder<kSigns0>& remainder, const float* c,
                         float (&error)[kSigns0][kSigns1]) {
  f32x8 sum[kSigns0][kSigns1];
  for (auto& row : sum)
    for (f32x8& s : row) s = splat8(0.0f);
  for (int32_t j = 0; j < t.paddedLen; j += 8) {
    const f32x8 w = load8(t.weight + j);
    f32x8 d[kSigns1];
    vqDifferences(load8(t.value + j), load8(c + j), d);
    for (int s0 = 0; s0 < kSigns0; ++s0)
      for (int s1 = 0; s1 < kSigns1; ++s1) {
        const f32x8 both = load8(remainder.value[s0] + j) + d[s1];
        sum[s0][s1] = sum[s0][s1] + w * both * both;
      }
  }
  for (int s0 = 0; s0 < kSigns0; ++s0)
    for (int s1 = 0; s1 < kSigns1; ++s1) error[s0][s1] = sumLanes(sum[s0][s1]);
}

// The best pair over all candidates and the signs that their books allow.
template <int kSigns0, int kSigns1>
inline VqPair vqBestPair(const VqTarget& t, const VqRecord& book0, const int32_t* cand0, int32_t numCand0,
                         const VqRecord& book1, const int32_t* cand1, int32_t numCand1) {
  VqPair best = {-1, -1};
  float bestError = 0.0f;
  const auto consider = [&](float error, int32_t word0, int32_t word1) {
    const bool lower = word0 < best.codeWord0 || (word0 == best.codeWord0 && word1 < best.codeWord1);
    if (best.codeWord0 >= 0 && !(error < bestError || (error == bestError && lower))) return;
    best = {word0, word1};
    bestError = error;
  };
  for (int32_t a = 0; a < numCand0; ++a) {
    const VqRemainder<kSigns0> remainder(t, book0.row(cand0[a]));
    for (int32_t b = 0; b < numCand1; ++b) {
      float error[kSigns0][kSigns1];
      vqPairErrors(t, remainder, book1.row(cand1[b]), error);
      for (int32_t s0 = 0; s0 < kSigns0; ++s0)
        for (int32_t s1 = 0; s1 < kSigns1; ++s1)
          consider(error[s0][s1], cand0[a] + s0 * book0.numVectors, cand1[b] + s1 * book1.numVectors);
    }
  }
  return best;
}

inline VqPair vqMain(const VqTarget& t, const VqRecord& book0, const int32_t* cand0, int32_t numCand0,
                     const VqRecord& book1, const int32_t* cand1, int32_t numCand1) {
  constexpr auto kSearch = std::array{vqBestPair<1, 1>, vqBestPair<1, 2>, vqBestPair<2, 1>, vqBestPair<2, 2>};
  const auto search = kSearch[2 * static_cast<size_t>(book0.polarity) + static_cast<size_t>(book1.polarity)];
  return search(t, book0, cand0, numCand0, book1, cand1, numCand1);
}

}  // namespace moxac::util
