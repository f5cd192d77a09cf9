// Complex FFT and MDCT beside FFTW (measured plans; for the MDCT with a plain fold around its complex
// transform) and FFmpeg's two families, every result checked before it is timed. The first two benchmarks
// measure what the processor's AVX units can do at most.
//
//   bench_transform --benchmark_repetitions=9 --benchmark_out=transform.json
//   tools/plot_transform.py transform.json        writes docs/performance/transform.md and its plot
#include <benchmark/benchmark.h>

#include <cmath>
#include <complex>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "moxac/transform.h"
#include "support/direct_forms.h"
#include "transform/fft.h"
#include "transform/fft_reference.h"

#ifdef HAVE_FFTW3F
#include <fftw3.h>
#endif
#ifdef HAVE_LIBAVUTIL
extern "C" {
#include <libavutil/mem.h>
#include <libavutil/tx.h>
}
#endif
#ifdef HAVE_LIBAVCODEC
extern "C" {
#include <libavcodec/avfft.h>
}
#endif

namespace {

using namespace moxac;
using namespace moxac::transform;

// 64-byte aligned floats.
class Floats {
 public:
  explicit Floats(int64_t count)
      : data_(static_cast<float*>(std::aligned_alloc(64, static_cast<size_t>(count * 4 + 127) / 64 * 64))) {
    std::mt19937 noise(1);
    for (int64_t i = 0; i < count; ++i) data_.get()[i] = std::uniform_real_distribution<float>(-1, 1)(noise);
  }
  operator float*() const { return data_.get(); }
  uint8_t* bytes() const { return reinterpret_cast<uint8_t*>(data_.get()); }
  Mox32fc* complex() const { return reinterpret_cast<Mox32fc*>(data_.get()); }

