// Every sub-band filter bank of the library behind one face: slots in, slots out, complex sub-band samples as pairs,
// whatever rows, records and words an operation wants. Each comes with its direct form, so that a property or a
// measurement is written once for all.
#pragma once

#include <bit>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "moxac/mp3.h"
#include "moxac/sbr.h"
#include "moxac/transform.h"
#include "support/block.h"
#include "support/direct_forms.h"

namespace moxtest {

// Rows of floats, each in memory of its own, `shift` bytes off a 64-byte boundary, with guards around.
struct Rows {
  std::deque<Block<float>> blocks;
  std::vector<float*> pointers;

  Rows(int slots, int floats, int shift) {
    for (int l = 0; l < slots; ++l) pointers.push_back(blocks.emplace_back(floats, shift).data());
  }
  template <class T>
  T* const* as() {
    return reinterpret_cast<T* const*>(pointers.data());
  }
};

using Words = std::vector<int32_t>;  // of an operation's numbers: 32-bit integers, or the bits of floats

// An operation with its arguments in place: rows, buffers and all. What it made is there after each run.
struct BankCall {
  std::function<moxStatus()> run;
  std::function<Words()> result;
};

struct Bank {
  std::string name;
  bool analysis, fixed;
  ModulatedBank form;
  double leastDb;  // of signal over error, beside the direct form
  double outUnit;  // a word of the output is worth this much of the direct form of the input's words
  bool takesKx, inPlace;
  std::function<int32_t()> bytes;
  std::function<void*(uint8_t* memory)> start;  // returns the state
  // One of the two: on plain arrays, or on rows `shift` bytes off a boundary.
  std::function<moxStatus(const int32_t* src, int32_t* dst, int slots, int kx, void* state)> filter;
  std::function<BankCall(const int32_t* src, int slots, int kx, void* state, int shift)> rows;

  int subBandWords() const { return form.complex ? 2 * form.bands : form.bands; }
  int in() const { return analysis ? form.bands : subBandWords(); }
  int out() const { return analysis ? subBandWords() : form.bands; }

  double number(int32_t word) const { return fixed ? word : static_cast<double>(std::bit_cast<float>(word)); }

