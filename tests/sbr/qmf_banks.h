// The nine float banks behind one face each for analysis and synthesis, so that a test names none of them.
// Sub-band samples come and go as floats in slot order, complex ones as pairs; rows are laid out in memory of
// their own, each `shift` bytes off a 64-byte boundary, with guards around.
#pragma once

#include <deque>
#include <vector>

#include "moxac/sbr.h"
#include "support/block.h"

namespace moxtest {

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

enum class Form { split, interleaved, real };

struct Bank {
  const char* name;
  Form form;
  int bands;
  uint32_t identifier;
  int32_t bytes;  // of a context
  moxStatus (*getSize)(int32_t*, int32_t*, int32_t*);

  bool real() const { return form == Form::real; }
  int values() const { return real() ? bands : 2 * bands; }  // floats of a slot
};

struct AnalysisBank : Bank {
  moxStatus (*init)(MoxQmfAnalysisSpec**, uint8_t*, uint8_t*);

  // pSrc, the row pointers (null when rows is), window, slots, offset, kx, spec, work.
  moxStatus raw(const float* src, Rows* a, Rows* b, const float* window, int slots, int offset, int kx,
                MoxQmfAnalysisSpec* spec, uint8_t* work) const {
    float* const* re = a != nullptr ? a->as<float>() : nullptr;
    float* const* im = b != nullptr ? b->as<float>() : nullptr;
    switch (form) {
      case Form::split:
        return moxsAnalysisFilter_SBR_RToC_32f_D2L(src, re, im, window, slots, offset, kx, spec, work);
      case Form::interleaved:
        return moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(src, reinterpret_cast<Mox32fc* const*>(re), window,
                                                       slots, offset, kx, spec, work);
      default:
        return moxsAnalysisFilter_SBR_RToR_32f_D2L(src, re, window, slots, offset, kx, spec, work);
    }
  }

  std::vector<float> run(const float* src, const float* window, int slots, int kx, MoxQmfAnalysisSpec* spec,
                         int shift = 0) const {
    const int offset = 2, rowFloats = form == Form::interleaved ? values() : bands;
    Rows a(offset + slots, rowFloats, shift), b(offset + slots, rowFloats, (shift + 20) % 64);
    uint8_t work[4];
    EXPECT_EQ(raw(src, &a, &b, window, slots, offset, kx, spec, work), moxStatusOk) << name;
    std::vector<float> out;
    for (int l = offset; l < offset + slots; ++l)
      for (int i = 0; i < rowFloats; ++i) {
        out.push_back(a.pointers[static_cast<size_t>(l)][i]);
        if (form == Form::split) out.push_back(b.pointers[static_cast<size_t>(l)][i]);
      }
    return out;
  }
};

struct SynthesisBank : Bank {
  moxStatus (*init)(MoxQmfSynthesisSpec**, uint8_t*, uint8_t*);

  moxStatus raw(Rows* a, Rows* b, float* dst, const float* window, int slots, MoxQmfSynthesisSpec* spec,
                uint8_t* work) const {
    const float* const* re = a != nullptr ? a->as<const float>() : nullptr;
    const float* const* im = b != nullptr ? b->as<const float>() : nullptr;
    const auto* const pairs = reinterpret_cast<const Mox32fc* const*>(re);
    if (bands == 64) {
      if (form == Form::split)
        return moxsSynthesisFilter_SBR_CToR_32f_D2L(re, im, dst, window, slots, spec, work);
      if (form == Form::interleaved)
        return moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(pairs, dst, window, slots, spec, work);
      return moxsSynthesisFilter_SBR_RToR_32f_D2L(re, dst, window, slots, spec, work);
    }
    if (form == Form::split)
      return moxsSynthesisDownFilter_SBR_CToR_32f_D2L(re, im, dst, window, slots, spec, work);
    if (form == Form::interleaved)
      return moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(pairs, dst, window, slots, spec, work);
    return moxsSynthesisDownFilter_SBR_RToR_32f_D2L(re, dst, window, slots, spec, work);
  }

  std::vector<float> run(const float* in, const float* window, int slots, MoxQmfSynthesisSpec* spec,
                         int shift = 0) const {
    const int rowFloats = form == Form::interleaved ? values() : bands;
    Rows a(slots, rowFloats, shift), b(slots, rowFloats, (shift + 20) % 64);
    for (size_t l = 0; l < static_cast<size_t>(slots); ++l)
      for (int i = 0; i < rowFloats; ++i) {
        a.pointers[l][i] = *in++;
        if (form == Form::split) b.pointers[l][i] = *in++;
      }
    Block<float> dst(slots * bands, shift);
    uint8_t work[4];
    EXPECT_EQ(raw(&a, &b, dst, window, slots, spec, work), moxStatusOk) << name;
    return {dst.begin(), dst.end()};
  }
};

#define MOX_BANK(stem, variant, form, bands, id, bytes)                                    \
  {                                                                                        \
    {#stem "_" #variant, Form::form, bands, id, bytes, moxs##stem##GetSize_SBR_##variant}, \
        moxs##stem##Init_SBR_##variant                                                     \
  }
inline const AnalysisBank kAnalysisBanks[] = {
    MOX_BANK(AnalysisFilter, RToC_32f, split, 32, 0x434D4157, 208 + 1359),
    MOX_BANK(AnalysisFilter, RToC_32f32fc, interleaved, 32, 0x434D4156, 208 + 1359),
    MOX_BANK(AnalysisFilter, RToR_32f, real, 32, 0x434D4158, 16 + 1359),
};
inline const SynthesisBank kSynthesisBanks[] = {
    MOX_BANK(SynthesisFilter, CToR_32f, split, 64, 0x434D415A, 208 + 5199),
    MOX_BANK(SynthesisFilter, CToR_32fc32f, interleaved, 64, 0x434D4159, 208 + 5199),
    MOX_BANK(SynthesisFilter, RToR_32f, real, 64, 0x434D415B, 16 + 5215),
    MOX_BANK(SynthesisDownFilter, CToR_32f, split, 32, 0x434D415D, 208 + 2639),
    MOX_BANK(SynthesisDownFilter, CToR_32fc32f, interleaved, 32, 0x434D415C, 208 + 2639),
    MOX_BANK(SynthesisDownFilter, RToR_32f, real, 32, 0x434D415E, 16 + 2639),
};
#undef MOX_BANK

// A context in memory of exactly the reported size between guard bytes.
template <class BankT, class Spec>
struct ContextOf {
  Block<uint8_t> memory;
  Spec* spec = nullptr;

  explicit ContextOf(const BankT& bank, int shift = 0) : memory(bank.bytes, shift) { restart(bank); }
  void restart(const BankT& bank) {
    uint8_t initBuffer[4];
    EXPECT_EQ(bank.init(&spec, memory, initBuffer), moxStatusOk);
  }
  operator Spec*() { return spec; }
};
using AnalysisContext = ContextOf<AnalysisBank, MoxQmfAnalysisSpec>;
using SynthesisContext = ContextOf<SynthesisBank, MoxQmfSynthesisSpec>;

}  // namespace moxtest
