// Long-term prediction: from the history to a spectrum, and its addition band by band.
#pragma once

#include <algorithm>
#include <cstdint>

#include "aac/band_tables.h"
#include "aac/ltp_tables.h"
#include "aac/mdct_kernels.h"

namespace moxac::aac {

// The most bands that prediction reaches.
inline constexpr int32_t kLtpMaxSfbLong = 40;
inline constexpr int32_t kLtpMaxSfbShort = 8;

// The standard's eight gains have six decimals, and a record's Q14 is up to 5e-5 off: enough, in the loop of
// prediction, for errors of 2 in 16 bits. A Q14 that stands for one of them is taken as it; any other as Q14.
inline int64_t ltpGainQ30(int32_t q14) {
  for (const double gain : kLtpGains)
    if (roundedHalfUp(gain * (1 << 14)) == q14) return roundedHalfUp(gain * (1 << 30));
  return int64_t{q14} << 16;
}

// history[2048 + n] is sample n of the frame; there is none from 1024 on. gain is below 2^31.
inline void predictSamples(const int32_t* history, int32_t firstSample, int32_t lag, int64_t gain, int32_t* x,
                           int32_t n) {
  const int32_t first = 2048 + firstSample - lag;
  const int32_t known = std::clamp(MOX_AAC_LTP_HISTORY - first, 0, n);
  for (int32_t i = 0; i < known; ++i) x[i] = saturateSymmetric((history[first + i] * gain + (1 << 29)) >> 30);
  std::fill(x + known, x + n, 0);
}

// samples has room for 2048 values, scratch for kMdctScratchFloats; the lines are left at its front.
inline void predictFrame(const int32_t* history, const MoxAacLtpInfo& ltp, const FrameWindow& window,
                         int32_t* samples, float* scratch) {
  const int64_t gain = ltpGainQ30(ltp.ltpCoef);
  if (window.sequence != kEightShort) {
    predictSamples(history, 0, ltp.ltpLag, gain, samples, 2048);
    forwardFrame<DctLanes8>(samples, window, scratch);
    return;
  }
  for (int32_t w = 0; w < 8; ++w) {
    float* const lines = scratch + 128 * w;
    if (ltp.shortUsed[w] == 0) {
      std::fill_n(lines, 128, 0.0f);
      continue;
    }
    predictSamples(history, kShortStart + 128 * w, ltp.shortLag[w], gain, samples, 256);
    forwardShort<DctLanes8>(samples, window, w, lines, scratch + 1024);
  }
}

inline void addLines(const int32_t* prediction, int32_t* spectrum, int32_t first, int32_t last) {
  for (int32_t i = first; i < last; ++i)
    spectrum[i] = saturateSymmetric(int64_t{spectrum[i]} + prediction[i]);
}

inline void addPrediction(const int32_t* prediction, int32_t* spectrum, const MoxAacLtpInfo& ltp,
                          const SwbTable& swb, int32_t maxSfb) {
  if (swb.windowLen == 1024) {
    for (int32_t b = 0; b < std::min(maxSfb, kLtpMaxSfbLong); ++b)
      if (ltp.longUsed[b] != 0) addLines(prediction, spectrum, swb.offset[b], swb.offset[b + 1]);
    return;
  }
  const int32_t end = swb.offset[std::min(maxSfb, kLtpMaxSfbShort)];
  for (int32_t w = 0; w < 8; ++w)
    if (ltp.shortUsed[w] != 0) addLines(prediction + 128 * w, spectrum + 128 * w, 0, end);
}

}  // namespace moxac::aac
