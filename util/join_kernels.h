// Float channels to interleaved 16-bit PCM.
#pragma once

#include <cstdint>

#include "util/round.h"

namespace moxac::util {

inline void joinGeneral(const float* const* src, int32_t numChannels, int64_t first, int64_t len,
                        int16_t* dst) {
  for (int64_t i = first; i < len; ++i)
    for (int32_t c = 0; c < numChannels; ++c) dst[i * numChannels + c] = roundSaturate16(src[c][i]);
}

inline void joinBlock(const float* const* src, int32_t numChannels, int64_t len, int16_t* dst) {
  const auto store = [dst](int64_t at, __m128i v) {
    _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + at), v);
  };
  int64_t i = 0;
  if (numChannels == 1) {
    for (; i + 8 <= len; i += 8) store(i, roundSaturate16(load8(src[0] + i)));
  } else if (numChannels == 2) {
    for (; i + 8 <= len; i += 8) {
      const __m128i a = roundSaturate16(load8(src[0] + i));
      const __m128i b = roundSaturate16(load8(src[1] + i));
      store(2 * i, _mm_unpacklo_epi16(a, b));
      store(2 * i + 8, _mm_unpackhi_epi16(a, b));
    }
  }
  joinGeneral(src, numChannels, i, len, dst);
}

}  // namespace moxac::util
