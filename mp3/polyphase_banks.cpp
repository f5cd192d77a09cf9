// The float polyphase banks, with their history in a context. ISO/IEC 11172-3, 2.4.3.2.2 and Annex C.
#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "frame/align.h"
#include "frame/checks.h"
#include "frame/context.h"
#include "frame/export_alias.h"
#include "moxac/mp3.h"
#include "mp3/polyphase_kernels.h"

namespace moxac::mp3 {
namespace {

constexpr int32_t kBankBytes = 2107;  // the record and 15 bytes of alignment slack

// The history begins at the first 32-byte boundary behind the four words, so it moves with the record's
// place.
struct BankRecord {
  ContextId identifier;
  int32_t allocated;
  int32_t position;  // of the next slot in the history
  int32_t reserved;

  float* history() { return alignUp<float>(this + 1, 32); }
};
static_assert(sizeof(BankRecord) + 16 + kHistoryFloats * sizeof(float) + 15 <= kBankBytes);

template <ContextId kId>
struct BankFamily : TaggedFamily<kId, BankRecord> {
  static constexpr int32_t kBytes = kBankBytes;
  static void start(BankRecord& bank) {
    bank.position = bank.reserved = 0;
    std::fill_n(bank.history(), kHistoryFloats, 0.0f);
  }
};
using SynthesisFamily = BankFamily<ContextId::mp3Synthesis>;
using AnalysisFamily = BankFamily<ContextId::mp3Analysis>;

void advance(BankRecord& bank) { bank.position = (bank.position - 1) & (kHistorySlots - 1); }

}  // namespace
}  // namespace moxac::mp3

using namespace moxac;
using namespace moxac::mp3;

moxStatus moxsAnalysisFilterGetSize_PQMF_MP3_32f(int32_t* pStateSize) {
  return plainStateGetSize<AnalysisFamily>(pStateSize);
}

MOX_EXPORT_ALIAS(moxsSynthesisFilterGetSize_PQMF_MP3_32f, moxsAnalysisFilterGetSize_PQMF_MP3_32f);

moxStatus moxsSynthesisFilterInit_PQMF_MP3_32f(MoxMp3SynthesisState* pState) {
  return plainStateInit<SynthesisFamily>(pState);
}

moxStatus moxsSynthesisFilterInitAlloc_PQMF_MP3_32f(MoxMp3SynthesisState** ppState) {
  return plainStateInitAlloc<SynthesisFamily>(ppState);
}

moxStatus moxsSynthesisFilterFree_PQMF_MP3_32f(MoxMp3SynthesisState* pState) {
  return contextFree<SynthesisFamily>(pState);
}

moxStatus moxsSynthesisFilter_PQMF_MP3_32f(const float* pSrc, float* pDst, MoxMp3SynthesisState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<SynthesisFamily>(pState), moxStatusContextMismatch);

  BankRecord& bank = *contextRecord<SynthesisFamily>(pState);
  storeOutputs(pDst, synthesizeSlot(load8(pSrc), load8(pSrc + 8), load8(pSrc + 16), load8(pSrc + 24),
                                    bank.history(), bank.position));
  advance(bank);
  return moxStatusOk;
}

moxStatus moxsAnalysisFilterInit_PQMF_MP3_32f(MoxMp3AnalysisState* pState) {
  return plainStateInit<AnalysisFamily>(pState);
}

moxStatus moxsAnalysisFilterInitAlloc_PQMF_MP3_32f(MoxMp3AnalysisState** ppState) {
  return plainStateInitAlloc<AnalysisFamily>(ppState);
}

moxStatus moxsAnalysisFilterFree_PQMF_MP3_32f(MoxMp3AnalysisState* pState) {
  return contextFree<AnalysisFamily>(pState);
}

moxStatus moxsAnalysisFilter_PQMF_MP3_32f(const float* pSrc, float* pDst, MoxMp3AnalysisState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<AnalysisFamily>(pState), moxStatusContextMismatch);

  BankRecord& bank = *contextRecord<AnalysisFamily>(pState);
  f32x8 s[4];
  analyzeSlot(load8(pSrc), load8(pSrc + 8), load8(pSrc + 16), load8(pSrc + 24), bank.history(), bank.position,
              s);
  advance(bank);
  for (int i = 0; i < 4; ++i) store8(pDst + 8 * i, s[i]);
  return moxStatusOk;
}
