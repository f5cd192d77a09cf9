// Complex vectors and the small transforms that everything larger is made of. L says how many signals lie
// side by side: one, four or eight, to the same bits.
#pragma once

#include <cstdint>
#include <numbers>

#include "frame/simd.h"
#include "moxac/types.h"
#include "transform/fft_tables.h"

#define MOX_INLINE [[gnu::always_inline]] inline

namespace moxac {

template <class L>
struct Complex {
  typename L::V re, im;
};
using Complex1 = Complex<Lanes1>;
using Complex4 = Complex<Lanes4>;
using Complex8 = Complex<Lanes8>;

template <class L>
MOX_INLINE Complex<L> operator+(Complex<L> a, Complex<L> b) {
  return {a.re + b.re, a.im + b.im};
}
template <class L>
MOX_INLINE Complex<L> operator-(Complex<L> a, Complex<L> b) {
  return {a.re - b.re, a.im - b.im};
}
template <class L>
MOX_INLINE Complex<L> operator*(Complex<L> a, Complex<L> w) {
  return {a.re * w.re - a.im * w.im, a.re * w.im + a.im * w.re};
}
// a times -i.
template <class L>
MOX_INLINE Complex<L> quarterTurn(Complex<L> a) {
  return {a.im, -a.re};
}

// One value for all lanes, from a pair (re, im).
template <class L>
MOX_INLINE Complex<L> splatPair(const float* w) {
  return {L::splat(w[0]), L::splat(w[1])};
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

template <class L>
MOX_INLINE void dft8(Complex<L> (&a)[8]) {
  const typename L::V half = L::splat(std::numbers::sqrt2_v<float> / 2);
  Complex<L> even[4], odd[4];
  for (int n = 0; n < 4; ++n) {
    even[n] = a[n] + a[n + 4];
    odd[n] = a[n] - a[n + 4];
  }
  // The odd outputs: odd[n] times exp(-2*pi*i*n/8); the sign of the last factor and the quarter turn of
  // odd[2] go into the sums.
  const Complex<L> turned1 = {(odd[1].re + odd[1].im) * half, (odd[1].im - odd[1].re) * half};
  const Complex<L> turned3 = {(odd[3].im - odd[3].re) * half, (odd[3].re + odd[3].im) * half};
  const Complex<L> s02 = {odd[0].re + odd[2].im, odd[0].im - odd[2].re};
  const Complex<L> d02 = {odd[0].re - odd[2].im, odd[0].im + odd[2].re};
  const Complex<L> s13 = {turned1.re + turned3.re, turned1.im - turned3.im};
  const Complex<L> d13 = {turned1.re - turned3.re, turned1.im + turned3.im};
  dft4(even[0], even[1], even[2], even[3]);
  a[0] = even[0];
  a[2] = even[1];
  a[4] = even[2];
  a[6] = even[3];
  a[1] = s02 + s13;
  a[3] = {d02.re + d13.im, d02.im - d13.re};
  a[5] = s02 - s13;
  a[7] = {d02.re - d13.im, d02.im + d13.re};
}

template <class L>
MOX_INLINE void dft(Complex<L> (&a)[2]) {
  dft2(a);
}
template <class L>
MOX_INLINE void dft(Complex<L> (&a)[4]) {
  dft4(a);
}
template <class L>
MOX_INLINE void dft(Complex<L> (&a)[8]) {
  dft8(a);
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
  return {_mm256_shuffle_ps(low, high, 0x88), _mm256_shuffle_ps(low, high, 0xDD)};
}
MOX_INLINE void storeInterleaved(Mox32fc* p, Complex8 z) {
  float* const f = &p->re;
  store8(f, _mm256_unpacklo_ps(z.re, z.im));
  store8(f + 8, _mm256_unpackhi_ps(z.re, z.im));
}

// Eight rows in, eight columns out: both the rows that become lanes and the columns that were lanes in lane
// order, so that a[c] is column c with its rows in lane order.
MOX_INLINE void transposeBlocks(Complex8 (&a)[8]) {
  f32x8 re[8], im[8];
  for (int lane = 0; lane < 8; ++lane) re[lane] = a[kLaneOrder[lane]].re;
  transpose8(re);
  for (int lane = 0; lane < 8; ++lane) a[kLaneOrder[lane]].re = re[lane];
  for (int lane = 0; lane < 8; ++lane) im[lane] = a[kLaneOrder[lane]].im;
  transpose8(im);
  for (int lane = 0; lane < 8; ++lane) a[kLaneOrder[lane]].im = im[lane];
}

}  // namespace moxac
