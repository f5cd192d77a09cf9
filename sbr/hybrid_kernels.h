// The hybrid analysis of parametric stereo: each of the lowest QMF bands through Q 13-tap filters at once,
// one a lane. A filter's tap n and tap 12 - n are conjugates, so six sums and six differences of a band's
// samples serve all of its filters.
#pragma once

#include <cstdint>

#include "frame/simd.h"
#include "frame/trig.h"
#include "moxac/types.h"
#include "sbr/hybrid_tables.h"

namespace moxac::sbr {

inline constexpr int kHybridTaps = 13;
inline constexpr int kHybridCentre = 6;
inline constexpr int kHybridLanes = 16;  // filters of one band at most, in vectors of eight

// cos and sin of the angles 2*pi/Q*(q + 1/2)*(n - 6), times g[n], n = 0..5; and g[6].
struct HybridFilters {
  alignas(32) float cos[kHybridCentre][kHybridLanes] = {};
  alignas(32) float sin[kHybridCentre][kHybridLanes] = {};
  float centre;
  int filters;

  constexpr HybridFilters(const float (&g)[kHybridCentre + 1], int Q, bool real)
      : centre(g[kHybridCentre]), filters(Q) {
    for (int n = 0; n < kHybridCentre; ++n)
      for (int q = 0; q < Q; ++q) {
        const int turn = real ? 2 * q * (n - kHybridCentre) : (2 * q + 1) * (n - kHybridCentre);
        cos[n][q] = static_cast<float>(g[n] * cosPi(turn, Q));
        sin[n][q] = real ? 0.0f : static_cast<float>(g[n] * sinPi(turn, Q));
      }
  }
};

inline constexpr HybridFilters kHybrid20[3] = {
    {kHybrid20Band0, 8, false}, {kHybrid20Band1, 2, true}, {kHybrid20Band1, 2, true}};
inline constexpr HybridFilters kHybrid34[5] = {{kHybrid34Band0, 12, false},
                                               {kHybrid34Band1, 8, false},
                                               {kHybrid34Band2, 4, false},
                                               {kHybrid34Band2, 4, false},
                                               {kHybrid34Band2, 4, false}};

// One slot of one band; rows[0..12] are its slots, oldest first. All filters' outputs, real and imaginary.
inline void hybridBand(const HybridFilters& f, const Mox32fc* const* rows, int band, float* re, float* im) {
  const Mox32fc middle = rows[kHybridCentre][band];
  for (int q = 0; q < f.filters; q += 8) {
    f32x8 sumRe = splat8(f.centre * middle.re);
    f32x8 sumIm = splat8(f.centre * middle.im);
    for (int n = 0; n < kHybridCentre; ++n) {
      const Mox32fc a = rows[kHybridTaps - 1 - n][band];  // meets tap n
      const Mox32fc b = rows[n][band];                    // meets its conjugate
      const f32x8 c = load8(f.cos[n] + q), s = load8(f.sin[n] + q);
      sumRe = sumRe + (c * splat8(a.re + b.re) - s * splat8(a.im - b.im));
      sumIm = sumIm + (c * splat8(a.im + b.im) + s * splat8(a.re - b.re));
    }
    store8(re + q, sumRe);
    store8(im + q, sumIm);
  }
}

inline void hybrid20(const Mox32fc* const* rows, Mox32fc* dst) {
  float re[kHybridLanes], im[kHybridLanes];
  hybridBand(kHybrid20[0], rows, 0, re, im);
  const auto at = [&](int q) { return Mox32fc{re[q], im[q]}; };
  for (int k = 0; k < 4; ++k) dst[k] = at((k + 6) % 8);
  dst[4] = {re[2] + re[5], im[2] + im[5]};
  dst[5] = {re[3] + re[4], im[3] + im[4]};
  hybridBand(kHybrid20[1], rows, 1, re, im);
  dst[6] = at(1);
  dst[7] = at(0);
  hybridBand(kHybrid20[2], rows, 2, re, im);
  dst[8] = at(0);
  dst[9] = at(1);
}

inline void hybrid34(const Mox32fc* const* rows, Mox32fc* dst) {
  for (int band = 0; band < 5; ++band) {
    float re[kHybridLanes], im[kHybridLanes];
    hybridBand(kHybrid34[band], rows, band, re, im);
    for (int q = 0; q < kHybrid34[band].filters; ++q) *dst++ = {re[q], im[q]};
  }
}

}  // namespace moxac::sbr
