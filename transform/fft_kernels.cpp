#include "transform/fft_kernels.h"

#include <cmath>
#include <cstring>
#include <utility>

#include "frame/align.h"

namespace moxac {
namespace {

// Turn number k of n: exp(-2*pi*i*k/n), k = 0..n/2-1, from a quarter wave of sines.
Mox32fc turn(const float* quarter, int64_t k, int64_t n) {
  const int64_t q = n / 4;
  if (k <= q) return {quarter[q - k], -quarter[k]};
  return {-quarter[k - q], -quarter[n / 2 - k]};
}

void transform(const Mox32fc* src, Mox32fc* dst, const float* quarter, int32_t order, bool inverse) {
  const int64_t n = int64_t{1} << order;
  if (dst != src) std::memcpy(dst, src, static_cast<size_t>(n) * sizeof(Mox32fc));
  for (int64_t i = 0, r = 0; i < n; ++i) {
    if (i < r) std::swap(dst[i], dst[r]);
    int64_t bit = n >> 1;
    while (bit != 0 && (r & bit) != 0) {
      r ^= bit;
      bit >>= 1;
    }
    r |= bit;
  }
  for (int64_t half = 1; half < n; half *= 2)
    for (int64_t k = 0; k < half; ++k) {
      Mox32fc w = half == 1 ? Mox32fc{1, 0} : turn(quarter, k * (n / (2 * half)), n);
      if (inverse) w.im = -w.im;
      for (int64_t i = k; i < n; i += 2 * half) {
        const Mox32fc a = dst[i], b = dst[i + half];
        const Mox32fc t = {b.re * w.re - b.im * w.im, b.re * w.im + b.im * w.re};
        dst[i] = {a.re + t.re, a.im + t.im};
        dst[i + half] = {a.re - t.re, a.im - t.im};
      }
    }
}

void run(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, bool inverse) {
  float small[17];
  const float* quarter = spec.twiddles;
  if (spec.order <= kFftLastStraightOrder) {
    const int32_t count = (1 << spec.order) / 4;
    for (int32_t k = 0; k <= count; ++k)
      small[k] = static_cast<float>(std::sin(2 * 3.14159265358979323846 * k / (4 * (count > 0 ? count : 1))));
    quarter = small;
  }
  transform(src, dst, quarter, spec.order, inverse);
  const int32_t scaled = inverse ? spec.scaleInverse : spec.scaleForward;
  if (scaled == 1)
    for (int64_t i = 0; i < (int64_t{1} << spec.order); ++i) {
      dst[i].re *= spec.scale;
      dst[i].im *= spec.scale;
    }
}

}  // namespace

void buildTables(FftSpec& spec, float* /*scratch*/) {
  const int64_t n = int64_t{1} << spec.order;
  float* const quarter = reinterpret_cast<float*>(&spec + 1);
  for (int64_t k = 0; k <= n / 4; ++k)
    quarter[k] = static_cast<float>(
        std::sin(2 * 3.14159265358979323846 * static_cast<double>(k) / static_cast<double>(n)));
  spec.twiddles = quarter;
}

void fftForward(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float*) { run(src, dst, spec, false); }
void fftInverse(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float*) { run(src, dst, spec, true); }

}  // namespace moxac
