// Long-term prediction: from the history to a spectrum, and its addition band by band.
#pragma once

#include <algorithm>
#include <cstdint>

#include "aac/band_tables.h"
#include "aac/mdct_kernels.h"

namespace moxac::aac {

// The most bands that prediction reaches.
inline constexpr int32_t kLtpMaxSfbShort = 8;

// The standard's eight gains have six decimals, and a record's Q14 is up to 5e-5 off: enough, in the loop of
// prediction, for errors of 2 in 16 bits. A Q14 that stands for one of them is taken as it; any other as Q14.
inline int64_t ltpGainQ30(int32_t q14) {
  for (const double gain : moxAacLtpGains)
    if (roundedHalfUp(gain * (1 << 14)) == q14) return roundedHalfUp(gain * (1 << 30));
  return int64_t{q14} << 16;
}

// (x * gain + 2^29) >> 30, saturated; gain is not negative and below 2^31.
inline int32_t scaledSample(int32_t x, int64_t gain) {
  return saturateSymmetric((x * gain + (1 << 29)) >> 30);
}

// The same in 64-bit lanes. They have no arithmetic shift: a bias of 2^62 keeps them positive, and the 2^32 that it
// leaves falls out of the lower half.
inline i32x4 scaledSample(i32x4 x, i32x4 gain) {
  const i32x4 rounding = _mm_set1_epi64x((int64_t{1} << 62) + (1 << 29));
  const i32x4 most = _mm_set1_epi64x((int64_t{1} << 32) + kSaturated);
  const i32x4 least = _mm_set1_epi64x((int64_t{1} << 32) - kSaturated);
  const auto scaled = [&](i32x4 v) {
    v = _mm_srli_epi64(_mm_add_epi64(_mm_mul_epi32(v, gain), rounding), 30);
    v = _mm_blendv_epi8(v, most, _mm_cmpgt_epi64(v, most));
    return _mm_blendv_epi8(v, least, _mm_cmpgt_epi64(least, v));
  };
  const i32x4 even = scaled(x), odd = scaled(_mm_srli_epi64(x, 32));
  return _mm_blend_epi16(even, _mm_slli_epi64(odd, 32), 0xCC);
}

// history[2048 + n] is sample n of the frame; there is none from 1024 on.
inline void predictSamples(const int32_t* history, int32_t firstSample, int32_t lag, int64_t gain, int32_t* x,
                           int32_t n) {
  const int32_t first = 2048 + firstSample - lag;
  const int32_t known = std::clamp(MOX_AAC_LTP_HISTORY - first, 0, n);
  const i32x4 gains = _mm_set1_epi64x(gain);
  int32_t i = 0;
  for (; i + 4 <= known; i += 4) storeInt4(x + i, scaledSample(loadInt4(history + first + i), gains));
  for (; i < known; ++i) x[i] = scaledSample(history[first + i], gain);
  std::fill(x + known, x + n, 0);
}

// samples has room for 2048 values, scratch for kMdctScratchFloats; the lines are left at its front.
inline void predictFrame(const int32_t* history, const MoxAacLtpInfo& ltp, const FrameWindow& window,
                         int32_t* samples, float* scratch) {
  const int64_t gain = ltpGainQ30(ltp.ltpCoef);
  if (window.sequence != MOX_AAC_EIGHT_SHORT) {
    predictSamples(history, 0, ltp.ltpLag, gain, samples, 2048);
    forwardFrame<Lanes8>(samples, window, scratch);
    return;
  }
  for (int32_t w = 0; w < 8; ++w) {
    float* const lines = scratch + 128 * w;
    if (ltp.shortUsed[w] == 0) {
      std::fill_n(lines, 128, 0.0f);
      continue;
    }
    predictSamples(history, kShortStart + 128 * w, ltp.shortLag[w], gain, samples, 256);
    forwardShort<Lanes8>(samples, window, w, lines, scratch + 1024);
  }
}

inline void addLines(const int32_t* prediction, int32_t* spectrum, int32_t first, int32_t last) {
  for (int32_t i = first; i < last; ++i)
    spectrum[i] = saturateSymmetric(int64_t{spectrum[i]} + prediction[i]);
}

inline void addPrediction(const int32_t* prediction, int32_t* spectrum, const MoxAacLtpInfo& ltp,
                          const SwbTable& swb, int32_t maxSfb) {
  if (swb.windowLen == 1024) {
    for (int32_t b = 0; b < std::min<int32_t>(maxSfb, MOX_AAC_MAX_SFB_LTP); ++b)
      if (ltp.longUsed[b] != 0) addLines(prediction, spectrum, swb.offset[b], swb.offset[b + 1]);
    return;
  }
  const int32_t end = swb.offset[std::min(maxSfb, kLtpMaxSfbShort)];
  for (int32_t w = 0; w < 8; ++w)
    if (ltp.shortUsed[w] != 0) addLines(prediction + 128 * w, spectrum + 128 * w, 0, end);
}

}  // namespace moxac::aac
