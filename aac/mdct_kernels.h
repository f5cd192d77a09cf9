// The windowed transforms of one frame: spectrum to aliased halves and back.
//
//   inverse  x[n] = 2/N sum over k of X[k] cos(2 pi/N (n + n0)(k + 1/2))     n0 = (N/2 + 1)/2
//   forward  X[k] = 2 sum over n of x[n] cos(2 pi/N (n + n0)(k + 1/2))
//
// for N = 2048 or 256. Both go through a DCT-IV of M = N/2 points: written as quarters, the inverse unfolds
// its result (p, q) to (q, -q reversed, -p reversed, -p); the forward folds windowed samples (a, b, c, d) to
// (-c reversed - d, a - b reversed).
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "aac/dct4_kernels.h"
#include "aac/fixed_point.h"
#include "aac/window_tables.h"
#include "frame/align.h"
#include "moxac/aac.h"

namespace moxac::aac {

// Where the eight short windows lie in a frame's 2048 samples: window w from 448 + 128 w on.
inline constexpr int32_t kShortStart = 448;

// Floats of scratch behind the time samples of a work buffer: the DCT-IV's result and its own scratch.
inline constexpr int32_t kMdctScratchFloats = 1024 + dct4ScratchFloats(1024);

// A caller's work buffer: up to 2048 samples, then the scratch from the next cache line on.
inline constexpr int32_t kBufferSamples = 2048;
static_assert(MOX_AAC_MDCT_BUFFER_WORDS == kBufferSamples + kMdctScratchFloats + 16);
inline float* mdctScratch(int32_t* buffer) { return alignUp<float>(buffer + kBufferSamples, 64); }

struct FrameWindow {
  int32_t sequence;
  int32_t shape;      // of this frame: its falling slope
  int32_t prevShape;  // of the frame before: its rising slope

