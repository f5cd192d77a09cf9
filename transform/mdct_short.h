// The MDCT one point at a time: the layout of its table, its folding, and the lengths that run straight through.
#pragma once

#include <cstdint>

#include "transform/fft_butterflies.h"

namespace moxac::transform {

// The two lengths of the MP3 hybrid bank keep their factors as pairs.
constexpr bool isInterleaved(int64_t N) { return N == 12 || N == 36; }

// Where point m of the table has its cosine; its sine is four floats on, one in the interleaved layout.
constexpr int64_t tableIndex(int64_t N, int64_t m) {
  if (isInterleaved(N)) return 2 * m;
  const int64_t L = N / 4, four = m & ~int64_t{3};
  return (m < L / 2 ? four * 4 : (L - 4 - four) * 4 + 8) + (m & 3);
}
constexpr int64_t sineOffset(int64_t N) { return isInterleaved(N) ? 1 : 4; }

// (re + i*im) * (c - i*s)
template <class T>
MOX_INLINE void rotate(T& re, T& im, T c, T s) {
  const T turned = re * c + im * s;
  im = im * c - re * s;
  re = turned;
}

// The folded values u[2n] and u[M-1-2n].
template <class T, class Sample>
MOX_INLINE void fold(const Sample* x, int64_t L, int64_t n, T& a, T& b) {
  const auto at = [&](int64_t i) { return static_cast<T>(x[i]); };
  if (2 * n < L) {
    a = -at(3 * L - 1 - 2 * n) - at(3 * L + 2 * n);
    b = at(L - 1 - 2 * n) - at(L + 2 * n);
  } else {
    a = at(2 * n - L) - at(3 * L - 1 - 2 * n);
    b = -at(L + 2 * n) - at(5 * L - 1 - 2 * n);
  }
}

void mdctForward12(const float* src, float* dst, const float* table);
void mdctForward32(const float* src, float* dst, const float* table);
void mdctForward36(const float* src, float* dst, const float* table);
void mdctInverse12(const float* src, float* dst, const float* table);
void mdctInverse32(const float* src, float* dst, const float* table);
void mdctInverse36(const float* src, float* dst, const float* table);

}  // namespace moxac::transform
