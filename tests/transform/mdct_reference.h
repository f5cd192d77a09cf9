// The transforms by their formulas, in double.
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

namespace moxtest {

// cos(2*pi/N * (n + 1/2 + N/4) * (k + 1/2)) through a table over the period: the angle is an odd multiple of
// 2*pi/(8N) once everything is brought over a common denominator.
class MdctBasis {
 public:
  explicit MdctBasis(int64_t N) : N_(N), cosines_(static_cast<size_t>(8 * N)) {
    for (int64_t i = 0; i < 8 * N; ++i)
      cosines_[static_cast<size_t>(i)] =
          std::cos(2 * std::acos(-1.0) * static_cast<double>(i) / static_cast<double>(8 * N));
  }
  double operator()(int64_t n, int64_t k) const {
    return cosines_[static_cast<size_t>((4 * n + 2 + N_) * (2 * k + 1) % (8 * N_))];
  }

 private:
  int64_t N_;
  std::vector<double> cosines_;
};

template <class Sample>
std::vector<double> directMdct(const Sample* x, int64_t N) {
  const MdctBasis basis(N);
  std::vector<double> X;
  for (int64_t k = 0; k < N / 2; ++k) {
    double sum = 0;
    for (int64_t n = 0; n < N; ++n) sum += static_cast<double>(x[n]) * basis(n, k);
    X.push_back(2 * sum);
  }
  return X;
}

inline std::vector<double> directImdct(const float* X, int64_t N) {
  const MdctBasis basis(N);
  std::vector<double> y;
  for (int64_t n = 0; n < N; ++n) {
    double sum = 0;
    for (int64_t k = 0; k < N / 2; ++k) sum += static_cast<double>(X[k]) * basis(n, k);
    y.push_back(2 * sum / static_cast<double>(N));
  }
  return y;
}

inline double relativeError(const float* got, const std::vector<double>& want) {
  double error = 0, energy = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    error += (static_cast<double>(got[i]) - want[i]) * (static_cast<double>(got[i]) - want[i]);
    energy += want[i] * want[i];
  }
  return std::sqrt(error / energy);
}

inline std::vector<double> sineWindow(int64_t N) {
  std::vector<double> w;
  for (int64_t n = 0; n < N; ++n)
    w.push_back(std::sin(std::acos(-1.0) * (static_cast<double>(n) + 0.5) / static_cast<double>(N)));
  return w;
}

}  // namespace moxtest
