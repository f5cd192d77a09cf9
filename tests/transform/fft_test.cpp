// The FFT engine: sizes, contexts, accuracy at every order, scaling.
#include "transform/fft.h"

#include <gtest/gtest.h>

#include <cstdio>

#include "support/alloc_spy.h"
#include "support/block.h"
#include "support/refusals.h"
#include "transform/fft_reference.h"
#include "transform/fft_tables.h"

namespace {

using namespace moxac;
using namespace moxac::transform;
using namespace moxtest;

struct Sizes {
  int32_t spec = -1, init = -1, work = -1;
  bool operator==(const Sizes& other) const {
    return spec == other.spec && init == other.init && work == other.work;
  }
};

Sizes sizesOf(int32_t order) {
  Sizes s;
  EXPECT_EQ(FftGetSize_C_32fc(order, FftScaleNone, 0, &s.spec, &s.init, &s.work), moxStatusOk);
  return s;
}

// A context in a block of exactly the reported size, `shift` bytes past a 64-byte boundary, between guards.
struct Fft {
  explicit Fft(int32_t order, int32_t flag = FftScaleNone, int64_t shift = 0)
      : sizes(sizesOf(order)), memory(sizes.spec, shift), init(sizes.init, shift), work(sizes.work, shift) {
    EXPECT_EQ(FftInit_C_32fc(&spec, order, flag, 0, memory, sizes.init > 0 ? init.data() : nullptr),
              moxStatusOk);
  }
  moxStatus forward(const Mox32fc* src, Mox32fc* dst) { return FftFwd_CToC_32fc(src, dst, spec, work); }
  moxStatus inverse(const Mox32fc* src, Mox32fc* dst) { return FftInv_CToC_32fc(src, dst, spec, work); }

