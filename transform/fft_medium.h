// Transforms of 128 to 2048 points (order 7 to 11).
//
// A pass reads 2^n points as four or eight rows, takes four or eight points down every column, eight columns
// in the lanes, twiddles them, and leaves output k in the row whose number is k with its bits reversed. Every
// row is then a transform of its own for the next pass, until a row is one block of eight points. The last
// pass takes the blocks of eight neighbouring outputs, transposes them, and has eight points down the columns
// left to do; what it stores lies together. The shuffles stand there because additions limit the other passes,
// and this one is spared those of the twiddles.
#pragma once

#include "transform/fft.h"
#include "transform/fft_butterflies.h"

namespace moxac::transform {

// One pass over 2^kLog points to `blocks`; load(i, upper) gives points i..i+7, which lie in the lower or in
// the upper half, as a block in lane order.
template <int kLog, class Load>
MOX_INLINE void rowPass(float* blocks, const float* twiddles, Load&& load) {
  constexpr int kBits = passBits(kLog), kRows = 1 << kBits;
  constexpr int64_t kColumns = int64_t{1} << (kLog - kBits);
  for (int64_t i = 0; i < kColumns; i += 8, twiddles += (kRows - 1) * kBlockFloats)
    dftBlocks<kBits>([&](int row) MOX_ALWAYS { return load(i + row * kColumns, row >= kRows / 2); },
                     [&](int k, Complex8 block) MOX_ALWAYS {
                       if (k > 0) block = block * loadBlock(twiddles + (k - 1) * kBlockFloats);
                       storeBlock(blocks + 2 * (i + reversed(k, kBits) * kColumns), block);
                     });
}

// The passes between the first and the last, over `parts` neighbouring rows of 2^kLog points, in place.
template <int kLog>
MOX_INLINE void middlePasses(float* blocks, int64_t parts, const float* twiddles) {
  if constexpr (kLog > 3) {
    constexpr int kBits = passBits(kLog);
    for (int64_t part = 0; part < parts; ++part) {
      float* const row = blocks + (part << kLog) * 2;
      rowPass<kLog>(row, twiddles, [&](int64_t i, bool) MOX_ALWAYS { return loadBlock(row + 2 * i); });
    }
    middlePasses<kLog - kBits>(blocks, parts << kBits,
                               twiddles + passTwiddleFloats(int64_t{1} << kLog, kBits));
  }
}

// Half of a block from each of two: the first four places of both, or the last four.
template <bool kLast>
MOX_INLINE f32x8 joinedHalves(const float* low, const float* high) {
  return kLast ? blended<0xF0>(repeat4(low + 4), load8(high)) : blended<0x0F>(repeat4(high), load8(low));
}

// Four columns of eight rows, which stand `apart` floats from each other in bit-reversed order: those in the
// first four lanes, or in the last.
template <bool kLast>
MOX_INLINE void loadColumns(const float* rows, int64_t apart, f32x8& a, f32x8& b, f32x8& c, f32x8& d) {
  const auto pair = [&](int lane) MOX_ALWAYS {
    return joinedHalves<kLast>(rows + reversed(kLaneOrder[lane], 3) * apart,
                               rows + reversed(kLaneOrder[lane + 4], 3) * apart);
  };
  a = pair(0);
  b = pair(1);
  c = pair(2);
  d = pair(3);
  transposeHalves(a, b, c, d);
}
template <bool kLast>
MOX_INLINE void loadColumns(const float* rows, int64_t apart, Complex8 (&a)[4]) {
  loadColumns<kLast>(rows, apart, a[0].re, a[1].re, a[2].re, a[3].re);
  loadColumns<kLast>(rows + 8, apart, a[0].im, a[1].im, a[2].im, a[3].im);
}

// store(k, block) takes points 8*k..8*k+7 of the result in lane order.
template <int kOrder, class Store>
MOX_INLINE void transposingPass(const float* blocks, const int32_t* bitReversal, Store&& store) {
  constexpr int64_t kCount = int64_t{1} << (kOrder - 6), kApart = kCount * kBlockFloats;
  for (int64_t i = 0; i < kCount; ++i, blocks += kBlockFloats) {
    const int64_t k = bitReversal[i] >> 5;  // i reversed in kOrder - 6 bits
    dft8<Lanes8>(
        [&](int n, Complex8(&a)[4]) MOX_ALWAYS {
          n == 0 ? loadColumns<false>(blocks, kApart, a) : loadColumns<true>(blocks, kApart, a);
        },
        [&](int j, Complex8 block) MOX_ALWAYS { store(k + j * kCount, block); });
  }
}

// `work` holds the points between the passes.
template <int kOrder, class Load, class Store>
void transformMedium(const FftSpec& spec, float* work, Load load, Store store) {
  constexpr int kBits = passBits(kOrder);
  rowPass<kOrder>(work, spec.twiddles, load);
  middlePasses<kOrder - kBits>(work, 1 << kBits,
                               spec.twiddles + passTwiddleFloats(int64_t{1} << kOrder, kBits));
  transposingPass<kOrder>(work, spec.bitReversal, store);
}
template <class Load, class Store>
MOX_INLINE void transformMedium(const FftSpec& spec, float* work, const Load& load, const Store& store) {
  switch (spec.order) {
    case 7:
      return transformMedium<7>(spec, work, load, store);
    case 8:
      return transformMedium<8>(spec, work, load, store);
    case 9:
      return transformMedium<9>(spec, work, load, store);
    case 10:
      return transformMedium<10>(spec, work, load, store);
    default:
      return transformMedium<11>(spec, work, load, store);
  }
}

}  // namespace moxac::transform
