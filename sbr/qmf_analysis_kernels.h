// QMF analysis over a bank's delay line: insert, window, modulate, store. Slots go through the modulation
// side by side, one a lane (eight floats or four doubles); a short rest goes alone. Both ways do the same
// arithmetic in the same order, so results do not depend on how a signal is cut into calls.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sbr/qmf_line.h"
#include "sbr/qmf_modulation.h"
#include "sbr/qmf_rows.h"

namespace moxac::sbr {

// u[n] = sum over j < 5 of window[2*kBands*j + n] * z[2*kBands*j + n], a vector of n at a time. The window's
// flanks are small: adding from the outside in loses least.
template <class L>
inline typename L::V sumOfFive(const typename L::V (&term)[5]) {
  return ((term[0] + term[4]) + (term[1] + term[3])) + term[2];
}

template <int kBands, class L>
inline void loadWindow(const typename L::T* window, typename L::V (&w)[5]) {
  for (int j = 0; j < 5; ++j) w[j] = L::load(window + 2 * kBands * j);
}

// The ring's newest slot; even ages meet the first half of u, odd ones the second.
template <int kBands, class L>
inline void windowOne(const QmfRing<typename L::T, kBands>& ring, const typename L::T* window,
                      typename L::T* u) {
  for (int half = 0; half < 2; ++half)
    for (int n = 0; n < kBands; n += L::kCount) {
      typename L::V w[5], term[5];
      loadWindow<kBands, L>(window + half * kBands + n, w);
      for (int j = 0; j < 5; ++j) term[j] = w[j] * L::load(ring.aged(2 * j + half) + n);
      L::store(u + half * kBands + n, sumOfFive<L>(term));
    }
}

// The same for a batch of slots on a straight line, of which slot l begins at z - l*kBands; lane l of u[n] is slot l's.
template <int kBands, class L>
inline void windowBatch(const typename L::T* z, const typename L::T* window, typename L::V* u) {
  for (int n = 0; n < 2 * kBands; n += L::kCount) {
    typename L::V w[5], a[L::kCount];
    loadWindow<kBands, L>(window + n, w);
    for (int l = 0; l < L::kCount; ++l) {
      typename L::V term[5];
      for (int j = 0; j < 5; ++j) term[j] = w[j] * L::load(z + n + (2 * j - l) * kBands);
      a[l] = sumOfFive<L>(term);
    }
    transpose(a);
    for (int i = 0; i < L::kCount; ++i) u[n + i] = a[i];
  }
}

// A slot's samples, newest first.
template <int kBands, class L, class Sample>
inline void insertReversed(const Sample* src, typename L::T* slot) {
  for (int i = 0; i < kBands; i += L::kCount)
    L::store(slot + i, reverse(L::load(src + kBands - L::kCount - i)));
}

// Sub-bands kx and above of each row are cleared. rows[0] is the first slot's. L says how to compute, in
// floats or in doubles; samples of another type are converted on their way into the line.
template <int kBands, class Modulation, class L = Lanes8, class Sample, class Rows>
void qmfAnalyse(const Sample* src, const typename L::T* window, int32_t slots, int32_t kx, const Rows& rows,
                typename L::T* delay, int32_t& position) {
  using T = typename L::T;
  using V = typename L::V;
  constexpr int kChunk = 32, kBatch = L::kCount;
  constexpr int kAloneUpTo = kBatch / 4;  // from there on a batch with idle lanes is cheaper
  const int32_t alone = slots % kBatch <= kAloneUpTo ? slots % kBatch : 0, batched = slots - alone;
  const auto source = [src](int32_t slot) { return src + slot * ptrdiff_t{kBands}; };

  if (batched > 0) {
    QmfLine<T, kBands, kChunk> line(delay, position);
    for (int32_t done = 0; done < batched;) {
      const int chunk = std::min(batched - done, kChunk);
      for (int l = 0; l < chunk; ++l) insertReversed<kBands, L>(source(done + l), line.slot(l));
      for (int l = 0; l < chunk; l += kBatch) {
        const int count = std::min(chunk - l, kBatch);
        V u[2 * kBands + 1], x[2 * kBands];
        for (int idle = count; idle < kBatch; ++idle) std::fill_n(line.slot(l + idle), kBands, T(0));
        windowBatch<kBands, L>(line.slot(l), window, u);
        Modulation::template modulate<L>(u, x);
        storeLanes(rows, done + l, count, x);
        for (int i = 0; i < count; ++i) rows.clearFrom(done + l + i, kx);
      }
      done += chunk;
      if (done < batched)
        line.nextChunk();
      else
        line.storeTo(delay, position, chunk - 1, batched);
    }
  }

  const QmfRing<T, kBands> ring(delay, position);
  for (int32_t slot = batched; slot < slots; ++slot) {
    T u[2 * kBands + 1], x[2 * kBands];
    insertReversed<kBands, L>(source(slot), ring.newest());
    windowOne<kBands, L>(ring, window, u);
    Modulation::template modulate<typename L::One>(u, x);
    storeOne(rows, slot, x);
    rows.clearFrom(slot, kx);
    ring.next();
  }
}

}  // namespace moxac::sbr