 private:
  struct Release {
    void operator()(float* p) const { std::free(p); }
  };
  std::unique_ptr<float, Release> data_;
};

// A benchmark body runs several times; only the first checks its result.
struct Case {
  benchmark::State& state;
  bool& checked;
};

// error(): of the result, relative; a transform that is wrong is not timed.
void time(const Case& c, const std::function<double()>& error, double operations,
          const std::function<void()>& run) {
  run();
  if (!c.checked && !(error() < 3e-6)) return c.state.SkipWithError("wrong result");
  c.checked = true;
  for (auto _ : c.state) {
    run();
    benchmark::ClobberMemory();
  }
  c.state.counters["flops"] = benchmark::Counter(operations, benchmark::Counter::kIsIterationInvariantRate);
}

void add(const std::string& name, const std::function<void(const Case&)>& body) {
  benchmark::RegisterBenchmark(name.c_str(),
                               [body, checked = std::make_shared<bool>(false)](benchmark::State& state) {
                                 body(Case{state, *checked});
                               });
}

// Sixteen additions, or eight additions and eight products, over fourteen registers: enough independent ones
// to keep every unit busy.
void peak(benchmark::State& state, bool products) {
  __asm__ volatile("vzeroall" ::
                       : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",
                         "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
  for (auto _ : state)
    for (int i = 0; i < 64; ++i)
      if (products)
        __asm__ volatile(
            ".irp a,0,2,4,6,8,10,12\n\t vaddps %%ymm15, %%ymm\\a, %%ymm\\a\n\t .endr\n\t"
            ".irp m,1,3,5,7,9,11,13\n\t vmulps %%ymm15, %%ymm\\m, %%ymm\\m\n\t .endr" ::
                : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",
                  "xmm11", "xmm12", "xmm13");
      else
        __asm__ volatile(
            ".irp a,0,1,2,3,4,5,6,7,8,9,10,11,12,13\n\t vaddps %%ymm15, %%ymm\\a, %%ymm\\a\n\t .endr" ::
                : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9", "xmm10",
                  "xmm11", "xmm12", "xmm13");
  state.counters["flops"] = benchmark::Counter(64 * 14 * 8, benchmark::Counter::kIsIterationInvariantRate);
}

double fftError(const Floats& x, const Floats& y, int64_t n) {
  return moxtest::relativeError(y.complex(), moxtest::doubleFft(x.complex(), n, -1));
}

void fftOwn(const Case& c, int32_t order) {
  const int64_t n = int64_t{1} << order;
  int32_t specSize = 0, initSize = 0, workSize = 0;
  FftGetSize_C_32fc(order, FftScaleNone, 0, &specSize, &initSize, &workSize);
  const Floats memory(specSize / 4 + 1), init(initSize / 4 + 1), work(workSize / 4 + 1), x(2 * n), y(2 * n);
  FftSpec* spec = nullptr;
  FftInit_C_32fc(&spec, order, FftScaleNone, 0, memory.bytes(), init.bytes());
  const auto run = [&] { FftFwd_CToC_32fc(x.complex(), y.complex(), spec, work.bytes()); };
  time(
      c, [&] { return fftError(x, y, n); }, 5.0 * static_cast<double>(n) * order, run);
}

#ifdef HAVE_FFTW3F
struct Plan {
  Plan(int64_t n, float* x, float* y)
      : plan(fftwf_plan_dft_1d(static_cast<int>(n), reinterpret_cast<fftwf_complex*>(x),
                               reinterpret_cast<fftwf_complex*>(y), FFTW_FORWARD,
                               (n <= 8192 ? FFTW_PATIENT : FFTW_MEASURE) | FFTW_PRESERVE_INPUT)) {}
  ~Plan() { fftwf_destroy_plan(plan); }
  fftwf_plan plan;
};

void fftFftw(const Case& c, int32_t order) {
  const int64_t n = int64_t{1} << order;
  const Floats x(2 * n), y(2 * n), fresh(2 * n);
  const Plan plan(n, x, y);
  std::copy(static_cast<float*>(fresh), fresh + 2 * n, static_cast<float*>(x));  // measuring overwrote it
  const auto run = [&] { fftwf_execute(plan.plan); };
  time(
      c, [&] { return fftError(x, y, n); }, 5.0 * static_cast<double>(n) * order, run);
}
#endif

#ifdef HAVE_LIBAVUTIL
void fftAv(const Case& c, int32_t order) {
  const int64_t n = int64_t{1} << order;
  const Floats x(2 * n), y(2 * n);
  AVTXContext* context = nullptr;
  av_tx_fn transform = nullptr;
  if (av_tx_init(&context, &transform, AV_TX_FLOAT_FFT, 0, static_cast<int>(n), nullptr, 0) < 0)
    return c.state.SkipWithError("length not offered");
  const auto run = [&] {
    transform(context, static_cast<float*>(y), static_cast<float*>(x),
              static_cast<ptrdiff_t>(sizeof(AVComplexFloat)));
  };
  time(
      c, [&] { return fftError(x, y, n); }, 5.0 * static_cast<double>(n) * order, run);
  av_tx_uninit(&context);
}
#endif

// How far a result is from the direct sum; peers scale and sign theirs as they like, so the best factor is
// found first.
double mdctError(const float* got, const std::vector<double>& want) {
  double cross = 0, energy = 0, error = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    cross += got[i] * want[i];
    energy += static_cast<double>(got[i]) * got[i];
  }
  double norm = 0;
  for (size_t i = 0; i < want.size(); ++i) {
    error += std::pow(cross / energy * got[i] - want[i], 2);
    norm += want[i] * want[i];
  }
  return std::sqrt(error / norm);
}

double checked(bool inverse, int32_t N, const float* x, const float* y) {
  return mdctError(y, inverse ? moxtest::directImdct(x, N) : moxtest::directMdct(x, N));
}

// The FFT inside counts, and two rotations of N/4 points.
double mdctOperations(int32_t N) { return N / 4.0 * (5 * std::log2(N / 4.0) + 12) + N; }

void mdctOwn(const Case& c, int32_t N, bool inverse) {
  MoxMdctSpec* spec = nullptr;
  (inverse ? moxsMDCTInvInitAlloc_32f : moxsMDCTFwdInitAlloc_32f)(&spec, N);
  int32_t bytes = 0;
  (inverse ? moxsMDCTInvGetBufSize_32f : moxsMDCTFwdGetBufSize_32f)(spec, &bytes);
  const Floats work(bytes / 4 + 1), x(N), y(N);
  const auto transform = inverse ? moxsMDCTInv_32f : moxsMDCTFwd_32f;
  const auto run = [&] { transform(x, y, spec, work.bytes()); };
  time(
      c, [&] { return checked(inverse, N, x, y); }, mdctOperations(N), run);
  (inverse ? moxsMDCTInvFree_32f : moxsMDCTFwdFree_32f)(spec);
}

#ifdef HAVE_FFTW3F
// Fold, rotate, transform N/4 points, rotate, unfold, all but the transform in plain loops.
void mdctFftw(const Case& c, int32_t N, bool inverse) {
  const int64_t L = N / 4;
  const Floats x(N), y(N), zIn(2 * L), zOut(2 * L), turns(2 * L);
  const Plan plan(L, zIn, zOut);
  const double factor = inverse ? 1 / std::sqrt(N / 2.0) : std::sqrt(2.0);
  for (int64_t m = 0; m < L; ++m) {
    turns[2 * m] =
        static_cast<float>(factor * std::cos(moxtest::kTurn * (static_cast<double>(m) + 0.125) / N));
    turns[2 * m + 1] =
        static_cast<float>(factor * std::sin(moxtest::kTurn * (static_cast<double>(m) + 0.125) / N));
  }
  float *const in = zIn, *const out = zOut, *const src = x, *const dst = y;
  const float* const w = turns;
  const auto rotateTo = [&](int64_t m, float a, float b) {
    in[2 * m] = a * w[2 * m] + b * w[2 * m + 1];
    in[2 * m + 1] = b * w[2 * m] - a * w[2 * m + 1];
  };
  const auto re = [&](int64_t k) { return out[2 * k] * w[2 * k] + out[2 * k + 1] * w[2 * k + 1]; };
  const auto im = [&](int64_t k) { return out[2 * k + 1] * w[2 * k] - out[2 * k] * w[2 * k + 1]; };
  const auto forward = [&] {
    int64_t n = 0;
    for (; 2 * n < L; ++n)
      rotateTo(n, -src[3 * L - 1 - 2 * n] - src[3 * L + 2 * n], src[L - 1 - 2 * n] - src[L + 2 * n]);
    for (; n < L; ++n)
      rotateTo(n, src[2 * n - L] - src[3 * L - 1 - 2 * n], -src[L + 2 * n] - src[5 * L - 1 - 2 * n]);
    fftwf_execute(plan.plan);
    for (int64_t k = 0; k < L; ++k) {
      dst[2 * k] = re(k);
      dst[2 * L - 1 - 2 * k] = -im(k);
    }
  };
  const auto backward = [&] {
    for (int64_t n = 0; n < L; ++n) rotateTo(n, src[2 * n], src[2 * L - 1 - 2 * n]);
    fftwf_execute(plan.plan);
    for (int64_t k = 0; k < L; ++k) {
      dst[L + 2 * k] = im(k);
      dst[3 * L - 1 - 2 * k] = -re(k);
    }
    for (int64_t n = 0; n < L; ++n) {
      dst[n] = -dst[2 * L - 1 - n];
      dst[3 * L + n] = dst[3 * L - 1 - n];
    }
  };
  const auto run = [&] { inverse ? backward() : forward(); };
  time(
      c, [&] { return checked(inverse, N, x, y); }, mdctOperations(N), run);
}
#endif

#ifdef HAVE_LIBAVUTIL
void mdctAv(const Case& c, int32_t N, bool inverse) {
  const Floats x(N), y(N);
  AVTXContext* context = nullptr;
  av_tx_fn transform = nullptr;
  const float scale = 1;
  if (av_tx_init(&context, &transform, AV_TX_FLOAT_MDCT, inverse ? 1 : 0, N / 2, &scale,
                 inverse ? uint64_t{AV_TX_FULL_IMDCT} : 0) < 0)
    return c.state.SkipWithError("length not offered");
  const auto run = [&] { transform(context, static_cast<float*>(y), static_cast<float*>(x), sizeof(float)); };
  time(
      c, [&] { return checked(inverse, N, x, y); }, mdctOperations(N), run);
  av_tx_uninit(&context);
}
#endif

#ifdef HAVE_LIBAVCODEC
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
// The older family, whose kernels are written in assembly.
void mdctAvOld(const Case& c, int32_t N, bool inverse) {
  const Floats x(N), y(N);
  FFTContext* const context = av_mdct_init(static_cast<int>(std::log2(N)), inverse ? 1 : 0, 1.0);
  if (context == nullptr) return c.state.SkipWithError("length not offered");
  const auto run = [&] { inverse ? av_imdct_calc(context, y, x) : av_mdct_calc(context, y, x); };
  time(
      c, [&] { return checked(inverse, N, x, y); }, mdctOperations(N), run);
  av_mdct_end(context);
}
#pragma GCC diagnostic pop
#endif

const bool kRegistered = [] {
  add("peak/add", [](const Case& c) { peak(c.state, false); });
  add("peak/add_multiply", [](const Case& c) { peak(c.state, true); });
  for (int32_t order = 2; order <= 20; ++order) {
    const std::string name = "fft/" + std::to_string(int64_t{1} << order);
    add(name + "/moxac", [=](const Case& c) { fftOwn(c, order); });
#ifdef HAVE_FFTW3F
    add(name + "/FFTW", [=](const Case& c) { fftFftw(c, order); });
#endif
#ifdef HAVE_LIBAVUTIL
    if (order <= 17)  // beyond, it sums directly
      add(name + "/FFmpeg tx", [=](const Case& c) { fftAv(c, order); });
#endif
  }
  for (const bool inverse : {false, true})
    for (int32_t N : {12, 36, 32, 64, 128, 256, 512, 1024, 2048, 4096, 8192}) {
      const std::string name = std::string(inverse ? "imdct/" : "mdct/") + std::to_string(N);
      add(name + "/moxac", [=](const Case& c) { mdctOwn(c, N, inverse); });
#ifdef HAVE_FFTW3F
      add(name + "/FFTW", [=](const Case& c) { mdctFftw(c, N, inverse); });
#endif
#ifdef HAVE_LIBAVUTIL
      if (N != 12 && N != 36)  // there it sums directly
        add(name + "/FFmpeg tx", [=](const Case& c) { mdctAv(c, N, inverse); });
#endif
#ifdef HAVE_LIBAVCODEC
      if (N != 12 && N != 36) add(name + "/FFmpeg mdct", [=](const Case& c) { mdctAvOld(c, N, inverse); });
#endif
    }
  return true;
}();

}  // namespace
