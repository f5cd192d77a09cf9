// The arithmetic of the FFT engine, from straight-line transforms to those larger than the caches.
//
// A transform of N = 16*M points (order 7 to 18) reads its input as sixteen rows of M columns. The first pass
// takes sixteen points down every column in two steps of four, twiddles them, and transposes on the way: what
// is left are sixteen independent transforms of M points, one in every lane of twice M blocks. Passes over
// the blocks split them in place, without a shuffle and with the same twiddle for all lanes, until
// butterflies of four or eight blocks remain; the last pass does those, reading blocks in order and writing
// them where the bit-reversed index says, which is natural order.
#pragma once

#include "transform/fft.h"
#include "transform/fft_butterflies.h"

namespace moxac {

// The tables of a transform of M points down a column of blocks.
struct ColumnTables {
  int logLength;  // log2(M), 2 and up
  const float* twiddles;
  const int32_t* bitReversal;  // entry i >> reversalShift is i reversed in logLength - lastBits bits
  int reversalShift;
};

// Fills the tables behind the header of a context of order 7 and up. `scratch` has room for the quarter
// wave of the order, where the static one does not do.
void buildTables(FftSpec& spec, float* scratch);

// Bytes behind the header that the tables of an order above 18 take, and of its work buffer.
int64_t largeTableBytes(int32_t order);
int64_t largeWorkBytes(int32_t order);

void fftForward(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);
void fftInverse(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);

// The pieces, for owners that fold their own arithmetic into the first and last pass.

inline const float* rowTwiddles(const FftSpec& spec) { return spec.twiddles; }
inline ColumnTables columnTables(const FftSpec& spec) {
  const int logLength = spec.order - 4;
  return {logLength, spec.twiddles + (kRowTwiddleFloats << (logLength - 3)), spec.bitReversal,
          3 + lastBits(logLength)};
}

// load(i): points i..i+7 as a block in lane order. Leaves the transforms of outputs 0..7 and of
// outputs 8..15, `columns` blocks each.
template <class Load>
MOX_INLINE void firstPass(int64_t columns, const float* twiddles, float* blocks, Load&& load) {
  alignas(32) float scratch[16 * kBlockFloats];
  for (int64_t column = 0; column < columns; column += 8) {
    for (int j = 0; j < 4; ++j, twiddles += kFirstTwiddleFloats)
      firstButterfly(twiddles, scratch + j * 4 * kBlockFloats,
                     [&](int row) MOX_ALWAYS { return load((4 * row + j) * columns + column); });
    for (int i = 0; i < 4; ++i, twiddles += kSecondTwiddleFloats)
      secondButterfly(
          twiddles, scratch + i * kBlockFloats, 4, [&](int upper, int group, Complex8 block) MOX_ALWAYS {
            storeBlock(blocks + (group * columns + column + kLaneOrder[i] + 2 * upper) * kBlockFloats, block);
          });
  }
}

// One pass over `length` blocks, in place: butterflies of blocks length/R apart, outputs twiddled and left in
// bit-reversed order.
template <int kBits>
inline void columnPass(float* blocks, int64_t length, const float* twiddles) {
  constexpr int kRadix = 1 << kBits;
  constexpr int kReversed[8] = {0, kRadix / 2, kRadix / 4, kRadix * 3 / 4, 1, 5, 3, 7};
  const int64_t apart = (length >> kBits) * kBlockFloats;
  for (float* p = blocks; p < blocks + apart; p += kBlockFloats, twiddles += 2 * (kRadix - 1)) {
    Complex8 a[kRadix];
    for (int row = 0; row < kRadix; ++row) a[row] = loadBlock(p + row * apart);
    dft(a);
    storeBlock(p, a[0]);
    for (int row = 1; row < kRadix; ++row)
      storeBlock(p + row * apart, a[kReversed[row]] * splatPair<Lanes8>(twiddles + 2 * (row - 1)));
  }
}

// All passes but the last, over 2^logLength blocks.
void columnPasses(float* blocks, int logLength, const float* twiddles);

// Butterflies first..first+count-1 of the last pass; store(k, block) takes output k of the column.
template <int kBits, class Store>
MOX_INLINE void lastPass(const float* blocks, int64_t first, int64_t count, const ColumnTables& tables,
                         Store&& store) {
  constexpr int kRadix = 1 << kBits;
  const int64_t apart = int64_t{1} << (tables.logLength - kBits);
  for (int64_t i = 0; i < count; ++i) {
    Complex8 a[kRadix];
    for (int j = 0; j < kRadix; ++j) a[j] = loadBlock(blocks + (i * kRadix + j) * kBlockFloats);
    dft(a);
    const int64_t k = tables.bitReversal[first + i] >> tables.reversalShift;
    for (int j = 0; j < kRadix; ++j) store(k + j * apart, a[j]);
  }
}

}  // namespace moxac
