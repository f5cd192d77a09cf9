// Straight-line transforms of 1 to 64 points. Source and Destination give and take complex values: eight at a
// time as a block in lane order (load8, store8; storeNatural8 takes natural order), four at a time, or one.
// All of the input is read before any output is written.
#pragma once

#include <array>
#include <cstdint>

#include "transform/fft_butterflies.h"

namespace moxac::transform {

// The array of a transform; the inverse is the forward one with the two parts exchanged on both sides.
template <bool kInverse>
struct Source {
  const Mox32fc* p;
  Complex1 load1(int64_t i) const { return order(Complex1{p[i].re, p[i].im}); }
  MOX_INLINE Complex4 load4(int64_t i) const {
    const float* const f = &p[i].re;
    const f32x4 low = moxac::load4(f), high = moxac::load4(f + 4);
    return order(Complex4{evenLanes(low, high), oddLanes(low, high)});
  }
  MOX_INLINE Complex8 load8(int64_t i) const { return order(loadInterleaved(p + i)); }

 private:
  template <class L>
  MOX_INLINE static Complex<L> order(Complex<L> z) {
    return kInverse ? Complex<L>{z.im, z.re} : z;
  }
};

template <bool kInverse>
struct Destination {
  Mox32fc* p;
  void store1(int64_t i, Complex1 z) const {
    z = order(z);
    p[i] = {z.re, z.im};
  }
  MOX_INLINE void store4(int64_t i, Complex4 z) const {
    z = order(z);
    float* const f = &p[i].re;
    moxac::store4(f, zipLow(z.re, z.im));
    moxac::store4(f + 4, zipHigh(z.re, z.im));
  }
  MOX_INLINE void store8(int64_t i, Complex8 z) const { storeInterleaved(p + i, order(z)); }
  MOX_INLINE void storeNatural8(int64_t i, Complex8 z) const { storeNatural(p + i, order(z)); }

