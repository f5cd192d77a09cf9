// Twiddle factors: where they come from and how the passes want them laid out.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <numbers>

#include "moxac/types.h"

namespace moxac::transform {

// sin and cos of 2*pi*k/n for 0 <= k/n <= 1/8 by their series, for tables built at compile time. The terms
// are exact to double precision long before the last one.
constexpr double sineSeries(double x) {
  double term = x, sum = x;
  for (int i = 1; i < 12; ++i) sum += term *= -x * x / ((2 * i) * (2 * i + 1));
  return sum;
}
constexpr double cosineSeries(double x) {
  double term = 1, sum = 1;
  for (int i = 1; i < 12; ++i) sum += term *= -x * x / ((2 * i - 1) * (2 * i));
  return sum;
}

// The quarter wave sin(2*pi*k/n), k = 0..n/4, rounded once to float: every twiddle of a transform of n points
// is one of these, perhaps negated.
template <int kPoints>
constexpr std::array<float, kPoints / 4 + 1> staticQuarterWave() {
  std::array<float, kPoints / 4 + 1> wave = {};
  for (int k = 0; k <= kPoints / 8; ++k) {
    const double angle = 2 * std::numbers::pi * k / kPoints;
    wave[static_cast<size_t>(k)] = static_cast<float>(sineSeries(angle));
    wave[static_cast<size_t>(kPoints / 4 - k)] = static_cast<float>(cosineSeries(angle));
  }
  return wave;
}

// Up to this order the twiddles come from the quarter wave built at compile time.
inline constexpr int32_t kStaticQuarterOrder = 10;
inline constexpr auto kStaticQuarter = staticQuarterWave<1 << kStaticQuarterOrder>();

void fillQuarterWave(float* wave, int64_t points);

// exp(-2*pi*i*k/n) for any k, from the quarter wave of a transform of `points` = n * stride points.
class Twiddles {
 public:
  constexpr Twiddles(const float* wave, int64_t points) : wave_(wave), points_(points) {}

  constexpr Mox32fc operator()(int64_t k, int64_t n) const {
    const int64_t quarter = points_ / 4;
    const int64_t at = k * (points_ / n) & (points_ - 1);
    const int64_t in = at & (quarter - 1);
    const float c = wave_[quarter - in], s = wave_[in];
    switch (at / quarter) {
      case 0:
        return {c, -s};
      case 1:
        return {-s, -c};
      case 2:
        return {-c, s};
      default:
        return {s, c};
    }
  }

 private:
  const float* wave_;
  int64_t points_;
};

// Complex values of a transform stand in blocks between the passes: the real parts of eight, then their
// imaginary parts. Within a block they are in this order, which two shuffles that cross no lane turn into
// interleaved complex numbers, and back.
inline constexpr int kLaneOrder[8] = {0, 1, 4, 5, 2, 3, 6, 7};
inline constexpr int64_t kBlockFloats = 16;

// A pass over `points` points in 2^bits rows takes, for every eight columns, the factors
// exp(-2*pi*i*column*output/points) of the outputs 1 and up.
constexpr int64_t passTwiddleFloats(int64_t points, int bits) { return 2 * (points - (points >> bits)); }
constexpr float* fillPassTwiddles(float* table, const Twiddles& twiddles, int64_t points, int bits) {
  for (int64_t column = 0; column < points >> bits; column += 8)
    for (int64_t output = 1; output < 1 << bits; ++output, table += kBlockFloats)
      for (int lane = 0; lane < 8; ++lane) {
        const Mox32fc w = twiddles((column + kLaneOrder[lane]) * output, points);
        table[lane] = w.re;
        table[lane + 8] = w.im;
      }
  return table;
}

// Orders 7 to 11: the passes over 2^logPoints points split them in four or eight rows until eight points are
// left, as few passes as can be.
inline constexpr int32_t kFftLastMediumOrder = 11;
constexpr int passBits(int logPoints) { return logPoints % 3 == 0 ? 3 : 2; }
constexpr float* fillRowTwiddles(float* table, const Twiddles& twiddles, int32_t order) {
  for (int log = order; log > 3; log -= passBits(log))
    table = fillPassTwiddles(table, twiddles, int64_t{1} << log, passBits(log));
  return table;
}

// k with its `bits` bits (2 or 3) in opposite order.
constexpr int reversed(int k, int bits) {
  return bits == 2 ? k % 2 * 2 + k / 2 : k % 2 * 4 + k / 2 % 2 * 2 + k / 4;
}

// From order 12 on: the passes down a column of 2^logLength blocks split it in four, until 4 or 8 blocks are
// left to the last.
constexpr int lastBits(int logLength) { return logLength % 2 == 0 ? 2 : 3; }
constexpr int64_t columnPassFloats(int logLength) { return (int64_t{1} << (logLength - 2)) * 6; }
constexpr int64_t columnTwiddleFloats(int logLength) {
  return logLength <= 3 ? 0 : columnPassFloats(logLength) + columnTwiddleFloats(logLength - 2);
}

// The factors of all those passes but the last, the longest first. A pass over length n takes, for every
// place p = 0..n/4-1, those of its outputs in bit-reversed order, 2 1 3: exp(-2*pi*i*p*output/n).
constexpr float* fillColumnTwiddles(float* table, const Twiddles& twiddles, int logLength) {
  for (; logLength > 3; logLength -= 2) {
    const int64_t n = int64_t{1} << logLength;
    for (int64_t p = 0; p < n / 4; ++p)
      for (int output : {2, 1, 3}) {
        const Mox32fc w = twiddles(p * output, n);
        *table++ = w.re;
        *table++ = w.im;
      }
  }
  return table;
}

// Entry i, 1 <= i < 2^bits, is twice the value of i with its `bits` low bits reversed; the first entry and
// the one behind the last are 0.
void fillBitReversal(int32_t* table, int bits);

}  // namespace moxac::transform
