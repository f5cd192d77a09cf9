// Properties that every filter bank of the library has, each written once: its direct form, the same in pieces and at any
// alignment, whose state serves whom, what comes back from a pair of banks.
#include "support/banks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace {

using namespace moxtest;

constexpr double kFullScale = 0x1p31;

TEST(Banks, EqualTheirDirectForms) {
  constexpr int kSlots = 97;  // batches and a single slot
  for (const Bank& bank : banks())
    for (const auto& [bits, kx] : {std::pair{31, 32}, {25, 17}, {8, 0}}) {
      if (!bank.fixed && bits != 31) continue;
      const Words src = noiseWords(bank, kSlots * bank.in(), bits);
      BankState state(bank);
      const Words got = run(bank, src.data(), kSlots, state, 4, kx);
      std::vector<double> want = bank.direct(src.data(), kSlots);
      ASSERT_EQ(got.size(), want.size());
      const auto width = static_cast<size_t>(bank.out()), kept = width / 32 * static_cast<size_t>(kx);
      Error error;
      int low = 0, high = 0;
      for (size_t i = 0; i < want.size(); ++i) {
        if (bank.takesKx && i % width >= kept) want[i] = 0;
        low += want[i]<-kFullScale, high += want[i]> kFullScale;
        error.add(bank.number(got[i]),
                  bank.fixed ? std::clamp(want[i], -kFullScale, kFullScale - 1) : want[i]);
      }
      std::printf("%-33s %2d bits: %.1f dB, rms error %.3g, worst %.3g, %d saturated\n", bank.name.c_str(),
                  bits, error.db(), error.rms(), error.worst, low + high);
      if (!bank.fixed) {
        EXPECT_GT(error.db(), bank.leastDb) << bank.name;
        continue;
      }
      EXPECT_LT(error.worst, 0.51) << bank.name;
      EXPECT_LT(error.rms(), 0.30) << bank.name << ": rounding alone makes 0.289";
      const bool loud = !bank.analysis && bits == 31;
      EXPECT_EQ(low > 50, loud) << bank.name;
      EXPECT_EQ(high > 50, loud) << bank.name;
    }
}

// However a signal is cut into calls, wherever its rows and its state lie, after any restart and in place, the same bits
// come out; the split and the interleaved form agree to the bit as well.
TEST(Banks, GiveTheSameBitsInPiecesAtEveryAlignment) {
  constexpr int kSlots = 70;
  Words previous;
  for (const Bank& bank : banks()) {
    noise().seed(5);  // the split forms' input is that of the interleaved ones
    const Words src = noiseWords(bank, kSlots * bank.in(), 26);
    BankState whole(bank);
    const Words want = run(bank, src.data(), kSlots, whole);
    EXPECT_TRUE(bank.name.find("32fc") == bank.name.npos || want == previous) << bank.name;
    previous = want;
    BankState pieces(bank, 5);
    for (int step = 1; step <= 64; ++step) {
      BankState other(bank, step - 1);
      BankState& state = step % 2 == 0 ? pieces : other;
      state.restart(bank);
      Words got;
      for (int l = 0, n = 1; l < kSlots; l += n, n = step % 41) {  // 1 + n first, then n + n + ...
        n = std::clamp(n, 1, kSlots - l);
        const Words part = run(bank, src.data() + l * bank.in(), n, state, 4 * (l + step) % 64);
        got.insert(got.end(), part.begin(), part.end());
      }
      ASSERT_EQ(got, want) << bank.name << " in pieces of " << step;
    }
    if (!bank.inPlace) continue;
    Words both = src;
    BankState again(bank);
    EXPECT_EQ(bank.filter(both.data(), both.data(), kSlots, 32, again.state), moxStatusOk);
    EXPECT_EQ(both, want) << bank.name << " in place";
  }
}

