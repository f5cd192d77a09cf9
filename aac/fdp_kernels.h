// Frequency-domain prediction: the second-order backward-adaptive lattice of one or of eight lines.
//
// State values are floats whose lower 16 bits are zero. Everything is separate multiplications and additions
// in the written order. L is Lanes8, Lanes4, or Lanes1, the scalar twin.
#pragma once

#include <bit>
#include <cstdint>

#include "frame/lanes.h"

namespace moxac::aac {

inline constexpr float kFdpAttenuation = 0.953125f;  // a
inline constexpr float kFdpDecay = 0.90625f;         // alpha

// The lines' state, one array per value.
struct FdpArrays {
  float *cor0, *cor1, *var0, *var1, *r0, *r1;
};

inline constexpr uint32_t kUpper16 = 0xFFFF0000u;

// 0.953125 / (1 + m/128), m the top seven mantissa bits of var, to eight significant bits: the quotient is
// rounded to a float, then by Veltkamp's split; for all 128 values this is the quotient rounded once.
template <class L, class V = typename L::V>
V fdpMantissaReciprocal(V var) {
  const V quotient = L::splat(kFdpAttenuation) / setBits(maskBits(var, 0x007F0000u), 0x3F800000u);
  const V spread = quotient * L::splat(65537.0f);
  return spread - (spread - quotient);
}

// 2^(127 - e) where the exponent field e of var is 128..254, else 0.
template <class L, class V = typename L::V>
V fdpExponentReciprocal(V var) {
  const V power = maskBits(var, 0x7F800000u);
  return whereAtLeast(power, 2.0f, L::splat(1.0f) / power);
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
  V prediction() const { return maskBits(addBits(k1 * r0 + k2 * r1, 0x8000u), kUpper16); }

  // Trains the predictors with the lines' value x. The truncation is unconditional.
  void update(const FdpArrays& s, int32_t i, V x) const {
    const V alpha = L::splat(kFdpDecay), a = L::splat(kFdpAttenuation), half = L::splat(0.5f);
    const V e1 = x - k1 * r0;
    L::store(s.cor0 + i, maskBits(alpha * cor0 + r0 * x, kUpper16));
    L::store(s.var0 + i, maskBits(alpha * var0 + half * (r0 * r0 + x * x), kUpper16));
    L::store(s.cor1 + i, maskBits(alpha * cor1 + r1 * e1, kUpper16));
    L::store(s.var1 + i, maskBits(alpha * var1 + half * (r1 * r1 + e1 * e1), kUpper16));
    L::store(s.r1 + i, maskBits(a * (r0 - k1 * x), kUpper16));
    L::store(s.r0 + i, maskBits(a * x, kUpper16));
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
      first, last, [&](int32_t i) { fdpInverse<Lanes8>(s, i, x, used); },
      [&](int32_t i) { fdpInverse<Lanes4>(s, i, x, used); },
      [&](int32_t i) { fdpInverse<Lanes1>(s, i, x, used); });
}

inline void fdpForwardLines(const FdpArrays& s, int32_t len, const float* src, float* dst) {
  forLines(
      0, len, [&](int32_t i) { fdpForward<Lanes8>(s, i, src, dst); },
      [&](int32_t i) { fdpForward<Lanes4>(s, i, src, dst); },
      [&](int32_t i) { fdpForward<Lanes1>(s, i, src, dst); });
}

// Lines first, first + step, .. below last.
inline void fdpResetLines(FdpArrays s, int64_t first, int64_t last, int64_t step) {
  for (int64_t i = first; i < last; i += step) {
    s.cor0[i] = s.cor1[i] = s.r0[i] = s.r1[i] = 0;
    s.var0[i] = s.var1[i] = 1;
  }
}

}  // namespace moxac::aac
