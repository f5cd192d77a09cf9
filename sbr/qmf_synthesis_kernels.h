// QMF synthesis over a bank's delay line: load, modulate, insert, window. Slots go through the modulation
// eight at a time, one a lane; a rest of one or two goes alone, to the same bits.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sbr/qmf_line.h"
#include "sbr/qmf_modulation.h"
#include "sbr/qmf_rows.h"

namespace moxac {

// One slot of output, of whose delay line v is the newest end; B = kBands:
//
//   y[r] = sum over j < 5 of v[4B*j + r]*window[2B*j + r] + v[4B*j + 3B + r]*window[2B*j + B + r]
//
// Eight outputs at a time for all slots, so that the ten window vectors are read once; slot l's line begins
// at v - l*2B, its output at dst + l*B.
template <int kBands>
inline void windowSynthesis(const float* v, const float* window, int slots, float* dst) {
  for (int r = 0; r < kBands; r += 8) {
    f32x8 w[10];
    for (int j = 0; j < 10; ++j) w[j] = load8(window + kBands * j + r);
    for (int l = 0; l < slots; ++l) {
      const float* const z = v - l * 2 * kBands + r;
      f32x8 term[10];
      for (int j = 0; j < 10; ++j) term[j] = w[j] * load8(z + kBands * (2 * j + j % 2));
      for (int j = 0; j < 5; ++j) term[j] = term[j] + term[9 - j];  // the flanks are small: outside in
      store8(dst + l * kBands + r, ((term[0] + term[1]) + (term[2] + term[3])) + term[4]);
    }
  }
}

// The modulated values of eight slots, out of the lanes and into the line, slot l at v - l*2*kBands.
template <int kBands>
inline void insertLanes(const f32x8* lanes, float* v) {
  for (int n = 0; n < 2 * kBands; n += 8) {
    f32x8 a[8];
    for (int i = 0; i < 8; ++i) a[i] = lanes[n + i];
    transpose8(a);
    for (int l = 0; l < 8; ++l) store8(v - l * 2 * kBands + n, a[l]);
  }
}

// rows[0] is the first slot's.
template <int kBands, class Modulation, class Rows>
void qmfSynthesise(const Rows& rows, float* dst, const float* window, int32_t slots, float* delay,
                   int32_t& position) {
  constexpr int kChunk = 16, kBatch = 8;
  constexpr int kAloneUpTo = 2;  // from three slots on, a batch with idle lanes is cheaper
  QmfLine<float, 2 * kBands, kChunk> line(delay, position);
  for (int32_t done = 0; done < slots;) {
    const int chunk = std::min(slots - done, kChunk);
    for (int l = 0; l < chunk;) {
      const int count = std::min(chunk - l, kBatch);
      if (count <= kAloneUpTo) {
        float x[Rows::kValues];
        loadOne(rows, done + l, x);
        Modulation::template modulate<Lanes1>(x, line.slot(l));
        l += 1;
      } else {
        f32x8 x[Rows::kValues], v[2 * kBands];
        loadLanes(rows, done + l, count, x);
        Modulation::template modulate<Lanes8>(x, v);
        insertLanes<kBands>(v, line.slot(l));
        l += count;
      }
    }
    windowSynthesis<kBands>(line.slot(0), window, chunk, dst + done * ptrdiff_t{kBands});
    done += chunk;
    if (done < slots)
      line.nextChunk();
    else
      line.storeTo(delay, position, chunk - 1, slots);
  }
}

}  // namespace moxac
