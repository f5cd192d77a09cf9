// The 32-band float QMF analysis: complex samples (split or interleaved rows) and real ones.
#include "frame/export_alias.h"
#include "moxac/sbr.h"
#include "sbr/qmf_analysis_kernels.h"
#include "sbr/qmf_context.h"

using namespace moxac;

namespace {

constexpr int kBands = 32;
constexpr int kDelay = 10 * kBands;

using ComplexSplit = QmfBank<ContextId::sbrAnalysisComplexSplit, QmfFftTransform<5>, kDelay>;
using ComplexInterleaved = QmfBank<ContextId::sbrAnalysisComplexInterleaved, QmfFftTransform<5>, kDelay>;
using Real =
    QmfBank<ContextId::sbrAnalysisReal, QmfCosineTransform<ContextId::sbrAnalysisRealTransform, 32>, kDelay>;

constexpr bool validKx(int32_t kx) { return inRange(kx, 0, kBands); }

template <class Modulation, class Rows>
moxStatus analyse(const float* pSrc, const float* pWindow, int32_t numTimeSlots, int32_t kx, const Rows& rows,
                  MoxQmfAnalysisSpec* pSpec) {
  QmfHeader* const header = qmfHeader(pSpec);
  qmfAnalyse<kBands, Modulation>(pSrc, pWindow, numTimeSlots, kx, rows, header->delay, header->position);
  return moxStatusOk;
}

}  // namespace

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
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<ComplexSplit>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validKx(kx), moxStatusBadSize);
  MOX_REQUIRE(notNull(pSrc, ppDstRe, ppDstIm), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const SplitRows<float, kBands> rows{ppDstRe + offset, ppDstIm + offset};
  return analyse<ComplexAnalysis32>(pSrc, pWindow, numTimeSlots, kx, rows, pSpec);
}

moxStatus moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(const float* pSrc, Mox32fc* const* ppDst,
                                                  const float* pWindow, int32_t numTimeSlots, int32_t offset,
                                                  int32_t kx, MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<ComplexInterleaved>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validKx(kx), moxStatusBadSize);
  MOX_REQUIRE(notNull(pSrc, ppDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const InterleavedRows<Mox32fc, float, kBands> rows{ppDst + offset};
  return analyse<ComplexAnalysis32>(pSrc, pWindow, numTimeSlots, kx, rows, pSpec);
}

moxStatus moxsAnalysisFilter_SBR_RToR_32f_D2L(const float* pSrc, float* const* ppDst, const float* pWindow,
                                              int32_t numTimeSlots, int32_t offset, int32_t kx,
                                              MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer) {
  MOX_REQUIRE(notNull(pSpec, pWindow, pBuffer), moxStatusNullPointer);
  MOX_REQUIRE(isQmfContext<Real>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(validKx(kx), moxStatusBadSize);
  MOX_REQUIRE(notNull(pSrc, ppDst), moxStatusNullPointer);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusOk);

  const RealRows<float, kBands> rows{ppDst + offset};
  return analyse<RealAnalysis32>(pSrc, pWindow, numTimeSlots, kx, rows, pSpec);
}