  // The direct sums over `slots` slots of input, in words of the output, neither rounded nor saturated.
  std::vector<double> direct(const int32_t* src, int slots) const {
    const int width = form.complex ? 2 : 1;
    std::vector<double> out;
    if (analysis) {
      std::vector<double> x;
      for (int i = 0; i < slots * in(); ++i) x.push_back(number(src[i]));
      for (const Complex& v : form.analysis(x)) {
        out.push_back(v.real() / outUnit);
        if (form.complex) out.push_back(v.imag() / outUnit);
      }
      return out;
    }
    std::vector<Complex> x;
    for (int i = 0; i < slots * in(); i += width)
      x.emplace_back(number(src[i]), form.complex ? number(src[i + 1]) : 0);
    out = form.synthesis(x);
    for (double& v : out) v /= outUnit;
    return out;
  }
};

// A state in memory of exactly the reported size, between guards.
struct BankState {
  Block<uint8_t> memory;
  void* state = nullptr;
  explicit BankState(const Bank& bank, int shift = 0) : memory(bank.bytes(), shift) { restart(bank); }
  void restart(const Bank& bank) {
    state = bank.start(memory);
    EXPECT_NE(state, nullptr) << bank.name;
  }
};

inline BankCall prepare(const Bank& bank, const int32_t* src, int slots, void* state, int shift = 0,
                        int kx = 32) {
  if (bank.rows) return bank.rows(src, slots, kx, state, shift);
  const auto in = std::make_shared<Block<int32_t>>(slots * bank.in(), shift);
  const auto out = std::make_shared<Block<int32_t>>(slots * bank.out(), (shift + 20) % 64);
  std::copy_n(src, in->size(), in->data());
  return {[=, &bank] { return bank.filter(*in, *out, slots, kx, state); },
          [=] { return Words(out->begin(), out->end()); }};
}

inline Words run(const Bank& bank, const int32_t* src, int slots, BankState& state, int shift = 0,
                 int kx = 32) {
  const BankCall call = prepare(bank, src, slots, state.state, shift, kx);
  EXPECT_EQ(call.run(), moxStatusOk) << bank.name;
  return call.result();
}

// White noise in a bank's words, integers of `bits` bits and sign.
inline Words noiseWords(const Bank& bank, int64_t count, int bits = 31) {
  Words words(static_cast<size_t>(count));
  for (int32_t& w : words)
    w = bank.fixed ? noiseValue<int32_t>() >> (31 - bits) : std::bit_cast<int32_t>(noiseValue<float>());
  return words;
}

namespace bank_faces {

// Sizes and Init, of a state that is a block of bytes or of a context that Init lays out.
template <class State>
void life(Bank& bank, moxStatus (*getSize)(int32_t*), moxStatus (*init)(State*)) {
  bank.bytes = [=] {
    int32_t size = 0;
    EXPECT_EQ(getSize(&size), moxStatusOk);
    return size;
  };
  bank.start = [=](uint8_t* memory) {
    return init(reinterpret_cast<State*>(memory)) == moxStatusOk ? memory : nullptr;
  };
}
template <class Spec>
void life(Bank& bank, moxStatus (*getSize)(int32_t*, int32_t*, int32_t*),
          moxStatus (*init)(Spec**, uint8_t*, uint8_t*)) {
  bank.bytes = [=] {
    int32_t size = 0, initBytes, workBytes;
    EXPECT_EQ(getSize(&size, &initBytes, &workBytes), moxStatusOk);
    return size;
  };
  bank.start = [=](uint8_t* memory) {
    uint8_t initBuffer[4];
    Spec* spec = nullptr;
    return init(&spec, memory, initBuffer) == moxStatusOk ? static_cast<void*>(spec) : nullptr;
  };
}

inline std::vector<float> floats(const std::vector<double>& v) { return {v.begin(), v.end()}; }

// Row by row: real rows, rows of pairs, or rows of real and of imaginary parts, as the operation's signature says.
template <class... P>
void filterRows(Bank& bank, moxStatus (*op)(const float*, P...)) {
  using Op = decltype(op);
  using Spec = MoxQmfAnalysisSpec;
  using Row = float* const*;
  constexpr bool split =
      std::is_invocable_v<Op, const float*, Row, Row, const float*, int, int, int, Spec*, uint8_t*>;
  constexpr bool real =
      std::is_invocable_v<Op, const float*, Row, const float*, int, int, int, Spec*, uint8_t*>;
  bank.rows = [op, w = floats(bank.form.window), width = split ? bank.form.bands : bank.subBandWords()](
                  const int32_t* src, int slots, int kx, void* state, int shift) -> BankCall {
    constexpr int offset = 2;  // rows that are left alone
    const auto a = std::make_shared<Rows>(offset + slots, width, shift);
    const auto b = std::make_shared<Rows>(offset + slots, width, (shift + 20) % 64);
    const auto x = std::make_shared<Block<int32_t>>(slots * 32, shift);
    std::copy_n(src, x->size(), x->data());
    const auto run = [=, spec = static_cast<Spec*>(state)] {
      uint8_t work[4];
      const auto* const in = reinterpret_cast<const float*>(x->data());
      if constexpr (split)
        return op(in, a->as<float>(), b->as<float>(), w.data(), slots, offset, kx, spec, work);
      else if constexpr (real)
        return op(in, a->as<float>(), w.data(), slots, offset, kx, spec, work);
      else
        return op(in, a->as<Mox32fc>(), w.data(), slots, offset, kx, spec, work);
    };
    return {run, [=] {
              Words out;
              for (size_t l = offset; l < a->pointers.size(); ++l)
                for (int i = 0; i < width; ++i) {
                  out.push_back(std::bit_cast<int32_t>(a->pointers[l][i]));
                  if (split) out.push_back(std::bit_cast<int32_t>(b->pointers[l][i]));
                }
              return out;
            }};
  };
}
template <class Row, class... P>
void filterRows(Bank& bank, moxStatus (*op)(const Row* const*, P...)) {
  constexpr bool split = sizeof...(P) == 6;
  bank.rows = [op, w = floats(bank.form.window), width = split ? bank.form.bands : bank.subBandWords(),
               bands = bank.form.bands](const int32_t* src, int slots, int, void* state,
                                        int shift) -> BankCall {
    const auto a = std::make_shared<Rows>(slots, width, shift);
    const auto b = std::make_shared<Rows>(slots, width, (shift + 20) % 64);
    const auto y = std::make_shared<Block<int32_t>>(slots * bands, shift);
    for (size_t l = 0; l < a->pointers.size(); ++l)
      for (int i = 0; i < width; ++i) {
        a->pointers[l][i] = std::bit_cast<float>(*src++);
        if (split) b->pointers[l][i] = std::bit_cast<float>(*src++);
      }
    const auto run = [=, spec = static_cast<MoxQmfSynthesisSpec*>(state)] {
      uint8_t work[4];
      auto* const out = reinterpret_cast<float*>(y->data());
      if constexpr (split)
        return op(a->as<const float>(), b->as<const float>(), out, w.data(), slots, spec, work);
      else
        return op(a->as<const Row>(), out, w.data(), slots, spec, work);
    };
    return {run, [=] { return Words(y->begin(), y->end()); }};
  };
}

// Of plain arrays of words.
template <class In, class Out, class State>
void filterWords(Bank& bank, moxStatus (*op)(const In*, Out*, int32_t, State*)) {
  bank.filter = [op](const int32_t* src, int32_t* dst, int slots, int, void* state) {
    return op(reinterpret_cast<const In*>(src), reinterpret_cast<Out*>(dst), slots,
              static_cast<State*>(state));
  };
}
template <class In, class Out, class State>
void filterWords(Bank& bank, moxStatus (*op)(const In*, Out*, int32_t, int32_t, State*)) {
  bank.filter = [op](const int32_t* src, int32_t* dst, int slots, int kx, void* state) {
    return op(reinterpret_cast<const In*>(src), reinterpret_cast<Out*>(dst), slots, kx,
              static_cast<State*>(state));
  };
}

inline std::vector<Bank> make() {
  std::vector<Bank> banks;
  const auto add = [&](const char* name, bool analysis, bool fixed, const ModulatedBank& form, double leastDb,
                       auto getSize, auto init, auto&& face) {
    banks.push_back({name, analysis, fixed, form, leastDb, 1, false, false, {}, {}, {}, {}});
    life(banks.back(), getSize, init);
    face(banks.back());
  };
#define MOX_BANK_LIFE(Filter, Variant) moxs##Filter##GetSize_##Variant, moxs##Filter##Init_##Variant

  // SBR: complex and real, analysis of 32 bands, synthesis of 64 and, at half the rate, of 32.
  const auto qmfAnalysis = [](bool complex) {
    return ModulatedBank{32, complex, complex ? 0.5 : 96.0, 2, qmfPrototype(2)};
  };
  const auto qmfSynthesis = [](int bands, bool complex) {
    return ModulatedBank{bands, complex, complex ? bands * 255.0 / 64 : bands, complex ? 1 / 64.0 : 1 / 32.0,
                         qmfPrototype(static_cast<size_t>(64 / bands))};
  };
#define MOX_ROWS(Filter, Variant, analysis, form)                                             \
  add(#Filter "_" #Variant, analysis, false, form, 136, MOX_BANK_LIFE(Filter, SBR_##Variant), \
      [](Bank& bank) {                                                                        \
        bank.takesKx = analysis;                                                              \
        filterRows(bank, moxs##Filter##_SBR_##Variant##_D2L);                                 \
      })
  MOX_ROWS(AnalysisFilter, RToC_32f, true, qmfAnalysis(true));
  MOX_ROWS(AnalysisFilter, RToC_32f32fc, true, qmfAnalysis(true));
  MOX_ROWS(AnalysisFilter, RToR_32f, true, qmfAnalysis(false));
  MOX_ROWS(SynthesisFilter, CToR_32f, false, qmfSynthesis(64, true));
  MOX_ROWS(SynthesisFilter, CToR_32fc32f, false, qmfSynthesis(64, true));
  MOX_ROWS(SynthesisFilter, RToR_32f, false, qmfSynthesis(64, false));
  MOX_ROWS(SynthesisDownFilter, CToR_32f, false, qmfSynthesis(32, true));
  MOX_ROWS(SynthesisDownFilter, CToR_32fc32f, false, qmfSynthesis(32, true));
  MOX_ROWS(SynthesisDownFilter, RToR_32f, false, qmfSynthesis(32, false));
#undef MOX_ROWS

  // The same in words, sub-band samples a shift smaller than the samples.
#define MOX_FIXED(Filter, Variant, analysis, form)                                                    \
  add(#Filter "_" #Variant, analysis, true, form, 0, MOX_BANK_LIFE(Filter, Variant), [](Bank& bank) { \
    bank.takesKx = analysis;                                                                          \
    bank.outUnit = analysis ? 1 << MOX_SBR_FIXED_SHIFT : 1.0 / (1 << MOX_SBR_FIXED_SHIFT);            \
    filterWords(bank, moxs##Filter##_##Variant);                                                      \
  })
  MOX_FIXED(AnalysisFilter, SBRHQ_32s32sc, true, qmfAnalysis(true));
  MOX_FIXED(AnalysisFilter, SBRLP_32s, true, qmfAnalysis(false));
  MOX_FIXED(SynthesisFilter, SBRHQ_32sc32s, false, qmfSynthesis(64, true));
  MOX_FIXED(SynthesisFilter, SBRLP_32s, false, qmfSynthesis(64, false));
  MOX_FIXED(SynthesisDownFilter, SBRHQ_32sc32s, false, qmfSynthesis(32, true));
  MOX_FIXED(SynthesisDownFilter, SBRLP_32s, false, qmfSynthesis(32, false));
#undef MOX_FIXED

  add("AnalysisFilterEnc_SBR_32f", true, false, {64, true, 1, 1, qmfPrototype(1)}, 136,
      MOX_BANK_LIFE(AnalysisFilterEnc, SBR_32f), [](Bank& bank) {
        bank.filter = [w = floats(bank.form.window)](const int32_t* src, int32_t* dst, int slots, int,
                                                     void* state) {
          return moxsAnalysisFilterEnc_SBR_32f32fc(reinterpret_cast<const float*>(src),
                                                   reinterpret_cast<Mox32fc*>(dst), w.data(), slots,
                                                   static_cast<MoxQmfEncoderState*>(state));
        };
      });

  for (const auto& [name, prototype, column] : {std::tuple{"SynthesisFilter_DTS perfect", moxDtsPerfect, 3u},
                                                {"SynthesisFilter_DTS not perfect", moxDtsNonPerfect, 1u}})
    add(name, false, false, {32, false, -33, 64, csvColumn("sbr/dts_qmf_window.csv", column), true}, 136,
        MOX_BANK_LIFE(SynthesisFilter, DTS_32f), [kind = int32_t{prototype}](Bank& bank) {
          bank.inPlace = true;
          bank.filter = [kind](const int32_t* src, int32_t* dst, int slots, int, void* state) {
            return moxsSynthesisFilter_DTS_32f(reinterpret_cast<const float*>(src),
                                               reinterpret_cast<float*>(dst), slots, kind,
                                               static_cast<MoxDtsSynthesisState*>(state));
          };
        });

    // Layer III, a slot a call.
#define MOX_POLYPHASE(Filter, State, analysis, form)                                                         \
  add(#Filter "_PQMF_MP3", analysis, false, form, 128, MOX_BANK_LIFE(Filter, PQMF_MP3_32f), [](Bank& bank) { \
    bank.inPlace = true;                                                                                     \
    bank.filter = [](const int32_t* src, int32_t* dst, int slots, int, void* state) {                        \
      moxStatus status = moxStatusOk;                                                                        \
      for (int l = 0; l < slots && status == moxStatusOk; ++l)                                               \
        status =                                                                                             \
            moxs##Filter##_PQMF_MP3_32f(reinterpret_cast<const float*>(src + 32 * l),                        \
                                        reinterpret_cast<float*>(dst + 32 * l), static_cast<State*>(state)); \
      return status;                                                                                         \
    };                                                                                                       \
  })
  MOX_POLYPHASE(AnalysisFilter, MoxMp3AnalysisState, true, layer3Analysis());
  MOX_POLYPHASE(SynthesisFilter, MoxMp3SynthesisState, false, layer3Synthesis());
#undef MOX_POLYPHASE
#undef MOX_BANK_LIFE
  return banks;
}

}  // namespace bank_faces

inline const std::vector<Bank>& banks() {
  static const std::vector<Bank> all = bank_faces::make();
  return all;
}
inline const Bank& bankNamed(const std::string& name) {
  for (const Bank& bank : banks())
    if (bank.name == name) return bank;
  ADD_FAILURE() << "no bank " << name;
  return banks()[0];
}

}  // namespace moxtest
