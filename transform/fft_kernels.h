// The arithmetic of the FFT engine, from straight-line transforms to those larger than the caches.
//
// A transform of N = 8*M points (order 12 to 18) reads its input as eight rows of M columns. The first pass
// takes eight points down every column, twiddles them, and transposes: what is left are eight independent
// transforms of M points, one in every lane of M blocks. Passes over the blocks split them in place, without
// a shuffle and with the same twiddle for all lanes, until butterflies of four or eight blocks remain; the
// last pass does those, reading blocks in order and writing them where the bit-reversed index says, which is
// natural order. Part by part they stay in the first-level cache.
//
// Orders 7 to 11 transpose in the last pass, which has the fewest products (fft_medium.h).
#pragma once

#include "transform/fft.h"
#include "transform/fft_butterflies.h"
#include "transform/fft_medium.h"

namespace moxac::transform {

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

// The same for orders 19 to 28 (fft_large.cpp), the bytes of those tables, and of the work buffer.
void buildLargeTables(FftSpec& spec, float* scratch);
int64_t largeTableBytes(int32_t order);
int64_t largeWorkBytes(int32_t order);
template <bool kInverse>
void transformLarge(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);

void fftForward(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);
void fftInverse(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work);

// The pieces, for owners that fold their own arithmetic into the first and last pass.

inline ColumnTables columnTables(const FftSpec& spec) {
  const int logLength = spec.order - 3;
  return {logLength, spec.twiddles + passTwiddleFloats(int64_t{1} << spec.order, 3), spec.bitReversal,
          2 + lastBits(logLength)};
}

// load(i, upper): points i..i+7, which lie in the lower or in the upper half of all points, as a block in
// lane order.
template <class Load>
MOX_INLINE void firstPass(int64_t columns, const float* twiddles, float* blocks, Load&& load) {
  for (int64_t column = 0; column < columns; column += 8, twiddles += 7 * kBlockFloats)
    transposingDft8(
        twiddles, [&](int row) MOX_ALWAYS { return load(row * columns + column, row >= 4); },
        [&](int i, Complex8 block) MOX_ALWAYS { storeBlock(blocks + (column + i) * kBlockFloats, block); });
}

// One pass over `parts` neighbouring columns of `length` blocks, in place: butterflies of blocks length/4
// apart, outputs twiddled and left in bit-reversed order.
MOX_INLINE void columnPass(float* blocks, int64_t parts, int64_t length, const float* twiddles) {
  const int64_t apart = length / 4 * kBlockFloats;
  for (; parts > 0; --parts, blocks += 4 * apart) {
    const float* w = twiddles;
    for (float* p = blocks; p < blocks + apart; p += kBlockFloats, w += 6) {
      Complex8 a[4];
      for (int row = 0; row < 4; ++row) a[row] = loadBlock(p + row * apart);
      dft4(a);
      storeBlock(p, a[0]);
      storeBlock(p + apart, a[2] * splatPair<Lanes8>(w));
      storeBlock(p + 2 * apart, a[1] * splatPair<Lanes8>(w + 2));
      storeBlock(p + 3 * apart, a[3] * splatPair<Lanes8>(w + 4));
    }
  }
}

// Butterflies first..first+count-1 of the last pass; store(k, block) takes output k of the column.
template <int kBits, class Store>
MOX_INLINE void lastPass(const float* blocks, int64_t first, int64_t count, const ColumnTables& tables,
                         Store&& store) {
  const int64_t apart = int64_t{1} << (tables.logLength - kBits);
  for (int64_t i = 0; i < count; ++i, blocks += kBlockFloats << kBits) {
    const int64_t k = tables.bitReversal[first + i] >> tables.reversalShift;
    dftBlocks<kBits>([&](int n) MOX_ALWAYS { return loadBlock(blocks + n * kBlockFloats); },
                     [&](int j, Complex8 block) MOX_ALWAYS { store(k + j * apart, block); });
  }
}

// All passes over a column of a length known to the compiler, short enough for the first-level cache.
template <int kLogLength, class Store>
MOX_INLINE void shortColumn(float* blocks, const float* twiddles, int64_t first, const ColumnTables& tables,
                            const Store& store) {
  int64_t parts = 1;
  for (int log = kLogLength; log > 3; log -= 2, parts *= 4) {
    columnPass(blocks, parts, int64_t{1} << log, twiddles);
    twiddles += columnPassFloats(log);
  }
  lastPass<lastBits(kLogLength)>(blocks, first, int64_t{1} << (kLogLength - lastBits(kLogLength)), tables,
                                 store);
}

// The transform down a column of 512 blocks or more, in parts of 128 or 256, so that a part's last pass finds
// it in the cache.
template <class Store>
void transformColumn(float* blocks, int logLength, const float* twiddles, int64_t first,
                     const ColumnTables& tables, const Store& store) {
  if (logLength == 7) return shortColumn<7>(blocks, twiddles, first, tables, store);
  if (logLength == 8) return shortColumn<8>(blocks, twiddles, first, tables, store);
  columnPass(blocks, 1, int64_t{1} << logLength, twiddles);
  const int rest = logLength - 2;
  for (int64_t part = 0; part < 4; ++part)
    transformColumn(blocks + (part << rest) * kBlockFloats, rest, twiddles + columnPassFloats(logLength),
                    first + (part << (rest - lastBits(rest))), tables, store);
}

// Order 7 to 18: load(i, upper) as above, store(k, block) takes points 8*k..8*k+7 of the result.
template <class Load, class Store>
MOX_INLINE void transformPoints(const FftSpec& spec, float* work, const Load& load, const Store& store) {
  if (spec.order <= kFftLastMediumOrder) return transformMedium(spec, work, load, store);
  const ColumnTables tables = columnTables(spec);
  firstPass(int64_t{1} << tables.logLength, spec.twiddles, work, load);
  transformColumn(work, tables.logLength, tables.twiddles, 0, tables, store);
}

}  // namespace moxac::transform
