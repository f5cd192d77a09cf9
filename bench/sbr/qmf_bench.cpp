// A frame of 32 slots through each filter bank, float and fixed-point, beside the direct sums in double precision. The
// counters give the time of a slot and how many times faster than real time a 48 kHz stereo stream would be.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>

#include "support/banks.h"

namespace {

using moxtest::Bank;

constexpr int kSlots = 32;

void report(benchmark::State& state, const Bank& bank) {
  const double slots = static_cast<double>(state.iterations()) * kSlots;
  state.counters["time/slot"] =
      benchmark::Counter(slots, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
  const double rate = bank.form.bands == 64 ? 48000 : 24000;  // of the time side: 32 bands are half of 64
  state.counters["x48k_stereo"] =
      benchmark::Counter(slots * bank.form.bands / rate / 2, benchmark::Counter::kIsRate);
}

void throughBank(benchmark::State& state, const Bank& bank, int slotsPerCall) {
  const moxtest::Words src = moxtest::noiseWords(bank, kSlots * bank.in(), 24);
  moxtest::BankState memory(bank);
  std::vector<moxtest::BankCall> calls;
  for (int l = 0; l < kSlots; l += slotsPerCall)
    calls.push_back(moxtest::prepare(bank, src.data() + l * bank.in(), slotsPerCall, memory.state));
  const auto frame = [&] {
    for (const moxtest::BankCall& call : calls) call.run();
  };
  frame();
  const std::vector<double> want = bank.direct(src.data(), kSlots);
  const moxtest::Words got = calls.back().result();
  for (size_t i = 0; i < got.size(); ++i)
    if (std::abs(bank.number(got[i]) - want[want.size() - got.size() + i]) > (bank.fixed ? 0.6 : 1e-4))
      state.SkipWithError("differs from the direct sums");
  for (auto _ : state) {
    frame();
    benchmark::ClobberMemory();
  }
  report(state, bank);
}

void directSums(benchmark::State& state, const Bank& bank) {
  const moxtest::Words src = moxtest::noiseWords(bank, kSlots * bank.in());
  for (auto _ : state) benchmark::DoNotOptimize(bank.direct(src.data(), kSlots));
  report(state, bank);
}

[[maybe_unused]] const bool registered = [] {
  for (const Bank& bank : moxtest::banks()) {
    const auto add = [&](const char* what, auto run) {
      benchmark::RegisterBenchmark((bank.name + what).c_str(),
                                   [&bank, run](benchmark::State& s) { run(s, bank); });
    };
    add("", [](benchmark::State& s, const Bank& b) { throughBank(s, b, kSlots); });
    add("/one_slot_a_call", [](benchmark::State& s, const Bank& b) { throughBank(s, b, 1); });
    if (!bank.fixed) add("/direct_sums", directSums);
  }
  return true;
}();

}  // namespace
