// The fixed-point QMF banks: analysis, synthesis and down-sampled synthesis, complex (high quality) and real
// (low power). They are the float banks' kernels over doubles, with the words' scale folded into the window.
#include <array>

#include "frame/export_alias.h"
#include "moxac/sbr.h"
#include "moxac/tables.h"
#include "sbr/qmf_analysis_kernels.h"
#include "sbr/qmf_fixed_context.h"
#include "sbr/qmf_fixed_rows.h"
#include "sbr/qmf_synthesis_kernels.h"

namespace moxac::sbr {
namespace {

using AnalysisHq = QmfFixedBank<ContextId::sbrFixedAnalysisHq, 32, 32, ComplexAnalysis32>;
using AnalysisLp = QmfFixedBank<ContextId::sbrFixedAnalysisLp, 32, 32, RealAnalysis32>;
using SynthesisHq = QmfFixedBank<ContextId::sbrFixedSynthesisHq, 64, 128, ComplexSynthesis64>;
using SynthesisLp = QmfFixedBank<ContextId::sbrFixedSynthesisLp, 64, 128, RealSynthesis<64>>;
using DownHq = QmfFixedBank<ContextId::sbrFixedSynthesisDownHq, 32, 64, ComplexSynthesis32>;
using DownLp = QmfFixedBank<ContextId::sbrFixedSynthesisDownLp, 32, 64, RealSynthesis<32>>;

// Every kStep-th coefficient of the prototype, times a power of two.
template <int kStep>
constexpr std::array<double, 640 / kStep> scaledPrototype(double scale) {
  std::array<double, 640 / kStep> window{};
  for (size_t m = 0; m < window.size(); ++m) window[m] = scale * moxSbrQmfPrototype[kStep * m];
  return window;
}

template <class Value>
constexpr int kWordsOf = sizeof(Value) / sizeof(int32_t);

// A sub-band word is worth 2^MOX_SBR_FIXED_SHIFT time words.
constexpr double kWordsPerWord = 1 << MOX_SBR_FIXED_SHIFT;
constexpr auto kAnalysisWindow = scaledPrototype<2>(1 / kWordsPerWord);
template <int kBands>
constexpr auto kSynthesisWindow = scaledPrototype<64 / kBands>(kWordsPerWord);

// The largest |X| that a full-scale input can make is 72 in the standard's units; analysis cannot overflow.
static_assert(kWordsPerWord > 73);

// Value is int32_t, or Mox32sc for complex sub-band samples.
template <class Bank, class Value>
moxStatus analyse(const int32_t* pSrc, Value* pDst, int32_t numTimeSlots, int32_t kx,
                  MoxQmfFixedAnalysisState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<Bank>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(inRange(kx, 0, Bank::kBands), moxStatusOutOfRange);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  QmfFixedRecord& record = *contextRecord<Bank>(pState);
  const FixedRows<int32_t, Bank::kBands, kWordsOf<Value>> rows{reinterpret_cast<int32_t*>(pDst)};
  qmfAnalyse<Bank::kBands, typename Bank::Modulation, Lanes4d>(pSrc, kAnalysisWindow.data(), numTimeSlots, kx,
                                                               rows, record.delay(), record.position);
  return moxStatusOk;
}

// The context may be FullBank's, whose line is longer. Its history means nothing at the other rate, so a change of
// rate starts afresh.
template <class Bank, class FullBank = Bank, class Value>
moxStatus synthesise(const Value* pSrc, int32_t* pDst, int32_t numTimeSlots,
                     MoxQmfFixedSynthesisState* pState) {
  MOX_REQUIRE(notNull(pSrc, pDst, pState), moxStatusNullPointer);
  MOX_REQUIRE(isContext<Bank>(pState) || isContext<FullBank>(pState), moxStatusContextMismatch);
  MOX_REQUIRE(numTimeSlots >= 1, moxStatusBadSize);

  QmfFixedRecord& record = *contextRecord<Bank>(pState);
  if (record.bands != Bank::kBands) Bank::start(record);
  const FixedRows<const int32_t, Bank::kBands, kWordsOf<Value>> rows{reinterpret_cast<const int32_t*>(pSrc)};
  qmfSynthesise<Bank::kBands, typename Bank::Modulation, Lanes4d>(
      rows, pDst, kSynthesisWindow<Bank::kBands>.data(), numTimeSlots, record.delay(), record.position);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::sbr

using namespace moxac;
using namespace moxac::sbr;

// ---- Analysis ----

moxStatus moxsAnalysisFilterGetSize_SBRHQ_32s32sc(int32_t* pSize) {
  return plainStateGetSize<AnalysisHq>(pSize);
}
static_assert(AnalysisHq::kBytes == AnalysisLp::kBytes);
MOX_EXPORT_ALIAS(moxsAnalysisFilterGetSize_SBRLP_32s, moxsAnalysisFilterGetSize_SBRHQ_32s32sc);

moxStatus moxsAnalysisFilterInit_SBRHQ_32s32sc(MoxQmfFixedAnalysisState* pState) {
  return plainStateInit<AnalysisHq>(pState);
}

moxStatus moxsAnalysisFilterInit_SBRLP_32s(MoxQmfFixedAnalysisState* pState) {
  return plainStateInit<AnalysisLp>(pState);
}

moxStatus moxsAnalysisFilterInitAlloc_SBRHQ_32s32sc(MoxQmfFixedAnalysisState** ppState) {
  return plainStateInitAlloc<AnalysisHq>(ppState);
}

moxStatus moxsAnalysisFilterInitAlloc_SBRLP_32s(MoxQmfFixedAnalysisState** ppState) {
  return plainStateInitAlloc<AnalysisLp>(ppState);
}

moxStatus moxsAnalysisFilterFree_SBRHQ_32s32sc(MoxQmfFixedAnalysisState* pState) {
  return contextFree<AnalysisHq>(pState);
}

moxStatus moxsAnalysisFilterFree_SBRLP_32s(MoxQmfFixedAnalysisState* pState) {
  return contextFree<AnalysisLp>(pState);
}

moxStatus moxsAnalysisFilter_SBRHQ_32s32sc(const int32_t* pSrc, Mox32sc* pDst, int32_t numTimeSlots,
                                           int32_t kx, MoxQmfFixedAnalysisState* pState) {
  return analyse<AnalysisHq>(pSrc, pDst, numTimeSlots, kx, pState);
}

moxStatus moxsAnalysisFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots, int32_t kx,
                                       MoxQmfFixedAnalysisState* pState) {
  return analyse<AnalysisLp>(pSrc, pDst, numTimeSlots, kx, pState);
}

// ---- Synthesis ----

moxStatus moxsSynthesisFilterGetSize_SBRHQ_32sc32s(int32_t* pSize) {
  return plainStateGetSize<SynthesisHq>(pSize);
}
static_assert(SynthesisHq::kBytes == SynthesisLp::kBytes);
MOX_EXPORT_ALIAS(moxsSynthesisFilterGetSize_SBRLP_32s, moxsSynthesisFilterGetSize_SBRHQ_32sc32s);

moxStatus moxsSynthesisFilterInit_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState) {
  return plainStateInit<SynthesisHq>(pState);
}

moxStatus moxsSynthesisFilterInit_SBRLP_32s(MoxQmfFixedSynthesisState* pState) {
  return plainStateInit<SynthesisLp>(pState);
}

moxStatus moxsSynthesisFilterInitAlloc_SBRHQ_32sc32s(MoxQmfFixedSynthesisState** ppState) {
  return plainStateInitAlloc<SynthesisHq>(ppState);
}

moxStatus moxsSynthesisFilterInitAlloc_SBRLP_32s(MoxQmfFixedSynthesisState** ppState) {
  return plainStateInitAlloc<SynthesisLp>(ppState);
}

moxStatus moxsSynthesisFilterFree_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState) {
  return contextFree<SynthesisHq>(pState);
}

