#include "transform/mdct_kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

namespace moxac {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

struct Rotation {
  float c, s;
};

// The factors of point m, from the layout of the table.
Rotation rotationAt(const float* table, int64_t N, int64_t m) {
  if (N < 32 || N == 36) return {table[2 * m], table[2 * m + 1]};
  const int64_t L = N / 4;
  const bool mirrored = m >= L / 2;
  const int64_t from = mirrored ? L - 4 - (m & ~int64_t{3}) : m & ~int64_t{3};
  const float* const p = table + from * 4 + (mirrored ? 8 : 0) + (m & 3);
  return {p[0], p[4]};
}

// (re + i*im) * (c - i*s)
template <class T>
void rotate(T& re, T& im, T c, T s) {
  const T turned = re * c + im * s;
  im = im * c - re * s;
  re = turned;
}

// The folded values u[2n] and u[M-1-2n].
template <class T, class Sample>
void fold(const Sample* x, int64_t N, int64_t n, T& a, T& b) {
  const int64_t L = N / 4;
  const auto at = [&](int64_t i) { return static_cast<T>(x[i]); };
  if (2 * n < L) {
    a = -at(3 * L - 1 - 2 * n) - at(3 * L + 2 * n);
    b = at(L - 1 - 2 * n) - at(L + 2 * n);
  } else {
    a = at(2 * n - L) - at(3 * L - 1 - 2 * n);
    b = -at(L + 2 * n) - at(5 * L - 1 - 2 * n);
  }
}

// Discrete Fourier transform of 3 and 9 points by its definition.
void oddTransform(Mox32fc* z, int64_t points) {
  Mox32fc sum[9] = {};
  for (int64_t k = 0; k < points; ++k)
    for (int64_t n = 0; n < points; ++n) {
      const double angle = kTurn * static_cast<double>(n * k) / static_cast<double>(points);
      const auto c = static_cast<float>(std::cos(angle)), s = static_cast<float>(std::sin(angle));
      sum[k].re += z[n].re * c + z[n].im * s;
      sum[k].im += z[n].im * c - z[n].re * s;
    }
  std::copy(sum, sum + points, z);
}

void pointTransform(Mox32fc* z, const MoxMdctSpec& spec) {
  const int64_t L = spec.length / 4;
  if (spec.fft == nullptr)
    oddTransform(z, L);
  else
    FftFwd_CToC_32fc(z, z, spec.fft, reinterpret_cast<uint8_t*>(z + L));
}

// In-place transform in double, for 16-bit input whose results leave the range of single precision.
void doubleTransform(double* z, int64_t points) {
  for (int64_t half = points / 2; half >= 1; half /= 2)
    for (int64_t k = 0; k < half; ++k) {
      const double angle = kTurn * static_cast<double>(k) / static_cast<double>(2 * half);
      const double c = std::cos(angle), s = std::sin(angle);
      for (int64_t i = k; i < points; i += 2 * half) {
        double* const a = z + 2 * i;
        double* const b = a + 2 * half;
        double re = a[0] - b[0], im = a[1] - b[1];
        a[0] += b[0];
        a[1] += b[1];
        rotate(re, im, c, s);
        b[0] = re;
        b[1] = im;
      }
    }
  for (int64_t i = 0, r = 0; i < points; ++i) {
    if (i < r) {
      std::swap(z[2 * i], z[2 * r]);
      std::swap(z[2 * i + 1], z[2 * r + 1]);
    }
    int64_t bit = points >> 1;
    for (; (r & bit) != 0; bit >>= 1) r ^= bit;
    r |= bit;
  }
}

int16_t saturate(double v) { return static_cast<int16_t>(std::nearbyint(std::clamp(v, -32768.0, 32767.0))); }

}  // namespace

void fillMdctTwiddles(float* table, int32_t N, double factor) {
  const int64_t L = N / 4;
  for (int64_t m = 0; m < L; ++m) {
    const double t = kTurn * (static_cast<double>(m) + 0.125) / N;
    int64_t at = 2 * m, apart = 1;
    if (N >= 32 && N != 36) {
      const bool mirrored = m >= L / 2;
      const int64_t from = mirrored ? L - 4 - (m & ~int64_t{3}) : m & ~int64_t{3};
      at = from * 4 + (mirrored ? 8 : 0) + (m & 3);
      apart = 4;
    }
    table[at] = static_cast<float>(factor * std::cos(t));
    table[at + apart] = static_cast<float>(factor * std::sin(t));
  }
}

