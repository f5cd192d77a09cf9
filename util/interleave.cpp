// Interleaving of channels and its inverse.
#include "frame/checks.h"
#include "moxac/util.h"
#include "util/interleave_kernels.h"
#include "util/join_kernels.h"

namespace moxac::util {
namespace {

template <class T>
bool allNotNull(T* const* channels, int32_t numChannels) {
  for (int32_t c = 0; c < numChannels; ++c)
    if (channels[c] == nullptr) return false;
  return true;
}

template <class T, class U>
moxStatus checkChannels(T* const* channels, int32_t numChannels, int32_t len, const U* interleaved) {
  MOX_REQUIRE(notNull(channels, interleaved), moxStatusNullPointer);
  MOX_REQUIRE(numChannels >= 1, moxStatusBadChannelCount);
  MOX_REQUIRE(len >= 1, moxStatusBadSize);
  MOX_REQUIRE(allNotNull(channels, numChannels), moxStatusNullPointer);
  return moxStatusOk;
}

template <class T, class U>
moxStatus channelsAlignment(T* const* channels, int32_t numChannels, const U* interleaved) {
  for (int32_t c = 0; c < numChannels; ++c)
    if (!isAligned(channels[c], 16)) return moxStatusMisalignedData;
  return alignmentStatus(interleaved);
}

template <class T>
moxStatus interleave(const T* const* ppSrc, int32_t numChannels, int32_t len, T* pDst) {
  MOX_TRY(checkChannels(ppSrc, numChannels, len, pDst));

  interleaveBlock(ppSrc, numChannels, len, pDst);
  return channelsAlignment(ppSrc, numChannels, pDst);
}

template <class T>
moxStatus deinterleave(const T* pSrc, int32_t numChannels, int32_t len, T* const* ppDst) {
  MOX_TRY(checkChannels(ppDst, numChannels, len, pSrc));

  deinterleaveBlock(pSrc, numChannels, len, ppDst);
  return channelsAlignment(ppDst, numChannels, pSrc);
}

}  // namespace
}  // namespace moxac::util

using namespace moxac;
using namespace moxac::util;

moxStatus moxsInterleave_16s(const int16_t* const* ppSrc, int32_t numChannels, int32_t len, int16_t* pDst) {
  return interleave(ppSrc, numChannels, len, pDst);
}

moxStatus moxsInterleave_32f(const float* const* ppSrc, int32_t numChannels, int32_t len, float* pDst) {
  return interleave(ppSrc, numChannels, len, pDst);
}

moxStatus moxsDeinterleave_16s(const int16_t* pSrc, int32_t numChannels, int32_t len, int16_t* const* ppDst) {
  return deinterleave(pSrc, numChannels, len, ppDst);
}

moxStatus moxsDeinterleave_32f(const float* pSrc, int32_t numChannels, int32_t len, float* const* ppDst) {
  return deinterleave(pSrc, numChannels, len, ppDst);
}

moxStatus moxsJoin_32f16s_D2L(const float* const* ppSrc, int32_t numChannels, int32_t len, int16_t* pDst) {
  MOX_TRY(checkChannels(ppSrc, numChannels, len, pDst));

  joinBlock(ppSrc, numChannels, len, pDst);
  return moxStatusOk;
}
