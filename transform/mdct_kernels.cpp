// Folding, rotation and unfolding around the complex transform of an MDCT.
#include "transform/mdct_kernels.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numbers>

#include "transform/fft_kernels.h"
#include "transform/fft_small.h"
#include "transform/mdct_short.h"
#include "transform/mdct_vectors.h"

namespace moxac::transform {
namespace {

constexpr double kTurn = 2 * std::numbers::pi;

// What the transform between the rotations reads and writes: blocks that come from a function, blocks that
// stay blocks. Straight-line transforms of 16 points read and write fours.
template <class Load>
struct BlockSource {
  Load load;
  MOX_INLINE Complex8 load8(int64_t i) const { return load(i); }
};
struct BlockDestination {
  float* z;
  MOX_INLINE void store8(int64_t i, Complex8 block) const { storeBlock(z + 2 * i, block); }
  MOX_INLINE void storeNatural8(int64_t i, Complex8 block) const {
    storeBlock(z + 2 * i, toLaneOrder(block));
  }
};

// load(n): points n..n+7 as a block; the L results go to z as blocks. `work` holds L complex values more.
template <class Load>
MOX_INLINE void pointTransform(const FftSpec& fft, float* z, float* work, Load&& load) {
  if (fft.order == 4) {
    // Blocks to interleaved values, and back.
    auto* const points = reinterpret_cast<Mox32fc*>(work);
    for (int64_t n = 0; n < 16; n += 8) storeInterleaved(points + n, load(n));
    transform16(Source<false>{points}, Destination<false>{points});
    for (int64_t n = 0; n < 16; n += 8) storeBlock(z + 2 * n, loadInterleaved(points + n));
  } else if (fft.order == 5) {
    transform32(BlockSource<Load>{load}, BlockDestination{z});
  } else if (fft.order == 6) {
    transform64(BlockSource<Load>{load}, BlockDestination{z});
  } else if (fft.order <= kFftLastTableOrder) {
    transformPoints(fft, work, load,
                    [z](int64_t k, Complex8 block) MOX_ALWAYS { storeBlock(z + k * kBlockFloats, block); });
  } else {
    const int64_t L = int64_t{1} << fft.order;
    auto* const points = reinterpret_cast<Mox32fc*>(z);
    for (int64_t n = 0; n < L; n += 8) storeInterleaved(points + n, load(n));
    fftForward(points, points, fft, work);
    for (int64_t n = 0; n < L; n += 8) storeBlock(z + 2 * n, loadInterleaved(points + n));
  }
}

// Both ends of the L points at once: use(n, block, m, mirrored) for n = 0, 8, ... L/2-8 and m = L-8-n, each
// block with its factors applied.
template <class Factors, class Use>
MOX_INLINE void rotatePairs(const float* z, int64_t L, const Factors& factors, Use&& use) {
  for (int64_t n = 0; n < L / 2; n += 8) {
    const int64_t m = L - 8 - n;
    use(n, rotated(loadBlock(z + 2 * n), factors.lower(n)), m,
        rotated(loadBlock(z + 2 * m), factors.upper(m)));
  }
}

// cos and sin of first, first + step, first + 2*step, ... in double: each from the one before by a rotation,
// and afresh every sixteen, so that the error stays at a few units of the last place.
class Turning {
 public:
  Turning(double first, double step)
      : first_(first), step_(step), stepCos_(std::cos(step)), stepSin_(std::sin(step)) {}

  // Moves on to the next angle, at the first call to the first one.
  void next() {
    if (count_ % 16 == 0) {
      const double angle = first_ + step_ * static_cast<double>(count_);
      c = std::cos(angle);
      s = std::sin(angle);
    } else {
      const double turned = c * stepCos_ - s * stepSin_;
      s = s * stepCos_ + c * stepSin_;
      c = turned;
    }
    ++count_;
  }

  double c = 1, s = 0;

