// Frequency-domain prediction: the state's life, and prediction of the lines of a frame.
#include <algorithm>
#include <limits>

#include "aac/fdp_kernels.h"
#include "frame/context.h"
#include "moxac/aac.h"

// The header of a state; 64 bytes with what pads it. Packed, because it lies wherever the caller's pointer
// points. The arrays follow from the next 64-byte boundary on.
struct __attribute__((packed)) MoxAacFdpState {
  moxac::aac::FdpArrays arrays;
  int32_t len;
  moxac::ContextId identifier;
  int32_t allocated;
};

namespace moxac::aac {
namespace {

struct FdpFamily {
  using Record = MoxAacFdpState;
  static constexpr ContextId kIdentifier = ContextId::fdpState;
  static constexpr uintptr_t kAlignment = 1;  // the caller's pointer as it is
  static constexpr OnFree kOnFree = OnFree::clearIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::releaseBlock;
};

constexpr int64_t kHeaderBytes = 64;
static_assert(sizeof(MoxAacFdpState) <= kHeaderBytes);

struct FdpLayout {
  int64_t arrayBytes;
  int64_t bytes;  // six arrays, the header, and what its alignment may cost
};

constexpr FdpLayout fdpLayout(int64_t len) {
  const int64_t arrayBytes = roundUp<int64_t>(len * int64_t{sizeof(float)}, 64);
  return {arrayBytes, 6 * arrayBytes + kHeaderBytes + 64};
}

bool validLen(int32_t len) { return len >= 1 && fdpLayout(len).bytes <= std::numeric_limits<int32_t>::max(); }

// Calls visit(first, last, flag) for the lines of each band as far as they exist.
template <class Visit>
void forEachFlaggedBand(const MoxAacFdpState& state, const int32_t* sfbOffset, int32_t numSfb,
                        const uint8_t* flag, Visit&& visit) {
  const int32_t len = state.len;
  for (int32_t b = 0; b < numSfb; ++b) {
    const int32_t first = std::clamp(sfbOffset[b], 0, len), last = std::clamp(sfbOffset[b + 1], 0, len);
    if (first < last) visit(first, last, flag[b] != 0);
  }
}

}  // namespace
}  // namespace moxac::aac

using namespace moxac;
using namespace moxac::aac;

moxStatus moxsFDPGetSize_32f(int32_t len, int32_t* pSize) {
  MOX_REQUIRE(notNull(pSize), moxStatusNullPointer);
  MOX_REQUIRE(validLen(len), moxStatusBadSize);

  *pSize = static_cast<int32_t>(fdpLayout(len).bytes);
  return moxStatusOk;
}

moxStatus moxsFDPInit_32f(MoxAacFdpState** ppState, int32_t len, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(ppState, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(validLen(len), moxStatusBadSize);

  auto* const state = reinterpret_cast<MoxAacFdpState*>(pBuffer);
  uint8_t* const first = alignUp<uint8_t>(pBuffer + kHeaderBytes, 64);
  const auto array = [&](int64_t i) {
    return reinterpret_cast<float*>(first + i * fdpLayout(len).arrayBytes);
  };
  const FdpArrays arrays{array(0), array(1), array(2), array(3), array(4), array(5)};
  state->arrays = arrays;
  state->len = len;
  state->identifier = ContextId::fdpState;
  state->allocated = 0;
  fdpResetLines(arrays, 0, len, 1);
  *ppState = state;
  return moxStatusOk;
}

moxStatus moxsFDPInitAlloc_32f(MoxAacFdpState** ppState, int32_t len) {
  return contextInitAlloc<FdpFamily>(
      ppState, [&](ContextSizes& sizes) { return moxsFDPGetSize_32f(len, &sizes.context); },
      [&](void* block, void*) { return moxsFDPInit_32f(ppState, len, static_cast<uint8_t*>(block)); });
}

moxStatus moxsFDPFree_32f(MoxAacFdpState* pState) { return contextFree<FdpFamily>(pState); }

moxStatus moxsFDPReset_32f(MoxAacFdpState* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<FdpFamily>(pState), moxStatusContextMismatch);

  fdpResetLines(pState->arrays, 0, pState->len, 1);
  return moxStatusOk;
}

moxStatus moxsFDPResetGroup_32f(int32_t start, int32_t step, MoxAacFdpState* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<FdpFamily>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(start >= 0, moxStatusBadSize);
  MOX_REQUIRE(step >= 1, moxStatusFdpStepError);

  fdpResetLines(pState->arrays, start, pState->len, step);
  return moxStatusOk;
}

moxStatus moxsFDPResetSfb_32f(const int32_t* pSfbOffset, int32_t numSfb, const uint8_t* pResetFlag,
                              MoxAacFdpState* pState) {
  MOX_REQUIRE(notNull(pSfbOffset, pResetFlag, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<FdpFamily>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(numSfb >= 1, moxStatusBadSize);

  forEachFlaggedBand(*pState, pSfbOffset, numSfb, pResetFlag, [&](int32_t first, int32_t last, bool reset) {
    if (reset) fdpResetLines(pState->arrays, first, last, 1);
  });
  return moxStatusOk;
}

moxStatus moxsFDPInv_32f_I(float* pSrcDst, const int32_t* pSfbOffset, int32_t numSfb,
                           const uint8_t* pPredUsed, MoxAacFdpState* pState) {
  MOX_REQUIRE(notNull(pSrcDst, pSfbOffset, pPredUsed, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<FdpFamily>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(numSfb >= 1, moxStatusBadSize);

  const FdpArrays arrays = pState->arrays;
  forEachFlaggedBand(*pState, pSfbOffset, numSfb, pPredUsed, [&](int32_t first, int32_t last, bool used) {
    fdpInverseLines(arrays, first, last, pSrcDst, used);
  });
  return alignmentStatus(pSrcDst);
}

moxStatus moxsFDPFwd_32f(const float* pSrc, float* pDst, MoxAacFdpState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<FdpFamily>(pState), moxStatusContextMismatch);

  const FdpArrays arrays = pState->arrays;
  fdpForwardLines(arrays, pState->len, pSrc, pDst);
  return alignmentStatus(pSrc, pDst);
}
