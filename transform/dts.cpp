// The DTS core synthesis bank, its history in a context.
#include <algorithm>
#include <cstdint>

#include "frame/context.h"
#include "moxac/transform.h"
#include "transform/dts_kernels.h"

namespace moxac::transform {
namespace {

struct DtsRecord {
  ContextId identifier;
  uint32_t allocated;
  int32_t position;  // of the newest slot in the circular history
  int32_t reserved;
  float history[kDtsHistory];
};

struct DtsFamily : TaggedFamily<ContextId::dtsSynthesis, DtsRecord> {
  static constexpr int32_t kBytes = withSlack(sizeof(DtsRecord));
  static void start(DtsRecord& bank) {
    bank.position = 0;
    std::fill_n(bank.history, kDtsHistory, 0.0f);
  }
};

}  // namespace
}  // namespace moxac::transform

using namespace moxac;
using namespace moxac::transform;

moxStatus moxsSynthesisFilterGetSize_DTS_32f(int32_t* pStateSize) {
  return plainStateGetSize<DtsFamily>(pStateSize);
}

moxStatus moxsSynthesisFilterInit_DTS_32f(MoxDtsSynthesisState* pState) {
  return plainStateInit<DtsFamily>(pState);
}

moxStatus moxsSynthesisFilterInitAlloc_DTS_32f(MoxDtsSynthesisState** ppState) {
  return plainStateInitAlloc<DtsFamily>(ppState);
}

moxStatus moxsSynthesisFilterFree_DTS_32f(MoxDtsSynthesisState* pState) {
  return contextFree<DtsFamily>(pState);
}

moxStatus moxsSynthesisFilter_DTS_32f(const float* pSrc, float* pDst, int32_t numTimeSlots, int32_t filter,
                                      MoxDtsSynthesisState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<DtsFamily>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(inRange<int32_t>(filter, moxDtsNonPerfect, moxDtsPerfect), moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  DtsRecord& bank = *contextRecord<DtsFamily>(pState);
  bank.position = dtsSynthesize(kDtsWindows[filter], pSrc, pDst, numTimeSlots, bank.history, bank.position);
  return moxStatusOk;
}