 private:
  double first_, step_, stepCos_, stepSin_;
  int64_t count_ = 0;
};

// In-place transform in double, for 16-bit input whose results leave the range of single precision.
void doubleTransform(double* z, int64_t points) {
  for (int64_t half = points / 2; half >= 1; half /= 2) {
    Turning w(0, kTurn / static_cast<double>(2 * half));
    for (int64_t k = 0; k < half; ++k) {
      w.next();
      for (int64_t i = k; i < points; i += 2 * half) {
        double* const a = z + 2 * i;
        double* const b = a + 2 * half;
        double re = a[0] - b[0], im = a[1] - b[1];
        a[0] += b[0];
        a[1] += b[1];
        rotate(re, im, w.c, w.s);
        b[0] = re;
        b[1] = im;
      }
    }
  }
  for (int64_t i = 0, reversed = 0; i < points; ++i) {
    if (i < reversed) {
      std::swap(z[2 * i], z[2 * reversed]);
      std::swap(z[2 * i + 1], z[2 * reversed + 1]);
    }
    int64_t bit = points >> 1;
    for (; (reversed & bit) != 0; bit >>= 1) reversed ^= bit;
    reversed |= bit;
  }
}

int16_t saturate(double v) { return static_cast<int16_t>(std::nearbyint(std::clamp(v, -32768.0, 32767.0))); }

void doubleForward16s(const int16_t* src, int16_t* dst, int64_t N, int32_t scaleFactor, double* z) {
  const int64_t L = N / 4;
  const double scale = std::ldexp(2.0, -std::max(scaleFactor, -64));
  const double step = kTurn / static_cast<double>(N);
  Turning before(step / 8, step), after(step / 8, step);
  for (int64_t n = 0; n < L; ++n) {
    before.next();
    fold(src, L, n, z[2 * n], z[2 * n + 1]);
    rotate(z[2 * n], z[2 * n + 1], before.c, before.s);
  }
  doubleTransform(z, L);
  for (int64_t k = 0; k < L; ++k) {
    after.next();
    rotate(z[2 * k], z[2 * k + 1], after.c, after.s);
    dst[2 * k] = saturate(scale * z[2 * k]);
    dst[2 * L - 1 - 2 * k] = saturate(-scale * z[2 * k + 1]);
  }
}

void floatForward16s(const int16_t* src, int16_t* dst, const MoxMdctSpec& spec, int32_t scaleFactor,
                     float* work) {
  const int64_t N = spec.length, L = N / 4;
  const QuarterFactors factors = {spec.twiddles, L};
  const FoldedInput<int16_t, QuarterFactors> input = {src, L, factors};
  pointTransform(*spec.fft, work, work + 2 * L, input);
  // What the two rotations leave out, twice an eighth of a step, and the scale.
  const double tilt = kTurn * 0.25 / static_cast<double>(N), scale = std::ldexp(2.0, -scaleFactor);
  const Complex8 rest = {splat8(static_cast<float>(scale * std::cos(tilt))),
                         splat8(static_cast<float>(scale * std::sin(tilt)))};
  rotatePairs(work, L, factors, [&](int64_t n, Complex8 z, int64_t m, Complex8 mirrored) MOX_ALWAYS {
    const Complex8 lower = rotated(z, rest), upper = rotated(mirrored, rest);
    storeRounded(dst + 2 * n, {lower.re, reverse8(-upper.im)});
    storeRounded(dst + 2 * m, {upper.re, reverse8(-lower.im)});
  });
}

}  // namespace

void fillMdctTwiddles(float* table, int32_t N, double factor) {
  for (int64_t m = 0; m < N / 4; ++m) {
    const double t = kTurn * (static_cast<double>(m) + 0.125) / N;
    float* const place = table + tableIndex(N, m);
    place[0] = static_cast<float>(factor * std::cos(t));
    place[sineOffset(N)] = static_cast<float>(factor * std::sin(t));
  }
}

void fillMdctQuarter(float* table, int32_t N) {
  for (int64_t m = 0; m <= N / 4; ++m)
    table[m] = static_cast<float>(std::sin(kTurn * static_cast<double>(m) / N));
}

void mdctForward(const float* src, float* dst, const MoxMdctSpec& spec, float* work) {
  switch (spec.length) {
    case 12:
      return mdctForward12(src, dst, spec.twiddles);
    case 32:
      return mdctForward32(src, dst, spec.twiddles);
    case 36:
      return mdctForward36(src, dst, spec.twiddles);
    default:
      break;
  }
  const int64_t L = spec.length / 4;
  const TableFactors factors = {spec.twiddles, L};
  pointTransform(*spec.fft, work, work + 2 * L, FoldedInput<float, TableFactors>{src, L, factors});
  rotatePairs(work, L, factors, [&](int64_t n, Complex8 lower, int64_t m, Complex8 upper) MOX_ALWAYS {
    storeAlternating(dst + 2 * n, lower.re, reverse8(-upper.im));
    storeAlternating(dst + 2 * m, upper.re, reverse8(-lower.im));
  });
}

void mdctInverse(const float* src, float* dst, const MoxMdctSpec& spec, float* work) {
  switch (spec.length) {
    case 12:
      return mdctInverse12(src, dst, spec.twiddles);
    case 32:
      return mdctInverse32(src, dst, spec.twiddles);
    case 36:
      return mdctInverse36(src, dst, spec.twiddles);
    default:
      break;
  }
  const int64_t L = spec.length / 4;
  const TableFactors factors = {spec.twiddles, L};
  pointTransform(*spec.fft, work, work + 2 * L, SpectrumInput<TableFactors>{src, L, factors});
  // The middle half y[L+2k] = im C[k], y[L+2k+1] = -re C[L-1-k]; the outer quarters mirror its halves, the
  // first one negated.
  rotatePairs(work, L, factors, [&](int64_t n, Complex8 lower, int64_t m, Complex8 upper) MOX_ALWAYS {
    const f32x8 lowerReversed = reverse8(lower.im), upperReversed = reverse8(upper.im);
    storeAlternating(dst + L + 2 * n, lower.im, reverse8(-upper.re));
    storeAlternating(dst + L - 16 - 2 * n, upper.re, -lowerReversed);
    storeAlternating(dst + L + 2 * m, upper.im, reverse8(-lower.re));
    storeAlternating(dst + 5 * L - 16 - 2 * m, -lower.re, upperReversed);
  });
}

void mdctForward16s(const int16_t* src, int16_t* dst, const MoxMdctSpec& spec, int32_t scaleFactor,
                    float* work) {
  const int64_t N = spec.length;
  // The block exponent: every sample is below 2^exponent, so every result below 2^bits before scaling.
  const auto exponent = static_cast<int32_t>(std::bit_width(peakMagnitude(src, N)));
  const int32_t bits = exponent + std::countr_zero(spec.length) + 1;
  if (exponent == 0 || scaleFactor > bits + 1)
    std::fill(dst, dst + N / 2, int16_t{0});  // all results round to 0
  else if (bits - int64_t{scaleFactor} <= kSinglePrecisionBits && N > 32)
    floatForward16s(src, dst, spec, scaleFactor, work);
  else
    doubleForward16s(src, dst, N, scaleFactor, reinterpret_cast<double*>(work));
}

}  // namespace moxac::transform
