// Sub-band samples of the fixed-point banks: 32-bit words, slot after slot, on their way to double lanes and
// back. A slot's values are words[kValues*slot + i]; complex samples are pairs, real part first.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/lanes.h"

namespace moxac::sbr {

// Word is int32_t or const int32_t; kWords of each slot make a sub-band sample.
template <class Word, int kBands, int kWords>
struct FixedRows {
  static constexpr int kValues = kBands * kWords;
  Word* words;

  Word* at(int32_t slot) const { return words + slot * ptrdiff_t{kValues}; }
  void clearFrom(int32_t slot, int32_t k) const { std::fill(at(slot) + k * kWords, at(slot) + kValues, 0); }
};

// Slots first..first+count-1 (at most four), one a lane, rounded.
template <int kBands, int kWords>
inline void storeLanes(const FixedRows<int32_t, kBands, kWords>& rows, int32_t first, int count,
                       const f64x4* x) {
  for (int b = 0; b < kBands * kWords; b += 4) {
    f64x4 a[4] = {x[b], x[b + 1], x[b + 2], x[b + 3]};
    transpose(a);
    for (int i = 0; i < 4; ++i)
      if (i < count) Lanes4d::store(rows.at(first + i) + b, a[i]);
  }
}

// Lanes without a slot of their own repeat the last one.
template <int kBands, int kWords>
inline void loadLanes(const FixedRows<const int32_t, kBands, kWords>& rows, int32_t first, int count,
                      f64x4* x) {
  for (int b = 0; b < kBands * kWords; b += 4) {
    f64x4 a[4];
    for (int i = 0; i < 4; ++i) a[i] = Lanes4d::load(rows.at(first + std::min(i, count - 1)) + b);
    transpose(a);
    for (int i = 0; i < 4; ++i) x[b + i] = a[i];
  }
}

template <int kBands, int kWords>
inline void storeOne(const FixedRows<int32_t, kBands, kWords>& rows, int32_t slot, const double* x) {
  for (int b = 0; b < kBands * kWords; b += 4) Lanes4d::store(rows.at(slot) + b, Lanes4d::load(x + b));
}

template <int kBands, int kWords>
inline void loadOne(const FixedRows<const int32_t, kBands, kWords>& rows, int32_t slot, double* x) {
  for (int b = 0; b < kBands * kWords; b += 4) Lanes4d::store(x + b, Lanes4d::load(rows.at(slot) + b));
}

}  // namespace moxac::sbr