TEST(Banks, SubBandsFromKxOnAreClearedAndNothingElse) {
  for (const Bank& bank : banks())
    for (int kx = 0; kx <= 32 && bank.takesKx; ++kx) {
      BankState full(bank), kept(bank);
      const Words src = noiseWords(bank, 32 * 12);
      Words want = run(bank, src.data(), 10, full);
      for (size_t i = 0; i < want.size(); ++i)
        if (static_cast<int>(i) % bank.out() >= bank.out() / 32 * kx) want[i] = 0;
      EXPECT_EQ(run(bank, src.data(), 10, kept, 0, kx), want) << bank.name << " " << kx;
      EXPECT_EQ(run(bank, src.data() + 320, 2, kept), run(bank, src.data() + 320, 2, full))
          << "what it remembers";
    }
}

// A state answers to its own operation; the fixed-point synthesis banks of 64 bands also lend theirs to those of 32.
TEST(Banks, EachOperationTakesItsOwnStates) {
  const auto serves = [](const Bank& owner, const Bank& operation) {
    const auto is = [](const Bank& bank, const char* text) { return bank.name.find(text) != bank.name.npos; };
    if (is(owner, "DTS")) return is(operation, "DTS");
    return owner.name == operation.name ||
           (owner.fixed && operation.fixed && !owner.analysis && !operation.analysis &&
            owner.form.bands == 64 && owner.form.complex == operation.form.complex);
  };
  for (const Bank& operation : banks())
    for (const Bank& owner : banks()) {
      BankState state(owner, 9);
      const Block<uint8_t> before = state.memory;
      const Words src = noiseWords(operation, 6 * operation.in(), 25);
      const moxStatus status = prepare(operation, src.data(), 6, state.state).run();
      EXPECT_EQ(status, serves(owner, operation) ? moxStatusOk : moxStatusContextMismatch)
          << operation.name << " with a state of " << owner.name;
      EXPECT_TRUE(status == moxStatusOk || sameBits(state.memory, before));
    }
}

TEST(Banks, AChangeOfRateOnASharedStateBeginsAfresh) {
  for (const char* kind : {"SBRHQ_32sc32s", "SBRLP_32s"}) {
    const Bank &full = bankNamed(std::string("SynthesisFilter_") + kind),
               &down = bankNamed(std::string("SynthesisDownFilter_") + kind);
    BankState shared(full), own(down), fresh(full);
    const Words src = noiseWords(full, 7 * full.in(), 25);
    const Words wantFull = run(full, src.data(), 7, fresh), wantDown = run(down, src.data(), 7, own);
    for (int turn = 0; turn < 2; ++turn) {
      EXPECT_EQ(run(full, src.data(), 7, shared), wantFull);
      Words got =
          run(down, src.data(), 3, shared);  // two calls: the second goes on where the first one stopped
      const Words rest = run(down, src.data() + 3 * down.in(), 4, shared);
      got.insert(got.end(), rest.begin(), rest.end());
      EXPECT_EQ(got, wantDown);
    }
  }
}

// The loudest input of all, full scale with the signs of a sub-band's impulse response: what the header says of the largest
// word holds, and nothing overflows.
TEST(Banks, FixedAnalysisHasRoomForTheWorstInput) {
  for (const char* name : {"AnalysisFilter_SBRHQ_32s32sc", "AnalysisFilter_SBRLP_32s"}) {
    const Bank& bank = bankNamed(name);
    double largest = 0;
    for (int part = 0; part < bank.subBandWords(); ++part) {
      Words src(320);
      for (int i = 0; i < 320; ++i) {
        const Complex tap = bank.form.tap(bank.form.complex ? part / 2 : part, i);
        const double h = bank.form.complex && part % 2 != 0 ? tap.imag() : tap.real();
        src[static_cast<size_t>(319 - i)] = h < 0 ? INT32_MIN : INT32_MAX;
      }
      BankState state(bank);
      const Words got = run(bank, src.data(), 10, state);
      const int32_t word = got[got.size() - static_cast<size_t>(bank.out() - part)];
      EXPECT_GT(word, 0.3 * kFullScale);
      largest = std::max<double>(largest, word);
    }
    EXPECT_LT(largest, 0.57 * kFullScale);
    EXPECT_GT(largest, 0.54 * kFullScale);
  }
}

