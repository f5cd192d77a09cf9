// The spectral tools, prediction and the filter bank, each beside its scalar form on the same input. Results are
// compared before anything is timed. Items are lines or samples; one iteration is one frame of one channel.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <random>
#include <vector>

#include "aac/fdp_kernels.h"
#include "aac/mdct_kernels.h"
#include "aac/quant_inv_kernels.h"
#include "aac/stereo_kernels.h"
#include "aac/tns_kernels.h"
#include "moxac/aac.h"

namespace {

using namespace moxac;
using namespace moxac::aac;

std::mt19937& noise() {
  static std::mt19937 generator(5);
  return generator;
}

// Magnitudes up to `largest`, small ones more often.
std::vector<int32_t> quantized(int32_t largest) {
  std::vector<int32_t> x(1024);
  for (int32_t& v : x) {
    const double u = std::uniform_real_distribution<double>(-1, 1)(noise());
    v = static_cast<int32_t>(std::lround(u * u * u * largest));
  }
  return x;
}

std::vector<int32_t> spectrum() {
  std::vector<int32_t> x(1024);
  for (int32_t& v : x) v = static_cast<int32_t>(noise()()) >> 8;
  return x;
}

void lines(benchmark::State& state) { state.SetItemsProcessed(state.iterations() * 1024); }

void same(benchmark::State& state, const std::vector<int32_t>& a, const std::vector<int32_t>& b) {
  if (a != b) state.SkipWithError("differs from the scalar form");
}

struct LongFrame {
  int32_t groupLen[1] = {1};
  uint8_t codeBooks[49];
  int16_t scaleFactors[49];
  explicit LongFrame(uint8_t book) {
    std::fill_n(codeBooks, 49, book);
    std::fill_n(scaleFactors, 49, int16_t{110});
  }
};

void scalarQuantInv(const std::vector<int32_t>& in, std::vector<int32_t>& out) {
  const double gain = requantizeGain(110);
  for (size_t i = 0; i < 1024; ++i) out[i] = requantizeLine(in[i], gain);
}

void quantInv(benchmark::State& state) {
  const LongFrame f(11);
  const std::vector<int32_t> in = quantized(static_cast<int32_t>(state.range(0)));
  std::vector<int32_t> x(1024), want(1024);
  const auto run = [&] {
    std::copy(in.begin(), in.end(), x.begin());
    moxsQuantInv_AAC_32s_I(x.data(), f.scaleFactors, 1, f.groupLen, 49, f.codeBooks, 4, 1024);
  };
  run();
  scalarQuantInv(in, want);
  same(state, x, want);
  for (auto _ : state) {
    run();
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(quantInv)->Arg(3)->Arg(15)->Arg(8191);

void quantInvScalar(benchmark::State& state) {
  const std::vector<int32_t> in = quantized(static_cast<int32_t>(state.range(0)));
  std::vector<int32_t> x(1024);
  for (auto _ : state) {
    scalarQuantInv(in, x);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(quantInvScalar)->Arg(3)->Arg(15)->Arg(8191);

void intensity(benchmark::State& state) {
  const LongFrame f(15);
  const std::vector<int32_t> l = spectrum();
  std::vector<int32_t> r(1024), want(1024);
  LongFrame position = f;
  std::fill_n(position.scaleFactors, 49, int16_t{9});
  const auto run = [&] {
    moxsDecodeIsStereo_AAC_32s(l.data(), r.data(), position.scaleFactors, f.codeBooks, 1, f.groupLen, 49, 4,
                               1024);
  };
  run();
  for (size_t i = 0; i < 1024; ++i) want[i] = intensityLine(l[i], 9, false);
  same(state, r, want);
  for (auto _ : state) {
    run();
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(intensity);

void intensityScalar(benchmark::State& state) {
  const std::vector<int32_t> l = spectrum();
  std::vector<int32_t> r(1024);
  for (auto _ : state) {
    for (size_t i = 0; i < 1024; ++i) r[i] = intensityLine(l[i], 9, false);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(intensityScalar);

void midSide(benchmark::State& state) {
  LongFrame f(1);
  std::vector<int32_t> l = spectrum(), r = spectrum();
  for (auto _ : state) {
    moxsDecodeMsStereo_AAC_32s_I(l.data(), r.data(), 2, nullptr, f.codeBooks, 1, f.groupLen, 49, 4, 1024);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(midSide);

void pns(benchmark::State& state) {
  const LongFrame f(13);
  std::vector<int32_t> x(1024), flags(64);
  uint32_t generator = 1;
  for (auto _ : state) {
    moxsDecodePNS_AAC_32s(x.data(), flags.data(), f.codeBooks, f.scaleFactors, 49, 1, f.groupLen, 4, 1024,
                          &generator);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(pns);

void deinterleave(benchmark::State& state) {
  const int32_t groupLen[3] = {1, 5, 2};
  const std::vector<int32_t> x = spectrum();
  std::vector<int32_t> y(1024);
  for (auto _ : state) {
    moxsDeinterleaveSpectrum_AAC_32s(x.data(), y.data(), 3, groupLen, 4, 128);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(deinterleave);

template <bool decode>
void tns(benchmark::State& state) {
  const int32_t numFilt[1] = {1}, length[1] = {49}, order[1] = {static_cast<int32_t>(state.range(0))},
                res[1] = {4}, direction[1] = {0};
  const int8_t coef[12] = {3, -2, 1, 0, -1, 1, 0, 1, -1, 0, 1, 0};
  const std::vector<int32_t> in = spectrum();
  std::vector<int32_t> x(1024);
  for (auto _ : state) {
    std::copy(in.begin(), in.end(), x.begin());
    (decode ? moxsDecodeTNS_AAC_32s_I : moxsEncodeTNS_AAC_32s_I)(x.data(), numFilt, length, order, res, coef,
                                                                 direction, 49, 1, 4, 1024);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(tns<true>)->Arg(4)->Arg(12);
BENCHMARK(tns<false>)->Arg(4)->Arg(12);

struct Fdp {
  std::vector<uint8_t> memory = std::vector<uint8_t>(30000);
  MoxAacFdpState* state = nullptr;
  Fdp() { moxsFDPInit_32f(&state, 1024, memory.data()); }
};

std::vector<float> floats() {
  std::vector<float> x(1024);
  for (float& v : x) v = static_cast<float>(static_cast<int32_t>(noise()()) >> 12);
  return x;
}

void fdpForward(benchmark::State& state) {
  Fdp fdp;
  const std::vector<float> x = floats();
  std::vector<float> y(1024);
  for (auto _ : state) {
    moxsFDPFwd_32f(x.data(), y.data(), fdp.state);
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(fdpForward);

void fdpForwardScalar(benchmark::State& state) {
  Fdp fdp;
  std::vector<float> s(6 * 1024), y(1024), want(1024);
  const FdpArrays a{&s[0], &s[1024], &s[2048], &s[3072], &s[4096], &s[5120]};
  fdpResetLines(a, 0, 1024, 1);
  const std::vector<float> x = floats();
  const auto run = [&] {
    for (int32_t i = 0; i < 1024; ++i) fdpForward<Lanes1>(a, i, x.data(), y.data());
  };
  for (int frame = 0; frame < 5; ++frame) {
    run();
    moxsFDPFwd_32f(x.data(), want.data(), fdp.state);
  }
  if (y != want) state.SkipWithError("differs from the vectors");
  for (auto _ : state) {
    run();
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(fdpForwardScalar);

// Sequence 0 long, 2 eight short; stride 1 and 2.
void mdctInverse(benchmark::State& state) {
  const auto sequence = static_cast<int32_t>(state.range(0)), stride = static_cast<int32_t>(state.range(1));
  const std::vector<int32_t> X = spectrum();
  std::vector<int32_t> overlap(1024), buffer(MOX_AAC_MDCT_BUFFER_WORDS);
  std::vector<int16_t> pcm(2048);
  for (auto _ : state) {
    moxsMDCTInv_AAC_32s16s(X.data(), pcm.data(), overlap.data(), sequence, 1, 1, stride, buffer.data());
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(mdctInverse)->Args({0, 1})->Args({0, 2})->Args({2, 1});

void mdctInverseScalar(benchmark::State& state) {
  const FrameWindow window{static_cast<int32_t>(state.range(0)), 1, 1};
  const std::vector<int32_t> X = spectrum();
  std::vector<float> scratch(kMdctScratchFloats), vectorScratch(kMdctScratchFloats);
  const float* const a = inverseFrame<Lanes1>(X.data(), window, scratch.data());
  const float* const b = inverseFrame<Lanes8>(X.data(), window, vectorScratch.data());
  if (std::memcmp(a, b, 2048 * sizeof(float)) != 0) state.SkipWithError("differs from the vectors");
  for (auto _ : state) {
    inverseFrame<Lanes1>(X.data(), window, scratch.data());
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(mdctInverseScalar)->Arg(0)->Arg(2);

void mdctForward(benchmark::State& state) {
  std::vector<int32_t> x(2048), X(1024), buffer(MOX_AAC_MDCT_BUFFER_WORDS);
  for (int32_t& v : x) v = static_cast<int32_t>(noise()()) >> 8;
  for (auto _ : state) {
    moxsMDCTFwd_AAC_32s(x.data(), X.data(), static_cast<int32_t>(state.range(0)), 1, 1, buffer.data());
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(mdctForward)->Arg(0)->Arg(2);

void longTermPredict(benchmark::State& state) {
  std::vector<int32_t> history(MOX_AAC_LTP_HISTORY), P(1024), X = spectrum(),
                                                              buffer(MOX_AAC_MDCT_BUFFER_WORDS);
  for (int32_t& v : history) v = static_cast<int32_t>(noise()()) >> 8;
  MoxAacLtpInfo ltp{};
  ltp.ltpDataPresent = 1, ltp.ltpLag = 1500, ltp.ltpCoef = 14931;
  std::fill_n(ltp.longUsed, 40, 1);
  for (auto _ : state) {
    moxsLongTermPredict_AAC_32s(history.data(), P.data(), 0, 1, 1, &ltp, buffer.data());
    moxsLongTermReconstruct_AAC_32s(P.data(), X.data(), 0, 49, 4, &ltp, nullptr);
    moxsLtpUpdate_AAC_32s(P.data(), X.data(), history.data());
    benchmark::ClobberMemory();
  }
  lines(state);
}
BENCHMARK(longTermPredict);

}  // namespace
