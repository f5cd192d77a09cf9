// QMF synthesis over a bank's delay line: load, modulate, insert, window. Slots go through the modulation
// side by side, one a lane (eight floats or four doubles); a short rest goes alone, to the same bits.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sbr/qmf_line.h"
#include "sbr/qmf_modulation.h"
#include "sbr/qmf_rows.h"

namespace moxac::sbr {

// One slot of output, with v the values of the slot itself and of the nine before it; B = kBands:
//
//   y[r] = sum over j < 5 of v[4B*j + r]*window[2B*j + r] + v[4B*j + 3B + r]*window[2B*j + B + r]
//
// A vector of outputs at a time for all slots, so that the ten window vectors are read once. aged(l, j) tells where
// the values of the slot stand that is j slots older than slot l, whose output goes to dst + l*B.
template <int kBands, class L, class Aged, class Sample>
inline void windowSynthesis(const Aged& aged, const typename L::T* window, int slots, Sample* dst) {
  for (int r = 0; r < kBands; r += L::kCount) {
    typename L::V w[10];
    for (int j = 0; j < 10; ++j) w[j] = L::load(window + kBands * j + r);
    for (int l = 0; l < slots; ++l) {
      typename L::V term[10];
      for (int j = 0; j < 10; ++j) term[j] = w[j] * L::load(aged(l, j) + j % 2 * kBands + r);
      for (int j = 0; j < 5; ++j) term[j] = term[j] + term[9 - j];  // the flanks are small: outside in
      L::store(dst + l * kBands + r, ((term[0] + term[1]) + (term[2] + term[3])) + term[4]);
    }
  }
}

// The modulated values of a batch of slots, out of the lanes and into the line, slot l at v - l*2*kBands.
template <int kBands, class L>
inline void insertLanes(const typename L::V* lanes, typename L::T* v) {
  for (int n = 0; n < 2 * kBands; n += L::kCount) {
    typename L::V a[L::kCount];
    for (int i = 0; i < L::kCount; ++i) a[i] = lanes[n + i];
    transpose(a);
    for (int l = 0; l < L::kCount; ++l) L::store(v - l * 2 * kBands + n, a[l]);
  }
}

// rows[0] is the first slot's. L says how to compute, in floats or in doubles; samples of another type are
// rounded on their way out.
template <int kBands, class Modulation, class L = Lanes8, class Sample, class Rows>
void qmfSynthesise(const Rows& rows, Sample* dst, const typename L::T* window, int32_t slots,
                   typename L::T* delay, int32_t& position) {
  using T = typename L::T;
  using V = typename L::V;
  constexpr int kChunk = 16, kBatch = L::kCount;
  constexpr int kAloneUpTo = kBatch / 4;  // from there on a batch with idle lanes is cheaper
  const int32_t alone = slots % kBatch <= kAloneUpTo ? slots % kBatch : 0, batched = slots - alone;
  const auto output = [dst](int32_t slot) { return dst + slot * ptrdiff_t{kBands}; };

  if (batched > 0) {
    QmfLine<T, 2 * kBands, kChunk> line(delay, position);
    for (int32_t done = 0; done < batched;) {
      const int chunk = std::min(batched - done, kChunk);
      for (int l = 0; l < chunk; l += kBatch) {
        V x[Rows::kValues], v[2 * kBands];
        loadLanes(rows, done + l, std::min(chunk - l, kBatch), x);
        Modulation::template modulate<L>(x, v);
        insertLanes<kBands, L>(v, line.slot(l));
      }
      const T* const newest = line.slot(0);
      windowSynthesis<kBands, L>([newest](int l, int j) { return newest + (j - l) * 2 * kBands; }, window,
                                 chunk, output(done));
      done += chunk;
      if (done < batched)
        line.nextChunk();
      else
        line.storeTo(delay, position, chunk - 1, batched);
    }
  }

  const QmfRing<T, 2 * kBands> ring(delay, position);
  for (int32_t slot = batched; slot < slots; ++slot) {
    T x[Rows::kValues];
    loadOne(rows, slot, x);
    Modulation::template modulate<typename L::One>(x, ring.newest());
    windowSynthesis<kBands, L>([&ring](int, int j) { return ring.aged(j); }, window, 1, output(slot));
    ring.next();
  }
}

}  // namespace moxac::sbr
