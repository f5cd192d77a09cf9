// N = 12, 32 and 36. Compiled without automatic vectorisation, which would put pairs of these few values through
// memory to fill registers, at twice the time.
#include "transform/mdct_short.h"

#include <utility>

namespace moxac::transform {
namespace {

// Discrete Fourier transforms of three and of nine points (three by three), in place.
MOX_INLINE void dft3(Complex1& a0, Complex1& a1, Complex1& a2) {
  constexpr float kHalfRootThree = 0.866025403784438647f;
  const Complex1 sum = a1 + a2, difference = a1 - a2;
  const Complex1 base = {a0.re - 0.5f * sum.re, a0.im - 0.5f * sum.im};
  const Complex1 turned = {kHalfRootThree * difference.im, -kHalfRootThree * difference.re};
  a0 = a0 + sum;
  a1 = base + turned;
  a2 = base - turned;
}

MOX_INLINE void dft9(Complex1 (&a)[9]) {
  // exp(-2*pi*i*k/9) for k = 1, 2, 4.
  constexpr Complex1 w1 = {0.766044443118978035f, -0.642787609686539326f};
  constexpr Complex1 w2 = {0.173648177666930349f, -0.984807753012208059f};
  constexpr Complex1 w4 = {-0.939692620785908384f, -0.342020143325668733f};
  for (int n = 0; n < 3; ++n) dft3(a[n], a[n + 3], a[n + 6]);
  a[4] = a[4] * w1;
  a[5] = a[5] * w2;
  a[7] = a[7] * w2;
  a[8] = a[8] * w4;
  for (int k = 0; k < 9; k += 3) dft3(a[k], a[k + 1], a[k + 2]);
  // Output k of row r is X[3*k + r].
  std::swap(a[1], a[3]);
  std::swap(a[2], a[6]);
  std::swap(a[5], a[7]);
}

// The transform of L = 3, 8 or 9 points between the rotations.
template <int kPoints>
MOX_INLINE void shortTransform(Complex1 (&z)[kPoints]) {
  if constexpr (kPoints == 3)
    dft3(z[0], z[1], z[2]);
  else if constexpr (kPoints == 9)
    dft9(z);
  else
    dft8<Lanes1>(
        [&](int n, Complex1(&four)[4]) {
          for (int i = 0; i < 4; ++i) four[i] = z[n + i % 2 + i / 2 * 4];
        },
        [&](int k, Complex1 value) { z[k] = value; });
}

template <int kPoints>
MOX_INLINE void rotateAll(Complex1 (&z)[kPoints], const float* table) {
  constexpr int64_t N = 4 * kPoints;
  for (int64_t m = 0; m < kPoints; ++m) {
    const float* const w = table + tableIndex(N, m);
    rotate(z[m].re, z[m].im, w[0], w[sineOffset(N)]);
  }
}

// N = 12, 32 and 36, straight through.
template <int kPoints>
MOX_INLINE void shortForward(const float* src, float* dst, const float* table) {
  Complex1 z[kPoints];
  for (int64_t n = 0; n < kPoints; ++n) fold(src, kPoints, n, z[n].re, z[n].im);
  rotateAll(z, table);
  shortTransform(z);
  rotateAll(z, table);
  for (int64_t k = 0; k < kPoints; ++k) {
    dst[2 * k] = z[k].re;
    dst[2 * kPoints - 1 - 2 * k] = -z[k].im;
  }
}

template <int kPoints>
MOX_INLINE void shortInverse(const float* src, float* dst, const float* table) {
  constexpr int64_t L = kPoints;
  Complex1 z[kPoints];
  for (int64_t n = 0; n < L; ++n) z[n] = {src[2 * n], src[2 * L - 1 - 2 * n]};
  rotateAll(z, table);
  shortTransform(z);
  rotateAll(z, table);
  for (int64_t k = 0; k < L; ++k) {
    dst[L + 2 * k] = z[k].im;
    dst[3 * L - 1 - 2 * k] = -z[k].re;
  }
  for (int64_t n = 0; n < L; ++n) {
    dst[n] = -dst[2 * L - 1 - n];
    dst[3 * L + n] = dst[3 * L - 1 - n];
  }
}

}  // namespace

void mdctForward12(const float* src, float* dst, const float* table) { shortForward<3>(src, dst, table); }
void mdctForward32(const float* src, float* dst, const float* table) { shortForward<8>(src, dst, table); }
void mdctForward36(const float* src, float* dst, const float* table) { shortForward<9>(src, dst, table); }
void mdctInverse12(const float* src, float* dst, const float* table) { shortInverse<3>(src, dst, table); }
void mdctInverse32(const float* src, float* dst, const float* table) { shortInverse<8>(src, dst, table); }
void mdctInverse36(const float* src, float* dst, const float* table) { shortInverse<9>(src, dst, table); }

}  // namespace moxac::transform
