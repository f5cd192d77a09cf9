// The 32-band polyphase banks of ISO/IEC 11172-3: synthesis (2.4.3.2.2) and analysis (Annex C), one time slot
// of 32 samples at a time, in float.
//
// Both rest on the 32-point cosine transform c_j = sum over k of S_k cos(pi j (2k+1) / 64), or its transpose.
// The standard's vector V of a slot is that transform, mirrored: V[j] = c(16+j) and V[32-j] = -c(16+j),
// V[32+j] = V[64-j] = -c(16-j), for j = 0..15. The history therefore keeps 32 floats per slot, and each c
// serves two output samples, j and 32-j.
//
// Lane order. A slot's 32 floats are four vectors, in the order in which the transform leaves them:
//
//   high0  c16 c20 c24 c28 | c18 c22 c26 c30      16+j for j = kFirstLanes
//   high1  c17 c21 c25 c29 | c19 c23 c27 c31      16+j for j = kSecondLanes
//   low0   c0  c12 c8  c4  | c14 c10 c6  c2       16-j for j = kFirstLanes, but c0 in place of c16
//   low1   c15 c11 c7  c3  | c13 c9  c5  c1       16-j for j = kSecondLanes
//
// The c0 in low0's first lane belongs to output 16, which is its own mirror image; c16, needed there for
// output 0, is taken from high0.
#pragma once

#include <cstdint>

#include "frame/shuffles.h"
#include "frame/trig.h"
#include "mp3/bank_tables.h"

namespace moxac::mp3 {

inline constexpr int kBands = 32;         // sub-bands, and samples per slot
inline constexpr int kHistorySlots = 16;  // slots that the 512-tap window spans
inline constexpr int kHistoryFloats = kHistorySlots * kBands;

inline constexpr int kFirstLanes[8] = {0, 4, 8, 12, 2, 6, 10, 14};
inline constexpr int kSecondLanes[8] = {1, 5, 9, 13, 3, 7, 11, 15};

struct SlotVectors {
  f32x8 high0, high1, low0, low1;
};

// 1 / (2 cos(pi (2k+1) / (2N))): the factors by which a cosine transform of N points falls into two of N/2.
struct HalvingFactors {
  alignas(32) float of32[16] = {}, of16[8] = {}, of8[8] = {};  // of8: four factors, twice
  float of4[2] = {}, of2 = 0;

