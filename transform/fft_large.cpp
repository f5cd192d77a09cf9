// Transforms of 2^19 to 2^28 points, which no longer fit the caches: N = N1*N2 points as a matrix of N1 rows.
//
// First the transform down every column (N1 points), each output times exp(-2*pi*i*column*row/N), and the
// columns become rows of a matrix of N2 rows; then the transform down the columns of that (N2 points), which
// leaves the result in natural order. Eight neighbouring columns, one cache line of each row, are copied
// together into the work buffer and transformed there in the eight lanes. Data cross the memory bus twice,
// or three times in place, where the transpose is a step of its own.
#include <cmath>
#include <cstring>
#include <utility>

#include "frame/align.h"
#include "transform/fft_kernels.h"
#include "transform/fft_small.h"

namespace moxac::transform {
namespace {

// The twiddle between the steps is one of these many times one of N1/kFine.
constexpr int64_t kFine = 32;

struct LargeShape {
  explicit LargeShape(int32_t order) : logRows(order / 2), logColumns(order - order / 2) {}
  int64_t rows() const { return int64_t{1} << logRows; }
  int64_t columns() const { return int64_t{1} << logColumns; }

  int logRows, logColumns;  // N1 <= N2 <= 2*N1
};

// Behind the header: bit reversal, twiddles of both sides, and those of all N points in two steps.
struct LargeLayout {
  explicit LargeLayout(int32_t order) {
    const LargeShape shape(order);
    const auto place = [this](int64_t bytes) {
      return std::exchange(bytes_, roundUp<int64_t>(bytes_ + bytes, 64));
    };
    bitReversal = place((shape.columns() / 4 + 1) * 4);
    columnTwiddles = place(columnTwiddleFloats(shape.logColumns) * 4);
    rowTwiddles = place(columnTwiddleFloats(shape.logRows) * 4);
    coarse = place(shape.columns() * 16);
    fine = place(shape.rows() * 16);
  }
  int64_t bytes() const { return bytes_; }

  int64_t bitReversal, columnTwiddles, rowTwiddles, coarse, fine;

