// The float QMF banks: against the direct sums, in pieces, at every alignment, round trips, refusals.
#include <algorithm>
#include <cstring>

#include "sbr/qmf_banks.h"
#include "sbr/qmf_context.h"
#include "sbr/qmf_reference.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;
using moxac::sbr::QmfHeader;

constexpr int kSlots = 96;
constexpr double kLoudestSubBand =
    45.2;  // magnitude of a full-scale sine: the sum of the low-pass's 320 taps

QmfHeader& header(void* spec) { return *static_cast<QmfHeader*>(spec); }

template <class BankT>
int lineFloats(const BankT& bank) {
  return std::is_same_v<BankT, AnalysisBank> ? 320 : 20 * bank.bands;
}

struct Error {
  double noise = 0, signal = 0, count = 0;
  void add(double got, double want) {
    noise += (got - want) * (got - want);
    signal += want * want;
    count += 1;
  }
  double rms() const { return std::sqrt(noise / count); }
  double db() const { return 10 * std::log10(signal / noise); }
};

TEST(QmfAnalysis, FollowsTheFormulaAtEverySlot) {
  const auto window = qmfWindow(2);
  for (const AnalysisBank& bank : kAnalysisBanks) {
    AnalysisContext context(bank);
    const Block<float> src(32 * kSlots, 4);
    const auto got = bank.run(src, window.data(), kSlots, 32, context);
    ReferenceAnalysis reference(bank.real(), window.data());
    Error error;
    size_t i = 0;
    for (int l = 0; l < kSlots; ++l)
      for (const auto& x : reference.slot(src + 32 * l)) {
        error.add(got[i++], x.real());
        if (!bank.real()) error.add(got[i++], x.imag());
      }
    std::printf("analysis %-17s rms error 2^%.2f, %.1f dB\n", bank.name, std::log2(error.rms()), error.db());
    EXPECT_LT(error.rms(), std::exp2(-25) * kLoudestSubBand) << bank.name;
    EXPECT_GT(error.db(), 136) << bank.name;
  }
}

TEST(QmfSynthesis, FollowsTheFormulaAtEverySlot) {
  for (const SynthesisBank& bank : kSynthesisBanks) {
    const auto window = qmfWindow(64 / bank.bands);
    SynthesisContext context(bank);
    const Block<float> in(bank.values() * kSlots);
    const auto got = bank.run(in, window.data(), kSlots, context);
    ReferenceSynthesis reference(bank.bands, bank.real(), window.data());
    Error error;
    const float* x = in;
    for (int l = 0; l < kSlots; ++l) {
      Slot slot(static_cast<size_t>(bank.bands));
      for (auto& value : slot) {
        value = bank.real() ? x[0] : std::complex<double>(x[0], x[1]);
        x += bank.real() ? 1 : 2;
      }
      const auto want = reference.slot(slot);
      for (size_t r = 0; r < want.size(); ++r)
        error.add(got[static_cast<size_t>(l) * want.size() + r], want[r]);
    }
    std::printf("synthesis %-17s rms error 2^%.2f, %.1f dB\n", bank.name, std::log2(error.rms()), error.db());
    EXPECT_LT(error.rms(), std::exp2(-25)) << bank.name;
    EXPECT_GT(error.db(), 136) << bank.name;
  }
}

// However a signal is cut into calls, wherever its rows and its context lie, and after any restart, the same
// bits come out; the split and the interleaved form agree to the bit as well.
template <class BankT, class Context, class Run>
void expectSameBitsInPieces(const BankT& bank, int floatsPerSlot, const Run& run,
                            std::vector<float>& previousForm) {
  noise().seed(5);
  const Block<float> in(floatsPerSlot * kSlots);
  Context whole(bank);
  const auto want = run(in.data(), kSlots, whole, 0);
  if (bank.form == Form::interleaved) {
    EXPECT_SAME_BITS(want, previousForm);
  }
  previousForm = want;

  Context pieces(bank, 5);
  for (int step = 1; step <= 40; ++step) {
    pieces.restart(bank);
    std::vector<float> got;
    for (int l = 0, n = 1; l < kSlots; l += n, n = step) {  // 1 + n first, then n + n + ...
      n = std::min(n, kSlots - l);
      const auto part = run(in + l * floatsPerSlot, n, pieces, 4 * (l + step) % 64);
      got.insert(got.end(), part.begin(), part.end());
    }
    EXPECT_SAME_BITS(got, want);
    EXPECT_EQ(header(pieces.spec).position, header(whole.spec).position);
    const auto line = static_cast<size_t>(lineFloats<BankT>(bank)) * sizeof(float);
    EXPECT_EQ(0, std::memcmp(header(pieces.spec).delay, header(whole.spec).delay, line));
  }
}

