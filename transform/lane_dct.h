// Discrete cosine transforms over lane types, all reduced to the type-IV transform, which is one complex FFT
// of half its length and a rotation.
#pragma once

#include "transform/lane_fft.h"

namespace moxac::transform {

// The type-IV transform in the form that filter banks use: t(n) makes input n (n < N), store(m, g) takes
//   g = 2^kLog2Scale * (Y[2m] - i*Y[N-1-2m]),   Y[k] = sum over n of t(n) * cos(pi/N*(k+1/2)*(n+1/2))
// for m = 0..N/2-1. An input pair (t(2n), t(N-1-2n)) is one complex point.
template <int N, int kLog2Scale, class L, class In, class Out>
inline void dct4Pairs(const In& t, const Out& store) {
  static constexpr Rotations<typename L::T, N / 2, 4, 1, 4 * N, kLog2Scale> after;
  laneFft<N / 2, L>(
      [&](int n) {
        return Complex<L>{t(2 * n), t(N - 1 - 2 * n)};
      },
      [&](int m, Complex<L> f) { store(m, rotate<L>(f, after.cos[m], after.sin[m])); });
}

// Y[k] at y[k * kStride].
template <int N, int kLog2Scale, int kStride, class L, class In>
inline void dct4(const In& t, typename L::V* y) {
  dct4Pairs<N, kLog2Scale, L>(t, [&](int m, Complex<L> g) {
    y[2 * m * kStride] = g.re;
    y[(N - 1 - 2 * m) * kStride] = -g.im;
  });
}

template <class T, int kLog2Scale>
inline constexpr Rotations<T, 1, 0, 1, 4, kLog2Scale> kEighthTurn;  // 2^kLog2Scale * cos(pi/4)
template <class T, int kLog2Scale>
inline constexpr Rotations<T, 1, 0, 0, 1, kLog2Scale> kNoTurn;  // 2^kLog2Scale

// Type II: X[k] = 2^kLog2Scale * sum over n < N of x[n] * cos(pi/N*k*(n+1/2)), stored at X[k * kStride]. The
// even outputs are the transform of half length of x[n] + x[N-1-n], the odd ones the type-IV transform of
// the differences.
template <int N, int kLog2Scale, int kStride, class L>
inline void dct2(const typename L::V* x, typename L::V* X) {
  using T = typename L::T;
  if constexpr (N == 2) {
    X[0] = (x[0] + x[1]) * L::splat(kNoTurn<T, kLog2Scale>.cos[0]);
    X[kStride] = (x[0] - x[1]) * L::splat(kEighthTurn<T, kLog2Scale>.cos[0]);
  } else {
    typename L::V sum[N / 2];
    for (int n = 0; n < N / 2; ++n) sum[n] = x[n] + x[N - 1 - n];
    dct2<N / 2, kLog2Scale, 2 * kStride, L>(sum, X);
    dct4<N / 2, kLog2Scale, 2 * kStride, L>([&](int n) { return x[n] - x[N - 1 - n]; }, X + kStride);
  }
}

// Type III, its transpose: X[k] = 2^kLog2Scale * sum over n < N of x[n * kStride] * cos(pi/N*n*(k+1/2)).
template <int N, int kLog2Scale, int kStride, class L>
inline void dct3(const typename L::V* x, typename L::V* X) {
  using T = typename L::T;
  typename L::V even[N / 2], odd[N / 2];
  if constexpr (N == 2) {
    even[0] = x[0] * L::splat(kNoTurn<T, kLog2Scale>.cos[0]);
    odd[0] = x[kStride] * L::splat(kEighthTurn<T, kLog2Scale>.cos[0]);
  } else {
    dct3<N / 2, kLog2Scale, 2 * kStride, L>(x, even);
    dct4<N / 2, kLog2Scale, 1, L>([&](int n) { return x[(2 * n + 1) * kStride]; }, odd);
  }
  for (int k = 0; k < N / 2; ++k) {
    X[k] = even[k] + odd[k];
    X[N - 1 - k] = even[k] - odd[k];
  }
}

}  // namespace moxac::transform