// Forty tones come back from analysis and synthesis, delayed, as clean as the prototype allows.
TEST(Banks, PairsGiveTheInputBack) {
  struct Pair {
    const char *analysis, *synthesis;
    int delay;  // samples of the output
    double leastDb;
  };
  for (const Pair& pair : {Pair{"AnalysisFilter_RToC_32f", "SynthesisFilter_CToR_32f", 578, 58.5},
                           {"AnalysisFilter_RToC_32f32fc", "SynthesisFilter_CToR_32fc32f", 578, 58.5},
                           {"AnalysisFilter_RToR_32f", "SynthesisFilter_RToR_32f", 578, 58.5},
                           {"AnalysisFilter_RToC_32f", "SynthesisDownFilter_CToR_32f", 289, 58.5},
                           {"AnalysisFilter_RToC_32f32fc", "SynthesisDownFilter_CToR_32fc32f", 289, 58.5},
                           {"AnalysisFilter_RToR_32f", "SynthesisDownFilter_RToR_32f", 289, 58.5},
                           {"AnalysisFilterEnc_SBR_32f", "SynthesisFilter_CToR_32fc32f", 577, 58.5},
                           {"AnalysisFilter_PQMF_MP3", "SynthesisFilter_PQMF_MP3", 481, 83}}) {
    constexpr int kSlots = 160;
    const Bank &analysis = bankNamed(pair.analysis), &synthesis = bankNamed(pair.synthesis);
    const int rate = synthesis.form.bands / analysis.form.bands;
    const auto tones = [](double t) {
      double x = 0;
      for (int i = 0; i < 40; ++i) x += std::sin((0.011 + 0.0739 * i) * t + i * i) / 40;
      return x;
    };
    Words src;
    for (int t = 0; t < kSlots * analysis.in(); ++t)
      src.push_back(std::bit_cast<int32_t>(static_cast<float>(tones(t))));
    BankState a(analysis), s(synthesis);
    const Words bands = run(analysis, src.data(), kSlots, a);
    const auto width = static_cast<size_t>(analysis.out());
    Words padded(static_cast<size_t>(kSlots * synthesis.in()));  // the upper bands of 64 are silent
    for (size_t i = 0; i < bands.size(); ++i)
      padded[i / width * static_cast<size_t>(synthesis.in()) + i % width] = bands[i];
    const Words out = run(synthesis, padded.data(), kSlots, s);
    Error error;
    for (int t = 1024; t < static_cast<int>(out.size()); ++t)
      error.add(synthesis.number(out[static_cast<size_t>(t)]), tones(double(t - pair.delay) / rate));
    std::printf("round trip %s -> %s: %.2f dB\n", pair.analysis, pair.synthesis, error.db());
    EXPECT_GT(error.db(), pair.leastDb);
  }
}

// The synthesis bank of DTS has no analysis beside it: its own filters, reversed in time, are one.
TEST(Banks, TheMatchedAnalysisOfDtsComesBackWithGain32) {
  constexpr int kSlots = 64;
  for (const auto& [kind, leastDb] : {std::pair{"perfect", 120}, {"not perfect", 80}}) {
    const Bank& bank = bankNamed(std::string("SynthesisFilter_DTS ") + kind);
    Block<float> input(32 * kSlots);
    Words bands;
    for (int t = 0; t < kSlots; ++t)
      for (int k = 0; k < 32; ++k) {
        double sum = 0;
        for (int i = std::max(0, 511 - 31 - 32 * t); i < 512; ++i)
          sum += bank.form.taps()[static_cast<size_t>(512 * k + i)].real() * input[32 * t + 31 - (511 - i)];
        bands.push_back(std::bit_cast<int32_t>(static_cast<float>(sum)));
      }
    BankState state(bank);
    const Words output = run(bank, bands.data(), kSlots, state);
    double signal = 0, product = 0, error = 0;
    const auto at = [&](int n) { return bank.number(output[static_cast<size_t>(n + 480)]); };
    for (int n = 512; n + 480 < 32 * kSlots; ++n)
      signal += std::pow(input[n], 2), product += input[n] * at(n);
    const double gain = product / signal;
    EXPECT_NEAR(gain, 32, 0.003);
    for (int n = 512; n + 480 < 32 * kSlots; ++n) error += std::pow(at(n) / gain - input[n], 2);
    EXPECT_GT(10 * std::log10(signal / error), leastDb) << kind;
  }
}

}  // namespace
