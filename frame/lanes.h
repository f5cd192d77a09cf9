// Lane descriptors: kernels over many independent signals take one as a template argument, so that the same
// straight-line code runs once on single values and several signals at a time, to the same bits.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/shuffles.h"
#include "frame/simd.h"

namespace moxac {

struct Lanes1 {
  using T = float;
  using V = float;
  static constexpr int kCount = 1;
  static V splat(T v) { return v; }
  static V load(const T* p) { return *p; }
  static V load(const int32_t* p) { return static_cast<float>(*p); }
  static void store(T* p, V v) { *p = v; }
  static V reverse(V v) { return v; }
  // p[0], p[2], .. and p[1], p[3], ..: 2 kCount values.
  template <class Sample>
  static void loadPairs(const Sample* p, V& even, V& odd) {
    even = load(p);
    odd = load(p + 1);
  }
  static void storePairs(float* p, V even, V odd) {
    p[0] = even;
    p[1] = odd;
  }
  // Lane j of v[0..7] to p[8j..8j+7].
  static void storeTransposed(float* p, V (&v)[8]) {
    for (int r = 0; r < 8; ++r) p[r] = v[r];
  }
};

struct Lanes4 {
  using T = float;
  using V = f32x4;
  static constexpr int kCount = 4;
  static V splat(T v) { return splat4(v); }
  static V load(const T* p) { return load4(p); }
  static void store(T* p, V v) { store4(p, v); }
};

struct Lanes8 {
  using T = float;
  using V = f32x8;
  using One = Lanes1;  // the lane type of a single signal
  static constexpr int kCount = 8;
  static V splat(T v) { return splat8(v); }
  static V load(const T* p) { return load8(p); }
  static V load(const int32_t* p) { return toFloat8(loadInt8(p)); }
  static void store(T* p, V v) { store8(p, v); }
  static V reverse(V v) { return reverse8(v); }
  template <class Sample>
  static void loadPairs(const Sample* p, V& even, V& odd) {
    deinterleave8(load(p), load(p + 8), even, odd);
  }
  static void storePairs(float* p, V even, V odd) {
    V low, high;
    interleave8(even, odd, low, high);
    store(p, low);
    store(p + 8, high);
  }
  static void storeTransposed(float* p, V (&v)[8]) {
    transpose8(v);
    for (int j = 0; j < 8; ++j) store(p + 8 * j, v[j]);
  }
};

// Double-precision lanes, fed from floats and rounded back to them, or from integers: those come back rounded to
// nearest, ties to even, and saturated (a conversion turns everything too small into INT32_MIN by itself).
struct Lanes1d {
  using T = double;
  using V = double;
  static constexpr int kCount = 1;
  static V splat(T v) { return v; }
};

struct Lanes4d {
  using T = double;
  using V = f64x4;
  using One = Lanes1d;
  static constexpr int kCount = 4;
  static V splat(T v) { return splatDouble4(v); }
  static V load(const T* p) { return loadDouble4(p); }
  static V load(const int32_t* p) { return toDouble4(loadInt4(p)); }
  static void store(T* p, V v) { storeDouble4(p, v); }
  static void store(int32_t* p, V v) { storeInt4(p, roundToInt4(minOf(v, splatDouble4(2147483647.0)))); }
};

}  // namespace moxac
