// The transforms and filter banks by their sums, in double precision.
#pragma once

#include <cmath>
#include <complex>
#include <cstdint>
#include <map>
#include <numbers>
#include <vector>

#include "support/code_book.h"

namespace moxtest {

inline constexpr double kPi = std::numbers::pi;
using Complex = std::complex<double>;

// cos(2 pi/N (n + 1/2 + N/4)(k + 1/2)) by a table over the period: brought over a common denominator, the angle is an odd
// multiple of 2 pi/(8N).
class MdctBasis {
 public:
  explicit MdctBasis(int64_t N) : N_(N) {
    for (int64_t i = 0; i < 8 * N; ++i)
      cosines_.push_back(std::cos(2 * kPi * static_cast<double>(i) / static_cast<double>(8 * N)));
  }
  static const MdctBasis& of(int64_t N) {
    static std::map<int64_t, MdctBasis> known;
    return known.try_emplace(N, N).first->second;
  }
  double operator()(int64_t n, int64_t k) const {
    return cosines_[static_cast<size_t>((4 * n + 2 + N_) * (2 * k + 1) % (8 * N_))];
  }

 private:
  int64_t N_;
  std::vector<double> cosines_;
};

// X(k) = 2 sum over n of x(n) basis(n, k): N samples to N/2 lines.
template <class Sample>
std::vector<double> directMdct(const Sample* x, int64_t N) {
  const MdctBasis& basis = MdctBasis::of(N);
  std::vector<double> X;
  for (int64_t k = 0; k < N / 2; ++k) {
    double sum = 0;
    for (int64_t n = 0; n < N; ++n) sum += static_cast<double>(x[n]) * basis(n, k);
    X.push_back(2 * sum);
  }
  return X;
}

// x(n) = 2/N sum over k of X(k) basis(n, k): N/2 lines to N samples with their aliases.
template <class Line>
std::vector<double> directImdct(const Line* X, int64_t N) {
  const MdctBasis& basis = MdctBasis::of(N);
  std::vector<double> x;
  for (int64_t n = 0; n < N; ++n) {
    double sum = 0;
    for (int64_t k = 0; k < N / 2; ++k) sum += static_cast<double>(X[k]) * basis(n, k);
    x.push_back(2 * sum / static_cast<double>(N));
  }
  return x;
}

// How far `got` is from `want`: root mean squares, and their ratio.
struct Error {
  double noise = 0, signal = 0, count = 0, worst = 0;
  void add(Complex got, Complex want) {
    noise += std::norm(got - want);
    signal += std::norm(want);
    count += 1;
    worst = std::max(worst, std::abs(got - want));
  }
  double rms() const { return std::sqrt(noise / count); }
  double relative() const { return std::sqrt(noise / signal); }
  double db() const { return -20 * std::log10(relative()); }
};

inline double relativeError(const float* got, const std::vector<double>& want) {
  Error error;
  for (size_t i = 0; i < want.size(); ++i) error.add(got[i], want[i]);
  return error.relative();
}

// A bank of B bands, all of whose filters are one prototype on B carriers:
//
//   tap(k, i) = gain window[i] carrier(pi/(2B) (k + 1/2)(2 (i mod 2B) - phase))
//
// carrier: the cosine, or for complex banks e^(j .). The QMF banks, the polyphase bank of Layer III and that of
// DTS differ in nothing else; the prototypes carry the signs that i mod 2B takes away.
struct ModulatedBank {
  int bands = 0;
  bool complex = false;
  double phase = 0, gain = 1;
  std::vector<double> window;
  bool signs = false;  // those of DTS: + - - + over the bands

  Complex tap(int k, int i) const {
    const double angle = kPi / (2 * bands) * (k + 0.5) * (2 * (i % (2 * bands)) - phase);
    const double weight = (signs && k % 4 != 0 && k % 4 != 3 ? -gain : gain) * window[static_cast<size_t>(i)];
    return weight * (complex ? std::polar(1.0, angle) : Complex(std::cos(angle)));
  }
  const std::vector<Complex>& taps() const {  // [band][i]
    if (made.empty())
      for (int k = 0; k < bands; ++k)
        for (int i = 0; i < length(); ++i) made.push_back(tap(k, i));
    return made;
  }
  int length() const { return static_cast<int>(window.size()); }

  // out[t][k] = sum over i of tap(k, i) x[B t + B - 1 - i]: samples to sub-band samples, slot by slot.
  std::vector<Complex> analysis(const std::vector<double>& x) const {
    std::vector<Complex> out;
    for (int newest = bands - 1; newest < static_cast<int>(x.size()); newest += bands)
      for (int k = 0; k < bands; ++k) {
        Complex sum;
        for (int i = 0; i < length() && i <= newest; ++i)
          sum += taps()[static_cast<size_t>(k * length() + i)] * x[static_cast<size_t>(newest - i)];
        out.push_back(sum);
      }
    return out;
  }

  // y[n] = the real part of the sum over slots and bands of tap(k, n - B t) X[t][k].
  std::vector<double> synthesis(const std::vector<Complex>& X) const {
    std::vector<double> y(X.size() + static_cast<size_t>(length()));
    for (size_t at = 0; at < X.size(); ++at) {
      const size_t k = at % static_cast<size_t>(bands), start = at - k;
      const Complex* const filter = &taps()[k * static_cast<size_t>(length())];
      for (size_t i = 0; i < window.size(); ++i)
        y[start + i] += X[at].real() * filter[i].real() - X[at].imag() * filter[i].imag();
    }
    y.resize(X.size());
    return y;
  }

  mutable std::vector<Complex> made = {};  // the taps, once asked for
};

// Every `step`-th coefficient of the prototype of the SBR banks, with the standard's signs.
inline std::vector<double> qmfPrototype(size_t step) {
  static const std::vector<double> all = csvColumn("sbr/sbr_qmf_window.csv", 1);
  std::vector<double> window;
  for (size_t i = 0; i < all.size(); i += step) window.push_back(all[i]);
  return window;
}

inline ModulatedBank layer3Synthesis() {
  static const std::vector<double> window = csvColumn("mp3_synthesis_window.csv", 1, 1 / 65536.0);
  return {32, false, -32, 1, window};
}
inline ModulatedBank layer3Analysis() { return {32, false, 32, 1 / 32.0, layer3Synthesis().window}; }

}  // namespace moxtest
