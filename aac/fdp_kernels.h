// Frequency-domain prediction: the second-order backward-adaptive lattice of one or of eight lines.
//
// State values are floats whose lower 16 bits are zero. Everything is separate multiplications and additions
// in the written order. L is FdpLanes8, FdpLanes4, or FdpLanes1, the scalar twin.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/simd.h"

namespace moxac::aac {

inline constexpr float kFdpAttenuation = 0.953125f;  // a
inline constexpr float kFdpDecay = 0.90625f;         // alpha

// The lines' state, one array per value.
struct FdpArrays {
  float *cor0, *cor1, *var0, *var1, *r0, *r1;
};

// Lane by lane: the bits of a float under a mask, or with others set.
struct FdpLanes1 {
  using V = float;
  static float splat(float v) { return v; }
  static float load(const float* p) { return *p; }
  static void store(float* p, float v) { *p = v; }
  static float mask(float v, uint32_t bits) {
    return std::bit_cast<float>(std::bit_cast<uint32_t>(v) & bits);
  }
  static float set(float v, uint32_t bits) { return std::bit_cast<float>(std::bit_cast<uint32_t>(v) | bits); }
  static float addBits(float v, uint32_t bits) {
    return std::bit_cast<float>(std::bit_cast<uint32_t>(v) + bits);
  }
  static float whereAtLeast(float v, float limit, float then) { return v >= limit ? then : 0.0f; }
};

struct FdpLanes4 {
  using V = f32x4;
  static f32x4 splat(float v) { return splat4(v); }
  static f32x4 load(const float* p) { return load4(p); }
  static void store(float* p, f32x4 v) { store4(p, v); }
  static f32x4 splatBits(uint32_t bits) { return splat4(std::bit_cast<float>(bits)); }
  static f32x4 mask(f32x4 v, uint32_t bits) { return _mm_and_ps(v, splatBits(bits)); }
  static f32x4 set(f32x4 v, uint32_t bits) { return _mm_or_ps(v, splatBits(bits)); }
  static f32x4 addBits(f32x4 v, uint32_t bits) {
    return _mm_castsi128_ps(_mm_add_epi32(_mm_castps_si128(v), splatInt4(static_cast<int32_t>(bits))));
  }
  static f32x4 whereAtLeast(f32x4 v, float limit, f32x4 then) {
    return _mm_and_ps(_mm_cmp_ps(v, splat4(limit), _CMP_GE_OQ), then);
  }
};

struct FdpLanes8 {
  using V = f32x8;
  static f32x8 splat(float v) { return splat8(v); }
  static f32x8 load(const float* p) { return load8(p); }
  static void store(float* p, f32x8 v) { store8(p, v); }
  static f32x8 splatBits(uint32_t bits) { return splat8(std::bit_cast<float>(bits)); }
  static f32x8 mask(f32x8 v, uint32_t bits) { return _mm256_and_ps(v, splatBits(bits)); }
  static f32x8 set(f32x8 v, uint32_t bits) { return _mm256_or_ps(v, splatBits(bits)); }
  static f32x8 addBits(f32x8 v, uint32_t bits) {
    return _mm256_set_m128(FdpLanes4::addBits(_mm256_extractf128_ps(v, 1), bits),
                           FdpLanes4::addBits(_mm256_castps256_ps128(v), bits));
  }
  static f32x8 whereAtLeast(f32x8 v, float limit, f32x8 then) {
    return _mm256_and_ps(_mm256_cmp_ps(v, splat8(limit), _CMP_GE_OQ), then);
  }
};

inline constexpr uint32_t kUpper16 = 0xFFFF0000u;

// 0.953125 / (1 + m/128), m the top seven mantissa bits of var, to eight significant bits: the quotient is
// rounded to a float, then by Veltkamp's split; for all 128 values this is the quotient rounded once.
template <class L, class V = typename L::V>
V fdpMantissaReciprocal(V var) {
  const V quotient = L::splat(kFdpAttenuation) / L::set(L::mask(var, 0x007F0000u), 0x3F800000u);
  const V spread = quotient * L::splat(65537.0f);
  return spread - (spread - quotient);
}

// 2^(127 - e) where the exponent field e of var is 128..254, else 0.
template <class L, class V = typename L::V>
V fdpExponentReciprocal(V var) {
  const V power = L::mask(var, 0x7F800000u);
  return L::whereAtLeast(power, 2.0f, L::splat(1.0f) / power);
}

// Gain of a stage, about 0.953125 cor / var; 0 while var is below 2.
template <class L, class V = typename L::V>
V fdpGain(V cor, V var) {
  return cor * fdpMantissaReciprocal<L>(var) * fdpExponentReciprocal<L>(var);
}

// The lines from i on as they stand before an update.
template <class L>
struct FdpLine {
  using V = typename L::V;
  V cor0, cor1, var0, var1, r0, r1, k1, k2;