  constexpr HalvingFactors() {
    for (int k = 0; k < 16; ++k) of32[k] = factor(k, 32);
    for (int k = 0; k < 8; ++k) of16[k] = factor(k, 16);
    for (int k = 0; k < 8; ++k) of8[k] = factor(k % 4, 8);
    for (int k = 0; k < 2; ++k) of4[k] = factor(k, 4);
    of2 = factor(0, 2);
  }
  static constexpr float factor(int k, int n) { return static_cast<float>(0.5 / cosPi(2 * k + 1, 2 * n)); }
};
inline constexpr HalvingFactors kHalving;

// c_j = sum x_k cos(pi j (2k+1) / (2N)), by halving: even j are the transform of x_k + x_{N-1-k}; with
// G the transform of (x_k - x_{N-1-k}) / (2 cos(pi (2k+1) / (2N))), odd ones are c_{2m+1} = G_m + G_{m+1}.
// The plain form of cosineTransform32, and its equal to the bit.
template <int N>
void cosineTransform(const float* x, float* c) {
  if constexpr (N == 1) {
    c[0] = x[0];
  } else {
    constexpr int kHalf = N / 2;
    float sum[kHalf], difference[kHalf], even[kHalf], odd[kHalf + 1];
    for (int k = 0; k < kHalf; ++k) {
      sum[k] = x[k] + x[N - 1 - k];
      difference[k] = (x[k] - x[N - 1 - k]) * HalvingFactors::factor(k, N);
    }
    cosineTransform<kHalf>(sum, even);
    cosineTransform<kHalf>(difference, odd);
    odd[kHalf] = 0;
    for (int m = 0; m < kHalf; ++m) {
      c[2 * m] = even[m];
      c[2 * m + 1] = odd[m] + odd[m + 1];
    }
  }
}

// In each half: a1 a2 a3 b0.
inline f32x8 nextLanes(f32x8 a, f32x8 b) { return permuted<0x39>(blended<0x11>(a, b)); }

// First half: lane 0 stays, 1..3 in opposite order. Second half: all in opposite order. Undoes itself.
// An intrinsic for one instruction in place of three, two permutes and a blend.
inline f32x8 turnLow0(f32x8 v) { return _mm256_permutevar_ps(v, _mm256_setr_epi32(0, 3, 2, 1, 3, 2, 1, 0)); }
// Lanes 1, 3, 5, 7; zero in the others.
inline f32x8 onlyOdd(f32x8 v) { return blended<0xAA>(splat8(0), v); }

// The transform of x0..x3 (k = 0..31), in the lane order above.
inline SlotVectors cosineTransform32(f32x8 x0, f32x8 x1, f32x8 x2, f32x8 x3) {
  // 32 points to two blocks of 16, to four of 8 (b0..b3).
  const f32x8 r3 = reverse8(x3), r2 = reverse8(x2);
  const f32x8 even0 = x0 + r3, even1 = reverse8(x1 + r2);
  const f32x8 odd0 = (x0 - r3) * load8(kHalving.of32), odd1 = reverse8((x1 - r2) * load8(kHalving.of32 + 8));
  const f32x8 of16 = load8(kHalving.of16);
  const f32x8 b0 = even0 + even1, b1 = (even0 - even1) * of16;
  const f32x8 b2 = odd0 + odd1, b3 = (odd0 - odd1) * of16;

  // To eight blocks of 4: the even (s) and odd (d) halves of b0..b3, two to a vector.
  const f32x8 of8 = load8(kHalving.of8);
  const f32x8 first01 = lowHalves(b0, b1), last01 = reverseHalves(highHalves(b0, b1));
  const f32x8 first23 = lowHalves(b2, b3), last23 = reverseHalves(highHalves(b2, b3));
  f32x8 w0 = first01 + last01, w1 = (first01 - last01) * of8;
  f32x8 w2 = first23 + last23, w3 = (first23 - last23) * of8;

  // One block to a lane (s0 d0 s2 d2 | s1 d1 s3 d3), point k in wk: the 4-point transforms.
  transposeHalves(w0, w1, w2, w3);
  const f32x8 of2 = splat8(kHalving.of2);
  const f32x8 p = w0 + w3, q = w1 + w2;
  const f32x8 g = (w0 - w3) * splat8(kHalving.of4[0]), h = (w1 - w2) * splat8(kHalving.of4[1]);
  const f32x8 z3 = (g - h) * of2;
  f32x8 z0 = p + q, z1 = (g + h) + z3, z2 = (p - q) * of2;

  // Back up. Block b's 8-point outputs: y_2m from its s lane, y_2m+1 = d_m + d_m+1.
  z0 = z0 + onlyOdd(z1);
  z1 = z1 + onlyOdd(z2);
  z2 = z2 + onlyOdd(z3);
  const f32x8 y01first = firstPairs(z0, z1), y01last = firstPairs(z2, z3);  // y of b0 | y of b1
  const f32x8 y23first = lastPairs(z0, z1), y23last = lastPairs(z2, z3);

  // 16 points: the odd outputs of either half are y_m + y_m+1 of b1 and of b3.
  const f32x8 e0 = lowHalves(y01first, y23first), e1 = lowHalves(y01last, y23last);
  const f32x8 u0 = highHalves(y01first, y23first), u1 = highHalves(y01last, y23last);
  const f32x8 zero = splat8(0);
  const f32x8 o0 = u0 + nextLanes(u0, u1), o1 = u1 + nextLanes(u1, zero);

  // 32 points: c_4m = e, c_4m+2 = o of the first halves; c_4m+1 = e_m + o_m, c_4m+3 = o_m + e_m+1 of the
  // second.
  const f32x8 n0 = nextLanes(e0, e1), n1 = nextLanes(e1, zero);
  SlotVectors c;
  c.high0 = lowHalves(e1, o1);
  c.high1 = highHalves(e1, n1) + highHalves(o1, o1);
  c.low0 = turnLow0(lowHalves(e0, o0));
  c.low1 = reverseHalves(highHalves(n0, e0) + highHalves(o0, o0));
  return c;
}

// The transpose of cosineTransform: x_k = sum c_j cos(pi j (2k+1) / (2N)), every step turned round.
template <int N>
void cosineTransformTransposed(const float* c, float* x) {
  if constexpr (N == 1) {
    x[0] = c[0];
  } else {
    constexpr int kHalf = N / 2;
    float even[kHalf], odd[kHalf], sum[kHalf], difference[kHalf];
    for (int m = 0; m < kHalf; ++m) {
      even[m] = c[2 * m];
      odd[m] = m == 0 ? c[1] : c[2 * m + 1] + c[2 * m - 1];
    }
    cosineTransformTransposed<kHalf>(even, sum);
    cosineTransformTransposed<kHalf>(odd, difference);
    for (int k = 0; k < kHalf; ++k) {
      const float turned = difference[k] * HalvingFactors::factor(k, N);
      x[k] = sum[k] + turned;
      x[N - 1 - k] = sum[k] - turned;
    }
  }
}

// The lane before each; zero before the first.
inline f32x8 previousLanes(f32x8 v) { return permuted<0x93>(blended<0x88>(v, lowToHigh(v))); }

// The transposed transform of c[0..31], in place; vectors in natural order.
inline void cosineTransform32Transposed(f32x8 (&c)[4]) {
  // Outputs 4m, 4m+1, 4m+2, 4m+3 of the 32-point transform, m = 0..7 in the lanes.
  f32x8 a0 = lowHalves(c[0], c[2]), a1 = highHalves(c[0], c[2]);
  f32x8 a2 = lowHalves(c[1], c[3]), a3 = highHalves(c[1], c[3]);
  transposeHalves(a0, a1, a2, a3);
  const f32x8 o = a1 + a3;
  const f32x8 b0 = a0, b1 = a2 + previousLanes(a2);
  const f32x8 b2 = a1 + previousLanes(a3), b3 = o + previousLanes(o);

  const f32x8 y01first = lowHalves(b0, b1), y01last = highHalves(b0, b1);
  const f32x8 y23first = lowHalves(b2, b3), y23last = highHalves(b2, b3);
  const f32x8 y0 = firstPairs(y01first, y23first), y1 = lastPairs(y01first, y23first);
  const f32x8 y2 = firstPairs(y01last, y23last), y3 = lastPairs(y01last, y23last);
  const f32x8 z1 = y1 + onlyOdd(y0), z2 = y2 + onlyOdd(y1), z3 = y3 + onlyOdd(y2);

  const f32x8 of2 = splat8(kHalving.of2);
  const f32x8 turned2 = z2 * of2, turned3 = (z3 + z1) * of2;
  const f32x8 p = y0 + turned2, q = y0 - turned2;
  const f32x8 g = (z1 + turned3) * splat8(kHalving.of4[0]), h = (z1 - turned3) * splat8(kHalving.of4[1]);
  f32x8 w0 = p + g, w1 = q + h, w2 = q - h, w3 = p - g;
  transposeHalves(w0, w1, w2, w3);

  const f32x8 of8 = load8(kHalving.of8), of16 = load8(kHalving.of16);
  const f32x8 turned01 = w1 * of8, turned23 = w3 * of8;
  const f32x8 first01 = w0 + turned01, last01 = reverseHalves(w0 - turned01);
  const f32x8 first23 = w2 + turned23, last23 = reverseHalves(w2 - turned23);
  const f32x8 even = lowHalves(first01, last01), odd = lowHalves(first23, last23);
  const f32x8 turnedEven = highHalves(first01, last01) * of16, turnedOdd = highHalves(first23, last23) * of16;
  const f32x8 even0 = even + turnedEven, even1 = reverse8(even - turnedEven);
  const f32x8 odd0 = (odd + turnedOdd) * load8(kHalving.of32);
  const f32x8 odd1 = reverse8(odd - turnedOdd) * load8(kHalving.of32 + 8);
  c[0] = even0 + odd0;
  c[1] = even1 + odd1;
  c[2] = reverse8(even1 - odd1);
  c[3] = reverse8(even0 - odd0);
}

// ---- Synthesis ---------------------------------------------------------------------------------------

// Window factors by age of a slot (0 the newest), signs of the mirrored V included. The ages stand twice, so
// that the slots of a ring can be walked in memory order from any position.
struct SynthesisWindow {
  struct Age {
    float direct0[8], direct1[8], mirror0[8],
        mirror1[8];  // outputs j and 32-j by lane; mirror0[0]: output 16
  };
  alignas(32) Age ages[2 * kHistorySlots] = {};