  Sizes sizes;
  FftSpec* spec = nullptr;
  Block<uint8_t> memory, init, work;
};

// Complex noise at `shift` bytes from a 64-byte boundary (a multiple of 4).
struct Signal : Block<float> {
  explicit Signal(int64_t points, int64_t shift = 0) : Block(2 * points, shift) {}
  operator Mox32fc*() { return reinterpret_cast<Mox32fc*>(data()); }
  operator const Mox32fc*() const { return reinterpret_cast<const Mox32fc*>(data()); }
};

constexpr double kErrorPerOrder = 1.0e-7;

// Every twiddle is an entry of a quarter wave: the one built at compile time and those built by Init are the
// sines rounded once.
TEST(Fft, QuarterWavesAreRoundedOnce) {
  const auto expectWave = [](const float* wave, int64_t points) {
    for (int64_t k = 0; k <= points / 4; ++k)
      ASSERT_EQ(wave[k], static_cast<float>(std::sin(2 * std::acos(-1.0L) * static_cast<long double>(k) /
                                                     static_cast<long double>(points))))
          << k << " of " << points;
  };
  expectWave(kStaticQuarter.data(), 1024);
  for (int64_t points : {2048, 1 << 14, 1 << 18}) {
    std::vector<float> wave(static_cast<size_t>(points / 4 + 1));
    fillQuarterWave(wave.data(), points);
    expectWave(wave.data(), points);
  }
}

TEST(Fft, RefusalsComeInOrder) {
  for (auto* size : {FftGetSize_C_32fc, FftGetSizeWithCopy_C_32fc}) {
    Sizes s;
    EXPECT_EQ(size(31, 3, 0, nullptr, &s.init, &s.work), moxStatusBadFftOrder);
    expectNeedsEveryPointer(size, 30, 3, 0, &s.spec, &s.init, &s.work);
    EXPECT_EQ(size(30, 3, 0, &s.spec, &s.init, &s.work), moxStatusBadFftFlag);
    for (int32_t order : {-1, 29, 30})
      EXPECT_EQ(size(order, 8, 0, &s.spec, &s.init, &s.work), moxStatusBadFftOrder);
    EXPECT_EQ(s, Sizes{});
  }

  Block<uint8_t> memory(sizesOf(11).spec);
  FftSpec* spec = nullptr;
  EXPECT_EQ(FftInit_C_32fc(nullptr, 29, 3, 0, nullptr, nullptr), moxStatusNullPointer);
  EXPECT_EQ(FftInit_C_32fc(&spec, 29, 3, 0, nullptr, nullptr), moxStatusBadFftOrder);
  EXPECT_EQ(FftInit_C_32fc(&spec, -1, 3, 0, nullptr, nullptr), moxStatusBadFftOrder);
  EXPECT_EQ(FftInit_C_32fc(&spec, 28, 3, 0, nullptr, nullptr), moxStatusNullPointer);
  EXPECT_EQ(spec, nullptr);

  // A refused flag, or missing scratch, leaves a context that nothing accepts.
  Signal x(2048);
  int32_t bytes = -1;
  for (int32_t flag : {3, 8}) {
    EXPECT_EQ(FftInit_C_32fc(&spec, 11, flag, 0, memory, nullptr),
              flag == 3 ? moxStatusBadFftFlag : moxStatusNullPointer);
    ASSERT_NE(spec, nullptr);
    EXPECT_EQ(FftFwd_CToC_32fc(nullptr, x, spec, nullptr), moxStatusContextMismatch);
    EXPECT_EQ(FftInv_CToC_32fc(x, x, spec, nullptr), moxStatusContextMismatch);
    EXPECT_EQ(FftGetWorkSize_C_32fc(spec, &bytes), moxStatusContextMismatch);
  }
  Fft good(3);
  for (auto* transform : {FftFwd_CToC_32fc, FftInv_CToC_32fc})
    expectNeedsPointers(transform, 3, x, x, good.spec, nullptr);
  expectNeedsEveryPointer(FftGetWorkSize_C_32fc, good.spec, &bytes);
}

TEST(Fft, WorkBufferIsTheCallersOrOneAllocation) {
  for (int32_t order : {6, 7, 10, 12}) {
    Fft fft(order);
    Signal x(1 << order), given(1 << order), own(1 << order);
    int32_t bytes = -1;
    ASSERT_EQ(FftGetWorkSize_C_32fc(fft.spec, &bytes), moxStatusOk);
    EXPECT_EQ(bytes, order <= 6 ? 0 : (8 << order) + 64);
    EXPECT_EQ(fft.forward(x, given), moxStatusOk);
    {
      AllocSpy spy;
      EXPECT_EQ(FftFwd_CToC_32fc(x, own, fft.spec, nullptr), moxStatusOk);
      EXPECT_EQ(spy.sizes(), order <= 6 ? std::vector<int32_t>{} : std::vector<int32_t>{8 << order});
      EXPECT_EQ(spy.live(), 0);
    }
    EXPECT_SAME_BITS(own, given);
    if (order <= 6) continue;
    AllocSpy spy(0);
    EXPECT_EQ(FftFwd_CToC_32fc(x, own, fft.spec, nullptr), moxStatusOutOfMemory);
    EXPECT_EQ(spy.live(), 0);
  }
}

TEST(Fft, EqualsTheReferenceAtEveryOrder) {
  double worst = 0;
  for (int32_t order = 0; order <= 20; ++order) {
    const int64_t n = int64_t{1} << order;
    Fft fft(order, FftScaleNone, order * 5 % 64);
    const Signal x(n, 4 * (order % 3));
    Signal forward(n, 4), inverse(n, 12), inPlace(x);
    ASSERT_EQ(fft.forward(x, forward), moxStatusOk);
    ASSERT_EQ(fft.inverse(x, inverse), moxStatusOk);
    const double errorForward = relativeError(forward, doubleFft(x, n, -1));
    const double errorInverse = relativeError(inverse, doubleFft(x, n, +1));
    EXPECT_LE(errorForward, kErrorPerOrder * order) << "order " << order;
    EXPECT_LE(errorInverse, kErrorPerOrder * order) << "order " << order;
    std::printf("order %2d: relative rms error %.2e forward, %.2e inverse\n", order, errorForward,
                errorInverse);
    if (order > 0) worst = std::max(worst, errorForward / order);

    ASSERT_EQ(fft.forward(inPlace, inPlace), moxStatusOk);
    EXPECT_SAME_BITS(inPlace, forward);
  }
  std::printf("worst forward error per order: %.2e\n", worst);
}

TEST(Fft, AnyAlignmentGivesTheSameBits) {
  for (int32_t order = 0; order <= 9; ++order) {
    Fft fft(order);
    const Signal x(1 << order);
    Signal want(1 << order);
    fft.forward(x, want);
    for (int64_t shift = 0; shift < 64; ++shift) {
      Fft shifted(order, FftScaleNone, shift);
      Signal src(1 << order, shift & ~3), dst(1 << order, (63 - shift) & ~3);
      std::memcpy(src.data(), x.data(), static_cast<size_t>(8) << order);
      ASSERT_EQ(shifted.forward(src, dst), moxStatusOk);
      EXPECT_EQ(std::memcmp(dst.data(), want.data(), static_cast<size_t>(8) << order), 0)
          << order << " " << shift;
    }
  }
}

TEST(Fft, EveryScaleMode) {
  for (int32_t order : {0, 1, 2, 3, 4, 5, 6, 7, 9, 12, 19}) {
    const int64_t n = int64_t{1} << order;
    const Signal x(n);
    Signal plainForward(n), plainInverse(n), y(n);
    Fft plain(order);
    plain.forward(x, plainForward);
    plain.inverse(x, plainInverse);
    EXPECT_TRUE(plain.spec->scaleForward == 0 && plain.spec->scaleInverse == 0 && plain.spec->scale == 0);
    const float byN = 1.0f / static_cast<float>(n);
    const float bySqrt = static_cast<float>(1 / std::sqrt(static_cast<double>(n)));
    const auto expectScaled = [&](const Signal& unscaled, float factor) {
      Signal want(unscaled);
      for (float& v : want) v *= factor;
      EXPECT_SAME_BITS(y, want);
    };
    for (int32_t flag : {FftScaleFwdByN, FftScaleInvByN, FftScaleBySqrtN}) {
      Fft scaled(order, flag);
      scaled.forward(x, y);
      expectScaled(plainForward, flag == FftScaleFwdByN ? byN : flag == FftScaleBySqrtN ? bySqrt : 1.0f);
      scaled.inverse(x, y);
      expectScaled(plainInverse, flag == FftScaleInvByN ? byN : flag == FftScaleBySqrtN ? bySqrt : 1.0f);
    }
  }
}

}  // namespace
