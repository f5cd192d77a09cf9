// The float QMF synthesis: 64 bands, and 32 bands to half the output rate; complex samples (split or
// interleaved rows) and real ones.
#include "frame/export_alias.h"
#include "moxac/sbr.h"
#include "sbr/qmf_context.h"
#include "sbr/qmf_synthesis_kernels.h"

using namespace moxac;

namespace {

template <ContextId kId, int kBands, class Transform, int kSpare = 0>
using Bank = QmfBank<kId, Transform, 20 * kBands, kSpare>;
template <int kPoints>
using Cosine = QmfCosineTransform<ContextId::sbrSynthesisRealTransform, kPoints>;

using FullSplit = Bank<ContextId::sbrSynthesisComplexSplit, 64, QmfFftTransform<5>>;
using FullInterleaved = Bank<ContextId::sbrSynthesisComplexInterleaved, 64, QmfFftTransform<5>>;
using FullReal = Bank<ContextId::sbrSynthesisReal, 64, Cosine<64>, 4>;
using DownSplit = Bank<ContextId::sbrSynthesisDownComplexSplit, 32, QmfFftTransform<6>>;
using DownInterleaved = Bank<ContextId::sbrSynthesisDownComplexInterleaved, 32, QmfFftTransform<6>>;
using DownReal = Bank<ContextId::sbrSynthesisDownReal, 32, Cosine<32>>;

template <int kBands, class Modulation, class Rows>
moxStatus synthesise(const Rows& rows, float* pDst, const float* pWindow, int32_t numTimeSlots,
                     MoxQmfSynthesisSpec* pSpec) {
  QmfHeader* const header = qmfHeader(pSpec);
  qmfSynthesise<kBands, Modulation>(rows, pDst, pWindow, numTimeSlots, header->delay, header->position);
  return moxStatusOk;
}

}  // namespace

moxStatus moxsSynthesisFilterGetSize_SBR_CToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                  int32_t* pWorkSize) {
  return qmfGetSize<FullSplit>(pSpecSize, pInitBufSize, pWorkSize);
}
MOX_EXPORT_ALIAS(moxsSynthesisFilterGetSize_SBR_CToR_32fc32f, moxsSynthesisFilterGetSize_SBR_CToR_32f);

moxStatus moxsSynthesisFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                  int32_t* pWorkSize) {
  return qmfGetSize<FullReal>(pSpecSize, pInitBufSize, pWorkSize);
}

moxStatus moxsSynthesisFilterInit_SBR_CToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                               uint8_t* pInitBuf) {
  return qmfInit<FullSplit>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsSynthesisFilterInit_SBR_CToR_32fc32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                   uint8_t* pInitBuf) {
  return qmfInit<FullInterleaved>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsSynthesisFilterInit_SBR_RToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                               uint8_t* pInitBuf) {
  return qmfInit<FullReal>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsSynthesisFilter_SBR_CToR_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm,
                                               float* pDst, const float* pWindow, int32_t numTimeSlots,
                                               MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<FullSplit>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(ppSrcRe, ppSrcIm, pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const SplitRows<const float, 64> rows{ppSrcRe, ppSrcIm};
  return synthesise<64, ComplexSynthesis64>(rows, pDst, pWindow, numTimeSlots, pSpec);
}

moxStatus moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst,
                                                   const float* pWindow, int32_t numTimeSlots,
                                                   MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<FullInterleaved>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(ppSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const InterleavedRows<const Mox32fc, const float, 64> rows{ppSrc};
  return synthesise<64, ComplexSynthesis64>(rows, pDst, pWindow, numTimeSlots, pSpec);
}

moxStatus moxsSynthesisFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst, const float* pWindow,
                                               int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec,
                                               uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<FullReal>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(ppSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const RealRows<const float, 64> rows{ppSrc};
  return synthesise<64, RealSynthesis<64>>(rows, pDst, pWindow, numTimeSlots, pSpec);
}

moxStatus moxsSynthesisDownFilterGetSize_SBR_CToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                      int32_t* pWorkSize) {
  return qmfGetSize<DownSplit>(pSpecSize, pInitBufSize, pWorkSize);
}
MOX_EXPORT_ALIAS(moxsSynthesisDownFilterGetSize_SBR_CToR_32fc32f,
                 moxsSynthesisDownFilterGetSize_SBR_CToR_32f);

moxStatus moxsSynthesisDownFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                      int32_t* pWorkSize) {
  return qmfGetSize<DownReal>(pSpecSize, pInitBufSize, pWorkSize);
}

moxStatus moxsSynthesisDownFilterInit_SBR_CToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                   uint8_t* pInitBuf) {
  return qmfInit<DownSplit>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsSynthesisDownFilterInit_SBR_CToR_32fc32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                       uint8_t* pInitBuf) {
  return qmfInit<DownInterleaved>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsSynthesisDownFilterInit_SBR_RToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                   uint8_t* pInitBuf) {
  return qmfInit<DownReal>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsSynthesisDownFilter_SBR_CToR_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm,
                                                   float* pDst, const float* pWindow, int32_t numTimeSlots,
                                                   MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<DownSplit>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(ppSrcRe, ppSrcIm, pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const SplitRows<const float, 32> rows{ppSrcRe, ppSrcIm};
  return synthesise<32, ComplexSynthesis32>(rows, pDst, pWindow, numTimeSlots, pSpec);
}

moxStatus moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst,
                                                       const float* pWindow, int32_t numTimeSlots,
                                                       MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<DownInterleaved>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(ppSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const InterleavedRows<const Mox32fc, const float, 32> rows{ppSrc};
  return synthesise<32, ComplexSynthesis32>(rows, pDst, pWindow, numTimeSlots, pSpec);
}

moxStatus moxsSynthesisDownFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst,
                                                   const float* pWindow, int32_t numTimeSlots,
                                                   MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<DownReal>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(ppSrc, pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const RealRows<const float, 32> rows{ppSrc};
  return synthesise<32, RealSynthesis<32>>(rows, pDst, pWindow, numTimeSlots, pSpec);
}