  constexpr SynthesisWindow() {
    for (int row = 0; row < 2 * kHistorySlots; ++row)
      for (int lane = 0; lane < 8; ++lane) {
        const int age = row % kHistorySlots;
        ages[row].direct0[lane] = direct(age, kFirstLanes[lane]);
        ages[row].direct1[lane] = direct(age, kSecondLanes[lane]);
        ages[row].mirror0[lane] = mirror(age, kFirstLanes[lane]);
        ages[row].mirror1[lane] = mirror(age, kSecondLanes[lane]);
      }
  }
  static constexpr float at(int i) { return static_cast<float>(kSynthesisWindow[i]) / 65536; }
  // Even ages hold V[j] and V[32-j], odd ones V[32+j] and V[64-j], of the standard's U vector.
  static constexpr float direct(int age, int j) {
    return age % 2 == 0 ? at(32 * age + j) : -at(32 * age + j);
  }
  static constexpr float mirror(int age, int j) {
    if (j == 0) return age % 2 == 0 ? 0 : -at(32 * age + 16);
    return -at(32 * age + 32 - j);
  }
};
inline constexpr SynthesisWindow kSynthesisWindows;

// The 32 output samples of a slot, in lane order: outputs j in direct0 and direct1, 32-j in mirror0 and
// mirror1 (16 in mirror0's first lane).
struct OutputVectors {
  f32x8 direct0, direct1, mirror0, mirror1;
};

// A load that stays in its register. The compiler would rather load twice than spend a register, but loads
// are what bounds the window sums.
inline f32x8 loadOnce8(const float* p) {
  f32x8 v = load8(p);
  __asm__("" : "+x"(v));
  return v;
}

// One slot: S (32 sub-band samples) enters the history at `position`, 32 samples come out.
// The next slot's position is one less, modulo 16.
inline OutputVectors synthesizeSlot(f32x8 s0, f32x8 s1, f32x8 s2, f32x8 s3, float* history,
                                    int32_t position) {
  const SlotVectors c = cosineTransform32(s0, s1, s2, s3);
  float* const slot = history + position * kBands;
  store8(slot, c.high0);
  store8(slot + 8, c.high1);
  store8(slot + 16, c.low0);
  store8(slot + 24, c.low1);

  // Slot p of the ring has age p - position, modulo 16: even ages from the first slot of position's parity
  // on.
  const int32_t firstEven = position & 1, firstOdd = firstEven ^ 1;
  const SynthesisWindow::Age* const ages = kSynthesisWindows.ages + kHistorySlots - position;
  const float *evenSlot = history + firstEven * kBands, *oddSlot = history + firstOdd * kBands;
  const SynthesisWindow::Age *evenAge = ages + firstEven, *oddAge = ages + firstOdd;
  const f32x8 zero = splat8(0);
  OutputVectors even = {zero, zero, zero, zero}, odd = even;
#pragma GCC unroll 1  // unrolled, the eight sums are taken one after the other, with all loads spilled
  for (int i = 0; i < kHistorySlots / 2; ++i) {
    const f32x8 high0 = loadOnce8(evenSlot), high1 = loadOnce8(evenSlot + 8);
    even.direct0 = even.direct0 + high0 * load8(evenAge->direct0);
    even.direct1 = even.direct1 + high1 * load8(evenAge->direct1);
    even.mirror0 = even.mirror0 + high0 * load8(evenAge->mirror0);
    even.mirror1 = even.mirror1 + high1 * load8(evenAge->mirror1);
    const f32x8 low0 = loadOnce8(oddSlot + 16), low1 = loadOnce8(oddSlot + 24);
    odd.direct0 = odd.direct0 + blended<1>(low0, load8(oddSlot)) * load8(oddAge->direct0);
    odd.direct1 = odd.direct1 + low1 * load8(oddAge->direct1);
    odd.mirror0 = odd.mirror0 + low0 * load8(oddAge->mirror0);
    odd.mirror1 = odd.mirror1 + low1 * load8(oddAge->mirror1);
    evenSlot += 2 * kBands, oddSlot += 2 * kBands;
    evenAge += 2, oddAge += 2;
  }
  return {even.direct0 + odd.direct0, even.direct1 + odd.direct1, even.mirror0 + odd.mirror0,
          even.mirror1 + odd.mirror1};
}

// From lane order to time order.
inline void storeOutputs(float* dst, const OutputVectors& v) {
  f32x4 a = lowHalf(v.direct0), b = lowHalf(v.direct1);
  f32x4 c = highHalf(v.direct0), d = highHalf(v.direct1);
  transpose4(a, b, c, d);
  store4(dst, a);
  store4(dst + 4, b);
  store4(dst + 8, c);
  store4(dst + 12, d);
  // 16 28 24 20, 17 29 25 21, 18 30 26 22, 19 31 27 23
  const auto lastToFront = [](f32x4 x) { return permuted<0x93>(x); };
  a = lowHalf(v.mirror0);
  b = lastToFront(highHalf(v.mirror1));
  c = lastToFront(highHalf(v.mirror0));
  d = lastToFront(lowHalf(v.mirror1));
  transpose4(a, b, c, d);
  store4(dst + 16, a);
  store4(dst + 20, d);
  store4(dst + 24, c);
  store4(dst + 28, b);
}

// Rounded to nearest, saturated to 16 bits, in time order: samples 0-7, 8-15, 16-23, 24-31.
inline void roundOutputs(i16x8 (&dst)[4], const OutputVectors& v) {
  const i32x8 direct0 = roundToInt8(v.direct0), direct1 = roundToInt8(v.direct1);
  const i32x8 mirror0 = roundToInt8(v.mirror0), mirror1 = roundToInt8(v.mirror1);
  // 0 4 8 12 1 5 9 13 and 2 6 10 14 3 7 11 15
  const i16x8 a = permutedShorts<0, 4, 1, 5, 2, 6, 3, 7>(packInts(lowHalf(direct0), lowHalf(direct1)));
  const i16x8 b = permutedShorts<0, 4, 1, 5, 2, 6, 3, 7>(packInts(highHalf(direct0), highHalf(direct1)));
  dst[0] = zipIntsLow(a, b);
  dst[1] = zipIntsHigh(a, b);
  // 16 28 24 20 29 25 21 17 and 30 26 22 18 31 27 23 19
  const i16x8 c = permutedShorts<0, 7, 3, 6, 2, 5, 1, 4>(packInts(lowHalf(mirror0), highHalf(mirror1)));
  const i16x8 d = permutedShorts<3, 7, 2, 6, 1, 5, 0, 4>(packInts(highHalf(mirror0), lowHalf(mirror1)));
  dst[2] = zipIntsLow(c, d);
  dst[3] = zipIntsHigh(c, d);
}

// ---- Analysis ----------------------------------------------------------------------------------------

// Analysis window C[i] = D[i] / 32, twice, for the same walk.
struct AnalysisWindow {
  alignas(32) float c[2 * kHistoryFloats] = {};

