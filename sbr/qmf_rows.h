// How the sub-band samples of a slot lie in the caller's rows, and the way between rows and lanes.
//
// A layout cuts a slot's values (x[2k] = Re, x[2k+1] = Im of complex samples, x[k] real ones) into blocks of
// eight that are neighbours in memory: index(b, i) is the value that stands i-th in block b, at(slot, b) the
// block's address. Rows may have any alignment.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "frame/lanes.h"
#include "moxac/types.h"

namespace moxac::sbr {

// Real samples. Float is float or const float.
template <class Float, int kBands>
struct RealRows {
  static constexpr int kValues = kBands;
  Float* const* rows;

  static constexpr int index(int b, int i) { return 8 * b + i; }
  Float* at(int32_t slot, int b) const { return rows[slot] + 8 * b; }
  void clearFrom(int32_t slot, int32_t k) const { std::fill(rows[slot] + k, rows[slot] + kBands, 0.0f); }
};

// Complex samples, real part first. Pair is Mox32fc or const Mox32fc.
template <class Pair, class Float, int kBands>
struct InterleavedRows {
  static constexpr int kValues = 2 * kBands;
  Pair* const* rows;

  static constexpr int index(int b, int i) { return 8 * b + i; }
  Float* at(int32_t slot, int b) const { return reinterpret_cast<Float*>(rows[slot]) + 8 * b; }
  void clearFrom(int32_t slot, int32_t k) const { std::fill(rows[slot] + k, rows[slot] + kBands, Pair{}); }
};

// Complex samples of all slots one behind another.
template <int kBands>
struct ContiguousRows {
  static constexpr int kValues = 2 * kBands;
  Mox32fc* first;

  static constexpr int index(int b, int i) { return 8 * b + i; }
  float* at(int32_t slot, int b) const { return &first[ptrdiff_t{slot} * kBands].re + 8 * b; }
  void clearFrom(int32_t, int32_t) const {}
};

// Complex samples, the parts in rows of their own: the blocks of the real row come first.
template <class Float, int kBands>
struct SplitRows {
  static constexpr int kValues = 2 * kBands;
  static constexpr int kBlocks = kBands / 8;
  Float* const* re;
  Float* const* im;

  static constexpr int index(int b, int i) { return 2 * (8 * (b % kBlocks) + i) + b / kBlocks; }
  Float* at(int32_t slot, int b) const { return (b < kBlocks ? re : im)[slot] + 8 * (b % kBlocks); }
  void clearFrom(int32_t slot, int32_t k) const {
    std::fill(re[slot] + k, re[slot] + kBands, 0.0f);
    std::fill(im[slot] + k, im[slot] + kBands, 0.0f);
  }
};

// Slots first..first+count-1 (at most eight), one a lane.
template <class Rows>
inline void storeLanes(const Rows& rows, int32_t first, int count, const f32x8* x) {
  for (int b = 0; b < Rows::kValues / 8; ++b) {
    f32x8 a[8];
    for (int i = 0; i < 8; ++i) a[i] = x[Rows::index(b, i)];
    transpose8(a);
    for (int i = 0; i < 8; ++i)
      if (i < count) store8(rows.at(first + i, b), a[i]);
  }
}

// Lanes without a slot of their own repeat the last one.
template <class Rows>
inline void loadLanes(const Rows& rows, int32_t first, int count, f32x8* x) {
  for (int b = 0; b < Rows::kValues / 8; ++b) {
    f32x8 a[8];
    for (int i = 0; i < 8; ++i) a[i] = load8(rows.at(first + std::min(i, count - 1), b));
    transpose8(a);
    for (int i = 0; i < 8; ++i) x[Rows::index(b, i)] = a[i];
  }
}

template <class Rows>
inline void storeOne(const Rows& rows, int32_t slot, const float* x) {
  for (int b = 0; b < Rows::kValues / 8; ++b)
    for (int i = 0; i < 8; ++i) rows.at(slot, b)[i] = x[Rows::index(b, i)];
}

template <class Rows>
inline void loadOne(const Rows& rows, int32_t slot, float* x) {
  for (int b = 0; b < Rows::kValues / 8; ++b)
    for (int i = 0; i < 8; ++i) x[Rows::index(b, i)] = rows.at(slot, b)[i];
}

}  // namespace moxac::sbr
