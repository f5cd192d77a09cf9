// Memory-bound operations beside memcpy of the same bytes; each pair is checked before it is timed, and the counter
// "vs_memcpy" is the ratio of times within the run (below 1: faster than memcpy). Then powers, gains, channels and
// code-book searches, by the value.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <limits>
#include <vector>

#include "moxac/util.h"

namespace {

// 64-byte aligned, touched once; successive arrays start at different places of a page, since loads behind
// stores to the same place of another page wait for them.
template <class T>
class Array {
 public:
  explicit Array(size_t n) : block_(n + 8192 / sizeof(T)) {
    static uintptr_t place = 0;
    place = (place + 1088) % 4096;
    const uintptr_t first = reinterpret_cast<uintptr_t>(block_.data());
    data = reinterpret_cast<T*>((first + 4095) / 4096 * 4096 + place);
    for (size_t i = 0; i < n; ++i) data[i] = static_cast<T>(i % 97);
  }
  Array(const Array&) = delete;
  T* data;

 private:
  std::vector<T> block_;
};

template <class Work>
double seconds(Work&& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

// The shortest of many alternating runs each: whatever else the machine does only ever adds.
template <class Ours, class Peer>
double ratioOfLeast(Ours&& ours, Peer&& peer) {
  double oursLeast = std::numeric_limits<double>::infinity(), peerLeast = oursLeast;
  for (int i = 0; i < 50; ++i) {
    oursLeast = std::min(oursLeast, seconds(ours));
    peerLeast = std::min(peerLeast, seconds(peer));
  }
  return oursLeast / peerLeast;
}

// Times `work`, which reads and writes as many bytes as copying `copyBytes` does.
template <class Work>
void besideMemcpy(benchmark::State& state, size_t copyBytes, Work&& work) {
  Array<char> from(copyBytes), to(copyBytes);
  const int repeat = static_cast<int>(std::max<size_t>(1, (size_t{1} << 22) / copyBytes));
  const auto copy = [&] {
    for (int r = 0; r < repeat; ++r) {
      std::memcpy(to.data, from.data, copyBytes);
      benchmark::ClobberMemory();
    }
  };
  const auto ours = [&] {
    for (int r = 0; r < repeat; ++r) work();
  };
  copy();
  ours();
  const double ratio = ratioOfLeast(ours, copy);
  for (auto _ : state) work();
  state.counters["vs_memcpy"] = ratio;
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * copyBytes * 2));
}

template <class T>
struct Channels {
  explicit Channels(size_t frames)
      : left(frames), right(frames), both(2 * frames), rows{left.data, right.data} {}
  Array<T> left, right, both;
  T* rows[2];
};

template <class T, auto operation>
void interleave(benchmark::State& state) {
  const auto frames = static_cast<int32_t>(static_cast<size_t>(state.range(0)) / (2 * sizeof(T)));
  Channels<T> c(static_cast<size_t>(frames));
  besideMemcpy(state, static_cast<size_t>(state.range(0)),
               [&] { operation(c.rows, 2, frames, c.both.data); });
  for (int32_t i = 0; i < frames; ++i)
    if (c.both.data[2 * i] != c.left.data[i]) state.SkipWithError("wrong result");
}

template <class T, auto operation>
void deinterleave(benchmark::State& state) {
  const auto frames = static_cast<int32_t>(static_cast<size_t>(state.range(0)) / (2 * sizeof(T)));
  Channels<T> c(static_cast<size_t>(frames));
  besideMemcpy(state, static_cast<size_t>(state.range(0)),
               [&] { operation(c.both.data, 2, frames, c.rows); });
  for (int32_t i = 0; i < frames; ++i)
    if (c.both.data[2 * i] != c.left.data[i]) state.SkipWithError("wrong result");
}

void scale(benchmark::State& state) {
  const auto n = static_cast<int32_t>(static_cast<size_t>(state.range(0)) / sizeof(float));
  Array<float> x(static_cast<size_t>(n));
  const int32_t offsets[] = {0, n / 3, n};
  const float gains[] = {1.0f, -1.0f};
  besideMemcpy(state, static_cast<size_t>(state.range(0)),
               [&] { moxsScale_32f_I(x.data, gains, offsets, 2); });
}

// Six bytes in or out of four: the copy moves half of the eight bytes that a value's mantissa, exponent and
// result take.
void makeFloat(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0) / 4);
  Array<int16_t> mant(static_cast<size_t>(n));
  Array<uint16_t> exp(static_cast<size_t>(n));
  Array<float> dst(static_cast<size_t>(n));
  besideMemcpy(state, static_cast<size_t>(n) * 4,
               [&] { moxsMakeFloat_16s32f(mant.data, exp.data, n, dst.data); });
}

void pow43(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0) / 3);
  Array<int16_t> src(static_cast<size_t>(n));
  Array<float> dst(static_cast<size_t>(n));
  besideMemcpy(state, static_cast<size_t>(n) * 3, [&] { moxsPow43_16s32f(src.data, dst.data, n); });
}

