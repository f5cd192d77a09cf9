// Prediction coefficients of 32 sub-bands over a frame of 38 slots, beside the plain double loop.
#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <random>
#include <vector>

#include "moxac/sbr.h"

namespace {

constexpr int kBands = 32, kSlots = 38;

struct Input {
  std::vector<std::vector<Mox32fc>> rows = std::vector<std::vector<Mox32fc>>(kSlots + 2);
  std::vector<const Mox32fc*> pairs;
  std::vector<const float*> real;

  Input() {
    std::mt19937 noise(1);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (auto& row : rows) {
      for (int k = 0; k < kBands; ++k) row.push_back({uniform(noise), uniform(noise)});
      pairs.push_back(row.data());
      real.push_back(&row[0].re);
    }
  }
};

void plainLoop(const Input& in, Mox32fc* a0, Mox32fc* a1) {
  using C = std::complex<double>;
  for (size_t k = 0; k < kBands; ++k) {
    C phi01, phi12, phi02;
    double phi11 = 0, phi22 = 0;
    const auto x = [&](size_t m) { return C(in.rows[m][k].re, in.rows[m][k].im); };
    for (size_t j = 0; j < kSlots; ++j) {
      phi01 += x(j + 2) * std::conj(x(j + 1));
      phi12 += x(j + 1) * std::conj(x(j));
      phi02 += x(j + 2) * std::conj(x(j));
      phi11 += std::norm(x(j + 1));
      phi22 += std::norm(x(j));
    }
    const double det = phi22 * phi11 - 0.9999990463256836 * std::norm(phi12);
    const C alpha1 = det != 0 ? (phi01 * phi12 - phi02 * phi11) / det : C{};
    const C alpha0 = phi11 != 0 ? -(phi01 + alpha1 * std::conj(phi12)) / phi11 : C{};
    a0[k] = {static_cast<float>(alpha0.real()), static_cast<float>(alpha0.imag())};
    a1[k] = {static_cast<float>(alpha1.real()), static_cast<float>(alpha1.imag())};
  }
}

void predictComplex(benchmark::State& state) {
  const Input in;
  Mox32fc a0[kBands], a1[kBands], want0[kBands], want1[kBands];
  plainLoop(in, want0, want1);
  moxsPredictCoef_SBR_C_32fc_D2L(in.pairs.data(), a0, a1, kBands, kSlots);
  for (int k = 0; k < kBands; ++k)
    if (std::abs(a0[k].re - want0[k].re) + std::abs(a1[k].im - want1[k].im) > 1e-5f)
      state.SkipWithError("differs from the plain loop");
  for (auto _ : state) {
    moxsPredictCoef_SBR_C_32fc_D2L(in.pairs.data(), a0, a1, kBands, kSlots);
    benchmark::DoNotOptimize(a0);
  }
}

void predictReal(benchmark::State& state) {
  const Input in;
  float a0[kBands], a1[kBands];
  for (auto _ : state) {
    moxsPredictCoef_SBR_R_32f_D2L(in.real.data(), a0, a1, kBands, kSlots);
    benchmark::DoNotOptimize(a0);
  }
}

void predictComplexPlainLoop(benchmark::State& state) {
  const Input in;
  Mox32fc a0[kBands], a1[kBands];
  for (auto _ : state) {
    plainLoop(in, a0, a1);
    benchmark::DoNotOptimize(a0);
  }
}

BENCHMARK(predictComplex);
BENCHMARK(predictReal);
BENCHMARK(predictComplexPlainLoop);

}  // namespace
