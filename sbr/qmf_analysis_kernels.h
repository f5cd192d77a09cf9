// QMF analysis over a bank's delay line: insert, window, modulate, store. Slots go through the modulation
// eight at a time, one a lane; a rest of one or two goes alone. Both ways do the same arithmetic in the same
// order, so results do not depend on how a signal is cut into calls.
#pragma once

#include <algorithm>
#include <cstdint>

#include "sbr/qmf_line.h"
#include "sbr/qmf_modulation.h"
#include "sbr/qmf_rows.h"

namespace moxac {

// u[n] = sum over j < 5 of window[2*kBands*j + n] * z[2*kBands*j + n], eight n at a time. The window's flanks
// are small: adding from the outside in loses least.
template <int kBands>
inline f32x8 windowFive(const f32x8 (&w)[5], const float* z) {
  f32x8 term[5];
  for (int j = 0; j < 5; ++j) term[j] = w[j] * load8(z + 2 * kBands * j);
  return ((term[0] + term[4]) + (term[1] + term[3])) + term[2];
}

template <int kBands>
inline void loadWindow(const float* window, f32x8 (&w)[5]) {
  for (int j = 0; j < 5; ++j) w[j] = load8(window + 2 * kBands * j);
}

template <int kBands>
inline void windowOne(const float* z, const float* window, float* u) {
  for (int n = 0; n < 2 * kBands; n += 8) {
    f32x8 w[5];
    loadWindow<kBands>(window + n, w);
    store8(u + n, windowFive<kBands>(w, z + n));
  }
}

// The same for eight slots, of which slot l begins at z - l*kBands; lane l of u[n] is slot l's.
template <int kBands>
inline void windowEight(const float* z, const float* window, f32x8* u) {
  for (int n = 0; n < 2 * kBands; n += 8) {
    f32x8 w[5], a[8];
    loadWindow<kBands>(window + n, w);
    for (int l = 0; l < 8; ++l) a[l] = windowFive<kBands>(w, z + n - l * kBands);
    transpose8(a);
    for (int i = 0; i < 8; ++i) u[n + i] = a[i];
  }
}

// Sub-bands kx and above of each row are cleared. rows[0] is the first slot's.
template <int kBands, class Modulation, class Rows>
void qmfAnalyse(const float* src, const float* window, int32_t slots, int32_t kx, const Rows& rows,
                float* delay, int32_t& position) {
  constexpr int kChunk = 32, kBatch = 8;
  constexpr int kAloneUpTo = 2;  // from three slots on, a batch with idle lanes is cheaper
  QmfLine<float, kBands, kChunk> line(delay, position);
  for (int32_t done = 0; done < slots;) {
    const int chunk = std::min(slots - done, kChunk);
    for (int l = 0; l < chunk; ++l)
      for (int i = 0; i < kBands; i += 8)
        store8(line.slot(l) + i, reverse8(load8(src + (done + l) * ptrdiff_t{kBands} + kBands - 8 - i)));

    for (int l = 0; l < chunk;) {
      const int count = std::min(chunk - l, kBatch);
      if (count <= kAloneUpTo) {
        float u[2 * kBands + 1], x[2 * kBands];
        windowOne<kBands>(line.slot(l), window, u);
        Modulation::template modulate<Lanes1>(u, x);
        storeOne(rows, done + l, x);
        rows.clearFrom(done + l, kx);
        l += 1;
      } else {
        f32x8 u[2 * kBands + 1], x[2 * kBands];
        for (int idle = count; idle < kBatch; ++idle) std::fill_n(line.slot(l + idle), kBands, 0.0f);
        windowEight<kBands>(line.slot(l), window, u);
        Modulation::template modulate<Lanes8>(u, x);
        storeLanes(rows, done + l, count, x);
        for (int i = 0; i < count; ++i) rows.clearFrom(done + l + i, kx);
        l += count;
      }
    }
    done += chunk;
    if (done < slots)
      line.nextChunk();
    else
      line.storeTo(delay, position, chunk - 1, slots);
  }
}

}  // namespace moxac
