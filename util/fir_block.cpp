// The block FIR: its state's life and one block.
#include <climits>
#include <cstring>

#include "frame/checks.h"
#include "frame/memory.h"
#include "moxac/util.h"
#include "util/fir_block_kernels.h"

using namespace moxac;
using namespace moxac::util;

moxStatus moxsFIRBlockInitAlloc_32f(MoxFirBlockState** ppState, int32_t nTaps, int32_t blockLen) {
  MOX_REQUIRE(notNull(ppState), moxStatusNullPointer);
  MOX_REQUIRE(nTaps >= 1 && blockLen >= 1, moxStatusFirLengthError);

  auto* const state = static_cast<MoxFirBlockState*>(allocBytes(sizeof(MoxFirBlockState)));
  MOX_REQUIRE(notNull(state), moxStatusOutOfMemory);
  const int64_t rowStride = firRowStride(blockLen);
  state->nTaps = static_cast<int16_t>(nTaps);
  state->blockLen = static_cast<int16_t>(blockLen);
  state->rowStride = static_cast<int16_t>(rowStride);
  state->identifier = ContextId::firBlock;

  constexpr int64_t kMostWords = INT32_MAX / int64_t{sizeof(float)};
  const int64_t words = nTaps * rowStride;
  state->delay =
      words > kMostWords ? nullptr : static_cast<float*>(allocWords32(static_cast<int32_t>(words)));
  if (state->delay == nullptr) {
    freeBlock(state);
    return moxStatusOutOfMemory;
  }
  fillZeroBytes(state->delay, static_cast<int32_t>(words * int64_t{sizeof(float)}));
  state->newestRow = 0;
  *ppState = state;
  return moxStatusOk;
}

moxStatus moxsFIRBlockFree_32f(MoxFirBlockState* pState) {
  MOX_REQUIRE(notNull(pState), moxStatusNullPointer);
  MOX_REQUIRE(pState->identifier == ContextId::firBlock, moxStatusContextMismatch);

  pState->identifier = ContextId::cleared;
  freeBlock(pState->delay);
  freeBlock(pState);
  return moxStatusOk;
}

moxStatus moxsFIRBlockOne_32f(const float* pSrc, float* pDst, MoxFirBlockState* pState, const float* pTaps) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState, pTaps), moxStatusNullPointer);
  MOX_REQUIRE(pState->identifier == ContextId::firBlock, moxStatusContextMismatch);
  MOX_REQUIRE(pState->blockLen >= 1 && pState->nTaps >= 1, moxStatusFirLengthError);
  MOX_REQUIRE(inRange<int32_t>(pState->newestRow, 0, pState->nTaps - 1), moxStatusFirLengthError);

  pState->newestRow = static_cast<int16_t>((pState->newestRow + 1) % pState->nTaps);
  float* const newest = pState->delay + pState->newestRow * firRowStride(pState->blockLen);
  std::memcpy(newest, pSrc, static_cast<size_t>(pState->blockLen) * sizeof(float));
  firBlock(*pState, pTaps, pDst);
  return alignmentStatus(pSrc, pDst, pTaps);
}
