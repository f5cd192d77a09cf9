// Requantisation, hybrid bank and polyphase banks on real streams. Times are per granule and channel; "plain"
// is the same work as the formulas stand, in double precision.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "moxac/mp3.h"
#include "mp3/hybrid_reference.h"
#include "mp3/mp3_spectra.h"

namespace {

using moxtest::CodedGranule;

std::vector<CodedGranule> granulesOf(const char* name) {
  return moxtest::codedGranules(moxtest::namedMp3Stream(name));
}

void perGranule(benchmark::State& state, size_t perRound) {
  state.counters["perItem"] =
      benchmark::Counter(static_cast<double>(perRound),
                         benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

struct Spectrum {  // one granule and channel, ready for the inverse hybrid
  int32_t lines[576], bound, blockType, mixedBlock;
};

std::vector<Spectrum> requantized(const std::vector<CodedGranule>& coded) {
  std::vector<Spectrum> out;
  for (CodedGranule g : coded) {
    int32_t buffer[576];
    if (moxsReQuantize_MP3_32s_I(g.lines[0], g.bound, g.scaleFactors[0], g.side, &g.header, buffer) !=
        moxStatusOk)
      std::abort();
    Spectrum s{};
    std::memcpy(s.lines, g.lines[0], sizeof s.lines);
    s.bound = g.bound[0];
    s.blockType = g.side[0].blockType;
    s.mixedBlock = g.side[0].mixedBlock;
    out.push_back(s);
  }
  return out;
}

void requantize(benchmark::State& state, const char* name) {
  const std::vector<CodedGranule> coded = granulesOf(name);
  int32_t lines[2][576], bound[2], buffer[576];
  for (auto _ : state)
    for (const CodedGranule& g : coded) {
      std::memcpy(lines, g.lines, sizeof lines);  // the work is in place; the copy is timed with it
      std::memcpy(bound, g.bound, sizeof bound);
      benchmark::DoNotOptimize(
          moxsReQuantize_MP3_32s_I(lines[0], bound, g.scaleFactors[0], g.side, &g.header, buffer));
    }
  perGranule(state, coded.size() * static_cast<size_t>(coded[0].channels()));
}

void requantizePlain(benchmark::State& state, const char* name) {
  const std::vector<CodedGranule> coded = granulesOf(name);
  std::vector<int32_t> out(576);
  for (auto _ : state)
    for (const CodedGranule& g : coded)
      for (int ch = 0; ch < g.channels(); ++ch) {
        for (size_t i = 0; i < 576; ++i) {
          const double magnitude = std::abs(g.lines[ch][i]);
          const double gain = std::exp2((g.side[ch].globGain - 210 - g.scaleFactors[ch][i / 27]) / 4.0 + 26);
          out[i] = static_cast<int32_t>(
              std::lrint(std::copysign(magnitude * std::cbrt(magnitude), g.lines[ch][i]) * gain));
        }
        benchmark::DoNotOptimize(out.data());
      }
  perGranule(state, coded.size() * static_cast<size_t>(coded[0].channels()));
}

void inverseHybrid(benchmark::State& state, const char* name) {
  const std::vector<Spectrum> spectra = requantized(granulesOf(name));
  int32_t xs[576], overlap[576] = {}, previous = 0;
  for (auto _ : state)
    for (const Spectrum& s : spectra) {
      moxsMDCTInv_MP3_32s(s.lines, xs, overlap, s.bound, &previous, s.blockType, s.mixedBlock);
      benchmark::DoNotOptimize(xs);
    }
  perGranule(state, spectra.size());
}

void inverseHybridPlain(benchmark::State& state) {
  moxtest::HybridReference reference;
  moxtest::Lines lines{};
  for (double& x : lines.value) x = 0.5;
  for (auto _ : state) benchmark::DoNotOptimize(reference.inverse(lines, 0, false));
  perGranule(state, 1);
}

void forwardHybrid(benchmark::State& state) {
  int32_t xs[576] = {1 << 20, 1 << 21}, xr[576], overlap[576] = {};
  const MoxMp3FrameHeader header = {1, 1, 1, 9, 0, 0, 0, 0, 0, 0, 0, 0, 0};
  const auto blockType = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    moxsMDCTFwd_MP3_32s(xs, xr, overlap, blockType, 0, &header);
    benchmark::DoNotOptimize(xr);
  }
  perGranule(state, 1);
}

void synthesisFixed(benchmark::State& state) {
  const auto stride = static_cast<int32_t>(state.range(0));
  int32_t xs[576] = {1 << 20, 1 << 21}, v[512] = {}, position = 0;
  int16_t out[2 * 576];
  for (auto _ : state) {
    for (int slot = 0; slot < 18; ++slot)
      moxsSynthPQMF_MP3_32s16s(xs + 32 * slot, out + 32 * slot * stride, v, &position, stride);
    benchmark::DoNotOptimize(out);
  }
  perGranule(state, 1);
}

void synthesisFloat(benchmark::State& state) {
  MoxMp3SynthesisState* bank = nullptr;
  if (moxsSynthesisFilterInitAlloc_PQMF_MP3_32f(&bank) != moxStatusOk) std::abort();
  float xs[576] = {0.1f, 0.2f}, out[576];
  for (auto _ : state) {
    for (int slot = 0; slot < 18; ++slot)
      moxsSynthesisFilter_PQMF_MP3_32f(xs + 32 * slot, out + 32 * slot, bank);
    benchmark::DoNotOptimize(out);
  }
  moxsSynthesisFilterFree_PQMF_MP3_32f(bank);
  perGranule(state, 1);
}

void synthesisPlain(benchmark::State& state) {
  const moxtest::ModulatedBank bank = moxtest::layer3Synthesis();
  const std::vector<moxtest::Complex> granule(576, 0.1);
  for (auto _ : state) benchmark::DoNotOptimize(bank.synthesis(granule));
  perGranule(state, 1);
}

void analysisFixed(benchmark::State& state) {
  int16_t in[576] = {100, -3000};
  int32_t xs[576], x[512] = {}, position = 0;
  for (auto _ : state) {
    for (int slot = 0; slot < 18; ++slot)
      moxsAnalysisPQMF_MP3_16s32s(in + 32 * slot, xs + 32 * slot, x, &position, 1);
    benchmark::DoNotOptimize(xs);
  }
  perGranule(state, 1);
}

BENCHMARK_CAPTURE(requantize, joint128, "mp3_44100_joint128_short");
BENCHMARK_CAPTURE(requantize, vbr48k, "mp3_48000_vbr_v3");
BENCHMARK_CAPTURE(requantize, stereo320, "mp3_44100_stereo320");
BENCHMARK_CAPTURE(requantize, intensity96, "mp3_44100_intensity96");
BENCHMARK_CAPTURE(requantizePlain, stereo320, "mp3_44100_stereo320");
BENCHMARK_CAPTURE(inverseHybrid, joint128, "mp3_44100_joint128_short");
BENCHMARK_CAPTURE(inverseHybrid, vbr48k, "mp3_48000_vbr_v3");
BENCHMARK_CAPTURE(inverseHybrid, stereo320, "mp3_44100_stereo320");
BENCHMARK_CAPTURE(inverseHybrid, mixed, "mp3_44100_random_mixed");
BENCHMARK(inverseHybridPlain);
BENCHMARK(forwardHybrid)->Arg(0)->Arg(2);
BENCHMARK(synthesisFixed)->Arg(1)->Arg(2);
BENCHMARK(synthesisFloat);
BENCHMARK(synthesisPlain);
BENCHMARK(analysisFixed);

}  // namespace
