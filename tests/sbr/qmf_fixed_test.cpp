// The fixed-point QMF banks: against the direct sums, at the limits of the words, in pieces, at every
// alignment; which state serves which operation, refusals.
#include <algorithm>

#include "moxac/sbr.h"
#include "sbr/qmf_reference.h"
#include "support/block.h"
#include "support/refusals.h"

namespace {

using namespace moxtest;

using Words = std::vector<int32_t>;
constexpr double kFullScale = 0x1p31;
constexpr double kSubBandWord = 1 << MOX_SBR_FIXED_SHIFT;  // in time words

// One bank behind a face without types. `real` banks have one word a sub-band sample, the others two.
struct Bank {
  const char* name;
  bool analysis, real;
  int bands;
  moxStatus (*getSize)(int32_t*);
  moxStatus (*init)(void*);
  moxStatus (*filter)(const int32_t* src, int32_t* dst, int slots, int kx, void* state);

  int subBandWords() const { return real ? bands : 2 * bands; }
  int in() const { return analysis ? bands : subBandWords(); }
  int out() const { return analysis ? subBandWords() : bands; }
  int32_t bytes() const {
    int32_t size = 0;
    EXPECT_EQ(getSize(&size), moxStatusOk);
    return size;
  }
  bool serves(const Bank& operation) const {
    return this == &operation || (!analysis && !operation.analysis && real == operation.real && bands == 64);
  }
};

// `call` are the filter's arguments out of src, dst (words), from, to (complex pairs), slots, kx and state.
// clang-format off
#define MOX_BANK(analysis, real, bands, Filter, Variant, State, call)                                       \
  {#Filter "_" #Variant, analysis, real, bands, moxs##Filter##GetSize_##Variant,                            \
   [](void* p) { return moxs##Filter##Init_##Variant(static_cast<State*>(p)); },                            \
   [](const int32_t* src, int32_t* dst, [[maybe_unused]] int slots, [[maybe_unused]] int kx, void* p) {     \
     [[maybe_unused]] auto* const from = reinterpret_cast<const Mox32sc*>(src);                             \
     [[maybe_unused]] auto* const to = reinterpret_cast<Mox32sc*>(dst);                                     \
     auto* const state = static_cast<State*>(p);                                                            \
     return moxs##Filter##_##Variant call;                                                                  \
   }}
// clang-format on
using A = MoxQmfFixedAnalysisState;
using S = MoxQmfFixedSynthesisState;
const Bank kBanks[] = {
    MOX_BANK(true, false, 32, AnalysisFilter, SBRHQ_32s32sc, A, (src, to, slots, kx, state)),
    MOX_BANK(true, true, 32, AnalysisFilter, SBRLP_32s, A, (src, dst, slots, kx, state)),
    MOX_BANK(false, false, 64, SynthesisFilter, SBRHQ_32sc32s, S, (from, dst, slots, state)),
    MOX_BANK(false, true, 64, SynthesisFilter, SBRLP_32s, S, (src, dst, slots, state)),
    MOX_BANK(false, false, 32, SynthesisDownFilter, SBRHQ_32sc32s, S, (from, dst, slots, state)),
    MOX_BANK(false, true, 32, SynthesisDownFilter, SBRLP_32s, S, (src, dst, slots, state)),
};
#undef MOX_BANK

// A state in memory of exactly the reported size between guards.
struct State {
  Block<uint8_t> memory;
  explicit State(const Bank& bank, int shift = 0) : memory(bank.bytes(), shift) {
    EXPECT_EQ(bank.init(memory.data()), moxStatusOk);
  }
  operator void*() { return memory.data(); }
};

Words run(const Bank& bank, const int32_t* src, int slots, void* state, int shift = 0, int kx = 32) {
  Block<int32_t> in(slots * bank.in(), shift), out(slots * bank.out(), (shift + 20) % 64);
  std::copy_n(src, in.size(), in.data());
  EXPECT_EQ(bank.filter(in, out, slots, kx, state), moxStatusOk) << bank.name;
  return {out.begin(), out.end()};
}

// What the direct sums give, in words, neither rounded nor saturated.
std::vector<double> reference(const Bank& bank, const int32_t* src, int slots) {
  static const auto full = qmfWindow<double>(1), half = qmfWindow<double>(2);
  std::vector<double> out;
  ReferenceAnalysis analysis(bank.real, half.data());
  ReferenceSynthesis synthesis(bank.bands, bank.real, (bank.bands == 64 ? full : half).data());
  for (int l = 0; l < slots; ++l, src += bank.in()) {
    if (bank.analysis) {
      for (const auto& x : analysis.slot(src)) {
        out.push_back(x.real() / kSubBandWord);
        if (!bank.real) out.push_back(x.imag() / kSubBandWord);
      }
    } else {
      Slot slot;
      for (int i = 0; i < bank.in(); i += bank.real ? 1 : 2)
        slot.emplace_back(src[i], bank.real ? 0 : src[i + 1]);
      for (const double y : synthesis.slot(slot)) out.push_back(y * kSubBandWord);
    }
  }
  return out;
}

// Input of `bits` bits and sign; full-scale noise for 31.
Block<int32_t> noiseWords(int64_t count, int bits) {
  Block<int32_t> words(count);
  for (int32_t& w : words) w >>= 31 - bits;
  return words;
}

TEST(QmfFixed, IsTheFormulaRoundedAndSaturatedAtEverySlot) {
  constexpr int kSlots = 97;  // batches and a single slot
  for (const Bank& bank : kBanks)
    for (const auto& [bits, kx] : {std::pair{31, 32}, {25, 17}, {8, 31}, {8, 0}}) {
      const auto src = noiseWords(kSlots * bank.in(), bits);
      State state(bank);
      const auto got = run(bank, src, kSlots, state, 0, kx);
      auto want = reference(bank, src, kSlots);
      ASSERT_EQ(got.size(), want.size());
      const auto width = static_cast<size_t>(bank.out()), kept = width / 32 * static_cast<size_t>(kx);
      for (size_t i = 0; bank.analysis && i < want.size(); ++i)
        if (i % width >= kept) want[i] = 0;  // sub-bands that are not wanted
      double worst = 0, noise = 0;
      int low = 0, high = 0;
      for (size_t i = 0; i < want.size(); ++i) {
        const double error = got[i] - std::clamp(want[i], -kFullScale, kFullScale - 1);
        worst = std::max(worst, std::abs(error));
        noise += error * error;
        low += want[i] < -kFullScale;
        high += want[i] > kFullScale;
      }
      const double rms = std::sqrt(noise / static_cast<double>(want.size())) / kFullScale;
      std::printf("%-33s %2d bits: rms error 2^%.2f of full scale, worst %.4f words, %d saturated\n",
                  bank.name, bits, std::log2(rms), worst, low + high);
      EXPECT_LT(worst, 0.51) << bank.name;
      EXPECT_LT(rms, std::exp2(-32)) << bank.name;
      const bool loud = !bank.analysis && bits == 31;
      EXPECT_EQ(low > 50, loud) << bank.name;
      EXPECT_EQ(high > 50, loud) << bank.name;
    }
}

// The loudest input of all, full scale with the signs of a sub-band's impulse response: what the header says
// of the largest word holds, and nothing overflows.
TEST(QmfFixed, AnalysisHasRoomForTheWorstInput) {
  const auto window = qmfWindow<double>(2);
  for (const bool real : {false, true}) {
    const Bank& bank = kBanks[real ? 1 : 0];
    double largest = 0;
    for (int part = 0; part < bank.subBandWords(); ++part) {
      const double band = M_PI / 64 * ((real ? part : part / 2) + 0.5);
      Words src(320);
      for (int m = 0; m < 320; ++m) {
        const auto turned = turn(band * (2 * (m % 64) - (real ? 96 : 0.5)));
        const double h = window[static_cast<size_t>(m)] * (!real && part % 2 ? turned.imag() : turned.real());
        src[static_cast<size_t>(319 - m)] = h < 0 ? INT32_MIN : INT32_MAX;
      }
      State state(bank);
      const auto got = run(bank, src.data(), 10, state);
      const auto word = got[got.size() - static_cast<size_t>(bank.out() - part)];
      EXPECT_GT(word, 0.3 * kFullScale);
      largest = std::max<double>(largest, word);
    }
    EXPECT_LT(largest, 0.57 * kFullScale);
    EXPECT_GT(largest, 0.54 * kFullScale);
  }
}

TEST(QmfFixed, SameWordsInPiecesAtEveryAlignment) {
  constexpr int kSlots = 70;
  for (const Bank& bank : kBanks) {
    const auto src = noiseWords(kSlots * bank.in(), 26);
    State whole(bank);
    const auto want = run(bank, src, kSlots, whole);
    for (int step = 1; step <= 64; ++step) {
      State pieces(bank, step - 1);
      Words got;
      for (int l = 0, n = 1; l < kSlots; l += n, n = step % 41) {  // 1 + n first, then n + n + ...
        n = std::clamp(n, 1, kSlots - l);
        const auto part = run(bank, src + l * bank.in(), n, pieces, 4 * (l + step) % 64);
        got.insert(got.end(), part.begin(), part.end());
      }
      EXPECT_SAME_BITS(got, want);
    }
  }
}

TEST(QmfFixed, EachOperationTakesItsOwnStatesAndTheDownSampledOnesTheFullBanks) {
  for (const Bank& operation : kBanks)
    for (const Bank& owner : kBanks) {
      State state(owner, 9);
      const Block<uint8_t> before = state.memory;
      const auto src = noiseWords(6 * operation.in(), 25);
      Block<int32_t> dst(6 * operation.out());
      const moxStatus status = operation.filter(src, dst, 6, 32, state);
      EXPECT_EQ(status, owner.serves(operation) ? moxStatusOk : moxStatusContextMismatch);
      if (status != moxStatusOk) {
        EXPECT_SAME_BITS(state.memory, before);
      }
    }
}

TEST(QmfFixed, AChangeOfRateOnASharedStateBeginsAfresh) {
  for (int b = 2; b < 4; ++b) {
    const Bank &full = kBanks[b], &down = kBanks[b + 2];
    State shared(full), own(down), fresh(full);
    const auto src = noiseWords(7 * full.in(), 25);
    const auto wantFull = run(full, src, 7, fresh), wantDown = run(down, src, 7, own);
    for (int turn = 0; turn < 2; ++turn) {
      EXPECT_SAME_BITS(run(full, src, 7, shared), wantFull);
      auto got = run(down, src, 3, shared);  // two calls: the second goes on where the first one stopped
      const auto rest = run(down, src + 3 * down.in(), 4, shared);
      got.insert(got.end(), rest.begin(), rest.end());
      EXPECT_SAME_BITS(got, wantDown);
    }
  }
}

// Each line spoils one argument less than the one before it.
TEST(QmfFixed, RefusesInOrder) {
  for (const Bank& bank : kBanks) {
    State own(bank), foreign(kBanks[bank.analysis ? 2 : 0]);
    Block<int32_t> src(2 * bank.in()), dst(2 * bank.out());
    run(bank, src, 2, own);
    const auto before = own.memory;
    const auto untouched = dst;
    expectNeedsEveryPointer(bank.filter, src, dst, 0, 33, foreign);
    EXPECT_EQ(bank.filter(src, dst, 0, 33, foreign), moxStatusContextMismatch);
    if (bank.analysis) {
      for (const int kx : {33, -1, INT32_MIN})
        EXPECT_EQ(bank.filter(src, dst, 0, kx, own), moxStatusOutOfRange);
    }
    for (const int slots : {0, -1, INT32_MIN})
      EXPECT_EQ(bank.filter(src, dst, slots, 32, own), moxStatusBadSize);
    EXPECT_SAME_BITS(own.memory, before);
    EXPECT_SAME_BITS(dst, untouched);
  }
}

}  // namespace