  FdpLine(const FdpArrays& s, int32_t i)
      : cor0(L::load(s.cor0 + i)),
        cor1(L::load(s.cor1 + i)),
        var0(L::load(s.var0 + i)),
        var1(L::load(s.var1 + i)),
        r0(L::load(s.r0 + i)),
        r1(L::load(s.r1 + i)),
        k1(fdpGain<L>(cor0, var0)),
        k2(fdpGain<L>(cor1, var1)) {}

  // Rounded to the upper 16 bits.
  V prediction() const { return L::mask(L::addBits(k1 * r0 + k2 * r1, 0x8000u), kUpper16); }

  // Trains the predictors with the lines' value x. The truncation is unconditional.
  void update(const FdpArrays& s, int32_t i, V x) const {
    const V alpha = L::splat(kFdpDecay), a = L::splat(kFdpAttenuation), half = L::splat(0.5f);
    const V e1 = x - k1 * r0;
    L::store(s.cor0 + i, L::mask(alpha * cor0 + r0 * x, kUpper16));
    L::store(s.var0 + i, L::mask(alpha * var0 + half * (r0 * r0 + x * x), kUpper16));
    L::store(s.cor1 + i, L::mask(alpha * cor1 + r1 * e1, kUpper16));
    L::store(s.var1 + i, L::mask(alpha * var1 + half * (r1 * r1 + e1 * e1), kUpper16));
    L::store(s.r1 + i, L::mask(a * (r0 - k1 * x), kUpper16));
    L::store(s.r0 + i, L::mask(a * x, kUpper16));
  }
};

// Decoder: adds the prediction where it is used, updates in any case.
template <class L>
void fdpInverse(const FdpArrays& s, int32_t i, float* x, bool used) {
  const FdpLine<L> line(s, i);
  typename L::V value = L::load(x + i);
  if (used) {
    value = value + line.prediction();
    L::store(x + i, value);
  }
  line.update(s, i, value);
}

// Encoder: the residual.
template <class L>
void fdpForward(const FdpArrays& s, int32_t i, const float* src, float* dst) {
  const FdpLine<L> line(s, i);
  const typename L::V value = L::load(src + i);
  L::store(dst + i, value - line.prediction());
  line.update(s, i, value);
}

// step8(i), step4(i), step1(i) over the lines of [first, last).
template <class Step8, class Step4, class Step1>
void forLines(int32_t first, int32_t last, Step8&& step8, Step4&& step4, Step1&& step1) {
  int32_t i = first;
  for (; i + 8 <= last; i += 8) step8(i);
  if (i + 4 <= last) {
    step4(i);
    i += 4;
  }
  for (; i < last; ++i) step1(i);
}

inline void fdpInverseLines(const FdpArrays& s, int32_t first, int32_t last, float* x, bool used) {
  forLines(
      first, last, [&](int32_t i) { fdpInverse<FdpLanes8>(s, i, x, used); },
      [&](int32_t i) { fdpInverse<FdpLanes4>(s, i, x, used); },
      [&](int32_t i) { fdpInverse<FdpLanes1>(s, i, x, used); });
}

inline void fdpForwardLines(const FdpArrays& s, int32_t len, const float* src, float* dst) {
  forLines(
      0, len, [&](int32_t i) { fdpForward<FdpLanes8>(s, i, src, dst); },
      [&](int32_t i) { fdpForward<FdpLanes4>(s, i, src, dst); },
      [&](int32_t i) { fdpForward<FdpLanes1>(s, i, src, dst); });
}

// Lines first, first + step, .. below last.
inline void fdpResetLines(FdpArrays s, int64_t first, int64_t last, int64_t step) {
  for (int64_t i = first; i < last; i += step) {
    s.cor0[i] = s.cor1[i] = s.r0[i] = s.r1[i] = 0;
    s.var0[i] = s.var1[i] = 1;
  }
}

}  // namespace moxac::aac
