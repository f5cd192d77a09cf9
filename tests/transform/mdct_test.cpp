// The twenty MDCT operations: lifecycles, direct sums, reconstruction, 16-bit rounding.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>

#include "moxac/transform.h"
#include "support/alloc_spy.h"
#include "support/block.h"
#include "support/direct_forms.h"
#include "support/refusals.h"
#include "transform/mdct_kernels.h"

namespace {

using namespace moxac;
using namespace moxac::transform;
using namespace moxtest;

// The context operations of one kind.
struct Kind {
  const char* name;
  decltype(&moxsMDCTFwdGetSize_32f) getSize;
  decltype(&moxsMDCTFwdInit_32f) init;
  decltype(&moxsMDCTFwdInitAlloc_32f) initAlloc;
  decltype(&moxsMDCTFwdFree_32f) free;
  decltype(&moxsMDCTFwdGetBufSize_32f) getBufSize;
  bool mp3Lengths;
};
#define MOX_KIND(name, stem, type, mp3Lengths)                                               \
  {                                                                                          \
    name, moxs##stem##GetSize_##type, moxs##stem##Init_##type, moxs##stem##InitAlloc_##type, \
        moxs##stem##Free_##type, moxs##stem##GetBufSize_##type, mp3Lengths                   \
  }
const Kind kForward = MOX_KIND("forward", MDCTFwd, 32f, true);
const Kind kInverse = MOX_KIND("inverse", MDCTInv, 32f, true);
const Kind kForward16s = MOX_KIND("forward 16s", MDCTFwd, 16s, false);
#undef MOX_KIND
const Kind kKinds[] = {kForward, kInverse, kForward16s};

struct Sizes {
  int32_t spec = -1, init = -1, work = -1;
};

Sizes sizesOf(const Kind& kind, int32_t N) {
  Sizes s;
  EXPECT_EQ(kind.getSize(N, &s.spec, &s.init, &s.work), moxStatusOk) << kind.name << " " << N;
  return s;
}

// A context and a work buffer in guarded blocks of exactly the reported sizes.
struct Mdct {
  Mdct(const Kind& kind, int32_t N, int64_t shift = 0)
      : sizes(sizesOf(kind, N)),
        memory(sizes.spec, shift),
        scratch(sizes.init, shift),
        work(bufSize(kind, N), shift) {}
  int32_t bufSize(const Kind& kind, int32_t N) {
    EXPECT_EQ(kind.init(&spec, N, memory, scratch), moxStatusOk) << kind.name << " " << N;
    int32_t bytes = -1;
    EXPECT_EQ(kind.getBufSize(spec, &bytes), moxStatusOk);
    return bytes;
  }