  constexpr AnalysisWindow() {
    for (int i = 0; i < 2 * kHistoryFloats; ++i)
      c[i] = static_cast<float>(kSynthesisWindow[i % kHistoryFloats]) / (65536 * 32);
  }
};
inline constexpr AnalysisWindow kAnalysisWindow;

// Lanes 1..7 of a, then lane 0 of b.
inline f32x8 fromSecondLane(f32x8 a, f32x8 b) { return nextLanes(a, innerHalves(a, b)); }

// One slot: the 32 newest samples x0..x3, in time order, enter the history at `position`; the sub-band
// samples S_k = sum cos((2k+1)(i-16) pi / 64) Y_i come out in s. The next slot's position is one less,
// modulo 16. A slot is kept with its newest sample first, as the standard's X vector is.
inline void analyzeSlot(f32x8 x0, f32x8 x1, f32x8 x2, f32x8 x3, float* history, int32_t position,
                        f32x8 (&s)[4]) {
  float* const slot = history + position * kBands;
  store8(slot, reverse8(x3));
  store8(slot + 8, reverse8(x2));
  store8(slot + 16, reverse8(x1));
  store8(slot + 24, reverse8(x0));

  // Y_0..Y_31 are sums over slots of even age, Y_32..Y_63 over those of odd age.
  const int32_t firstEven = position & 1, firstOdd = firstEven ^ 1;
  const float* const window = kAnalysisWindow.c + kHistoryFloats - position * kBands;
  const float *evenSlot = history + firstEven * kBands, *oddSlot = history + firstOdd * kBands;
  const float *evenWindow = window + firstEven * kBands, *oddWindow = window + firstOdd * kBands;
  f32x8 even[4], odd[4];
  for (int q = 0; q < 4; ++q) even[q] = odd[q] = splat8(0);
#pragma GCC unroll 1
  for (int i = 0; i < kHistorySlots / 2; ++i) {
    for (int q = 0; q < 4; ++q) {
      even[q] = even[q] + load8(evenSlot + 8 * q) * load8(evenWindow + 8 * q);
      odd[q] = odd[q] + load8(oddSlot + 8 * q) * load8(oddWindow + 8 * q);
    }
    evenSlot += 2 * kBands, oddSlot += 2 * kBands;
    evenWindow += 2 * kBands, oddWindow += 2 * kBands;
  }

  // cos is even in j = i - 16, and changes sign at j = 64 - j: fold to j = 0..31. The second terms are
  // Y_16..Y_9 (the first of them counts once only), Y_8..Y_1, Y_64..Y_57 with Y_64 = -Y_0, and Y_56..Y_49.
  const f32x8 zero = splat8(0);
  s[0] = even[2] + blended<1>(reverse8(fromSecondLane(even[1], even[2])), zero);
  s[1] = even[3] + reverse8(fromSecondLane(even[0], even[1]));
  s[2] = odd[0] - reverse8(fromSecondLane(odd[3], zero - even[0]));
  s[3] = odd[1] - reverse8(fromSecondLane(odd[2], odd[3]));
  cosineTransform32Transposed(s);
}

}  // namespace moxac::mp3