TEST(QmfAnalysis, SameBitsInPieces) {
  const auto window = qmfWindow(2);
  std::vector<float> previous;
  for (const AnalysisBank& bank : kAnalysisBanks)
    expectSameBitsInPieces<AnalysisBank, AnalysisContext>(
        bank, 32,
        [&](const float* in, int slots, AnalysisContext& context, int shift) {
          return bank.run(in, window.data(), slots, 32, context, shift);
        },
        previous);
}

TEST(QmfSynthesis, SameBitsInPieces) {
  std::vector<float> previous;
  for (const SynthesisBank& bank : kSynthesisBanks) {
    const auto window = qmfWindow(64 / bank.bands);
    expectSameBitsInPieces<SynthesisBank, SynthesisContext>(
        bank, bank.values(),
        [&](const float* in, int slots, SynthesisContext& context, int shift) {
          return bank.run(in, window.data(), slots, context, shift);
        },
        previous);
  }
}

TEST(QmfAnalysis, KxClearsTheUpperBandsAndNothingElse) {
  const auto window = qmfWindow(2);
  for (const AnalysisBank& bank : kAnalysisBanks)
    for (int kx = 0; kx <= 32; ++kx) {
      AnalysisContext full(bank), kept(bank);
      const Block<float> src(32 * 12);
      const auto got = bank.run(src, window.data(), 10, kx, kept);  // a batch and two single slots
      auto want = bank.run(src, window.data(), 10, 32, full);
      const auto width = static_cast<size_t>(bank.values()), from = width * static_cast<size_t>(kx) / 32;
      for (size_t i = 0; i < want.size(); ++i)
        if (i % width >= from) want[i] = 0;
      EXPECT_SAME_BITS(got, want);
      EXPECT_EQ(header(kept.spec).position, 0) << "ten slots go once round";
      EXPECT_SAME_BITS(bank.run(src + 320, window.data(), 2, 32, kept),
                       bank.run(src + 320, window.data(), 2, 32, full));
    }
}

// 32-band analysis into either synthesis: 40 tones return delayed, as clean as the prototype allows.
TEST(QmfRoundTrip, GivesTheInputBackWithinThePrototypesLimit) {
  constexpr int kLong = 160;
  const auto window32 = qmfWindow(2), window64 = qmfWindow(1);
  for (const AnalysisBank& analysis : kAnalysisBanks)
    for (const SynthesisBank& synthesis : kSynthesisBanks) {
      if (analysis.form != synthesis.form) continue;
      const int rate = synthesis.bands / 32, delay = 289 * rate;
      const auto tones = [](double t) {
        double x = 0;
        for (int i = 0; i < 40; ++i) x += std::sin((0.011 + 0.0739 * i) * t + i * i) / 40;
        return x;
      };
      Block<float> src(32 * kLong);
      for (int t = 0; t < 32 * kLong; ++t) src[t] = static_cast<float>(tones(t));
      AnalysisContext a(analysis);
      SynthesisContext s(synthesis);
      const auto bands = analysis.run(src, window32.data(), kLong, 32, a);
      const auto width = static_cast<size_t>(analysis.values());
      std::vector<float> padded(width * static_cast<size_t>(rate * kLong));
      for (size_t i = 0; i < bands.size(); ++i)
        padded[i / width * width * static_cast<size_t>(rate) + i % width] = bands[i];
      const auto out = synthesis.run(padded.data(), (rate == 2 ? window64 : window32).data(), kLong, s);
      Error error;
      for (int t = 1024; t < static_cast<int>(out.size()); ++t)
        error.add(out[static_cast<size_t>(t)], tones(double(t - delay) / rate));
      std::printf("round trip %s -> %s: %.2f dB\n", analysis.name, synthesis.name, error.db());
      EXPECT_GT(error.db(), 58.5);
    }
}

template <class BankT, class Spec>
void expectStatedSizesAndLayout(const BankT& bank) {
  int32_t spec = 0, init = 0, work = 0;
  expectNeedsEveryPointer(bank.getSize, &spec, &init, &work);
  ASSERT_EQ(bank.getSize(&spec, &init, &work), moxStatusOk);
  EXPECT_EQ(spec, bank.bytes);
  EXPECT_EQ(init, 4);
  EXPECT_EQ(work, 4);

  for (int shift = 0; shift < 64; ++shift) {
    ContextOf<BankT, Spec> context(bank, shift);
    const auto base = (reinterpret_cast<uintptr_t>(context.memory.data()) + 15) & ~uintptr_t{15};
    const uintptr_t transformBytes = bank.real() ? 16 : 208;
    EXPECT_EQ(reinterpret_cast<uintptr_t>(context.spec), base + transformBytes);
    const QmfHeader& h = header(context.spec);
    uint32_t identifier;
    std::memcpy(&identifier, context.spec, 4);
    EXPECT_EQ(identifier, bank.identifier);
    EXPECT_EQ(h.position, 0);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(h.delay), base + transformBytes + 64);
    EXPECT_GE(reinterpret_cast<uintptr_t>(h.transform), base);
    uint32_t transformId;
    std::memcpy(&transformId, h.transform, 4);
    const bool analysis = std::is_same_v<Spec, MoxQmfAnalysisSpec>;
    EXPECT_EQ(transformId, !bank.real() ? 4u : analysis ? 22u : 21u);
    const int floats = lineFloats(bank) + (bank.identifier == 0x434D415B ? 1 : 0);
    EXPECT_TRUE(std::all_of(h.delay, h.delay + floats, [](float v) { return v == 0.0f; }));
  }

  uint8_t memory[8192], buffer[4];
  Spec* out = nullptr;
  expectNeedsEveryPointer(bank.init, &out, memory, buffer);
  EXPECT_EQ(out, nullptr);
}