  // The slopes of a frame that is not eight short; both rise, the second one is used backwards.
  const float* rising() const {
    return (sequence == MOX_AAC_LONG_STOP ? kStepSlopes : kLongSlopes).shape[prevShape];
  }
  const float* falling() const {
    return (sequence == MOX_AAC_LONG_START ? kStepSlopes : kLongSlopes).shape[shape];
  }
  // The rising slope of short window w, and the falling one of all.
  const float* shortRising(int32_t w) const { return kShortSlopes.shape[w == 0 ? prevShape : shape]; }
  const float* shortFalling() const { return kShortSlopes.shape[shape]; }
};

// First half of the M-line transform, windowed: h[n] = w[n] q[n], h[M-1-n] = -w[M-1-n] q[n], n < M/2.
template <class L, int32_t M>
void unfoldRising(const float* q, const float* w, float* h) {
  for (int32_t n = 0; n < M / 2; n += L::kCount) {
    const int32_t back = M - L::kCount - n;
    const auto v = L::load(q + n);
    L::store(h + n, L::load(w + n) * v);
    L::store(h + back, -(L::load(w + back) * L::reverse(v)));
  }
}

// Second half: h[n] = -w[M-1-n] p[M/2-1-n], h[M-1-n] = -w[n] p[M/2-1-n].
template <class L, int32_t M>
void unfoldFalling(const float* p, const float* w, float* h) {
  for (int32_t n = 0; n < M / 2; n += L::kCount) {
    const int32_t back = M - L::kCount - n;
    const auto v = L::load(p + M / 2 - L::kCount - n);
    L::store(h + n, -(L::reverse(L::load(w + back)) * L::reverse(v)));
    L::store(h + back, -(L::reverse(L::load(w + n)) * v));
  }
}

// dst[n] = base[n] + windowed half: as unfoldRising, for the short windows that overlap one another.
template <class L, int32_t M>
void addRising(const float* q, const float* w, float* h) {
  for (int32_t n = 0; n < M / 2; n += L::kCount) {
    const int32_t back = M - L::kCount - n;
    const auto v = L::load(q + n);
    L::store(h + n, L::load(h + n) + L::load(w + n) * v);
    L::store(h + back, L::load(h + back) - L::load(w + back) * L::reverse(v));
  }
}

// Spectrum to the 2048 windowed, aliased samples of the frame, in units of the time format. scratch holds
// kMdctScratchFloats; the samples are left in it, where the return value points.
template <class L>
const float* inverseFrame(const int32_t* spectrum, const FrameWindow& window, float* scratch) {
  float* const y = scratch;
  float* const samples = scratch + 1024;  // also the long transform's scratch
  if (window.sequence != MOX_AAC_EIGHT_SHORT) {
    constexpr float kScale =
        static_cast<float>(exp2Of(1 - 11 + MOX_AAC_TIME_FRAC_BITS - MOX_AAC_SPECTRUM_FRAC_BITS));
    dct4<L, 1024>(spectrum, y, kScale, samples);
    unfoldRising<L, 1024>(y + 512, window.rising(), samples);
    unfoldFalling<L, 1024>(y, window.falling(), samples + 1024);
    return samples;
  }
  constexpr float kScale =
      static_cast<float>(exp2Of(1 - 8 + MOX_AAC_TIME_FRAC_BITS - MOX_AAC_SPECTRUM_FRAC_BITS));
  float* const dctScratch = scratch + 128;
  std::fill_n(samples, 2048, 0.0f);
  for (int32_t w = 0; w < 8; ++w) {
    float* const at = samples + kShortStart + 128 * w;
    dct4<L, 128>(spectrum + 128 * w, y, kScale, dctScratch);
    addRising<L, 128>(y + 64, window.shortRising(w), at);
    unfoldFalling<L, 128>(y, window.shortFalling(), at + 128);
  }
  return samples;
}

// The largest float below 2^30: halves held there add up without overflow.
inline constexpr float kTimeLimit = 1073741760.0f;

inline int32_t toTime(float v) {
  return static_cast<int32_t>(std::lrint(std::clamp(v, -kTimeLimit, kTimeLimit)));
}

// Rounded to the integer above a tie, and saturated. Halving last: half a unit more would leave 32 bits.
inline int16_t toPcm(int32_t time) {
  const int32_t rounded = ((time >> (MOX_AAC_TIME_FRAC_BITS - 1)) + 1) >> 1;
  return static_cast<int16_t>(std::clamp(rounded, -32768, 32767));
}

// time := overlap + first half; overlap := second half; pcm := time rounded, `stride` samples apart.
inline void overlapAdd(const float* samples, int32_t* overlap, int32_t* time, int16_t* pcm, int32_t stride) {
  const f32x8 limit = splat8(kTimeLimit), lowLimit = splat8(-kTimeLimit);
  const auto toUnits = [](i32x4 v) {  // as toPcm
    return shiftRight4<1>(add4(shiftRight4<MOX_AAC_TIME_FRAC_BITS - 1>(v), splatInt4(1)));
  };
  const auto load = [&](const float* p, i32x4& low, i32x4& high) {
    const i32x8 rounded = roundToInt8(minOf(maxOf(load8(p), lowLimit), limit));
    low = lowHalf(rounded);
    high = highHalf(rounded);
  };
  for (int32_t n = 0; n < 1024; n += 8) {
    i32x4 low, high, nextLow, nextHigh;
    load(samples + n, low, high);
    load(samples + 1024 + n, nextLow, nextHigh);
    low = add4(low, loadInt4(overlap + n));
    high = add4(high, loadInt4(overlap + n + 4));
    storeInt4(overlap + n, nextLow);
    storeInt4(overlap + n + 4, nextHigh);
    storeInt4(time + n, low);
    storeInt4(time + n + 4, high);
    const i16x8 rounded = packInts(toUnits(low), toUnits(high));
    if (stride == 1) {
      storeShort8(pcm + n, rounded);
    } else {
      alignas(16) int16_t lanes[8];
      storeShort8(lanes, rounded);
      for (int32_t i = 0; i < 8; ++i) pcm[ptrdiff_t{stride} * (n + i)] = lanes[i];
    }
  }
}

// u of the forward transform of 2M samples: u[M/2+n] = w[n] x[n] - w[M-1-n] x[M-1-n] from the first half,
// u[M/2-1-n] = -v[n] y[n] - v[M-1-n] y[M-1-n] from the second, where y[n] = x[M+n] and v falls.
template <class L, int32_t M>
void fold(const int32_t* x, const float* rising, const float* falling, float* u) {
  for (int32_t n = 0; n < M / 2; n += L::kCount) {
    const int32_t back = M - L::kCount - n;
    const auto first = L::load(rising + n) * L::load(x + n);
    const auto second = L::load(rising + back) * L::load(x + back);
    L::store(u + M / 2 + n, first - L::reverse(second));
    const auto third = L::reverse(L::load(falling + back)) * L::load(x + M + n);
    const auto fourth = L::reverse(L::load(falling + n)) * L::load(x + M + back);
    L::store(u + M / 2 - L::kCount - n, -L::reverse(third) - fourth);
  }
}

// The transforms below take samples in the time format and give lines as floats in units of the spectral
// format.
inline constexpr float kForwardScale =
    static_cast<float>(exp2Of(1 + MOX_AAC_SPECTRUM_FRAC_BITS - MOX_AAC_TIME_FRAC_BITS));

// Short window w: 256 samples to 128 lines.
template <class L>
void forwardShort(const int32_t* x, const FrameWindow& window, int32_t w, float* lines, float* dctScratch) {
  fold<L, 128>(x, window.shortRising(w), window.shortFalling(), lines);
  dct4<L, 128>(lines, lines, kForwardScale, dctScratch);
}

// A frame's 2048 samples to 1024 lines at the front of scratch, which holds kMdctScratchFloats.
template <class L>
void forwardFrame(const int32_t* x, const FrameWindow& window, float* scratch) {
  float* const dctScratch = scratch + 1024;
  if (window.sequence == MOX_AAC_EIGHT_SHORT) {
    for (int32_t w = 0; w < 8; ++w)
      forwardShort<L>(x + kShortStart + 128 * w, window, w, scratch + 128 * w, dctScratch);
  } else {
    fold<L, 1024>(x, window.rising(), window.falling(), scratch);
    dct4<L, 1024>(scratch, scratch, kForwardScale, dctScratch);
  }
}

// The largest float below 2^31.
inline constexpr float kSpectrumLimit = 2147483520.0f;

inline void storeSpectrum(const float* lines, int32_t* dst) {
  const f32x8 limit = splat8(kSpectrumLimit), lowLimit = splat8(-kSpectrumLimit);
  for (int32_t k = 0; k < 1024; k += 8) {
    storeInt8(dst + k, roundToInt8(minOf(maxOf(load8(lines + k), lowLimit), limit)));
  }
}

}  // namespace moxac::aac
