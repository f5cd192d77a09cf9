// The AAC filter bank in double precision, straight from the formulas.
#pragma once

#include <algorithm>
#include <cmath>
#include <vector>

#include "moxac/tables.h"
#include "support/direct_forms.h"

namespace moxtest {

// Rising slope of length n: shape 0 sine, 1 Kaiser-Bessel derived.
inline std::vector<double> slopeReference(int shape, int n) {
  std::vector<double> w(static_cast<size_t>(n));
  if (shape == 0) {
    for (int i = 0; i < n; ++i) w[static_cast<size_t>(i)] = std::sin(kPi / (2 * n) * (i + 0.5));
    return w;
  }
  const double alpha = n == 1024 ? moxAacKaiserBesselAlphaLong : moxAacKaiserBesselAlphaShort;
  std::vector<double> kernel;
  double all = 0;
  for (int p = 0; p <= n; ++p) {
    const double r = (p - n / 2.0) / (n / 2.0);
    kernel.push_back(std::cyl_bessel_i(0.0, kPi * alpha * std::sqrt(1 - r * r)));
    all += kernel.back();
  }
  double sum = 0;
  for (size_t i = 0; i < w.size(); ++i) w[i] = std::sqrt((sum += kernel[i]) / all);
  return w;
}

// One frame: its four windows sequences as the standard draws them.
struct FrameReference {
  int sequence, shape, prevShape;

  static double stepped(const std::vector<double>& s, int n) {
    return n < 448 ? 0 : n < 576 ? s[static_cast<size_t>(n - 448)] : 1;
  }
  double longWindow(int n) const {
    const int side = n < 1024 ? n : 2047 - n;
    const int slope = n < 1024 ? prevShape : shape;
    const bool step = n < 1024 ? sequence == 3 : sequence == 1;
    static const std::vector<double> kLong[2] = {slopeReference(0, 1024), slopeReference(1, 1024)};
    static const std::vector<double> kShort[2] = {slopeReference(0, 128), slopeReference(1, 128)};
    return step ? stepped(kShort[slope], side) : kLong[slope][static_cast<size_t>(side)];
  }
  double shortWindow(int w, int n) const {
    static const std::vector<double> kShort[2] = {slopeReference(0, 128), slopeReference(1, 128)};
    return n < 128 ? kShort[w == 0 ? prevShape : shape][static_cast<size_t>(n)]
                   : kShort[shape][static_cast<size_t>(255 - n)];
  }

  // Calls visit(N, first line, first sample, window function) for each transform.
  template <class Visit>
  void forEachTransform(Visit&& visit) const {
    if (sequence != 2) return visit(2048, 0, 0, [&](int n) { return longWindow(n); });
    for (int w = 0; w < 8; ++w)
      visit(256, 128 * w, 448 + 128 * w, [&, w](int n) { return shortWindow(w, n); });
  }

  // 2048 windowed, aliased samples.
  std::vector<double> inverse(const std::vector<double>& X) const {
    std::vector<double> x(2048);
    forEachTransform([&](int N, int line, int first, auto window) {
      const auto samples = directImdct(X.data() + line, N);
      for (int n = 0; n < N; ++n) x.data()[first + n] += window(n) * samples.data()[n];
    });
    return x;
  }

  std::vector<double> forward(const std::vector<double>& x) const {
    std::vector<double> X(1024);
    forEachTransform([&](int N, int line, int first, auto window) {
      std::vector<double> windowed;
      for (int n = 0; n < N; ++n) windowed.push_back(window(n) * x.data()[first + n]);
      const auto lines = directMdct(windowed.data(), N);
      std::copy(lines.begin(), lines.end(), X.begin() + line);
    });
    return X;
  }
};

}  // namespace moxtest
