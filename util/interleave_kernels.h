// Channel buffers to one interleaved buffer and back. The general loops are also the twins of the pairwise
// kernels.
#pragma once

#include <cstdint>

#include "frame/checks.h"
#include "frame/simd.h"

namespace moxac {

template <class T>
void interleaveGeneral(const T* const* src, int32_t numChannels, int64_t first, int64_t len, T* dst) {
  for (int64_t i = first; i < len; ++i)
    for (int32_t c = 0; c < numChannels; ++c) dst[i * numChannels + c] = src[c][i];
}

template <class T>
void deinterleaveGeneral(const T* src, int32_t numChannels, int64_t first, int64_t len, T* const* dst) {
  for (int64_t i = first; i < len; ++i)
    for (int32_t c = 0; c < numChannels; ++c) dst[c][i] = src[i * numChannels + c];
}

// From this many bytes of output on, stores go past the cache: fetching the lines first would cost a third
// of the memory traffic.
constexpr int64_t kStreamBytes = int64_t{8} << 20;

// One 32-byte piece of each channel: a from the first, b from the second; and back.
template <class T>
struct PairPiece;

template <>
struct PairPiece<float> {
  static void interleave(bytes32 a, bytes32 b, bytes32& low, bytes32& high) {
    const f32x8 x = _mm256_castsi256_ps(a);
    const f32x8 y = _mm256_castsi256_ps(b);
    const f32x8 even = _mm256_unpacklo_ps(x, y);  // frames 0 1 | 4 5
    const f32x8 odd = _mm256_unpackhi_ps(x, y);   // frames 2 3 | 6 7
    low = _mm256_castps_si256(_mm256_permute2f128_ps(even, odd, 0x20));
    high = _mm256_castps_si256(_mm256_permute2f128_ps(even, odd, 0x31));
  }
  static void deinterleave(bytes32 low, bytes32 high, bytes32& a, bytes32& b) {
    const f32x8 x = _mm256_permute2f128_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0x20);
    const f32x8 y = _mm256_permute2f128_ps(_mm256_castsi256_ps(low), _mm256_castsi256_ps(high), 0x31);
    a = _mm256_castps_si256(_mm256_shuffle_ps(x, y, 0x88));
    b = _mm256_castps_si256(_mm256_shuffle_ps(x, y, 0xDD));
  }
};

template <>
struct PairPiece<int16_t> {
  static __m128i half(bytes32 v, int i) {
    return i == 0 ? _mm256_castsi256_si128(v) : _mm256_extractf128_si256(v, 1);
  }
  static bytes32 join(__m128i low, __m128i high) {
    return _mm256_insertf128_si256(_mm256_castsi128_si256(low), high, 1);
  }
  static void interleave(bytes32 a, bytes32 b, bytes32& low, bytes32& high) {
    low = join(_mm_unpacklo_epi16(half(a, 0), half(b, 0)), _mm_unpackhi_epi16(half(a, 0), half(b, 0)));
    high = join(_mm_unpacklo_epi16(half(a, 1), half(b, 1)), _mm_unpackhi_epi16(half(a, 1), half(b, 1)));
  }
  // Four frames of two samples: the first channel's four, then the second's.
  static __m128i sortPairs(__m128i v) {
    return _mm_shuffle_epi8(v, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, 2, 3, 6, 7, 10, 11, 14, 15));
  }
  static void deinterleave(bytes32 low, bytes32 high, bytes32& a, bytes32& b) {
    const __m128i p = sortPairs(half(low, 0));
    const __m128i q = sortPairs(half(low, 1));
    const __m128i r = sortPairs(half(high, 0));
    const __m128i s = sortPairs(half(high, 1));
    a = join(_mm_unpacklo_epi64(p, q), _mm_unpacklo_epi64(r, s));
    b = join(_mm_unpackhi_epi64(p, q), _mm_unpackhi_epi64(r, s));
  }
};

template <bool stream>
void storePiece(void* p, bytes32 v) {
  if constexpr (stream)
    streamBytes32(p, v);
  else
    storeBytes32(p, v);
}

// Frames that one pair of pieces holds.
template <class T>
constexpr int64_t kPieceFrames = 32 / static_cast<int64_t>(sizeof(T));

// Both return the first frame not done.
template <class T, bool stream>
int64_t interleavePairs(const T* const* src, int64_t first, int64_t len, T* dst) {
  int64_t i = first;
  for (; i + kPieceFrames<T> <= len; i += kPieceFrames<T>) {
    bytes32 low, high;
    PairPiece<T>::interleave(loadBytes32(src[0] + i), loadBytes32(src[1] + i), low, high);
    storePiece<stream>(dst + 2 * i, low);
    storePiece<stream>(dst + 2 * i + kPieceFrames<T>, high);
  }
  if constexpr (stream) storeFence();
  return i;
}

template <class T, bool stream>
int64_t deinterleavePairs(const T* src, int64_t first, int64_t len, T* const* dst) {
  int64_t i = first;
  for (; i + kPieceFrames<T> <= len; i += kPieceFrames<T>) {
    bytes32 a, b;
    PairPiece<T>::deinterleave(loadBytes32(src + 2 * i), loadBytes32(src + 2 * i + kPieceFrames<T>), a, b);
    storePiece<stream>(dst[0] + i, a);
    storePiece<stream>(dst[1] + i, b);
  }
  if constexpr (stream) storeFence();
  return i;
}

// Frames until `p`, moving `step` elements a frame, stands on a 32-byte boundary; negative: never.
template <class T>
int64_t framesToBoundary(const T* p, int64_t step) {
  for (int64_t i = 0; i < kPieceFrames<T>; ++i)
    if (isAligned(p + i * step, 32)) return i;
  return -1;
}

template <class T>
bool fillsTheCache(int64_t frames) {
  return frames * 2 * static_cast<int64_t>(sizeof(T)) >= kStreamBytes;
}

template <class T>
void interleaveBlock(const T* const* src, int32_t numChannels, int64_t len, T* dst) {
  int64_t done = 0;
  if (numChannels == 2) {
    const int64_t head = framesToBoundary(dst, 2);
    if (fillsTheCache<T>(len) && head >= 0) {
      interleaveGeneral(src, 2, 0, head, dst);
      done = interleavePairs<T, true>(src, head, len, dst);
    } else {
      done = interleavePairs<T, false>(src, 0, len, dst);
    }
  }
  interleaveGeneral(src, numChannels, done, len, dst);
}

template <class T>
void deinterleaveBlock(const T* src, int32_t numChannels, int64_t len, T* const* dst) {
  int64_t done = 0;
  if (numChannels == 2) {
    const int64_t head = framesToBoundary(dst[0], 1);
    if (fillsTheCache<T>(len) && head >= 0 && framesToBoundary(dst[1], 1) == head) {
      deinterleaveGeneral(src, 2, 0, head, dst);
      done = deinterleavePairs<T, true>(src, head, len, dst);
    } else {
      done = deinterleavePairs<T, false>(src, 0, len, dst);
    }
  }
  deinterleaveGeneral(src, numChannels, done, len, dst);
}

}  // namespace moxac
