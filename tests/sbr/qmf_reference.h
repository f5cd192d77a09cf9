// The QMF banks as the standard writes them: direct sums in double precision, one slot at a time.
#pragma once

#include <cmath>
#include <complex>
#include <cstdio>
#include <vector>

#include "sbr/qmf_window_tables.h"

namespace moxtest {

using Slot = std::vector<std::complex<double>>;  // sub-band samples; real banks leave the imaginary part 0

// The 640 coefficients of the prototype in the standard's order and signs, or every `step`-th of them.
template <class T = float>
std::vector<T> qmfWindow(int step) {
  std::vector<T> window;
  for (int i = 0; i < 640; i += step) window.push_back(static_cast<T>(moxac::sbr::kQmfPrototype[i]));
  return window;
}

inline std::complex<double> turn(double angle) { return std::polar(1.0, angle); }

class ReferenceAnalysis {
 public:
  template <class T>
  ReferenceAnalysis(bool real, const T* window) : real_(real), window_(window, window + 320), x_(320) {}

  template <class T>
  Slot slot(const T* src) {
    for (int i = 0; i < 32; ++i) x_.insert(x_.begin(), src[i]);
    x_.resize(320);
    Slot out(32);
    for (int k = 0; k < 32; ++k)
      for (int n = 0; n < 64; ++n) {
        double u = 0;
        for (int j = 0; j < 5; ++j)
          u += x_[static_cast<size_t>(64 * j + n)] * window_[static_cast<size_t>(64 * j + n)];
        const double band = M_PI / 64 * (k + 0.5);
        out[static_cast<size_t>(k)] +=
            2 * u * (real_ ? std::cos(band * (2 * n - 96)) : turn(band * (2 * n - 0.5)));
      }
    return out;
  }

 private:
  bool real_;
  std::vector<double> window_;
  std::vector<double> x_;
};

class ReferenceSynthesis {
 public:
  template <class T>
  ReferenceSynthesis(int bands, bool real, const T* window)
      : bands_(bands),
        real_(real),
        window_(window, window + 10 * bands),
        v_(static_cast<size_t>(20 * bands)) {}

  std::vector<double> slot(const Slot& in) {
    const int B = bands_;
    std::vector<double> fresh(static_cast<size_t>(2 * B));
    for (int n = 0; n < 2 * B; ++n)
      for (int k = 0; k < B; ++k) {
        const auto x = in[static_cast<size_t>(k)];
        const double band = M_PI / (2 * B) * (k + 0.5);
        const double phase = B == 64 ? 255 : 127.5;
        fresh[static_cast<size_t>(n)] += real_ ? x.real() / 32 * std::cos(band * (2 * n - B))
                                               : (x / 64.0 * turn(band * (2 * n - phase))).real();
      }
    v_.insert(v_.begin(), fresh.begin(), fresh.end());
    v_.resize(static_cast<size_t>(20 * B));
    std::vector<double> y(static_cast<size_t>(B));
    for (int r = 0; r < B; ++r)
      for (int j = 0; j < 5; ++j)
        y[static_cast<size_t>(r)] +=
            v_[static_cast<size_t>(4 * B * j + r)] * window_[static_cast<size_t>(2 * B * j + r)] +
            v_[static_cast<size_t>(4 * B * j + 3 * B + r)] * window_[static_cast<size_t>(2 * B * j + B + r)];
    return y;
  }

 private:
  int bands_;
  bool real_;
  std::vector<double> window_;
  std::vector<double> v_;
};

}  // namespace moxtest
