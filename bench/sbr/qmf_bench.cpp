// A frame of 32 slots through each QMF bank, float and fixed-point, beside the direct sums in double precision. The counters
// give the time of a slot and how many times faster than real time a 48 kHz stereo stream would be.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <random>

#include "moxac/sbr.h"
#include "sbr/qmf_reference.h"

namespace {

constexpr int kSlots = 32;

struct Frame {
  std::vector<float> samples, work, window32 = moxtest::qmfWindow(2), window64 = moxtest::qmfWindow(1);
  std::vector<float> memory = std::vector<float>(4096);
  std::vector<float*> re, im;
  std::vector<Mox32fc*> pairs;

  Frame() : samples(kSlots * 64), work(kSlots * 128) {
    std::mt19937 noise(1);
    std::uniform_real_distribution<float> uniform(-1, 1);
    for (float& v : samples) v = uniform(noise);
    for (float& v : work) v = uniform(noise);
    for (int l = 0; l < kSlots; ++l) {
      re.push_back(work.data() + 128 * l);
      im.push_back(work.data() + 128 * l + 64);
      pairs.push_back(reinterpret_cast<Mox32fc*>(work.data() + 128 * l));
    }
  }
  uint8_t* bytes() { return reinterpret_cast<uint8_t*>(memory.data()); }
};

// samplesPerSlot: of the bank's time side, at 48 kHz (24 kHz where it is the half-rate side).
void report(benchmark::State& state, double samplesPerSlot, double rate) {
  const double slots = static_cast<double>(state.iterations()) * kSlots;
  state.counters["time/slot"] =
      benchmark::Counter(slots, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  state.counters["x48k_stereo"] =
      benchmark::Counter(slots * samplesPerSlot / rate / 2, benchmark::Counter::kIsRate);
}

void check(benchmark::State& state, double got, double want) {
  if (std::abs(got - want) > 1e-5) state.SkipWithError("differs from the direct sums");
}

// form: 0 split, 1 interleaved, 2 real
void analysis(benchmark::State& state, int form, int slotsPerCall) {
  Frame f;
  MoxQmfAnalysisSpec* spec = nullptr;
  uint8_t buffer[4];
  const auto init = form == 0   ? moxsAnalysisFilterInit_SBR_RToC_32f
                    : form == 1 ? moxsAnalysisFilterInit_SBR_RToC_32f32fc
                                : moxsAnalysisFilterInit_SBR_RToR_32f;
  init(&spec, f.bytes(), buffer);
  const auto frame = [&] {
    for (int l = 0; l < kSlots; l += slotsPerCall) {
      const float* const src = f.samples.data() + 32 * l;
      const float* const w = f.window32.data();
      if (form == 0)
        moxsAnalysisFilter_SBR_RToC_32f_D2L(src, f.re.data(), f.im.data(), w, slotsPerCall, l, 32, spec,
                                            buffer);
      else if (form == 1)
        moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(src, f.pairs.data(), w, slotsPerCall, l, 32, spec, buffer);
      else
        moxsAnalysisFilter_SBR_RToR_32f_D2L(src, f.re.data(), w, slotsPerCall, l, 32, spec, buffer);
    }
  };
  frame();
  moxtest::ReferenceAnalysis reference(form == 2, f.window32.data());
  moxtest::Slot want;
  for (int l = 0; l < kSlots; ++l) want = reference.slot(f.samples.data() + 32 * l);
  for (size_t k = 0; k < 32; ++k) check(state, f.re[kSlots - 1][form == 1 ? 2 * k : k], want[k].real());
  for (auto _ : state) {
    frame();
    benchmark::DoNotOptimize(f.work.data());
    benchmark::ClobberMemory();
  }
  report(state, 32, 24000);
}

void synthesis(benchmark::State& state, int form, bool down, int slotsPerCall) {
  Frame f;
  MoxQmfSynthesisSpec* spec = nullptr;
  uint8_t buffer[4];
  const auto init = down ? (form == 0   ? moxsSynthesisDownFilterInit_SBR_CToR_32f
                            : form == 1 ? moxsSynthesisDownFilterInit_SBR_CToR_32fc32f
                                        : moxsSynthesisDownFilterInit_SBR_RToR_32f)
                         : (form == 0   ? moxsSynthesisFilterInit_SBR_CToR_32f
                            : form == 1 ? moxsSynthesisFilterInit_SBR_CToR_32fc32f
                                        : moxsSynthesisFilterInit_SBR_RToR_32f);
  init(&spec, f.bytes(), buffer);
  const auto split = down ? moxsSynthesisDownFilter_SBR_CToR_32f_D2L : moxsSynthesisFilter_SBR_CToR_32f_D2L;
  const auto interleaved =
      down ? moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L : moxsSynthesisFilter_SBR_CToR_32fc32f_D2L;
  const auto real = down ? moxsSynthesisDownFilter_SBR_RToR_32f_D2L : moxsSynthesisFilter_SBR_RToR_32f_D2L;
  const int bands = down ? 32 : 64;
  const float* const w = down ? f.window32.data() : f.window64.data();
  const auto frame = [&] {
    for (int l = 0; l < kSlots; l += slotsPerCall) {
      float* const dst = f.samples.data() + bands * l;
      if (form == 0)
        split(f.re.data() + l, f.im.data() + l, dst, w, slotsPerCall, spec, buffer);
      else if (form == 1)
        interleaved(f.pairs.data() + l, dst, w, slotsPerCall, spec, buffer);
      else
        real(f.re.data() + l, dst, w, slotsPerCall, spec, buffer);
    }
  };
  frame();
  moxtest::ReferenceSynthesis reference(bands, form == 2, w);
  std::vector<double> want;
  for (size_t l = 0; l < kSlots; ++l) {
    moxtest::Slot in(static_cast<size_t>(bands));
    for (size_t k = 0; k < in.size(); ++k)
      in[k] = form == 2   ? f.re[l][k]
              : form == 1 ? std::complex<double>(f.pairs[l][k].re, f.pairs[l][k].im)
                          : std::complex<double>(f.re[l][k], f.im[l][k]);
    want = reference.slot(in);
  }
  for (size_t r = 0; r < want.size(); ++r) check(state, f.samples[(kSlots - 1) * want.size() + r], want[r]);
  for (auto _ : state) {
    frame();
    benchmark::DoNotOptimize(f.samples.data());
    benchmark::ClobberMemory();
  }
  report(state, bands, down ? 24000 : 48000);
}

// The fixed-point banks. Init and Filter are the exported operations; Values the sub-band words of a slot.
template <auto Init, auto Filter, class SubBand, int kValues>
void fixedAnalysis(benchmark::State& state, int slotsPerCall) {
  Frame f;
  std::vector<int32_t> src(kSlots * 32), dst(kSlots * kValues);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<int32_t>(f.samples[i] * 0x1p31f);
  auto* const bank = reinterpret_cast<MoxQmfFixedAnalysisState*>(f.memory.data());
  Init(bank);
  const auto frame = [&] {
    for (int l = 0; l < kSlots; l += slotsPerCall)
      Filter(src.data() + 32 * l, reinterpret_cast<SubBand*>(dst.data() + kValues * l), slotsPerCall, 32,
             bank);
  };
  frame();
  moxtest::ReferenceAnalysis reference(kValues == 32, moxtest::qmfWindow<double>(2).data());
  moxtest::Slot want;
  for (int l = 0; l < kSlots; ++l) want = reference.slot(src.data() + 32 * l);
  for (size_t k = 0; k < 32; ++k)
    check(state, dst[(kSlots - 1) * kValues + k * kValues / 32] * 0x1p-31,
          want[k].real() * (0x1p-31 / (1 << MOX_SBR_FIXED_SHIFT)));
  for (auto _ : state) {
    frame();
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  report(state, 32, 24000);
}

template <auto Init, auto Filter, class SubBand, int kBands, int kValues>
void fixedSynthesis(benchmark::State& state, int slotsPerCall) {
  Frame f;
  std::vector<int32_t> src(kSlots * kValues), dst(kSlots * kBands);
  for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<int32_t>(f.work[i] * 0x1p24f);
  auto* const bank = reinterpret_cast<MoxQmfFixedSynthesisState*>(f.memory.data());
  Init(bank);
  const auto frame = [&] {
    for (int l = 0; l < kSlots; l += slotsPerCall)
      Filter(reinterpret_cast<const SubBand*>(src.data() + kValues * l), dst.data() + kBands * l,
             slotsPerCall, bank);
  };
  frame();
  moxtest::ReferenceSynthesis reference(kBands, kValues == kBands,
                                        moxtest::qmfWindow<double>(64 / kBands).data());
  std::vector<double> want;
  for (const int32_t* x = src.data(); x < src.data() + src.size(); x += kValues) {
    moxtest::Slot in(kBands);
    for (int k = 0; k < kBands; ++k)
      in[static_cast<size_t>(k)] =
          kValues == kBands ? x[k] : std::complex<double>(x[2 * k % kValues], x[(2 * k + 1) % kValues]);
    want = reference.slot(in);
  }
  for (size_t r = 0; r < want.size(); ++r)
    check(state, dst[(kSlots - 1) * want.size() + r] * 0x1p-31,
          want[r] * (0x1p-31 * (1 << MOX_SBR_FIXED_SHIFT)));
  for (auto _ : state) {
    frame();
    benchmark::DoNotOptimize(dst.data());
    benchmark::ClobberMemory();
  }
  report(state, kBands, kBands == 32 ? 24000 : 48000);
}

constexpr auto fixedAnalysisHq =
    fixedAnalysis<moxsAnalysisFilterInit_SBRHQ_32s32sc, moxsAnalysisFilter_SBRHQ_32s32sc, Mox32sc, 64>;
constexpr auto fixedAnalysisLp =
    fixedAnalysis<moxsAnalysisFilterInit_SBRLP_32s, moxsAnalysisFilter_SBRLP_32s, int32_t, 32>;
constexpr auto fixedSynthesisHq = fixedSynthesis<moxsSynthesisFilterInit_SBRHQ_32sc32s,
                                                 moxsSynthesisFilter_SBRHQ_32sc32s, Mox32sc, 64, 128>;
constexpr auto fixedSynthesisLp =
    fixedSynthesis<moxsSynthesisFilterInit_SBRLP_32s, moxsSynthesisFilter_SBRLP_32s, int32_t, 64, 64>;
constexpr auto fixedDownHq = fixedSynthesis<moxsSynthesisDownFilterInit_SBRHQ_32sc32s,
                                            moxsSynthesisDownFilter_SBRHQ_32sc32s, Mox32sc, 32, 64>;
constexpr auto fixedDownLp =
    fixedSynthesis<moxsSynthesisDownFilterInit_SBRLP_32s, moxsSynthesisDownFilter_SBRLP_32s, int32_t, 32, 32>;

void analysisDirect(benchmark::State& state) {
  Frame f;
  moxtest::ReferenceAnalysis reference(false, f.window32.data());
  for (auto _ : state)
    for (int l = 0; l < kSlots; ++l) benchmark::DoNotOptimize(reference.slot(f.samples.data() + 32 * l));
  report(state, 32, 24000);
}

void synthesisDirect(benchmark::State& state) {
  Frame f;
  moxtest::ReferenceSynthesis reference(64, false, f.window64.data());
  const moxtest::Slot in(64, {0.5, 0.25});
  for (auto _ : state)
    for (int l = 0; l < kSlots; ++l) benchmark::DoNotOptimize(reference.slot(in));
  report(state, 64, 48000);
}

BENCHMARK_CAPTURE(analysis, complex_split, 0, kSlots);
BENCHMARK_CAPTURE(analysis, complex_interleaved, 1, kSlots);
BENCHMARK_CAPTURE(analysis, real, 2, kSlots);
BENCHMARK_CAPTURE(analysis, complex_split_one_slot_a_call, 0, 1);
BENCHMARK(analysisDirect);
BENCHMARK_CAPTURE(synthesis, complex_split_64, 0, false, kSlots);
BENCHMARK_CAPTURE(synthesis, complex_interleaved_64, 1, false, kSlots);
BENCHMARK_CAPTURE(synthesis, real_64, 2, false, kSlots);
BENCHMARK_CAPTURE(synthesis, complex_split_64_one_slot_a_call, 0, false, 1);
BENCHMARK_CAPTURE(synthesis, complex_split_32, 0, true, kSlots);
BENCHMARK_CAPTURE(synthesis, complex_interleaved_32, 1, true, kSlots);
BENCHMARK_CAPTURE(synthesis, real_32, 2, true, kSlots);
BENCHMARK(synthesisDirect);
BENCHMARK_CAPTURE(fixedAnalysisHq, complex, kSlots);
BENCHMARK_CAPTURE(fixedAnalysisHq, complex_one_slot_a_call, 1);
BENCHMARK_CAPTURE(fixedAnalysisLp, real, kSlots);
BENCHMARK_CAPTURE(fixedSynthesisHq, complex_64, kSlots);
BENCHMARK_CAPTURE(fixedSynthesisHq, complex_64_one_slot_a_call, 1);
BENCHMARK_CAPTURE(fixedSynthesisLp, real_64, kSlots);
BENCHMARK_CAPTURE(fixedDownHq, complex_32, kSlots);
BENCHMARK_CAPTURE(fixedDownLp, real_32, kSlots);

}  // namespace