TEST(QmfContext, StatedSizesAndLayout) {
  for (const AnalysisBank& bank : kAnalysisBanks)
    expectStatedSizesAndLayout<AnalysisBank, MoxQmfAnalysisSpec>(bank);
  for (const SynthesisBank& bank : kSynthesisBanks)
    expectStatedSizesAndLayout<SynthesisBank, MoxQmfSynthesisSpec>(bank);
}

// Each line spoils one argument less than the one before it, so the first status is the answer. Nulls alone come
// behind the others, with nothing to do: a missing test would give moxStatusOk.
TEST(QmfAnalysis, RefusesInOrder) {
  const auto window = qmfWindow(2);
  const float* const w = window.data();
  for (const AnalysisBank& bank : kAnalysisBanks) {
    AnalysisContext own(bank), foreign(kAnalysisBanks[bank.form == Form::real ? 0 : 2]);
    bank.run(Block<float>(96), w, 3, 32, own);
    const Block<uint8_t> before = own.memory;
    Rows rows(2, 64, 0), rowsIm(2, 64, 0);
    const Block<float> untouched = rows.blocks[0], src(64);
    uint8_t work[4];
    EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, 0, 33, nullptr, work), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, nullptr, 0, 0, 33, foreign, work), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, 0, 33, foreign, nullptr), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, 0, 33, foreign, work), moxStatusContextMismatch);
    for (const int kx : {33, -1})
      EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, 0, kx, own, work), moxStatusBadSize);
    EXPECT_EQ(bank.raw(nullptr, &rows, &rowsIm, w, 0, 0, 32, own, work), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(src, nullptr, &rowsIm, w, 0, 0, 32, own, work), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(src, &rows, nullptr, w, 0, 0, 32, own, work),
              bank.form == Form::split ? moxStatusNullPointer : moxStatusOk);
    for (const int slots : {0, -5})
      EXPECT_EQ(bank.raw(src, &rows, &rowsIm, w, slots, 0, 32, own, work), moxStatusOk);
    EXPECT_SAME_BITS(own.memory, before);
    EXPECT_SAME_BITS(rows.blocks[0], untouched);
  }
}

TEST(QmfSynthesis, RefusesInOrder) {
  for (const SynthesisBank& bank : kSynthesisBanks) {
    const auto window = qmfWindow(64 / bank.bands);
    const float* const w = window.data();
    SynthesisContext own(bank);
    bank.run(Block<float>(3 * bank.values()), w, 3, own);
    const Block<uint8_t> before = own.memory;
    Rows rows(1, 128, 0), rowsIm(1, 128, 0);
    Block<float> dst(64);
    const Block<float> untouched = dst;
    uint8_t work[4];
    for (const SynthesisBank& other : kSynthesisBanks) {
      if (&other == &bank) continue;
      SynthesisContext foreign(other);
      EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, nullptr, work), moxStatusNullPointer);
      EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, nullptr, 0, foreign, work), moxStatusNullPointer);
      EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, foreign, nullptr), moxStatusNullPointer);
      EXPECT_EQ(bank.raw(nullptr, nullptr, nullptr, w, 0, foreign, work), moxStatusContextMismatch);
    }
    EXPECT_EQ(bank.raw(nullptr, &rowsIm, dst, w, 0, own, work), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(&rows, &rowsIm, nullptr, w, 0, own, work), moxStatusNullPointer);
    EXPECT_EQ(bank.raw(&rows, nullptr, dst, w, 0, own, work),
              bank.form == Form::split ? moxStatusNullPointer : moxStatusOk);
    EXPECT_EQ(bank.raw(&rows, &rowsIm, dst, w, 0, own, work), moxStatusOk);
    EXPECT_SAME_BITS(own.memory, before);
    EXPECT_SAME_BITS(dst, untouched);
  }
}

}  // namespace
