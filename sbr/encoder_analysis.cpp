// The encoder's 64-band complex QMF analysis.
#include <algorithm>
#include <cstdint>

#include "frame/context.h"
#include "moxac/sbr.h"
#include "sbr/qmf_analysis_kernels.h"

namespace moxac::sbr {
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

struct EncoderFamily : TaggedFamily<ContextId::sbrEncoderAnalysis, EncoderRecord> {
  static constexpr int32_t kBytes = withSlack(sizeof(EncoderRecord));
  static void start(EncoderRecord& bank) {
    bank.position = 0;
    std::fill_n(bank.delay, kDelayFloats, 0.0f);
  }
};

}  // namespace
}  // namespace moxac::sbr

using namespace moxac;
using namespace moxac::sbr;

moxStatus moxsAnalysisFilterEncGetSize_SBR_32f(int32_t* pStateSize) {
  return plainStateGetSize<EncoderFamily>(pStateSize);
}

moxStatus moxsAnalysisFilterEncInit_SBR_32f(MoxQmfEncoderState* pState) {
  return plainStateInit<EncoderFamily>(pState);
}

moxStatus moxsAnalysisFilterEncInitAlloc_SBR_32f(MoxQmfEncoderState** ppState) {
  return plainStateInitAlloc<EncoderFamily>(ppState);
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