 private:
  template <class L>
  MOX_INLINE static Complex<L> order(Complex<L> z) {
    return kInverse ? Complex<L>{z.im, z.re} : z;
  }
};

// Factors exp(-2*pi*i*column*row/points) of rows 1 and up, kLanes columns side by side in lane order.
template <int kPoints, int kRows, int kLanes>
constexpr auto staticRowTwiddles() {
  std::array<float, size_t{kRows - 1}* 2 * kLanes> table = {};
  const Twiddles twiddles(kStaticQuarter.data(), 1 << kStaticQuarterOrder);
  size_t at = 0;
  for (int row = 1; row < kRows; ++row, at += kLanes)
    for (int lane = 0; lane < kLanes; ++lane, ++at) {
      const Mox32fc w = twiddles((kLanes == 8 ? kLaneOrder[lane] : lane) * row, kPoints);
      table[at] = w.re;
      table[at + kLanes] = w.im;
    }
  return table;
}
inline constexpr auto kFftTwiddles8 = staticRowTwiddles<8, 2, 4>();
inline constexpr auto kFftTwiddles16 = staticRowTwiddles<16, 4, 4>();
inline constexpr auto kFftTwiddles32 = staticRowTwiddles<32, 4, 8>();

// Of the two twiddled steps of 64 points, for rows 1..3: real parts, imaginary parts.
struct Twiddles64 {
  alignas(32) float first[2][3][16], second[2][3][16];
};
inline constexpr Twiddles64 kFftTwiddles64 = [] {
  Twiddles64 tables = {};
  const Twiddles twiddles(kStaticQuarter.data(), 1 << kStaticQuarterOrder);
  for (int part = 0; part < 2; ++part)
    for (int row = 1; row < 4; ++row)
      for (int lane = 0; lane < 8; ++lane) {
        const Mox32fc w = twiddles((8 * part + kLaneOrder[lane]) * row, 64);
        tables.first[part][row - 1][lane] = w.re;
        tables.first[part][row - 1][lane + 8] = w.im;
        const Mox32fc v = twiddles((part + lane / 4 * 2) * row, 16);
        tables.second[part][row - 1][lane] = v.re;
        tables.second[part][row - 1][lane + 8] = v.im;
      }
  return tables;
}();

template <class L>
MOX_INLINE Complex<L> loadTwiddle(const float* w) {
  return {L::load(w), L::load(w + L::kCount)};
}

template <class Src, class Dst>
MOX_INLINE void transform2(Src src, Dst dst) {
  Complex1 a[2] = {src.load1(0), src.load1(1)};
  dft2(a);
  dst.store1(0, a[0]);
  dst.store1(1, a[1]);
}

template <class Src, class Dst>
MOX_INLINE void transform4(Src src, Dst dst) {
  Complex1 a[4] = {src.load1(0), src.load1(1), src.load1(2), src.load1(3)};
  dft4(a);
  for (int k = 0; k < 4; ++k) dst.store1(k, a[k]);
}

// Two rows of four; then the sums in one half of a register and the twiddled differences in the other go
// through four points along the lanes.
template <class Src, class Dst>
MOX_INLINE void transform8(Src src, Dst dst) {
  const Complex4 row0 = src.load4(0), row1 = src.load4(4);
  const Complex4 sum = row0 + row1;
  const Complex4 difference = (row0 - row1) * loadTwiddle<Lanes4>(kFftTwiddles8.data());
  const f32x8 re = joined(sum.re, difference.re);
  const f32x8 im = joined(sum.im, difference.im);

  const f32x8 upperPair = lanes8(0, 0, -0.0f, -0.0f, 0, 0, -0.0f, -0.0f);
  const f32x8 everySecond = lanes8(0, -0.0f, 0, -0.0f, 0, -0.0f, 0, -0.0f);
  // (v0+v2, v1+v3, v0-v2, v1-v3), the last turned by -i.
  const f32x8 re2 = swapPairs(re) + xorBits(re, upperPair);
  const f32x8 im2 = swapPairs(im) + xorBits(im, upperPair);
  const f32x8 re3 = blended<0x88>(re2, im2);
  const f32x8 im3 = blended<0x88>(im2, -re2);
  // Outputs 0, 2, 1, 3 of either half: 0 4 2 6 and 1 5 3 7 of the whole.
  const f32x8 re4 = swapNeighbours(re3) + xorBits(re3, everySecond);
  const f32x8 im4 = swapNeighbours(im3) + xorBits(im3, everySecond);
  const auto zip = [](f32x8 v) {  // outputs 0..3 and 4..7
    const f32x4 even = lowHalf(v), odd = highHalf(v);
    const f32x4 low = zipLow(even, odd), high = zipHigh(even, odd);
    return Complex4{firstPairs(low, high), lastPairs(low, high)};
  };
  const Complex4 outRe = zip(re4), outIm = zip(im4);
  dst.store4(0, {outRe.re, outIm.re});
  dst.store4(4, {outRe.im, outIm.im});
}

// Four rows of four columns, transposed in between.
template <class Src, class Dst>
MOX_INLINE void transform16(Src src, Dst dst) {
  Complex4 a[4];
  for (int row = 0; row < 4; ++row) a[row] = src.load4(4 * row);
  dft4(a);
  for (int row = 1; row < 4; ++row)
    a[row] = a[row] * loadTwiddle<Lanes4>(kFftTwiddles16.data() + 8 * (row - 1));
  transpose4(a[0].re, a[1].re, a[2].re, a[3].re);
  transpose4(a[0].im, a[1].im, a[2].im, a[3].im);
  dft4(a);
  for (int k = 0; k < 4; ++k) dst.store4(4 * k, a[k]);
}

// Four rows of eight columns. After the transpose register i holds four outputs of column i of lane order
// in its lower half, and of the column four lanes on in its upper: 0|2, 1|3, 4|6, 5|7.
template <class Src, class Dst>
MOX_INLINE void transform32(Src src, Dst dst) {
  Complex8 a[4];
  for (int row = 0; row < 4; ++row) a[row] = src.load8(8 * row);
  dft4(a);
  for (int row = 1; row < 4; ++row)
    a[row] = a[row] * loadTwiddle<Lanes8>(kFftTwiddles32.data() + kBlockFloats * (row - 1));
  transposeHalves(a[0], a[1], a[2], a[3]);

  // Eight points down the columns: sums and differences four columns apart, the differences turned.
  constexpr float h = std::numbers::sqrt2_v<float> / 2;
  const Complex8 turn02 = {lanes8(1, 1, 1, 1, 0, 0, 0, 0), lanes8(0, 0, 0, 0, -1, -1, -1, -1)};
  const Complex8 turn13 = {lanes8(h, h, h, h, -h, -h, -h, -h), splat8(-h)};
  const Complex8 sum02 = a[0] + a[2], sum13 = a[1] + a[3];
  const Complex8 difference02 = (a[0] - a[2]) * turn02, difference13 = (a[1] - a[3]) * turn13;
  Complex8 b[4] = {lowerHalves(sum02, difference02), lowerHalves(sum13, difference13),
                   upperHalves(sum02, difference02), upperHalves(sum13, difference13)};
  dft4(b);
  // Output k of the lower half is X[8k..8k+3], of the upper X[8k+4..8k+7].
  for (int k = 0; k < 4; ++k) dst.storeNatural8(8 * k, b[k]);
}

// Four rows of sixteen columns, then four rows of four columns, then four points. The transposes are spread
// over the first two steps, so that no step needs more registers than there are.
template <class Src, class Dst>
MOX_INLINE void transform64(Src src, Dst dst) {
  // Register i of a half has the first four outputs of columns 0|2, 1|3, 4|6, 5|7 of that half.
  alignas(32) float first[8 * kBlockFloats];
  for (int half = 0; half < 2; ++half) {
    Complex8 a[4];
    for (int row = 0; row < 4; ++row) a[row] = src.load8(16 * row + 8 * half);
    dft4(a);
    for (int row = 1; row < 4; ++row)
      a[row] = a[row] * loadTwiddle<Lanes8>(kFftTwiddles64.first[half][row - 1]);
    transposeHalves(a[0], a[1], a[2], a[3]);
    for (int i = 0; i < 4; ++i) storeBlock(first + (4 * half + i) * kBlockFloats, a[i]);
  }
  // Columns 0|2 and 1|3 with those 4, 8 and 12 further on; outputs 0..7 and 8..15 of each column.
  alignas(32) float second[2][4 * kBlockFloats];
  for (int i = 0; i < 2; ++i) {
    Complex8 a[4];
    for (int j = 0; j < 4; ++j) a[j] = loadBlock(first + (2 * j + i) * kBlockFloats);
    dft4(a);
    for (int row = 1; row < 4; ++row)
      a[row] = a[row] * loadTwiddle<Lanes8>(kFftTwiddles64.second[i][row - 1]);
    storeBlock(second[0] + i * kBlockFloats, lowerHalves(a[0], a[1]));
    storeBlock(second[1] + i * kBlockFloats, lowerHalves(a[2], a[3]));
    storeBlock(second[0] + (i + 2) * kBlockFloats, upperHalves(a[0], a[1]));
    storeBlock(second[1] + (i + 2) * kBlockFloats, upperHalves(a[2], a[3]));
  }
  for (int group = 0; group < 2; ++group) {
    Complex8 a[4];
    for (int column = 0; column < 4; ++column) a[column] = loadBlock(second[group] + column * kBlockFloats);
    dft4(a);
    for (int k = 0; k < 4; ++k) dst.storeNatural8(16 * k + 8 * group, a[k]);
  }
}

}  // namespace moxac::transform
