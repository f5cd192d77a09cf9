// Float channels to interleaved 16-bit PCM.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "frame/shuffles.h"
#include "util/round.h"

namespace moxac::util {

inline void joinGeneral(const float* const* src, int32_t numChannels, int64_t first, int64_t len,
                        int16_t* dst) {
  for (int64_t i = first; i < len; ++i)
    for (int32_t c = 0; c < numChannels; ++c) dst[i * numChannels + c] = roundSaturate16(src[c][i]);
}

// Eight frames of eight channels: a[c] holds channel c's samples, then a[f] frame f's.
inline void channelsToFrames(i16x8 (&a)[8]) {
  i16x8 pairs[8], fours[8];
  for (int c = 0; c < 4; ++c) {
    pairs[2 * c] = zipShortsLow(a[c], a[c + 4]);
    pairs[2 * c + 1] = zipShortsHigh(a[c], a[c + 4]);
  }
  for (int c = 0; c < 4; ++c) {
    fours[2 * c] = zipShortsLow(pairs[c], pairs[c + 4]);
    fours[2 * c + 1] = zipShortsHigh(pairs[c], pairs[c + 4]);
  }
  for (int c = 0; c < 4; ++c) {
    a[2 * c] = zipShortsLow(fours[c], fours[c + 4]);
    a[2 * c + 1] = zipShortsHigh(fours[c], fours[c + 4]);
  }
}

// Whole vectors for any number of channels, eight of them at a time and the incomplete eight first: what its
// vectors write too much belongs to later frames or channels, which are written after it. Only at the very end there
// are none. Returns the first frame not done.
inline int64_t joinEights(const float* const* src, int32_t numChannels, int64_t len, int16_t* dst) {
  const int16_t* const end = dst + len * numChannels;
  int64_t i = 0;
  for (; i + 8 <= len; i += 8)
    for (int32_t first = (numChannels - 1) / 8 * 8; first >= 0; first -= 8) {
      const int32_t count = std::min(numChannels - first, 8);
      i16x8 a[8];
      for (int32_t c = 0; c < 8; ++c)
        a[c] = c < count ? roundSaturate16(load8(src[first + c] + i)) : splatShort8(0);
      channelsToFrames(a);
      for (int f = 0; f < 8; ++f) {
        int16_t* const frame = dst + (i + f) * numChannels + first;
        if (end - frame >= 8)
          storeShort8(frame, a[f]);
        else
          std::memcpy(frame, &a[f], static_cast<size_t>(count) * sizeof(int16_t));
      }
    }
  return i;
}

inline void joinBlock(const float* const* src, int32_t numChannels, int64_t len, int16_t* dst) {
  int64_t i = 0;
  if (numChannels == 1) {
    for (; i + 8 <= len; i += 8) storeShort8(dst + i, roundSaturate16(load8(src[0] + i)));
  } else if (numChannels == 2) {
    for (; i + 8 <= len; i += 8) {
      const i16x8 a = roundSaturate16(load8(src[0] + i)), b = roundSaturate16(load8(src[1] + i));
      storeShort8(dst + 2 * i, zipShortsLow(a, b));
      storeShort8(dst + 2 * i + 8, zipShortsHigh(a, b));
    }
  } else {
    i = joinEights(src, numChannels, len, dst);
  }
  joinGeneral(src, numChannels, i, len, dst);
}

}  // namespace moxac::util