 private:
  int64_t bytes_ = 0;
};

// In blocks: the columns in work, their transforms, and the twiddles of one group of columns.
struct LargeWork {
  explicit LargeWork(int32_t order) {
    const LargeShape shape(order);
    transformed = shape.columns();
    coarse = transformed + shape.rows();
    fine = coarse + shape.rows() / kFine;
    blocks = fine + kFine;
  }
  int64_t transformed, coarse, fine, blocks;
};

ColumnTables tablesOf(const FftSpec& spec, int logLength, const float* twiddles) {
  const int tableBits = LargeShape(spec.order).logColumns - 2;
  return {logLength, twiddles, spec.bitReversal, 1 + tableBits - (logLength - lastBits(logLength))};
}

// exp(-2*pi*i*k/N), k below N, in double.
std::pair<double, double> turn(const FftSpec& spec, int64_t k) {
  const int logRows = LargeShape(spec.order).logRows;
  const double* const a = spec.coarseTwiddles + 2 * (k >> logRows);
  const double* const b = spec.fineTwiddles + 2 * (k & ((int64_t{1} << logRows) - 1));
  return {a[0] * b[0] - a[1] * b[1], a[0] * b[1] + a[1] * b[0]};
}

// exp(-2*pi*i*(column + lane)*row/N) for the rows 0, step, 2*step, ...
void fillStepTwiddles(float* blocks, int64_t count, const FftSpec& spec, int64_t column, int64_t step) {
  const int64_t mask = (int64_t{1} << spec.order) - 1;
  for (int64_t i = 0; i < count; ++i, blocks += kBlockFloats)
    for (int lane = 0; lane < 8; ++lane) {
      const auto [re, im] = turn(spec, (column + kLaneOrder[lane]) * (i * step) & mask);
      blocks[lane] = static_cast<float>(re);
      blocks[lane + 8] = static_cast<float>(im);
    }
}

// Eight columns' transforms to eight rows.
void storeTransposed(const float* blocks, int64_t count, Mox32fc* dst, int64_t stride) {
  for (int64_t k = 0; k < count; k += 8, blocks += 8 * kBlockFloats) {
    f32x8 re[8], im[8];
    for (int i = 0; i < 8; ++i) re[i] = load8(blocks + kLaneOrder[i] * kBlockFloats);
    transpose8(re);
    for (int i = 0; i < 8; ++i) im[i] = load8(blocks + kLaneOrder[i] * kBlockFloats + 8);
    transpose8(im);
    for (int i = 0; i < 8; ++i) storeInterleaved(dst + kLaneOrder[i] * stride + k, {re[i], im[i]});
  }
}

// Square of side n, rows `stride` apart, in place.
void transposeSquare(Mox32fc* a, int64_t n, int64_t stride) {
  constexpr int64_t kTile = 8;
  for (int64_t i = 0; i < n; i += kTile)
    for (int64_t j = i; j < n; j += kTile)
      for (int64_t r = 0; r < kTile; ++r)
        for (int64_t c = i == j ? r + 1 : 0; c < kTile; ++c)
          std::swap(a[(i + r) * stride + j + c], a[(j + c) * stride + i + r]);
}

// From rows of [A | B], both square with side n, to all rows of A and then all of B. Chunk r of half h stands
// at 2r + h and belongs at h*n + r: the index turned by one bit, so each cycle is walked once, from the first
// of its members that no earlier cycle had. `work`: one chunk, and a byte per chunk.
void separateHalves(Mox32fc* a, int64_t n, float* work) {
  const size_t chunk = static_cast<size_t>(n) * sizeof(Mox32fc);
  auto* const moved = reinterpret_cast<uint8_t*>(work + 2 * n);
  std::memset(moved, 0, static_cast<size_t>(2 * n));
  for (int64_t start = 0; start < 2 * n; ++start) {
    if (moved[start] != 0) continue;
    std::memcpy(work, a + start * n, chunk);
    for (int64_t to = start;;) {
      moved[to] = 1;
      const int64_t from = to < n ? 2 * to : 2 * (to - n) + 1;
      if (from == start) {
        std::memcpy(a + to * n, work, chunk);
        break;
      }
      std::memcpy(a + to * n, a + from * n, chunk);
      to = from;
    }
  }
}

}  // namespace

int64_t largeTableBytes(int32_t order) { return LargeLayout(order).bytes(); }
int64_t largeWorkBytes(int32_t order) {
  return LargeWork(order).blocks * kBlockFloats * static_cast<int64_t>(sizeof(float));
}

void buildLargeTables(FftSpec& spec, float* scratch) {
  const LargeShape shape(spec.order);
  const LargeLayout layout(spec.order);
  uint8_t* const base = alignUp<uint8_t>(&spec + 1, 64);
  auto* const bitReversal = reinterpret_cast<int32_t*>(base + layout.bitReversal);
  auto* const columnTwiddles = reinterpret_cast<float*>(base + layout.columnTwiddles);
  auto* const rowTwiddles = reinterpret_cast<float*>(base + layout.rowTwiddles);
  auto* const coarse = reinterpret_cast<double*>(base + layout.coarse);
  auto* const fine = reinterpret_cast<double*>(base + layout.fine);

  fillBitReversal(bitReversal, shape.logColumns - 2);
  fillQuarterWave(scratch, shape.columns());
  const Twiddles twiddles(scratch, shape.columns());
  fillColumnTwiddles(columnTwiddles, twiddles, shape.logColumns);
  fillColumnTwiddles(rowTwiddles, twiddles, shape.logRows);
  const auto fill = [](double* table, int64_t count, double part) {
    for (int64_t k = 0; k < count; ++k) {
      const double angle = -2 * std::numbers::pi * (static_cast<double>(k) * part);
      table[2 * k] = std::cos(angle);
      table[2 * k + 1] = std::sin(angle);
    }
  };
  fill(coarse, shape.columns(), std::ldexp(1.0, -shape.logColumns));
  fill(fine, shape.rows(), std::ldexp(1.0, -spec.order));
  spec.bitReversal = bitReversal;
  spec.twiddles = columnTwiddles;
  spec.shortTwiddles = rowTwiddles;
  spec.coarseTwiddles = coarse;
  spec.fineTwiddles = fine;
}

template <bool kInverse>
void transformLarge(const Mox32fc* src, Mox32fc* dst, const FftSpec& spec, float* work) {
  const LargeShape shape(spec.order);
  const LargeWork layout(spec.order);
  const int64_t rows = shape.rows(), columns = shape.columns();
  float* const transformed = work + layout.transformed * kBlockFloats;
  float* const coarse = work + layout.coarse * kBlockFloats;
  float* const fine = work + layout.fine * kBlockFloats;

  const Source<kInverse> from = {src};
  const ColumnTables rowTables = tablesOf(spec, shape.logRows, spec.shortTwiddles);
  for (int64_t column = 0; column < columns; column += 8) {
    for (int64_t r = 0; r < rows; ++r) storeBlock(work + r * kBlockFloats, from.load8(r * columns + column));
    fillStepTwiddles(coarse, rows / kFine, spec, column, kFine);
    fillStepTwiddles(fine, kFine, spec, column, 1);
    transformColumn(work, rowTables.logLength, rowTables.twiddles, 0, rowTables,
                    [&](int64_t k, Complex8 block) MOX_ALWAYS {
                      const Complex8 twiddle = loadBlock(coarse + k / kFine * kBlockFloats) *
                                               loadBlock(fine + k % kFine * kBlockFloats);
                      storeBlock(transformed + k * kBlockFloats, block * twiddle);
                    });
    if (src != dst)
      storeTransposed(transformed, rows, dst + column * rows, rows);
    else
      for (int64_t r = 0; r < rows; ++r)
        storeInterleaved(dst + r * columns + column, loadBlock(transformed + r * kBlockFloats));
  }
  if (src == dst) {
    transposeSquare(dst, rows, columns);
    if (columns != rows) {
      transposeSquare(dst + rows, rows, columns);
      separateHalves(dst, rows, work);
    }
  }

  const Destination<kInverse> to = {dst};
  const ColumnTables columnTables = tablesOf(spec, shape.logColumns, spec.twiddles);
  for (int64_t column = 0; column < rows; column += 8) {
    for (int64_t r = 0; r < columns; ++r)
      storeBlock(work + r * kBlockFloats, loadInterleaved(dst + r * rows + column));
    transformColumn(work, columnTables.logLength, columnTables.twiddles, 0, columnTables,
                    [&](int64_t k, Complex8 block) MOX_ALWAYS { to.store8(k * rows + column, block); });
  }
}

template void transformLarge<false>(const Mox32fc*, Mox32fc*, const FftSpec&, float*);
template void transformLarge<true>(const Mox32fc*, Mox32fc*, const FftSpec&, float*);

}  // namespace moxac::transform
