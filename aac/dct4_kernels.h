// The DCT-IV that both AAC transforms fold to and unfold from:
//
//   y[n] = sum over k of u[k] cos(pi/M (n + 1/2)(k + 1/2))     n, k = 0..M-1, M = 1024 or 128
//
// as a turn, M/2 complex points, and a turn. The complex transform has one fixed size per M (512 = 8*8*8,
// 64 = 8*8), self-sorting, on separate real and imaginary arrays and constant tables: it needs no context,
// which the fixed-point operations have none of. L is Lanes8 or its scalar twin Lanes1.
#pragma once

#include <cstdint>

#include "aac/dct4_tables.h"
#include "frame/lanes.h"

namespace moxac::aac {

// (re + i im) (c - i s)
template <class V>
void turn(V& re, V& im, V c, V s) {
  const V turned = re * c + im * s;
  im = im * c - re * s;
  re = turned;
}

// X[r] = sum over k of x[k] exp(-2 pi i k r / 8), in place.
template <class L, class V = typename L::V>
void radix8(V (&re)[8], V (&im)[8]) {
  const V half = L::splat(0.70710678118654752440f);
  // Even inputs give E[0..3], odd ones O[0..3]; O[1] and O[3] are turned by an eighth and three eighths.
  const V sumRe04 = re[0] + re[4], sumIm04 = im[0] + im[4], difRe04 = re[0] - re[4], difIm04 = im[0] - im[4];
  const V sumRe26 = re[2] + re[6], sumIm26 = im[2] + im[6], difRe26 = re[2] - re[6], difIm26 = im[2] - im[6];
  const V sumRe15 = re[1] + re[5], sumIm15 = im[1] + im[5], difRe15 = re[1] - re[5], difIm15 = im[1] - im[5];
  const V sumRe37 = re[3] + re[7], sumIm37 = im[3] + im[7], difRe37 = re[3] - re[7], difIm37 = im[3] - im[7];

  const V e0Re = sumRe04 + sumRe26, e0Im = sumIm04 + sumIm26;
  const V o0Re = sumRe15 + sumRe37, o0Im = sumIm15 + sumIm37;
  re[0] = e0Re + o0Re, im[0] = e0Im + o0Im;
  re[4] = e0Re - o0Re, im[4] = e0Im - o0Im;

  const V e2Re = sumRe04 - sumRe26, e2Im = sumIm04 - sumIm26;
  const V o2Re = sumRe15 - sumRe37, o2Im = sumIm15 - sumIm37;
  re[2] = e2Re + o2Im, im[2] = e2Im - o2Re;
  re[6] = e2Re - o2Im, im[6] = e2Im + o2Re;

  const V e1Re = difRe04 + difIm26, e1Im = difIm04 - difRe26;
  const V e3Re = difRe04 - difIm26, e3Im = difIm04 + difRe26;
  const V o1Re = difRe15 + difIm37, o1Im = difIm15 - difRe37;
  const V o3Re = difRe15 - difIm37, o3Im = difIm15 + difRe37;
  const V t1Re = half * (o1Re + o1Im), t1Im = half * (o1Im - o1Re);
  const V t3Re = half * (o3Im - o3Re), t3Im = half * (o3Im + o3Re);
  re[1] = e1Re + t1Re, im[1] = e1Im + t1Im;
  re[5] = e1Re - t1Re, im[5] = e1Im - t1Im;
  re[3] = e3Re + t3Re, im[3] = e3Im - t3Im;
  re[7] = e3Re - t3Re, im[7] = e3Im + t3Im;
}

// Split complex values.
struct Split {
  float* re;
  float* im;
  Split operator+(int32_t i) const { return {re + i, im + i}; }
};

template <class L, class V = typename L::V>
void loadStrided(Split x, int32_t stride, V (&re)[8], V (&im)[8]) {
  for (int32_t k = 0; k < 8; ++k) {
    re[k] = L::load(x.re + k * stride);
    im[k] = L::load(x.im + k * stride);
  }
}

// First pass over n points: y[8p + r] = W_n^(pr) sum over k of x[p + n/8 k] W_8^(kr).
template <class L, int32_t n>
void firstPass(Split x, Split y, const Radix8Twiddles<n>& w) {
  typename L::V re[8], im[8];
  for (int32_t p = 0; p < n / 8; p += L::kCount) {
    loadStrided<L>(x + p, n / 8, re, im);
    radix8<L>(re, im);
    for (int32_t r = 1; r < 8; ++r) turn(re[r], im[r], L::load(w.c[r - 1] + p), L::load(w.s[r - 1] + p));
    L::storeTransposed(y.re + 8 * p, re);
    L::storeTransposed(y.im + 8 * p, im);
  }
}

// Second of three passes over 512 points: eight transforms of 64, whose lines q = 0..7 lie side by side.
template <class L>
void middlePass(Split x, Split y) {
  typename L::V re[8], im[8];
  for (int32_t p = 0; p < 8; ++p)
    for (int32_t q = 0; q < 8; q += L::kCount) {
      loadStrided<L>(x + (8 * p + q), 64, re, im);
      radix8<L>(re, im);
      for (int32_t r = 0; r < 8; ++r) {
        if (r > 0)
          turn(re[r], im[r], L::splat(kDct4Twiddles64.c[r - 1][p]), L::splat(kDct4Twiddles64.s[r - 1][p]));
        L::store(y.re + 64 * p + 8 * r + q, re[r]);
        L::store(y.im + 64 * p + 8 * r + q, im[r]);
      }
    }
}

// Last pass: n/8 transforms of 8.
template <class L, int32_t n>
void lastPass(Split x, Split y) {
  typename L::V re[8], im[8];
  for (int32_t q = 0; q < n / 8; q += L::kCount) {
    loadStrided<L>(x + q, n / 8, re, im);
    radix8<L>(re, im);
    for (int32_t r = 0; r < 8; ++r) {
      L::store(y.re + n / 8 * r + q, re[r]);
      L::store(y.im + n / 8 * r + q, im[r]);
    }
  }
}

// The M/2 complex values of x, transformed; x and y serve in turn, and the one that holds the result returns.
template <class L, int32_t M>
Split complexTransform(Split x, Split y) {
  if constexpr (M == 1024) {
    firstPass<L>(x, y, kDct4Twiddles512);
    middlePass<L>(y, x);
    lastPass<L, 512>(x, y);
    return y;
  } else {
    static_assert(M == 128);
    firstPass<L>(x, y, kDct4Twiddles64);
    lastPass<L, 64>(y, x);
    return x;
  }
}

template <int32_t M>
const Dct4Rotation<M>& dct4Rotation() {
  if constexpr (M == 1024)
    return kDct4RotationLong;
  else
    return kDct4RotationShort;
}

// Floats of scratch that a DCT-IV of M points needs.
constexpr int32_t dct4ScratchFloats(int32_t M) { return 2 * M; }

// y[n] = scale * DCT-IV of u, which is float or int32_t; y may be u.
template <class L, int32_t M, class Sample>
void dct4(const Sample* u, float* y, float scale, float* scratch) {
  using V = typename L::V;
  constexpr int32_t C = L::kCount;
  const Dct4Rotation<M>& rotation = dct4Rotation<M>();
  const Split x{scratch, scratch + M / 2};
  const Split other{scratch + M, scratch + M / 2 * 3};
  const V unit = L::splat(scale);

  // Point k is u[2k] + i u[M-1-2k]: the even values from the front are real parts of the points at the front,
  // the odd ones imaginary parts of those at the back. Both ends are walked at once.
  for (int32_t k = 0; k < M / 4; k += C) {
    const int32_t back = M / 2 - C - k;
    V frontRe, frontIm, backRe, backIm;
    L::loadPairs(u + 2 * k, frontRe, backIm);
    L::loadPairs(u + 2 * back, backRe, frontIm);
    frontRe = frontRe * unit, frontIm = L::reverse(frontIm) * unit;
    backRe = backRe * unit, backIm = L::reverse(backIm) * unit;
    turn(frontRe, frontIm, L::load(rotation.c + k), L::load(rotation.s + k));
    turn(backRe, backIm, L::load(rotation.c + back), L::load(rotation.s + back));
    L::store(x.re + k, frontRe);
    L::store(x.im + k, frontIm);
    L::store(x.re + back, backRe);
    L::store(x.im + back, backIm);
  }

  const Split z = complexTransform<L, M>(x, other);

  // y[2n] = Re, y[M-1-2n] = -Im of the turned point n.
  for (int32_t k = 0; k < M / 4; k += C) {
    const int32_t back = M / 2 - C - k;
    V frontRe = L::load(z.re + k), frontIm = L::load(z.im + k);
    V backRe = L::load(z.re + back), backIm = L::load(z.im + back);
    turn(frontRe, frontIm, L::load(rotation.c + k), L::load(rotation.s + k));
    turn(backRe, backIm, L::load(rotation.c + back), L::load(rotation.s + back));
    L::storePairs(y + 2 * k, frontRe, -L::reverse(backIm));
    L::storePairs(y + 2 * back, backRe, -L::reverse(frontIm));
  }
}

}  // namespace moxac::aac