moxStatus moxsSynthesisFilterFree_SBRLP_32s(MoxQmfFixedSynthesisState* pState) {
  return contextFree<SynthesisLp>(pState);
}

moxStatus moxsSynthesisFilter_SBRHQ_32sc32s(const Mox32sc* pSrc, int32_t* pDst, int32_t numTimeSlots,
                                            MoxQmfFixedSynthesisState* pState) {
  return synthesise<SynthesisHq>(pSrc, pDst, numTimeSlots, pState);
}

moxStatus moxsSynthesisFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots,
                                        MoxQmfFixedSynthesisState* pState) {
  return synthesise<SynthesisLp>(pSrc, pDst, numTimeSlots, pState);
}

// ---- Down-sampled synthesis ----

moxStatus moxsSynthesisDownFilterGetSize_SBRHQ_32sc32s(int32_t* pSize) {
  return plainStateGetSize<DownHq>(pSize);
}
static_assert(DownHq::kBytes == DownLp::kBytes);
MOX_EXPORT_ALIAS(moxsSynthesisDownFilterGetSize_SBRLP_32s, moxsSynthesisDownFilterGetSize_SBRHQ_32sc32s);

moxStatus moxsSynthesisDownFilterInit_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState) {
  return plainStateInit<DownHq>(pState);
}

moxStatus moxsSynthesisDownFilterInit_SBRLP_32s(MoxQmfFixedSynthesisState* pState) {
  return plainStateInit<DownLp>(pState);
}

moxStatus moxsSynthesisDownFilterInitAlloc_SBRHQ_32sc32s(MoxQmfFixedSynthesisState** ppState) {
  return plainStateInitAlloc<DownHq>(ppState);
}

moxStatus moxsSynthesisDownFilterInitAlloc_SBRLP_32s(MoxQmfFixedSynthesisState** ppState) {
  return plainStateInitAlloc<DownLp>(ppState);
}

moxStatus moxsSynthesisDownFilterFree_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState) {
  return contextFree<DownHq>(pState);
}

moxStatus moxsSynthesisDownFilterFree_SBRLP_32s(MoxQmfFixedSynthesisState* pState) {
  return contextFree<DownLp>(pState);
}

moxStatus moxsSynthesisDownFilter_SBRHQ_32sc32s(const Mox32sc* pSrc, int32_t* pDst, int32_t numTimeSlots,
                                                MoxQmfFixedSynthesisState* pState) {
  return synthesise<DownHq, SynthesisHq>(pSrc, pDst, numTimeSlots, pState);
}

moxStatus moxsSynthesisDownFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots,
                                            MoxQmfFixedSynthesisState* pState) {
  return synthesise<DownLp, SynthesisLp>(pSrc, pDst, numTimeSlots, pState);
}