void fillMdctQuarter(float* table, int32_t N) {
  for (int64_t m = 0; m <= N / 4; ++m)
    table[m] = static_cast<float>(std::sin(kTurn * static_cast<double>(m) / N));
}

void mdctForward(const float* src, float* dst, const MoxMdctSpec& spec, float* work) {
  const int64_t N = spec.length, L = N / 4;
  auto* const z = reinterpret_cast<Mox32fc*>(work);
  for (int64_t n = 0; n < L; ++n) {
    const Rotation w = rotationAt(spec.twiddles, N, n);
    fold(src, N, n, z[n].re, z[n].im);
    rotate(z[n].re, z[n].im, w.c, w.s);
  }
  pointTransform(z, spec);
  for (int64_t k = 0; k < L; ++k) {
    const Rotation w = rotationAt(spec.twiddles, N, k);
    rotate(z[k].re, z[k].im, w.c, w.s);
    dst[2 * k] = z[k].re;
    dst[2 * L - 1 - 2 * k] = -z[k].im;
  }
}

void mdctInverse(const float* src, float* dst, const MoxMdctSpec& spec, float* work) {
  const int64_t N = spec.length, L = N / 4;
  auto* const z = reinterpret_cast<Mox32fc*>(work);
  for (int64_t n = 0; n < L; ++n) {
    const Rotation w = rotationAt(spec.twiddles, N, n);
    z[n] = {src[2 * n], src[2 * L - 1 - 2 * n]};
    rotate(z[n].re, z[n].im, w.c, w.s);
  }
  pointTransform(z, spec);
  for (int64_t k = 0; k < L; ++k) {
    const Rotation w = rotationAt(spec.twiddles, N, k);
    rotate(z[k].re, z[k].im, w.c, w.s);
    dst[L + 2 * k] = z[k].im;
    dst[3 * L - 1 - 2 * k] = -z[k].re;
  }
  for (int64_t n = 0; n < L; ++n) {
    dst[n] = -dst[2 * L - 1 - n];
    dst[3 * L + n] = dst[3 * L - 1 - n];
  }
}

void mdctForward16s(const int16_t* src, int16_t* dst, const MoxMdctSpec& spec, int32_t scaleFactor,
                    float* work) {
  const int64_t N = spec.length, L = N / 4;
  int32_t peak = 0;
  for (int64_t n = 0; n < N; ++n) peak = std::max(peak, std::abs(int32_t{src[n]}));
  // Results are below 2^bits, by the block exponent, the number of samples and the factor 2.
  const int32_t exponent = 32 - std::countl_zero(static_cast<uint32_t>(peak));
  const int64_t bits = exponent + std::countr_zero(static_cast<uint64_t>(N)) + 1;
  if (peak == 0 || scaleFactor > bits + 1) {
    std::fill(dst, dst + 2 * L, int16_t{0});
    return;
  }
  const double scale = std::ldexp(2.0, -std::max(scaleFactor, -64));
  const double tilt = kTurn * 0.125 / static_cast<double>(N);
  double* const z = reinterpret_cast<double*>(work);
  for (int64_t n = 0; n < L; ++n) {
    const double t = kTurn * static_cast<double>(n) / static_cast<double>(N) + tilt;
    fold(src, N, n, z[2 * n], z[2 * n + 1]);
    rotate(z[2 * n], z[2 * n + 1], std::cos(t), std::sin(t));
  }
  doubleTransform(z, L);
  for (int64_t k = 0; k < L; ++k) {
    const double t = kTurn * static_cast<double>(k) / static_cast<double>(N) + tilt;
    rotate(z[2 * k], z[2 * k + 1], std::cos(t), std::sin(t));
    dst[2 * k] = saturate(scale * z[2 * k]);
    dst[2 * L - 1 - 2 * k] = saturate(-scale * z[2 * k + 1]);
  }
}

}  // namespace moxac
