// Conjugate code-book search: the code book, weighted inner products, candidate lists.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/context.h"
#include "frame/simd.h"
#include "moxac/util.h"

namespace moxac {

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

// A target of len values, padded with zero weight to whole vectors of eight, the weight multiplied in once.
struct VqTarget {
  alignas(32) float weight[moxVqMaxVectorLen] = {};
  alignas(32) float weighted[moxVqMaxVectorLen] = {};
  int32_t paddedLen;

  VqTarget(const float* src, const float* w, int32_t len) : paddedLen(vqRowStride(len)) {
    for (int32_t j = 0; j < len; ++j) {
      weight[j] = w[j];
      weighted[j] = w[j] * src[j];
    }
  }
};

inline float sumLanes(f32x8 v) {
  const f32x4 four = _mm256_castps256_ps128(v) + _mm256_extractf128_ps(v, 1);
  const f32x4 two = four + _mm_movehl_ps(four, four);
  return _mm_cvtss_f32(two) + _mm_cvtss_f32(_mm_movehdup_ps(two));
}

// What a vector contributes to the error: its weighted energy, and its product with the target.
struct VqTerms {
  float energy, product;
};

// Both sums keep eight partial sums; rows of a book are padded, but a vector may be used in part, so its
// excess meets zero weights.
inline VqTerms vqTerms(const VqTarget& t, const float* c) {
  f32x8 energy = splat8(0.0f);
  f32x8 product = splat8(0.0f);
  for (int32_t j = 0; j < t.paddedLen; j += 8) {
    const f32x8 v = load8(c + j);
    energy = energy + load8(t.weight + j) * v * v;
    product = product + load8(t.weighted + j) * v;
  }
  return {sumLanes(energy), sumLanes(product)};
}

inline float vqCross(const VqTarget& t, const float* a, const float* b) {
  f32x8 sum = splat8(0.0f);
  for (int32_t j = 0; j < t.paddedLen; j += 8) sum = sum + load8(t.weight + j) * load8(a + j) * load8(b + j);
  return sumLanes(sum);
}

// The numCand nearest vectors, nearest first, the lower index first among equals. The target's own energy is
// the same for all and left out of the distance.
inline void vqPreliminary(const VqTarget& t, const VqRecord& book, int32_t numCand, int32_t* cand) {
  float distance[moxVqMaxVectors];
  int32_t found = 0;
  for (int32_t k = 0; k < book.numVectors; ++k) {
    const VqTerms terms = vqTerms(t, book.row(k));
    const bool flipped = book.polarity == 1 && terms.product < 0.0f;
    const float d = terms.energy - 2.0f * (flipped ? -terms.product : terms.product);
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

struct VqPair {
  int32_t codeWord0, codeWord1;
};

// The best pair over all candidates and the signs that their books allow.
inline VqPair vqMain(const VqTarget& t, const VqRecord& book0, const int32_t* cand0, int32_t numCand0,
                     const VqRecord& book1, const int32_t* cand1, int32_t numCand1) {
  VqTerms terms1[moxVqMaxVectors];
  for (int32_t b = 0; b < numCand1; ++b) terms1[b] = vqTerms(t, book1.row(cand1[b]));

  VqPair best = {-1, -1};
  float bestError = 0.0f;
  const auto consider = [&](float error, int32_t word0, int32_t word1) {
    const bool lower = word0 < best.codeWord0 || (word0 == best.codeWord0 && word1 < best.codeWord1);
    if (best.codeWord0 >= 0 && !(error < bestError || (error == bestError && lower))) return;
    best = {word0, word1};
    bestError = error;
  };
  for (int32_t a = 0; a < numCand0; ++a) {
    const float* const c0 = book0.row(cand0[a]);
    const VqTerms terms0 = vqTerms(t, c0);
    for (int32_t b = 0; b < numCand1; ++b) {
      const float energies = 0.25f * (terms0.energy + terms1[b].energy);
      const float cross = 0.5f * vqCross(t, c0, book1.row(cand1[b]));
      for (int32_t p0 = 0; p0 <= book0.polarity; ++p0)
        for (int32_t p1 = 0; p1 <= book1.polarity; ++p1) {
          const float product0 = p0 == 0 ? terms0.product : -terms0.product;
          const float product1 = p1 == 0 ? terms1[b].product : -terms1[b].product;
          const float error = energies + (p0 == p1 ? cross : -cross) - (product0 + product1);
          consider(error, cand0[a] + p0 * book0.numVectors, cand1[b] + p1 * book1.numVectors);
        }
    }
  }
  return best;
}

}  // namespace moxac
