// The encoder's tools on a frame of 32 slots of 64 bands: analysis, tonality, transient detection with and without an
// attack. Bands of noise; the analysis is checked in the tests.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "moxac/sbr.h"
#include "moxac/tables.h"

namespace {

constexpr int32_t kBands = 64, kSlots = 32;

std::vector<float> noise(size_t count) {
  std::mt19937 generator(1);
  std::uniform_real_distribution<float> uniform(-1, 1);
  std::vector<float> x(count);
  for (float& v : x) v = uniform(generator);
  return x;
}

std::vector<Mox32fc> noiseRows() {
  const std::vector<float> x = noise(2 * kBands * (kSlots + 2));
  std::vector<Mox32fc> rows;
  for (size_t i = 0; i < x.size(); i += 2) rows.push_back({x[i], x[i + 1]});
  return rows;
}

void encoderAnalysis(benchmark::State& state) {
  const std::vector<float> x = noise(kBands * kSlots),
                           window(std::begin(moxSbrQmfPrototype), std::end(moxSbrQmfPrototype));
  std::vector<Mox32fc> rows(kBands * kSlots);
  MoxQmfEncoderState* bank = nullptr;
  if (moxsAnalysisFilterEncInitAlloc_SBR_32f(&bank) != moxStatusOk) return state.SkipWithError("no memory");
  for (auto _ : state) {
    moxsAnalysisFilterEnc_SBR_32f32fc(x.data(), rows.data(), window.data(), kSlots, bank);
    benchmark::DoNotOptimize(rows.data());
  }
  moxsAnalysisFilterEncFree_SBR_32f(bank);
}

void estimateTNR(benchmark::State& state) {
  const std::vector<Mox32fc> rows = noiseRows();
  float tonality[kBands];
  for (auto _ : state) {
    moxsEstimateTNR_SBR_32f(rows.data(), tonality, kBands, kSlots);
    benchmark::DoNotOptimize(tonality);
  }
}

void detectTransient(benchmark::State& state, bool attack) {
  std::vector<Mox32fc> rows = noiseRows();
  for (size_t i = rows.size() / 2; attack && i < rows.size(); ++i)
    rows[i] = {100 * rows[i].re, 100 * rows[i].im};
  const std::vector<float> steady(kBands, 2.0f / 3);
  std::vector<float> level(kBands);
  int32_t position = -1;
  float strength = 0;
  for (auto _ : state) {
    level = steady;
    moxsDetectTransient_SBR_32f(rows.data(), &position, &strength, level.data(), kBands, kSlots, 2.0f);
  }
  if (position != (attack ? kSlots / 2 + 1 : -1)) state.SkipWithError("not where the attack is");
}

BENCHMARK(encoderAnalysis);
BENCHMARK(estimateTNR);
BENCHMARK_CAPTURE(detectTransient, steady, false);
BENCHMARK_CAPTURE(detectTransient, attack, true);

}  // namespace