// nTaps rows and one block read, one row and one block written.
void fir(benchmark::State& state) {
  const auto taps = static_cast<int32_t>(state.range(0));
  const auto len = static_cast<int32_t>(state.range(1));
  Array<float> src(static_cast<size_t>(len)), dst(static_cast<size_t>(len)), c(static_cast<size_t>(taps));
  MoxFirBlockState* fir = nullptr;
  if (moxsFIRBlockInitAlloc_32f(&fir, taps, len) != moxStatusOk) return state.SkipWithError("no memory");
  besideMemcpy(state, static_cast<size_t>(taps + 3) * static_cast<size_t>(len) * 4 / 2,
               [&] { moxsFIRBlockOne_32f(src.data, dst.data, fir, c.data); });
  moxsFIRBlockFree_32f(fir);
}

// What takes more than a copy, in calls as a codec makes them: the time of a value.
constexpr int32_t kValues = 1024;

template <class Operation>
void eachValue(benchmark::State& state, Operation&& operation, int64_t values = kValues) {
  for (auto _ : state) {
    operation();
    benchmark::ClobberMemory();
  }
  state.counters["time/value"] =
      benchmark::Counter(static_cast<double>(state.iterations() * values),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

std::vector<int16_t> quantised(int32_t count) {
  std::vector<int16_t> values(static_cast<size_t>(count));
  uint32_t noise = 1;
  for (int16_t& v : values)
    v = static_cast<int16_t>(static_cast<int32_t>((noise = noise * 1664525 + 1013904223) >> 27) - 16);
  return values;
}

void pow43Scale(benchmark::State& state) {
  const std::vector<int16_t> x = quantised(kValues), gains = quantised(64);
  std::vector<int32_t> y(kValues), offsets;
  for (int32_t b = 0; b <= 64; ++b) offsets.push_back(16 * b);
  eachValue(state,
            [&] { moxsPow43Scale_16s32s_Sf(x.data(), y.data(), gains.data(), offsets.data(), 64, 0); });
  if (y[0] >= 0) state.SkipWithError("wrong result");  // the first value is negative
}

void pow34(benchmark::State& state) {
  const std::vector<int16_t> x = quantised(kValues);
  std::vector<int16_t> y(kValues);
  eachValue(state, [&] { moxsPow34_16s_Sfs(x.data(), y.data(), kValues, 0); });
}

void calcSF(benchmark::State& state) {
  const std::vector<int16_t> x = quantised(kValues);
  std::vector<float> y(kValues);
  eachValue(state, [&] { moxsCalcSF_16s32f(x.data(), y.data(), kValues, 100); });
}

void join(benchmark::State& state) {
  const auto channels = static_cast<int32_t>(state.range(0));
  const Array<float> x(kValues);
  const std::vector<const float*> rows(static_cast<size_t>(channels), x.data);
  std::vector<int16_t> y(static_cast<size_t>(channels) * kValues);
  eachValue(
      state, [&] { moxsJoin_32f16s_D2L(rows.data(), channels, kValues, y.data()); }, channels * kValues);
}

// 16 candidates of 64 vectors of 16 values from each book, and all pairs of them; a value is one of the target's.
void vqSearch(benchmark::State& state) {
  const Array<float> vectors(64 * 16), x(16);
  const std::vector<float> weight(16, 1.0f);
  MoxVqCodeBook* book = nullptr;
  if (moxsVQCodeBookInitAlloc_32f(vectors.data, 16, 64, static_cast<int32_t>(state.range(0)), &book) !=
      moxStatusOk)
    return state.SkipWithError("no memory");
  const int32_t len = 16;
  int32_t word0 = 0, word1 = 0;
  eachValue(
      state,
      [&] { moxsVQIndexSelect_32f(x.data, weight.data(), &len, &word0, &word1, 1, 16, 16, book, book); },
      len);
  moxsVQCodeBookFree_32f(book);
}

const std::vector<int64_t> kSizes = {16 << 10, 256 << 10, 64 << 20};

BENCHMARK(interleave<int16_t, moxsInterleave_16s>)->ArgsProduct({kSizes});
BENCHMARK(interleave<float, moxsInterleave_32f>)->ArgsProduct({kSizes});
BENCHMARK(deinterleave<int16_t, moxsDeinterleave_16s>)->ArgsProduct({kSizes});
BENCHMARK(deinterleave<float, moxsDeinterleave_32f>)->ArgsProduct({kSizes});
BENCHMARK(scale)->ArgsProduct({kSizes});
BENCHMARK(makeFloat)->ArgsProduct({kSizes});
BENCHMARK(pow43)->ArgsProduct({kSizes});
BENCHMARK(pow43Scale);
BENCHMARK(pow34);
BENCHMARK(calcSF);
BENCHMARK(join)->Arg(1)->Arg(2)->Arg(6)->Arg(8);
BENCHMARK(vqSearch)->Arg(0)->Arg(1);
BENCHMARK(fir)->Args({2, 1024})->Args({8, 1024})->Args({8, 16384})->Args({32, 1024})->Args({128, 1024});

}  // namespace
