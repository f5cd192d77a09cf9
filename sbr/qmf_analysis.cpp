// The 32-band float QMF analysis: complex samples (split or interleaved rows) and real ones.
#include "frame/export_alias.h"
#include "moxac/sbr.h"
#include "sbr/qmf_analysis_kernels.h"
#include "sbr/qmf_context.h"

namespace moxac::sbr {
namespace {

constexpr int kBands = 32;
constexpr int kDelay = 10 * kBands;

template <ContextId kId, class TransformT, class ModulationT, class RowsT>
struct Bank : QmfBank<kId, TransformT, kDelay> {
  using Modulation = ModulationT;
  using Rows = RowsT;
};
using ComplexSplit =
    Bank<ContextId::sbrAnalysisComplexSplit, QmfFftTransform<5>, ComplexAnalysis32, SplitRows<float, kBands>>;
using ComplexInterleaved = Bank<ContextId::sbrAnalysisComplexInterleaved, QmfFftTransform<5>,
                                ComplexAnalysis32, InterleavedRows<Mox32fc, float, kBands>>;
using Real = Bank<ContextId::sbrAnalysisReal, QmfCosineTransform<ContextId::sbrAnalysisRealTransform, 32>,
                  RealAnalysis32, RealRows<float, kBands>>;

// Destinations are one or two arrays of row pointers, of which the slots' rows begin at `offset`.
template <class Bank, class... Destinations>
moxStatus analyse(const float* pSrc, const float* pWindow, int32_t numTimeSlots, int32_t offset, int32_t kx,
                  MoxQmfAnalysisSpec* pSpec, const uint8_t* pBuffer, Destinations... destinations) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<Bank>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(inRange(kx, 0, kBands), moxStatusBadSize);
  MOX_REQUIRE(notNull(pSrc, destinations...), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  QmfHeader* const header = qmfHeader(pSpec);
  qmfAnalyse<kBands, typename Bank::Modulation>(pSrc, pWindow, numTimeSlots, kx,
                                                typename Bank::Rows{(destinations + offset)...},
                                                header->delay, header->position);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::sbr

using namespace moxac;
using namespace moxac::sbr;

moxStatus moxsAnalysisFilterGetSize_SBR_RToC_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                 int32_t* pWorkSize) {
  return qmfGetSize<ComplexSplit>(pSpecSize, pInitBufSize, pWorkSize);
}
MOX_EXPORT_ALIAS(moxsAnalysisFilterGetSize_SBR_RToC_32f32fc, moxsAnalysisFilterGetSize_SBR_RToC_32f);

moxStatus moxsAnalysisFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                 int32_t* pWorkSize) {
  return qmfGetSize<Real>(pSpecSize, pInitBufSize, pWorkSize);
}

moxStatus moxsAnalysisFilterInit_SBR_RToC_32f(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf) {
  return qmfInit<ComplexSplit>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsAnalysisFilterInit_SBR_RToC_32f32fc(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem,
                                                  uint8_t* pInitBuf) {
  return qmfInit<ComplexInterleaved>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsAnalysisFilterInit_SBR_RToR_32f(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf) {
  return qmfInit<Real>(ppSpec, pMem, pInitBuf);
}

moxStatus moxsAnalysisFilter_SBR_RToC_32f_D2L(const float* pSrc, float* const* ppDstRe, float* const* ppDstIm,
                                              const float* pWindow, int32_t numTimeSlots, int32_t offset,
                                              int32_t kx, MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer) {
  return analyse<ComplexSplit>(pSrc, pWindow, numTimeSlots, offset, kx, pSpec, pBuffer, ppDstRe, ppDstIm);
}

moxStatus moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(const float* pSrc, Mox32fc* const* ppDst,
                                                  const float* pWindow, int32_t numTimeSlots, int32_t offset,
                                                  int32_t kx, MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer) {
  return analyse<ComplexInterleaved>(pSrc, pWindow, numTimeSlots, offset, kx, pSpec, pBuffer, ppDst);
}

moxStatus moxsAnalysisFilter_SBR_RToR_32f_D2L(const float* pSrc, float* const* ppDst, const float* pWindow,
                                              int32_t numTimeSlots, int32_t offset, int32_t kx,
                                              MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer) {
  return analyse<Real>(pSrc, pWindow, numTimeSlots, offset, kx, pSpec, pBuffer, ppDst);
}
