// Channel buffers to one interleaved buffer and back. The general loops are also the twins of the pairwise
// kernels.
#pragma once

#include <cstdint>

#include "frame/checks.h"
#include "frame/shuffles.h"

namespace moxac::util {

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
inline constexpr int64_t kStreamBytes = int64_t{8} << 20;

// One vector of each channel to two interleaved ones, and back.
template <class T>
struct PairPiece;

template <>
struct PairPiece<float> {
  using V = f32x8;
  static void store(float* p, V v) { store8(p, v); }
  static void stream(float* p, V v) { stream8(p, v); }
  static void interleave(const float* left, const float* right, V& low, V& high) {
    interleave8(load8(left), load8(right), low, high);
  }
  static void deinterleave(const float* frames, V& a, V& b) {
    deinterleave8(load8(frames), load8(frames + 8), a, b);
  }
};

template <>
struct PairPiece<int16_t> {
  using V = bytes32;
  static void store(int16_t* p, V v) { storeBytes32(p, v); }
  static void stream(int16_t* p, V v) { streamBytes32(p, v); }
  static V paired(i16x8 a, i16x8 b) { return joined(zipShortsLow(a, b), zipShortsHigh(a, b)); }
  static void interleave(const int16_t* left, const int16_t* right, V& low, V& high) {
    low = paired(loadShort8(left), loadShort8(right));
    high = paired(loadShort8(left + 8), loadShort8(right + 8));
  }
  // Four frames: their first samples below, their second ones above.
  static i16x8 apart(const int16_t* frames) {
    return permutedShorts<0, 2, 4, 6, 1, 3, 5, 7>(loadShort8(frames));
  }
  static void deinterleave(const int16_t* frames, V& a, V& b) {
    const V even = joined(apart(frames), apart(frames + 16));
    const V odd = joined(apart(frames + 8), apart(frames + 24));
    a = firstQuarters(even, odd);
    b = lastQuarters(even, odd);
  }
};

template <class T, bool stream>
void storePiece(T* p, typename PairPiece<T>::V v) {
  if constexpr (stream)
    PairPiece<T>::stream(p, v);
  else
    PairPiece<T>::store(p, v);
}

// Frames that one vector of each channel holds.
template <class T>
inline constexpr int64_t kPieceFrames = static_cast<int64_t>(sizeof(typename PairPiece<T>::V) / sizeof(T));

// Both return the first frame not done.
template <class T, bool stream>
int64_t interleavePairs(const T* const* src, int64_t first, int64_t len, T* dst) {
  const T* const left = src[0];
  const T* const right = src[1];
  int64_t i = first;
  for (; i + kPieceFrames<T> <= len; i += kPieceFrames<T>) {
    typename PairPiece<T>::V low, high;
    PairPiece<T>::interleave(left + i, right + i, low, high);
    storePiece<T, stream>(dst + 2 * i, low);
    storePiece<T, stream>(dst + 2 * i + kPieceFrames<T>, high);
  }
  if constexpr (stream) storeFence();
  return i;
}

template <class T, bool stream>
int64_t deinterleavePairs(const T* src, int64_t first, int64_t len, T* const* dst) {
  T* const left = dst[0];
  T* const right = dst[1];
  int64_t i = first;
  for (; i + kPieceFrames<T> <= len; i += kPieceFrames<T>) {
    typename PairPiece<T>::V a, b;
    PairPiece<T>::deinterleave(src + 2 * i, a, b);
    storePiece<T, stream>(left + i, a);
    storePiece<T, stream>(right + i, b);
  }
  if constexpr (stream) storeFence();
  return i;
}

// Frames until `p`, moving `step` elements a frame, stands on a vector's boundary; negative: never.
template <class T>
int64_t framesToBoundary(const T* p, int64_t step) {
  for (int64_t i = 0; i < kPieceFrames<T>; ++i)
    if (isAligned(p + i * step, sizeof(typename PairPiece<T>::V))) return i;
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

}  // namespace moxac::util
