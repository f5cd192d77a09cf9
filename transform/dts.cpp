#include <algorithm>
#include <cstdint>

#include "frame/align.h"
#include "frame/checks.h"
#include "frame/context.h"
#include "moxac/transform.h"
#include "transform/dts_kernels.h"

namespace moxac {
namespace {

struct DtsRecord {
  ContextId identifier;
  uint32_t allocated;
  int32_t position;  // of the newest slot in the circular history
  int32_t reserved;
  float history[kDtsHistory];
};

struct DtsFamily {
  using Record = DtsRecord;
  static constexpr ContextId kIdentifier = ContextId::dtsSynthesis;
  static constexpr uintptr_t kAlignment = 16;
  static constexpr OnFree kOnFree = OnFree::keepIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::leaveBlock;
};

constexpr int32_t kDtsBytes = static_cast<int32_t>(sizeof(DtsRecord) + DtsFamily::kAlignment - 1);

}  // namespace
}  // namespace moxac

using namespace moxac;

moxStatus moxsSynthesisFilterGetSize_DTS_32f(int32_t* pStateSize) {
  MOX_REQUIRE(notNull(pStateSize), moxStatusNullPointer);
  *pStateSize = kDtsBytes;
  return moxStatusOk;
}

moxStatus moxsSynthesisFilterInit_DTS_32f(MoxDtsSynthesisState* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);

  DtsRecord& bank = *contextRecord<DtsFamily>(pState);
  bank.identifier = DtsFamily::kIdentifier;
  bank.allocated = 0;
  bank.position = 0;
  std::fill_n(bank.history, kDtsHistory, 0.0f);
  return moxStatusOk;
}

moxStatus moxsSynthesisFilterInitAlloc_DTS_32f(MoxDtsSynthesisState** ppState) {
  return contextInitAlloc<DtsFamily>(
      ppState, [](ContextSizes& sizes) { return moxsSynthesisFilterGetSize_DTS_32f(&sizes.context); },
      [](void* block, void*) {
        return moxsSynthesisFilterInit_DTS_32f(static_cast<MoxDtsSynthesisState*>(block));
      });
}

moxStatus moxsSynthesisFilterFree_DTS_32f(MoxDtsSynthesisState* pState) {
  return contextFree<DtsFamily>(pState);
}

moxStatus moxsSynthesisFilter_DTS_32f(const float* pSrc, float* pDst, int32_t numSlots, int32_t filter,
                                      MoxDtsSynthesisState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<DtsFamily>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(inRange<int32_t>(filter, moxDtsNonPerfect, moxDtsPerfect), moxStatusOutOfRange);
  MOX_REQUIRE(numSlots >= 1, moxStatusBadSize);

  DtsRecord& bank = *contextRecord<DtsFamily>(pState);
  bank.position = dtsSynthesize(kDtsWindows[filter], pSrc, pDst, numSlots, bank.history, bank.position);
  return moxStatusOk;
}
