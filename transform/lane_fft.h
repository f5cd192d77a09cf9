// Straight-line complex FFTs of 1 to 32 points over lane types (Lanes1: one signal, Lanes8: eight signals
// side by side), in the form that cosine transforms want, a quarter of a bin off. The order of every
// operation is the same for both, so a signal's result does not depend on its neighbours or on how many of
// them there are.
//
//   F[m] = sum over n of a[n] * exp(-2*pi*i*n*(m + 1/4)/N)
//
// Points come from a callable and go to one: `a(n)` makes input n, `store(m, value)` takes output m, so that
// work before and after the transform needs no pass of its own. The quarter bin costs next to nothing: it
// turns into other constants in the rotations between the two stages.
#pragma once

#include "frame/trig.h"
#include "transform/lane_complex.h"

namespace moxac::transform {

// a * (c - i*s)
template <class L>
inline Complex<L> rotate(Complex<L> a, typename L::T c, typename L::T s) {
  const typename L::V cos = L::splat(c), sin = L::splat(s);
  return {a.re * cos + a.im * sin, a.im * cos - a.re * sin};
}

// a * -i
template <class L>
inline Complex<L> turnBack(Complex<L> a) {
  return {a.im, -a.re};
}

// a * exp(-i*pi/4)
template <class L>
inline Complex<L> turnEighth(Complex<L> a) {
  const typename L::V half = L::splat(static_cast<typename L::T>(cosPi(1, 4)));
  return {(a.re + a.im) * half, (a.im - a.re) * half};
}

// scale * exp(-i*pi*(kMul*n + kAdd)/kDen) for n = 0..kCount-1, as cosine and sine of the angle. The scale is
// a power of two, 2^kLog2Scale: each entry is rounded once.
template <class T, int kCount, int kMul, int kAdd, int kDen, int kLog2Scale = 0>
struct Rotations {
  T cos[kCount], sin[kCount];

  constexpr Rotations() : cos{}, sin{} {
    double scale = 1;
    for (int i = 0; i < (kLog2Scale < 0 ? -kLog2Scale : kLog2Scale); ++i) scale *= kLog2Scale < 0 ? 0.5 : 2;
    for (int n = 0; n < kCount; ++n) {
      cos[n] = static_cast<T>(scale * cosPi(kMul * n + kAdd, kDen));
      sin[n] = static_cast<T>(scale * sinPi(kMul * n + kAdd, kDen));
    }
  }
};

template <class L>
inline void fftInPlace(Complex<L> (&)[1]) {}

template <class L>
inline void fftInPlace(Complex<L> (&x)[2]) {
  const Complex<L> sum = x[0] + x[1];
  x[1] = x[0] - x[1];
  x[0] = sum;
}

template <class L>
inline void fftInPlace(Complex<L> (&x)[4]) {
  const Complex<L> a = x[0] + x[2], b = x[0] - x[2];
  const Complex<L> c = x[1] + x[3], d = turnBack<L>(x[1] - x[3]);
  x[0] = a + c;
  x[1] = b + d;
  x[2] = a - c;
  x[3] = b - d;
}

template <class L>
inline void fftInPlace(Complex<L> (&x)[8]) {
  Complex<L> even[4] = {x[0], x[2], x[4], x[6]};
  Complex<L> odd[4] = {x[1], x[3], x[5], x[7]};
  fftInPlace<L>(even);
  fftInPlace<L>(odd);
  odd[1] = turnEighth<L>(odd[1]);
  odd[2] = turnBack<L>(odd[2]);
  odd[3] = turnBack<L>(turnEighth<L>(odd[3]));
  for (int k = 0; k < 4; ++k) {
    x[k] = even[k] + odd[k];
    x[k + 4] = even[k] - odd[k];
  }
}

// a[n] * exp(-i*pi*n/8), n = 0..3
template <class L>
inline void turnQuarters(Complex<L> (&a)[4]) {
  static constexpr Rotations<typename L::T, 4, 1, 0, 8> w;
  a[1] = rotate<L>(a[1], w.cos[1], w.sin[1]);
  a[2] = turnEighth<L>(a[2]);
  a[3] = rotate<L>(a[3], w.cos[3], w.sin[3]);
}

template <int N, class L, class In, class Out>
inline void laneFft(const In& a, const Out& store) {
  if constexpr (N <= 8) {
    static constexpr Rotations<typename L::T, N, 1, 0, 2 * N> w;
    Complex<L> x[N];
    x[0] = a(0);
    for (int n = 1; n < N; ++n) x[n] = rotate<L>(a(n), w.cos[n], w.sin[n]);
    fftInPlace<L>(x);
    for (int m = 0; m < N; ++m) store(m, x[m]);
  } else {
    // N = 4 * M: n = n1 + M*n2, m = k2 + 4*k1; four-point transforms over n2, a rotation by n1*(k2 + 1/4),
    // M-point transforms over n1.
    static_assert(N == 16 || N == 32);
    constexpr int M = N / 4;
    static constexpr Rotations<typename L::T, M, 1, 0, 2 * N> w0;
    static constexpr Rotations<typename L::T, M, 5, 0, 2 * N> w1;
    static constexpr Rotations<typename L::T, M, 9, 0, 2 * N> w2;
    static constexpr Rotations<typename L::T, M, 13, 0, 2 * N> w3;
    Complex<L> middle[4][M];
    for (int n1 = 0; n1 < M; ++n1) {
      Complex<L> x[4] = {a(n1), a(n1 + M), a(n1 + 2 * M), a(n1 + 3 * M)};
      turnQuarters<L>(x);
      fftInPlace<L>(x);
      middle[0][n1] = rotate<L>(x[0], w0.cos[n1], w0.sin[n1]);
      middle[1][n1] = rotate<L>(x[1], w1.cos[n1], w1.sin[n1]);
      middle[2][n1] = rotate<L>(x[2], w2.cos[n1], w2.sin[n1]);
      middle[3][n1] = rotate<L>(x[3], w3.cos[n1], w3.sin[n1]);
    }
    for (int k2 = 0; k2 < 4; ++k2) {
      Complex<L> x[M];
      for (int n1 = 0; n1 < M; ++n1) x[n1] = middle[k2][n1];
      fftInPlace<L>(x);
      for (int k1 = 0; k1 < M; ++k1) store(k2 + 4 * k1, x[k1]);
    }
  }
}

}  // namespace moxac::transform
