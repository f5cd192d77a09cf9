// Complex vectors and the small transforms that everything larger is made of. L says how many signals lie
// side by side: one, four or eight, to the same bits.
#pragma once

#include <cstdint>
#include <numbers>

#include "frame/lanes.h"
#include "moxac/types.h"
#include "transform/fft_tables.h"
#include "transform/lane_complex.h"

// Kernels are put together from small pieces that must vanish into their loops.
#define MOX_INLINE [[gnu::always_inline]] inline
#define MOX_ALWAYS __attribute__((always_inline))  // behind a lambda's parameters

namespace moxac::transform {

using Complex1 = Complex<Lanes1>;
using Complex4 = Complex<Lanes4>;
using Complex8 = Complex<Lanes8>;

// a times -i.
template <class L>
MOX_INLINE Complex<L> quarterTurn(Complex<L> a) {
  return {a.im, -a.re};
}

// Discrete Fourier transforms, X[k] = sum over n of a[n] * exp(-2*pi*i*n*k/R), in place, natural order.
template <class L>
MOX_INLINE void dft2(Complex<L> (&a)[2]) {
  const Complex<L> difference = a[0] - a[1];
  a[0] = a[0] + a[1];
  a[1] = difference;
}

template <class L>
MOX_INLINE void dft4(Complex<L>& a0, Complex<L>& a1, Complex<L>& a2, Complex<L>& a3) {
  const Complex<L> s02 = a0 + a2, d02 = a0 - a2;
  const Complex<L> s13 = a1 + a3, d13 = a1 - a3;
  a0 = s02 + s13;
  a1 = {d02.re + d13.im, d02.im - d13.re};
  a2 = s02 - s13;
  a3 = {d02.re - d13.im, d02.im + d13.re};
}
template <class L>
MOX_INLINE void dft4(Complex<L> (&a)[4]) {
  dft4(a[0], a[1], a[2], a[3]);
}

// Eight points from loadFour(n, four), which fills in points n, n+1, n+4 and n+5, to store(k, value): four
// points of the sums, then of the differences, which are turned by n eighths; the sign of the last factor and
// the quarter turn go into the next sums.
template <class L, class LoadFour, class Store>
MOX_INLINE void dft8(LoadFour&& loadFour, Store&& store) {
  Complex<L> sum[4], odd[4];
  for (int n = 0; n < 4; n += 2) {
    Complex<L> a[4];
    loadFour(n, a);
    for (int i = 0; i < 2; ++i) {
      sum[n + i] = a[i] + a[i + 2];
      odd[n + i] = a[i] - a[i + 2];
    }
  }
  dft4(sum);
  for (int k = 0; k < 4; ++k) store(2 * k, sum[k]);

  const typename L::V half = L::splat(std::numbers::sqrt2_v<float> / 2);
  const Complex<L> turned1 = {(odd[1].re + odd[1].im) * half, (odd[1].im - odd[1].re) * half};
  const Complex<L> turned3 = {(odd[3].im - odd[3].re) * half, (odd[3].re + odd[3].im) * half};
  const Complex<L> s02 = {odd[0].re + odd[2].im, odd[0].im - odd[2].re};
  const Complex<L> d02 = {odd[0].re - odd[2].im, odd[0].im + odd[2].re};
  const Complex<L> s13 = {turned1.re + turned3.re, turned1.im - turned3.im};
  const Complex<L> d13 = {turned1.re - turned3.re, turned1.im + turned3.im};
  store(1, s02 + s13);
  store(3, Complex<L>{d02.re + d13.im, d02.im - d13.re});
  store(5, s02 - s13);
  store(7, Complex<L>{d02.re - d13.im, d02.im + d13.re});
}

// A block: eight real parts, then eight imaginary parts.
MOX_INLINE Complex8 loadBlock(const float* p) { return {load8(p), load8(p + 8)}; }
MOX_INLINE void storeBlock(float* p, Complex8 z) {
  store8(p, z.re);
  store8(p + 8, z.im);
}

// Eight interleaved complex values as a block in lane order, and back.
MOX_INLINE Complex8 loadInterleaved(const Mox32fc* p) {
  const float* const f = &p->re;
  const f32x8 low = load8(f), high = load8(f + 8);
  return {evenLanes(low, high), oddLanes(low, high)};
}
MOX_INLINE void storeInterleaved(Mox32fc* p, Complex8 z) {
  float* const f = &p->re;
  store8(f, zipLow(z.re, z.im));
  store8(f + 8, zipHigh(z.re, z.im));
}
// A block in natural order as eight interleaved complex values.
MOX_INLINE void storeNatural(Mox32fc* p, Complex8 z) {
  float* const f = &p->re;
  const f32x8 low = zipLow(z.re, z.im), high = zipHigh(z.re, z.im);
  store8(f, lowHalves(low, high));
  store8(f + 8, highHalves(low, high));
}

using moxac::transposeHalves;
MOX_INLINE void transposeHalves(Complex8& a, Complex8& b, Complex8& c, Complex8& d) {
  transposeHalves(a.re, b.re, c.re, d.re);
  transposeHalves(a.im, b.im, c.im, d.im);
}

MOX_INLINE Complex8 lowerHalves(Complex8 a, Complex8 b) {
  return {lowHalves(a.re, b.re), lowHalves(a.im, b.im)};
}
MOX_INLINE Complex8 upperHalves(Complex8 a, Complex8 b) {
  return {highHalves(a.re, b.re), highHalves(a.im, b.im)};
}

// One factor for all lanes, from a pair (re, im).
template <class L>
MOX_INLINE Complex<L> splatPair(const float* w) {
  return {L::splat(w[0]), L::splat(w[1])};
}

// The transform of 2^kBits blocks from load(n) to store(k, block). Eight fill the registers, therefore four
// points of the even and of the odd inputs, and outputs leave as they are formed: 0 4 1 5 2 6 3 7.
template <int kBits, class Load, class Store>
MOX_INLINE void dftBlocks(Load&& load, Store&& store) {
  if constexpr (kBits == 2) {
    Complex8 a[4] = {load(0), load(1), load(2), load(3)};
    dft4(a);
    for (int k = 0; k < 4; ++k) store(k, a[k]);
  } else {
    const f32x8 half = splat8(std::numbers::sqrt2_v<float> / 2);
    Complex8 even[4] = {load(0), load(2), load(4), load(6)};
    dft4(even);
    Complex8 odd[4] = {load(1), load(3), load(5), load(7)};
    dft4(odd);
    odd[1] = {(odd[1].re + odd[1].im) * half, (odd[1].im - odd[1].re) * half};
    odd[2] = quarterTurn(odd[2]);
    odd[3] = {(odd[3].im - odd[3].re) * half, (odd[3].re + odd[3].im) * -half};
    for (int k = 0; k < 4; ++k) {
      store(k, even[k] + odd[k]);
      store(k + 4, even[k] - odd[k]);
    }
  }
}

// Eight rows of eight columns: the transform down the columns, outputs twiddled (seven blocks from `twiddles`
// on, for rows 1 to 7) and transposed. load(r) gives row r in lane order; store(c, block) takes column c, its
// outputs in lane order. Each half is transposed as soon as it is there, so that additions, products and
// shuffles alternate often enough to run side by side.
template <class Load, class Store>
MOX_INLINE void transposingDft8(const float* twiddles, Load&& load, Store&& store) {
  Complex8 a[8];
  dftBlocks<3>(load, [&](int k, Complex8 block) MOX_ALWAYS {
    a[k] = k == 0 ? block : block * loadBlock(twiddles + (k - 1) * kBlockFloats);
    if (k == 5) transposeHalves(a[0], a[1], a[4], a[5]);
    if (k == 7) transposeHalves(a[2], a[3], a[6], a[7]);
  });
  for (int i = 0; i < 4; ++i) {
    const Complex8 first = a[kLaneOrder[i]], second = a[kLaneOrder[i + 4]];
    store(kLaneOrder[i], lowerHalves(first, second));
    store(kLaneOrder[i + 4], upperHalves(first, second));
  }
}

}  // namespace moxac::transform
