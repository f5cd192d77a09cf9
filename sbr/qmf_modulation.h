// The modulations of the QMF banks (ISO/IEC 14496-3, 4.6.18.4), each in one place, over lane types.
//
// Analysis takes the 64 windowed values u of a slot (in room for 65), synthesis the slot's sub-band samples
// X; complex samples are pairs x[2k] = Re, x[2k+1] = Im. The factors (2 in the analysis, 1/64 in the complex
// and 1/32 in the real synthesis) sit in the rotations behind the transforms.
#pragma once

#include "transform/lane_dct.h"

namespace moxac::sbr {

using transform::Complex;

// X[k] = 2 * sum over n < 64 of u[n] * exp(i*pi/64*(k+1/2)*(2n-1/2)), k < 32.
//
// The real part is a type-IV transform Y of length 64 of u folded to t, the imaginary part the same one read
// backwards: X[k] = 2*(Y[k] - i*Y[63-k]).
struct ComplexAnalysis32 {
  template <class L>
  static void modulate(typename L::V* u, typename L::V* x) {
    u[64] = -u[0];  // so that t(0) = u[0] follows the rule of its neighbours
    const auto t = [&](int n) { return n % 2 == 0 ? -u[64 - n / 2] : u[(n + 1) / 2]; };
    transform::dct4Pairs<64, 1, L>(t, [&](int m, Complex<L> g) {
      const int k = m < 16 ? 2 * m : 63 - 2 * m;
      x[2 * k] = m < 16 ? g.re : -g.im;
      x[2 * k + 1] = m < 16 ? g.im : -g.re;
    });
  }
};

// X[k] = 2 * sum over n < 64 of u[n] * cos(pi/64*(k+1/2)*(2n-96)), k < 32: a type-III transform of u folded
// about n = 48.
struct RealAnalysis32 {
  template <class L>
  static void modulate(const typename L::V* u, typename L::V* x) {
    typename L::V w[32];
    w[0] = u[48];
    for (int n = 1; n < 16; ++n) w[n] = u[48 + n] + u[48 - n];
    for (int n = 16; n < 32; ++n) w[n] = u[48 - n] - u[n - 16];
    transform::dct3<32, 1, 1, L>(w, x);
  }
};

// X[k] = sum over n < 128 of u[n] * exp(i*pi/128*(k+1/2)*(2n-1)), k < 64: the encoder's bank (in room for 129
// values). The cosine turns its sign about n = 64.5, the sine keeps it, so that the real part is a type-IV
// transform of the differences of mirrored values, and the imaginary part that of their sums read backwards, every
// other sign changed.
struct ComplexAnalysis64 {
  template <class L>
  static void modulate(typename L::V* u, typename L::V* x) {
    u[128] = -u[0];  // its mirror image follows the rule of its neighbours
    transform::dct4Pairs<64, 0, L>([&](int n) { return u[n + 1] - u[128 - n]; },
                                   [&](int m, Complex<L> g) {
                                     x[2 * (2 * m)] = g.re;
                                     x[2 * (63 - 2 * m)] = -g.im;
                                   });
    transform::dct4Pairs<64, 0, L>([&](int n) { return u[64 - n] + u[65 + n]; },
                                   [&](int m, Complex<L> g) {
                                     x[2 * (2 * m) + 1] = g.re;
                                     x[2 * (63 - 2 * m) + 1] = g.im;
                                   });
  }
};

// v[n] = 1/64 * Re sum over k < 64 of X[k] * exp(i*pi/128*(k+1/2)*(2n-255)), n < 128.
//
// With C the type-IV transform of Re X and S that of Im X reversed (every other sign changed), v[n] = S[n] -
// C[n] and v[127-n] = S[n] + C[n]. Sum and difference are taken in front of the transforms, which are linear.
struct ComplexSynthesis64 {
  template <class L>
  static void modulate(const typename L::V* x, typename L::V* v) {
    transform::dct4Pairs<64, -6, L>([&](int k) { return x[2 * (63 - k) + 1] - x[2 * k]; },
                                    [&](int m, Complex<L> g) {
                                      v[2 * m] = g.re;
                                      v[64 + 2 * m] = g.im;
                                    });
    transform::dct4Pairs<64, -6, L>([&](int k) { return x[2 * (63 - k) + 1] + x[2 * k]; },
                                    [&](int m, Complex<L> g) {
                                      v[127 - 2 * m] = g.re;
                                      v[63 - 2 * m] = g.im;
                                    });
  }
};

// v[n] = 1/64 * Re sum over k < 32 of X[k] * exp(i*pi/64*(k+1/2)*(2n-127.5)), n < 64: with y = Re X followed
// by -Im X backwards, D its type-IV transform, v[n] = -D[2n] and v[32+n] = D[63-2n], n < 32.
struct ComplexSynthesis32 {
  template <class L>
  static void modulate(const typename L::V* x, typename L::V* v) {
    const auto y = [&](int k) { return k < 32 ? x[2 * k] : -x[2 * (63 - k) + 1]; };
    transform::dct4Pairs<64, -6, L>(y, [&](int m, Complex<L> g) {
      v[m] = -g.re;
      v[32 + m] = -g.im;
    });
  }
};

// v[n] = 1/32 * sum over k < B of X[k] * cos(pi/(2B)*(k+1/2)*(2n-B)), n < 2B: a type-II transform E, unfolded
// with E[B] = 0 and E[2B-m] = -E[m].
template <int B>
struct RealSynthesis {
  template <class L>
  static void modulate(const typename L::V* x, typename L::V* v) {
    typename L::V e[B];
    transform::dct2<B, -5, 1, L>(x, e);
    v[B / 2] = e[0];
    v[3 * B / 2] = L::splat(0);
    for (int m = 1; m <= B / 2; ++m) v[B / 2 - m] = v[B / 2 + m] = e[m];
    for (int m = B / 2 + 1; m < B; ++m) {
      v[B / 2 + m] = e[m];
      v[5 * B / 2 - m] = -e[m];
    }
  }
};

}  // namespace moxac::sbr
