// The encoder's 64-band complex QMF analysis.
#include <algorithm>
#include <cstdint>

#include "frame/context.h"
#include "moxac/sbr.h"
#include "sbr/qmf_analysis_kernels.h"

namespace moxac {
namespace {

constexpr int kBands = 64;
constexpr int kDelayFloats = 10 * kBands;

struct EncoderRecord {
  ContextId identifier;
  uint32_t allocated;
  int32_t position;  // where the next slot goes in
  int32_t reserved;
  float delay[kDelayFloats];
};

struct EncoderFamily {
  using Record = EncoderRecord;
  static constexpr ContextId kIdentifier = ContextId::sbrEncoderAnalysis;
  static constexpr uintptr_t kAlignment = 16;
  static constexpr OnFree kOnFree = OnFree::keepIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;
};

constexpr int32_t kStateBytes = static_cast<int32_t>(sizeof(EncoderRecord) + EncoderFamily::kAlignment - 1);

}  // namespace
}  // namespace moxac

using namespace moxac;

moxStatus moxsAnalysisFilterEncGetSize_SBR_32f(int32_t* pStateSize) {
  MOX_REQUIRE(notNull(pStateSize), moxStatusNullPointer);
  *pStateSize = kStateBytes;
  return moxStatusOk;
}

moxStatus moxsAnalysisFilterEncInit_SBR_32f(MoxQmfEncoderState* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);

  EncoderRecord& bank = *contextRecord<EncoderFamily>(pState);
  bank.identifier = EncoderFamily::kIdentifier;
  bank.allocated = 0;
  bank.position = 0;
  std::fill_n(bank.delay, kDelayFloats, 0.0f);
  return moxStatusOk;
}

moxStatus moxsAnalysisFilterEncInitAlloc_SBR_32f(MoxQmfEncoderState** ppState) {
  return contextInitAlloc<EncoderFamily>(
      ppState, [](ContextSizes& sizes) { return moxsAnalysisFilterEncGetSize_SBR_32f(&sizes.context); },
      [](void* block, void*) {
        return moxsAnalysisFilterEncInit_SBR_32f(static_cast<MoxQmfEncoderState*>(block));
      });
}

moxStatus moxsAnalysisFilterEncFree_SBR_32f(MoxQmfEncoderState* pState) {
  return contextFree<EncoderFamily>(pState);
}

moxStatus moxsAnalysisFilterEnc_SBR_32f32fc(const float* pSrc, Mox32fc* pDst, const float* pWindow,
                                            int32_t numTimeSlots, MoxQmfEncoderState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pWindow, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<EncoderFamily>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  EncoderRecord& bank = *contextRecord<EncoderFamily>(pState);
  qmfAnalyse<kBands, ComplexAnalysis64>(pSrc, pWindow, numTimeSlots, kBands, ContiguousRows<kBands>{pDst},
                                        bank.delay, bank.position);
  return moxStatusOk;
}
