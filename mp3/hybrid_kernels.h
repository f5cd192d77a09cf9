// The hybrid stage of Layer III: alias reduction, inverse and forward MDCT of the sub-bands, windows,
// overlap-add, frequency inversion. ISO/IEC 11172-3, 2.4.3.4.10 and Annex C.
//
// The transforms are straight-line code over a lane descriptor: eight sub-bands at a time, or one.
#pragma once

#include <algorithm>
#include <cstdint>

#include "frame/lanes.h"
#include "mp3/band_tables.h"
#include "mp3/hybrid_tables.h"

namespace moxac::mp3 {

// Cosine transforms of type III: y_n = sum z_k cos(pi (2n+1) k / (2N)).
template <class L>
inline void cosineThree(const typename L::V (&z)[3], typename L::V (&y)[3]) {
  using V = typename L::V;
  const V half = L::splat(0.5f) * z[2] + z[0];
  const V slope = L::splat(static_cast<float>(cosPi(1, 6))) * z[1];
  y[0] = half + slope;
  y[1] = z[0] - z[2];
  y[2] = half - slope;
}

// Nine points, even and odd inputs apart; cos 20 = cos 40 + cos 80 and cos 10 = cos 50 + cos 70 degrees turn
// the 3x3 products into six multiplications each.
template <class L>
inline void cosineThree(const typename L::V (&z)[9], typename L::V (&y)[9]) {
  using V = typename L::V;
  const auto degrees = [](int angle) { return static_cast<float>(cosPi(angle, 180)); };
  const V c30 = L::splat(degrees(30)), c40 = L::splat(degrees(40)), c50 = L::splat(degrees(50));
  const V c70 = L::splat(degrees(70)), c80 = L::splat(degrees(80)), half = L::splat(0.5f);

  const V base = z[0] + half * z[6];
  const V a24 = z[2] + z[4], a28 = z[2] + z[8], a48 = z[8] - z[4];
  const V rest = z[0] - z[6], sum = z[2] - z[4] - z[8];
  const V e0 = base + c40 * a24 + c80 * a28;
  const V e1 = rest + half * sum;
  const V e2 = base - c80 * a24 + c40 * a48;
  const V e3 = base - c40 * a28 - c80 * a48;

  const V b15 = z[1] + z[5], b17 = z[1] + z[7], b57 = z[5] - z[7];
  const V middle = c30 * z[3];
  const V o0 = c50 * b15 + c70 * b17 + middle;
  const V o1 = c30 * (b15 - z[5] - z[5] - z[7]);
  const V o2 = c50 * b17 - c70 * b57 - middle;
  const V o3 = c70 * b15 + c50 * b57 - middle;

  y[0] = e0 + o0, y[8] = e0 - o0;
  y[1] = e1 + o1, y[7] = e1 - o1;
  y[2] = e2 + o2, y[6] = e2 - o2;
  y[3] = e3 + o3, y[5] = e3 - o3;
  y[4] = rest - sum;
}

// Type IV of N points, y_n = sum x_k cos(pi (2n+1)(2k+1) / (4N)), from type III of x_k + x_{k-1}.
template <class L, int N>
inline void cosineFourSmall(const typename L::V (&x)[N], const float (&factors)[N], typename L::V (&y)[N]) {
  typename L::V z[N];
  z[0] = x[0];
  for (int k = 1; k < N; ++k) z[k] = x[k] + x[k - 1];
  cosineThree<L>(z, y);
  for (int n = 0; n < N; ++n) y[n] = y[n] * L::splat(factors[n]);
}

// Type IV of 2N points: the same, with the type III of 2N points split into N even inputs (type III) and N
// odd ones (type IV).
template <class L, int N>
inline void cosineFour(const typename L::V (&x)[2 * N], const float (&factors)[2 * N],
                       const float (&oddFactors)[N], typename L::V (&y)[2 * N]) {
  using V = typename L::V;
  V even[N], odd[N], e[N], o[N];
  even[0] = x[0];
  for (int k = 1; k < N; ++k) even[k] = x[2 * k] + x[2 * k - 1];
  for (int k = 0; k < N; ++k) odd[k] = x[2 * k + 1] + x[2 * k];
  cosineThree<L>(even, e);
  cosineFourSmall<L, N>(odd, oddFactors, o);
  for (int n = 0; n < N; ++n) {
    y[n] = (e[n] + o[n]) * L::splat(factors[n]);
    y[2 * N - 1 - n] = (e[n] - o[n]) * L::splat(factors[2 * N - 1 - n]);
  }
}

template <class L>
inline void cosineFour18(const typename L::V (&x)[18], typename L::V (&y)[18]) {
  cosineFour<L, 9>(x, kTypeFour.of18, kTypeFour.of9, y);
}

template <class L>
inline void cosineFour6(const typename L::V (&x)[6], typename L::V (&y)[6]) {
  cosineFour<L, 3>(x, kTypeFour.of6, kTypeFour.of3, y);
}

// The inverse MDCT x_i = sum X_k cos(pi (2i+1+N)(2k+1) / (4N)), i = 0..2N-1, has N different values only:
// x_i = y_{i+N/2}, then -y_{3N/2-1-i}, then -y_{i-3N/2}, y its transform of type IV. This is x_i.
template <class V, int N>
inline V unfolded(const V (&y)[N], int i) {
  if (i < N / 2) return y[i + N / 2];
  return i < 3 * N / 2 ? -y[3 * N / 2 - 1 - i] : -y[i - 3 * N / 2];
}

// The 36 windowed values of one sub-band's lines, handed to emit(i, value) in order.
template <class L, class Emit>
inline void inverseLong(const typename L::V (&lines)[18], const float* window, Emit&& emit) {
  typename L::V y[18];
  cosineFour18<L>(lines, y);
  for (int i = 0; i < 36; ++i) emit(i, unfolded(y, i) * L::splat(window[i]));
}

// The same of three short blocks: line k of window w is lines[3 k + w]; window w stands at 6 + 6 w of the 36.
template <class L, class Emit>
inline void inverseShort(const typename L::V (&lines)[18], const float* window, Emit&& emit) {
  using V = typename L::V;
  V y[3][6];
  for (int w = 0; w < 3; ++w) {
    const V x[6] = {lines[w], lines[3 + w], lines[6 + w], lines[9 + w], lines[12 + w], lines[15 + w]};
    cosineFour6<L>(x, y[w]);
  }
  const auto windowed = [&](int w, int i) { return unfolded(y[w], i) * L::splat(window[i]); };
  for (int i = 0; i < 6; ++i) emit(i, L::splat(0));
  for (int i = 0; i < 6; ++i) emit(6 + i, windowed(0, i));
  for (int i = 0; i < 6; ++i) emit(12 + i, windowed(0, 6 + i) + windowed(1, i));
  for (int i = 0; i < 6; ++i) emit(18 + i, windowed(1, 6 + i) + windowed(2, i));
  for (int i = 0; i < 6; ++i) emit(24 + i, windowed(2, 6 + i));
  for (int i = 0; i < 6; ++i) emit(30 + i, L::splat(0));
}

// The forward transforms, of 36 windowed-to-be values z(i): the transposes, scaled so that inverse after
// forward, overlapped, gives the input back.
template <class L, class Input>
inline void forwardLong(Input&& z, const float* window, typename L::V (&lines)[18]) {
  using V = typename L::V;
  const auto windowed = [&](int i) { return z(i) * L::splat(window[i] * (1.0f / 9)); };
  V folded[18];
  for (int n = 0; n < 9; ++n) {
    folded[n] = -windowed(26 - n) - windowed(27 + n);
    folded[9 + n] = windowed(n) - windowed(17 - n);
  }
  cosineFour18<L>(folded, lines);
}

template <class L, class Input>
inline void forwardShort(Input&& z, const float* window, typename L::V (&lines)[18]) {
  using V = typename L::V;
  for (int w = 0; w < 3; ++w) {
    const auto windowed = [&](int i) { return z(6 + 6 * w + i) * L::splat(window[i] * (1.0f / 3)); };
    V folded[6], x[6];
    for (int n = 0; n < 3; ++n) {
      folded[n] = -windowed(8 - n) - windowed(9 + n);
      folded[3 + n] = windowed(n) - windowed(5 - n);
    }
    cosineFour6<L>(folded, x);
    for (int k = 0; k < 6; ++k) lines[3 * k + w] = x[k];
  }
}

// Butterflies between lines 17-i of a sub-band and i of the next, i = 0..7; `boundary` is the latter's first
// line. The decoder's direction; the encoder's is its transpose.
inline void aliasButterflies(float* boundary, bool transposed) {
  const f32x8 cs = load8(kAlias.cs), ca = load8(kAlias.ca);
  const f32x8 below = reverse8(load8(boundary - 8)), above = load8(boundary);
  if (transposed) {
    store8(boundary - 8, reverse8(below * cs + above * ca));
    store8(boundary, above * cs - below * ca);
  } else {
    store8(boundary - 8, reverse8(below * cs - above * ca));
    store8(boundary, above * cs + below * ca);
  }
}

// Lines of eight sub-bands (18 in a row each) to lanes: v[k] = line k of each.
inline void bandsToLanes(const float* lines, f32x8 (&v)[18]) {
  for (int k = 0; k < 16; k += 8) {
    f32x8 block[8];
    for (int band = 0; band < 8; ++band) block[band] = load8(lines + kBandLines * band + k);
    transpose8(block);
    for (int i = 0; i < 8; ++i) v[k + i] = block[i];
  }
  const auto last = [&](int band) {  // lines 16, 17 of two sub-bands
    const float* const p = lines + kBandLines * band + 16;
    return loadPairs4(p, p + kBandLines);
  };
  const f32x8 a = joined(last(0), last(4)), b = joined(last(2), last(6));
  v[16] = evenLanes(a, b);
  v[17] = oddLanes(a, b);
}

inline void lanesToBands(const f32x8 (&v)[18], float* lines) {
  for (int k = 0; k < 16; k += 8) {
    f32x8 block[8];
    for (int i = 0; i < 8; ++i) block[i] = v[k + i];
    transpose8(block);
    for (int band = 0; band < 8; ++band) store8(lines + kBandLines * band + k, block[band]);
  }
  for (int band = 0; band < 8; ++band)
    for (int k = 16; k < 18; ++k) lines[kBandLines * band + k] = v[k][band];
}

// The sign of every second sample of every second sub-band turns: frequency inversion.
inline f32x8 invertedBands(f32x8 v) {
  return xorBits(v, lanes8(0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f, 0.0f, -0.0f));
}

inline constexpr int kSubBands = 32;
inline constexpr int kMixedLongBands = 2;  // sub-bands that a mixed block codes with the normal window

// The lanes of the first eight sub-bands that a mixed block leaves long.
inline f32x8 longOfMixed(f32x8 normal, f32x8 others) { return blended<0x03>(others, normal); }

// One granule of one channel; see moxsMDCTInvWindow_MP3_32s. `lines` at and above nonZeroBound count as zero.
// xs and overlap are [time slot][sub-band]. Returns the number of sub-bands whose overlap may be non-zero.
inline int32_t inverseHybrid(const int32_t* lines, int32_t* xs, int32_t* overlap, int32_t nonZeroBound,
                             int32_t previousBands, int32_t blockType, bool mixed, const float* windows) {
  alignas(32) float x[kMp3Lines + 8];
  const bool isShort = blockType == 2;
  // Sub-bands that hold lines; butterflies move the top eight of one into the next.
  const int32_t reach = isShort && !mixed ? 0 : 8;
  const int32_t activeBands =
      nonZeroBound == 0 ? 0 : std::min(kSubBands, (nonZeroBound - 1 + reach) / kBandLines + 1);
  const int32_t activeGroups = (activeBands + 7) / 8;
  {
    int32_t i = 0;
    for (; i + 8 <= nonZeroBound; i += 8) store8(x + i, toFloat8(loadInt8(lines + i)));
    for (; i < nonZeroBound; ++i) x[i] = static_cast<float>(lines[i]);
    for (; i < activeGroups * 8 * kBandLines; ++i) x[i] = 0;
  }
  const int32_t butterflyBands = !isShort ? activeBands : mixed ? std::min(activeBands, kMixedLongBands) : 0;
  for (int32_t band = 1; band < butterflyBands; ++band) aliasButterflies(x + band * kBandLines, false);

  const float* const window = windows + 36 * blockType;
  for (int32_t group = 0; group < activeGroups; ++group) {
    int32_t* const dst = xs + 8 * group;
    int32_t* const tail = overlap + 8 * group;
    f32x8 v[18];
    bandsToLanes(x + group * 8 * kBandLines, v);
    const auto emit = [&](int i, f32x8 value) {
      if (i < 18) {
        const f32x8 sum = value + toFloat8(loadInt8(tail + kSubBands * i));
        storeInt8(dst + kSubBands * i, roundSaturated8(i % 2 == 0 ? sum : invertedBands(sum)));
      } else {
        storeInt8(tail + kSubBands * (i - 18), roundSaturated8(value));
      }
    };
    if (group == 0 && mixed) {
      f32x8 normal[36];
      inverseLong<Lanes8>(v, windows, [&](int i, f32x8 value) { normal[i] = value; });
      const auto emitMixed = [&](int i, f32x8 value) { emit(i, longOfMixed(normal[i], value)); };
      if (isShort)
        inverseShort<Lanes8>(v, window, emitMixed);
      else
        inverseLong<Lanes8>(v, window, emitMixed);
    } else if (isShort) {
      inverseShort<Lanes8>(v, window, emit);
    } else {
      inverseLong<Lanes8>(v, window, emit);
    }
  }

  // Sub-bands without lines: what the granule before left over, then nothing.
  const int32_t liveGroups = std::max(activeGroups, (previousBands + 7) / 8);
  for (int32_t group = activeGroups; group < 4; ++group)
    for (int32_t slot = 0; slot < kBandLines; ++slot) {
      int32_t* const tail = overlap + kSubBands * slot + 8 * group;
      i32x8 value = zeroInt8();
      if (group < liveGroups) {
        const f32x8 left = toFloat8(loadInt8(tail));
        storeInt8(tail, value);
        value = roundSaturated8(slot % 2 == 0 ? left : invertedBands(left));
      }
      storeInt8(xs + kSubBands * slot + 8 * group, value);
    }
  return activeBands;
}

// One granule of one channel the other way; see moxsMDCTFwd_MP3_32s. xs and previous are [time
// slot][sub-band]; previous holds the granule before and receives this one. `lines` ascend in frequency, in a
// short block the three windows line by line.
inline void forwardHybrid(const int32_t* xs, float* lines, int32_t* previous, int32_t blockType, bool mixed) {
  const bool isShort = blockType == 2;
  for (int group = 0; group < kSubBands / 8; ++group) {
    f32x8 z[36];
    for (int i = 0; i < 18; ++i) {
      int32_t* const before = previous + kSubBands * i + 8 * group;
      const i32x8 now = loadInt8(xs + kSubBands * i + 8 * group);
      z[i] = toFloat8(loadInt8(before));
      z[18 + i] = toFloat8(now);
      storeInt8(before, now);
    }
    for (int i = 1; i < 36; i += 2) z[i] = invertedBands(z[i]);

    f32x8 v[18];
    const auto input = [&](int i) { return z[i]; };
    if (isShort)
      forwardShort<Lanes8>(input, kHybridWindows.of[2], v);
    else
      forwardLong<Lanes8>(input, kHybridWindows.of[blockType], v);
    if (group == 0 && mixed) {
      f32x8 normal[18];
      forwardLong<Lanes8>(input, kHybridWindows.of[0], normal);
      for (int k = 0; k < 18; ++k) v[k] = longOfMixed(normal[k], v[k]);
    }
    lanesToBands(v, lines + group * 8 * kBandLines);
  }
  const int butterflyBands = !isShort ? kSubBands : mixed ? kMixedLongBands : 0;
  for (int band = 1; band < butterflyBands; ++band) aliasButterflies(lines + band * kBandLines, true);
}

}  // namespace moxac::mp3