  MoxMdctSpec* spec = nullptr;
  Sizes sizes;
  Block<uint8_t> memory, scratch, work;
};

const int32_t kLengths[] = {12, 36, 32, 64, 128, 256, 512, 1024, 2048, 4096};

TEST(Mdct, SizesAreTheDocumentedOnes) {
  const auto expect = [](const Kind& kind, int32_t N, int32_t spec, int32_t init, int32_t work) {
    const Sizes s = sizesOf(kind, N);
    EXPECT_EQ(s.spec, spec) << kind.name << " " << N;
    EXPECT_EQ(s.init, init) << kind.name << " " << N;
    EXPECT_EQ(s.work, work) << kind.name << " " << N;
  };
  for (const Kind& kind : {kForward, kInverse}) {
    expect(kind, 12, 192, 0, 176);
    expect(kind, 36, 240, 0, 272);
    expect(kind, 32, 504, 0, 320);
    expect(kind, 256, 952, 0, 1216);
    expect(kind, 512, 1536 + 64 + 1024 + 168, 0, 1088 + 64 + 2048 + 128);
    expect(kind, 2048, 4992 + 64 + 4096 + 168, 0, 4160 + 64 + 8192 + 128);
    expect(kind, 8192, 18816 + 64 + 16384 + 168, 2176, 16448 + 64 + 32768 + 128);
  }
  expect(kForward16s, 32, 320 + 32 + 232, 128, 128 + 32 + 64);
  expect(kForward16s, 128, 400 + 128 + 232, 64, 512 + 128 + 64);
  expect(kForward16s, 2048, 4992 + 192 + 2048 + 232, 64, 8320 + 2048 + 64);

  Mdct small(kForward, 32), mp3(kInverse, 36), table(kForward, 2048), words(kForward16s, 2048);
  EXPECT_EQ(small.work.size(), 192);
  EXPECT_EQ(mp3.work.size(), 4 * 36 + 64);
  EXPECT_EQ(table.work.size(), 4096 + 64 + 8192 + 64);
  EXPECT_EQ(words.work.size(), 8320 + 2048 + 64);
}

TEST(Mdct, RefusalsComeInOrder) {
  Block<uint8_t> memory(4096);
  for (const Kind& kind : kKinds) {
    Sizes s;
    MoxMdctSpec* spec = nullptr;
    expectNeedsEveryPointer(kind.getSize, 24, &s.spec, &s.init, &s.work);
    for (int32_t N : {INT32_MIN, -32, 0, 1, 2, 8, 12, 16, 24, 33, 36, 48, 1 << 29, 1 << 30, INT32_MAX}) {
      if (kind.mp3Lengths && (N == 12 || N == 36)) continue;
      EXPECT_EQ(kind.getSize(N, &s.spec, &s.init, &s.work), moxStatusBadSize) << N;
      EXPECT_EQ(kind.init(nullptr, N, nullptr, nullptr), moxStatusBadSize) << N;
      EXPECT_EQ(kind.initAlloc(nullptr, N), moxStatusNullPointer);
      EXPECT_EQ(kind.initAlloc(&spec, N), moxStatusBadSize) << N;
    }
    EXPECT_EQ(s.spec, -1);
    expectNeedsEveryPointer(kind.init, &spec, 32, memory, memory);
    EXPECT_EQ(spec, nullptr);
    if (kind.mp3Lengths) {
      EXPECT_EQ(kind.init(&spec, 12, memory, nullptr), moxStatusOk);
    }
    EXPECT_EQ(kind.init(&spec, 64, memory, memory), moxStatusOk);
    int32_t bytes = -1;
    expectNeedsEveryPointer(kind.getBufSize, spec, &bytes);
    expectNeedsEveryPointer(kind.free, spec);
    for (const Kind& other : kKinds) {
      if (other.name == kind.name) continue;
      EXPECT_EQ(other.getBufSize(spec, &bytes), moxStatusContextMismatch);
      EXPECT_EQ(other.free(spec), moxStatusContextMismatch);
    }

    // Each transform with its own contexts and with those of other kinds.
    float x[64] = {};
    int16_t words[64] = {};
    const auto expectChecks = [&](const Kind& owner, auto&& call) {  // call(src, dst, spec)
      EXPECT_EQ(call(nullptr, nullptr, nullptr), moxStatusNullPointer);
      const bool own = owner.name == kind.name;
      EXPECT_EQ(call(nullptr, x, spec), own ? moxStatusNullPointer : moxStatusContextMismatch);
      EXPECT_EQ(call(x, nullptr, spec), own ? moxStatusNullPointer : moxStatusContextMismatch);
    };
    using P = MoxMdctSpec*;
    expectChecks(kForward, [&](float* from, float* to, P p) { return moxsMDCTFwd_32f(from, to, p, memory); });
    expectChecks(kForward, [&](float*, float*, P p) { return moxsMDCTFwd_32f_I(nullptr, p, memory); });
    expectChecks(kInverse, [&](float* from, float* to, P p) { return moxsMDCTInv_32f(from, to, p, memory); });
    expectChecks(kInverse, [&](float*, float*, P p) { return moxsMDCTInv_32f_I(nullptr, p, memory); });
    expectChecks(kForward16s, [&](float* from, float* to, P p) {
      return moxsMDCTFwd_16s_Sfs(from ? words : nullptr, to ? words : nullptr, p, 0, memory);
    });
    EXPECT_EQ(kind.free(spec), moxStatusOk);
    EXPECT_EQ(kind.free(spec), moxStatusContextMismatch) << "the identifier is cleared";
  }
}

TEST(Mdct, InitAllocReleasesEverythingOnEachFailure) {
  for (const Kind& kind : kKinds)
    for (int32_t N : {12, 32, 2048, 8192}) {
      if (!kind.mp3Lengths && N == 12) continue;
      MoxMdctSpec* spec = nullptr;
      std::vector<int32_t> sizes;
      {
        AllocSpy spy;
        ASSERT_EQ(kind.initAlloc(&spec, N), moxStatusOk);
        sizes = spy.sizes();
        EXPECT_EQ(sizes[0], 40);
        EXPECT_EQ(spy.live(), N == 12 ? 2 : 3);
        if (kind.mp3Lengths) {
          EXPECT_EQ(sizes.back(), 2 * N);
        }
        EXPECT_EQ(kind.free(spec), moxStatusOk);
        EXPECT_EQ(spy.live(), 0);
      }
      for (int failAt = 0; failAt < static_cast<int>(sizes.size()); ++failAt) {
        AllocSpy spy(failAt);
        spec = reinterpret_cast<MoxMdctSpec*>(sizes.data());
        EXPECT_EQ(kind.initAlloc(&spec, N), moxStatusOutOfMemory);
        EXPECT_EQ(spec, nullptr);
        EXPECT_EQ(spy.live(), 0) << kind.name << " " << N << ", allocation " << failAt;
      }
    }
}

TEST(Mdct, TwiddlesStandInTheStatedLayout) {
  for (int32_t N : {12, 36, 32, 64, 1024})
    for (const Kind& kind : {kForward, kInverse}) {
      const Mdct mdct(kind, N);
      const double factor = kind.name == kForward.name ? std::sqrt(2.0) : 1 / std::sqrt(N / 2.0);
      const float* table = mdct.spec->twiddles;
      const auto expectPoint = [&](int64_t m, float c, float s) {
        const double t = 2 * std::acos(-1.0) * (static_cast<double>(m) + 0.125) / N;
        EXPECT_EQ(c, static_cast<float>(factor * std::cos(t))) << N << " " << m;
        EXPECT_EQ(s, static_cast<float>(factor * std::sin(t))) << N << " " << m;
      };
      if (N == 12 || N == 36) {
        for (int64_t m = 0; m < N / 4; ++m) expectPoint(m, table[2 * m], table[2 * m + 1]);
        continue;
      }
      for (int64_t b = 0; b < N / 32; ++b, table += 16)
        for (int64_t i = 0; i < 4; ++i) {
          expectPoint(4 * b + i, table[i], table[4 + i]);
          expectPoint(N / 4 - 4 * b - 4 + i, table[8 + i], table[12 + i]);
        }
    }
}

TEST(Mdct, EqualsTheDirectSums) {
  for (int32_t N : kLengths) {
    Mdct forward(kForward, N, N % 61), inverse(kInverse, N, N % 59);
    const Block<float> x(N, 4), X(N / 2, 8);
    Block<float> spectrum(N / 2, 12), samples(N, 20);
    ASSERT_EQ(moxsMDCTFwd_32f(x, spectrum, forward.spec, forward.work), moxStatusOk);
    ASSERT_EQ(moxsMDCTInv_32f(X, samples, inverse.spec, inverse.work), moxStatusOk);
    const double errorForward = relativeError(spectrum, directMdct(x.data(), N));
    const double errorInverse = relativeError(samples, directImdct(X.data(), N));
    std::printf("N = %4d: relative rms error %.2e forward, %.2e inverse\n", N, errorForward, errorInverse);
    EXPECT_LE(errorForward, 1.0e-7 * std::log2(N));
    EXPECT_LE(errorInverse, 1.0e-7 * std::log2(N));

    // In place: the same bits, and the upper half of a forward transform's array as it was.
    Block<float> both(x);
    ASSERT_EQ(moxsMDCTFwd_32f_I(both, forward.spec, forward.work), moxStatusOk);
    for (int64_t i = 0; i < N; ++i) ASSERT_EQ(both[i], i < N / 2 ? spectrum[i] : x[i]) << N << " " << i;
    std::memcpy(both.data(), X.data(), sizeof(float) * static_cast<size_t>(N / 2));
    ASSERT_EQ(moxsMDCTInv_32f_I(both, inverse.spec, inverse.work), moxStatusOk);
    EXPECT_SAME_BITS(both, samples);

    // Without a buffer: one allocation of the stored size, or the status.
    for (int failAt : {-1, 0}) {
      AllocSpy spy(failAt);
      const moxStatus want = failAt == 0 ? moxStatusOutOfMemory : moxStatusOk;
      EXPECT_EQ(moxsMDCTFwd_32f(x, both, forward.spec, nullptr), want);
      EXPECT_EQ(moxsMDCTInv_32f(X, both, inverse.spec, nullptr), failAt == 0 ? moxStatusOk : want);
      EXPECT_EQ(spy.sizes(), (std::vector<int32_t>{static_cast<int32_t>(forward.work.size()),
                                                   static_cast<int32_t>(inverse.work.size())}));
      EXPECT_EQ(spy.live(), 0);
      if (failAt < 0) {
        EXPECT_SAME_BITS(both, samples);
      }
    }
  }
}

// Every byte of the reported sizes may be needed, at any alignment, and none beyond (Block's guards tell).
TEST(Mdct, ExactBlocksAtEveryAlignment) {
  for (int32_t N : {12, 36, 32, 64, 256, 512, 8192})
    for (const Kind& kind : kKinds) {
      if (!kind.mp3Lengths && N <= 36 && N != 32) continue;
      const Block<float> x(N);
      const Block<int16_t> words(N);
      std::vector<float> want;
      for (int64_t shift = 0; shift < 64; ++shift) {
        Mdct mdct(kind, N, shift);
        Block<float> y(N, (5 * shift) % 64 & ~3);
        Block<int16_t> result(N / 2, (3 * shift) % 64 & ~1);
        y.fill(0);
        if (kind.name == kForward.name) {
          ASSERT_EQ(moxsMDCTFwd_32f(x, y, mdct.spec, mdct.work), moxStatusOk);
        } else if (kind.name == kInverse.name) {
          ASSERT_EQ(moxsMDCTInv_32f(x, y, mdct.spec, mdct.work), moxStatusOk);
        } else {
          ASSERT_EQ(moxsMDCTFwd_16s_Sfs(words, result, mdct.spec, 4, mdct.work), moxStatusOk);
          std::copy(result.begin(), result.end(), y.begin());
        }
        const std::vector<float> got(y.begin(), y.end());
        if (shift == 0) want = got;
        EXPECT_EQ(got, want) << kind.name << " " << N << " at " << shift;
      }
    }
}

// Noise, square waves and extremes at every level, with scale factors from heavy saturation to silence.
TEST(Mdct, SixteenBitIsWithinOneOfTheExactResult) {
  double worst = 0;
  for (int32_t N : {32, 64, 128, 512, 2048, 4096}) {
    Mdct mdct(kForward16s, N);
    Block<int16_t> x(N), X(N / 2);
    const auto expectClose = [&](const char* what) {
      const auto exact = directMdct(x.data(), N);
      for (int32_t scaleFactor = -3; scaleFactor <= 29; ++scaleFactor) {
        ASSERT_EQ(moxsMDCTFwd_16s_Sfs(x, X, mdct.spec, scaleFactor, mdct.work), moxStatusOk);
        for (int64_t k = 0; k < N / 2; ++k) {
          const double want =
              std::clamp(std::ldexp(exact[static_cast<size_t>(k)], -scaleFactor), -32768.0, 32767.0);
          ASSERT_LE(std::abs(X[k] - want), 1.0)
              << what << ", N " << N << ", shift " << scaleFactor << ", " << k;
          worst = std::max(worst, std::abs(X[k] - want));
        }
      }
    };
    for (int32_t level = 0; level <= 15; level += N <= 512 ? 1 : 5) {
      const auto peak = static_cast<int32_t>((1 << level) - 1);
      for (int16_t& v : x) v = static_cast<int16_t>(noiseValue<int16_t>() * peak / 32768);
      expectClose("noise");
    }
    for (int32_t period : {1, 7, 64, N}) {
      for (int64_t n = 0; n < N; ++n) x[n] = n / period % 2 == 0 ? INT16_MAX : INT16_MIN;
      expectClose("square wave");
    }
    // The ends of the range of scale factors have a defined result; in place works.
    for (int32_t scaleFactor : {INT32_MIN, -65, 31, 64, INT32_MAX}) {
      ASSERT_EQ(moxsMDCTFwd_16s_Sfs(x, X, mdct.spec, scaleFactor, nullptr), moxStatusOk);
      for (int64_t k = 0; k < N / 2; ++k)
        if (scaleFactor > 0) {
          ASSERT_EQ(X[k], 0);
        } else {
          ASSERT_TRUE(X[k] == INT16_MIN || X[k] == INT16_MAX);
        }
    }
    ASSERT_EQ(moxsMDCTFwd_16s_Sfs(x, X, mdct.spec, 11, mdct.work), moxStatusOk);
    ASSERT_EQ(moxsMDCTFwd_16s_Sfs(x, x, mdct.spec, 11, mdct.work), moxStatusOk);
    for (int64_t k = 0; k < N / 2; ++k) ASSERT_EQ(x[k], X[k]);
    x.fill(0);
    ASSERT_EQ(moxsMDCTFwd_16s_Sfs(x, X, mdct.spec, INT32_MIN, mdct.work), moxStatusOk);
    for (int16_t v : X) ASSERT_EQ(v, 0);
  }
  std::printf("16-bit: largest distance from the exact result %.3f\n", worst);
}

}  // namespace
