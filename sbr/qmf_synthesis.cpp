// The float QMF synthesis: 64 bands, and 32 bands to half the output rate; complex samples (split or
// interleaved rows) and real ones.
#include "frame/export_alias.h"
#include "moxac/sbr.h"
#include "sbr/qmf_context.h"
#include "sbr/qmf_synthesis_kernels.h"

namespace moxac::sbr {
namespace {

template <ContextId kId, int kBandsT, class TransformT, class ModulationT, class RowsT, int kSpare = 0>
struct Bank : QmfBank<kId, TransformT, 20 * kBandsT, kSpare> {
  using Modulation = ModulationT;
  using Rows = RowsT;
  static constexpr int kBands = kBandsT;
};
template <int kPoints>
using Cosine = QmfCosineTransform<ContextId::sbrSynthesisRealTransform, kPoints>;

using FullSplit = Bank<ContextId::sbrSynthesisComplexSplit, 64, QmfFftTransform<5>, ComplexSynthesis64,
                       SplitRows<const float, 64>>;
using FullInterleaved = Bank<ContextId::sbrSynthesisComplexInterleaved, 64, QmfFftTransform<5>,
                             ComplexSynthesis64, InterleavedRows<const Mox32fc, const float, 64>>;
using FullReal =
    Bank<ContextId::sbrSynthesisReal, 64, Cosine<64>, RealSynthesis<64>, RealRows<const float, 64>, 4>;
using DownSplit = Bank<ContextId::sbrSynthesisDownComplexSplit, 32, QmfFftTransform<6>, ComplexSynthesis32,
                       SplitRows<const float, 32>>;
using DownInterleaved = Bank<ContextId::sbrSynthesisDownComplexInterleaved, 32, QmfFftTransform<6>,
                             ComplexSynthesis32, InterleavedRows<const Mox32fc, const float, 32>>;
using DownReal =
    Bank<ContextId::sbrSynthesisDownReal, 32, Cosine<32>, RealSynthesis<32>, RealRows<const float, 32>>;

// Sources are one or two arrays of row pointers.
template <class Bank, class... Sources>
moxStatus synthesise(float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec,
                     const uint8_t* pBuffer, Sources... sources) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<Bank>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(sources..., pDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  QmfHeader* const header = qmfHeader(pSpec);
  qmfSynthesise<Bank::kBands, typename Bank::Modulation>(typename Bank::Rows{sources...}, pDst, pWindow,
                                                         numTimeSlots, header->delay, header->position);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::sbr

using namespace moxac;
using namespace moxac::sbr;

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
  return synthesise<FullSplit>(pDst, pWindow, numTimeSlots, pSpec, pBuffer, ppSrcRe, ppSrcIm);
}

moxStatus moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst,
                                                   const float* pWindow, int32_t numTimeSlots,
                                                   MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  return synthesise<FullInterleaved>(pDst, pWindow, numTimeSlots, pSpec, pBuffer, ppSrc);
}

moxStatus moxsSynthesisFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst, const float* pWindow,
                                               int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec,
                                               uint8_t* pBuffer) {
  return synthesise<FullReal>(pDst, pWindow, numTimeSlots, pSpec, pBuffer, ppSrc);
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
  return synthesise<DownSplit>(pDst, pWindow, numTimeSlots, pSpec, pBuffer, ppSrcRe, ppSrcIm);
}

moxStatus moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst,
                                                       const float* pWindow, int32_t numTimeSlots,
                                                       MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  return synthesise<DownInterleaved>(pDst, pWindow, numTimeSlots, pSpec, pBuffer, ppSrc);
}

moxStatus moxsSynthesisDownFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst,
                                                   const float* pWindow, int32_t numTimeSlots,
                                                   MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer) {
  return synthesise<DownReal>(pDst, pWindow, numTimeSlots, pSpec, pBuffer, ppSrc);
}
