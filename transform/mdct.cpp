// The MDCT's exported operations: sizes, contexts, transforms.
#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <numbers>

#include "frame/align.h"
#include "frame/checks.h"
#include "frame/context.h"
#include "moxac/transform.h"
#include "transform/mdct_kernels.h"

namespace moxac::transform {
namespace {

// A numbered context is used at the pointer that Init or InitAlloc handed back.
struct MdctFamily {
  using Record = MoxMdctSpec;
  static constexpr uintptr_t kAlignment = 1;
  static constexpr OnFree kOnFree = OnFree::clearIdentifier;
  static constexpr OnLateFailure kOnLateFailure = OnLateFailure::releaseBlock;
};

constexpr bool isPowerOfTwoLength(int32_t N) { return N >= 32 && (N & (N - 1)) == 0; }
constexpr bool isMp3Length(int32_t N) { return N == 12 || N == 36; }
constexpr int32_t fftOrderOf(int32_t N) {
  return isMp3Length(N) ? 0 : std::countr_zero(static_cast<uint32_t>(N)) - 2;
}

// The two sorts of context: float samples, either direction, and 16-bit samples.
struct Float32 {
  static constexpr bool acceptsLength(int32_t N) { return isMp3Length(N) || isPowerOfTwoLength(N); }
  static constexpr int64_t tableCount(int32_t N) { return mdctTwiddleCount(N); }
  // From the table's start to the FFT context.
  static constexpr int64_t tableRoom(int32_t N) { return (mdctTwiddleCount(N) + 63) / 64 * 64; }
};
struct Int16 {
  static constexpr bool acceptsLength(int32_t N) { return isPowerOfTwoLength(N); }
  static constexpr int64_t tableCount(int32_t N) { return mdctQuarterCount(N); }
  static constexpr int64_t tableRoom(int32_t N) { return (mdctQuarterCount(N) + 15) / 16 * 16; }
};

template <ContextId kId, class Data>
struct MdctForm : MdctFamily, Data {
  static constexpr ContextId kIdentifier = kId;
  static void fillTable(float* table, int32_t N) {
    if constexpr (kId == ContextId::mdctForward)
      fillMdctTwiddles(table, N, std::numbers::sqrt2);
    else if constexpr (kId == ContextId::mdctInverse)
      fillMdctTwiddles(table, N, 1 / std::sqrt(N / 2));
    else
      fillMdctQuarter(table, N);
  }
};
using Forward = MdctForm<ContextId::mdctForward, Float32>;
using Inverse = MdctForm<ContextId::mdctInverse, Float32>;
using Forward16s = MdctForm<ContextId::mdctForward16s, Int16>;

struct MdctSizes {
  int64_t spec = 0, initBuf = 0, work = 0;
  bool fit() const { return std::max({spec, initBuf, work}) <= INT32_MAX; }
};

MdctSizes sizesOf(Float32, int32_t N) {
  MdctSizes sizes = {int64_t{N} / 2 * 4 + 168, 0, int64_t{4} * N + 128};
  if (isMp3Length(N)) return sizes;
  int32_t spec = 0, initBuf = 0, work = 0;
  FftGetSize_C_32fc(fftOrderOf(N), FftScaleNone, 0, &spec, &initBuf, &work);
  sizes.spec += spec + 64;
  sizes.initBuf = initBuf;
  sizes.work += work + 64;
  return sizes;
}

MdctSizes sizesOf(Int16, int32_t N) {
  int32_t spec = 0, initBuf = 0, work = 0;
  if (FftGetSizeWithCopy_C_32fc(fftOrderOf(N), FftScaleNone, 0, &spec, &initBuf, &work) != moxStatusOk)
    return {INT64_MAX, 0, 0};
  return {int64_t{spec} + 2 * (int64_t{N} / 2) + 232, initBuf,
          std::max(int64_t{4} * N, int64_t{work}) + N + 64};
}

// The work size that the context carries.
uint32_t storedWork(Float32, int32_t N, const FftSpec* fft) {
  int32_t work = 0;
  if (fft != nullptr) FftGetWorkSize_C_32fc(fft, &work);
  return static_cast<uint32_t>(work + 4 * N + 64);
}
uint32_t storedWork(Int16, int32_t N, const FftSpec* /*fft*/) {
  return static_cast<uint32_t>(sizesOf(Int16{}, N).work);
}

template <class Form>
moxStatus mdctGetSize(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize) {
  MOX_REQUIRE(notNull(pSpecSize, pInitBufSize, pWorkSize), moxStatusNullPointer);
  MOX_REQUIRE(Form::acceptsLength(N), moxStatusBadSize);
  const MdctSizes sizes = sizesOf(Form{}, N);
  MOX_REQUIRE(sizes.fit(), moxStatusBadSize);

  *pSpecSize = static_cast<int32_t>(sizes.spec);
  *pInitBufSize = static_cast<int32_t>(sizes.initBuf);
  *pWorkSize = static_cast<int32_t>(sizes.work);
  return moxStatusOk;
}

template <class Form>
void startRecord(MoxMdctSpec& record, int32_t N) {
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  record.identifier = Form::kIdentifier;
  record.length = static_cast<uint32_t>(N);
  record.fftOrder = static_cast<uint32_t>(fftOrderOf(N));
}

// In the caller's memory: the record, the table at the next 64-byte boundary, the FFT context behind it.
template <class Form>
moxStatus mdctInit(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf) {
  MOX_REQUIRE(Form::acceptsLength(N) && sizesOf(Form{}, N).fit(), moxStatusBadSize);
  MOX_REQUIRE(notNull(ppSpec, pMem), moxStatusNullPointer);
  MOX_REQUIRE(isMp3Length(N) || notNull(pInitBuf), moxStatusNullPointer);

  uint8_t* const base = alignUp<uint8_t>(pMem, 64);
  auto* const record = reinterpret_cast<MoxMdctSpec*>(base);
  float* const table = reinterpret_cast<float*>(base + roundUp64(sizeof(MoxMdctSpec)));
  startRecord<Form>(*record, N);
  if (!isMp3Length(N)) {
    uint8_t* const fftMemory = reinterpret_cast<uint8_t*>(table + Form::tableRoom(N));
    MOX_TRY(FftInit_C_32fc(&record->fft, fftOrderOf(N), FftScaleNone, 0, fftMemory, pInitBuf));
  }
  Form::fillTable(table, N);
  record->twiddles = table;
  record->workSize = storedWork(Form{}, N, record->fft);
  *ppSpec = record;
  return moxStatusOk;
}

void releasePieces(const MoxMdctSpec& record) {
  FftFree_C_32fc(record.fft);
  if (record.twiddles != nullptr) freeBlock(const_cast<float*>(record.twiddles));
}

// The FFT context and the table in allocations of their own.
template <class Form>
moxStatus buildPieces(MoxMdctSpec& record, int32_t N) {
  startRecord<Form>(record, N);
  if (!isMp3Length(N)) {
    MOX_TRY(FftInitAlloc_C_32fc(&record.fft, fftOrderOf(N), FftScaleNone, 0));
  }
  auto* const table = static_cast<float*>(allocWords32(static_cast<int32_t>(Form::tableCount(N))));
  if (table == nullptr) {
    releasePieces(record);
    return moxStatusOutOfMemory;
  }
  Form::fillTable(table, N);
  record.twiddles = table;
  record.workSize = storedWork(Form{}, N, record.fft);
  return moxStatusOk;
}

template <class Form>
moxStatus mdctInitAlloc(MoxMdctSpec** ppSpec, int32_t N) {
  return contextInitAlloc<Form>(
      ppSpec,
      [&](ContextSizes& sizes) {
        MOX_REQUIRE(Form::acceptsLength(N) && sizesOf(Form{}, N).fit(), moxStatusBadSize);
        sizes.context = sizeof(MoxMdctSpec);
        return moxStatusOk;
      },
      [&](void* block, void* /*work*/) { return buildPieces<Form>(*static_cast<MoxMdctSpec*>(block), N); });
}

template <class Form>
moxStatus mdctFree(MoxMdctSpec* pSpec) {
  MOX_REQUIRE(notNull(pSpec), moxStatusNullPointer);
  MOX_REQUIRE(isContext<Form>(pSpec), moxStatusContextMismatch);

  if (pSpec->allocated == 1) releasePieces(*pSpec);
  contextRelease<Form>(pSpec);
  return moxStatusOk;
}

template <class Form>
moxStatus mdctGetBufSize(const MoxMdctSpec* pSpec, int32_t* pSize) {
  MOX_REQUIRE(notNull(pSpec, pSize), moxStatusNullPointer);
  MOX_REQUIRE(isContext<Form>(pSpec), moxStatusContextMismatch);

  *pSize = static_cast<int32_t>(pSpec->workSize);
  return moxStatusOk;
}

// The checks and the work buffer of every transform; run(work) does it.
template <class Form, class Sample, class Run>
moxStatus mdctTransform(const Sample* pSrc, const Sample* pDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer,
                        Run&& run) {
  MOX_REQUIRE(notNull(pSpec), moxStatusNullPointer);
  MOX_REQUIRE(isContext<Form>(pSpec), moxStatusContextMismatch);
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);

  void* const own = pBuffer == nullptr ? allocBytes(static_cast<int32_t>(pSpec->workSize)) : nullptr;
  MOX_REQUIRE(pBuffer != nullptr || own != nullptr, moxStatusOutOfMemory);
  run(alignUp<float>(own != nullptr ? own : pBuffer, 64));
  if (own != nullptr) freeBlock(own);
  return moxStatusOk;
}

}  // namespace
}  // namespace moxac::transform

using namespace moxac;
using namespace moxac::transform;

moxStatus moxsMDCTFwdGetSize_32f(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize) {
  return mdctGetSize<Forward>(N, pSpecSize, pInitBufSize, pWorkSize);
}

moxStatus moxsMDCTInvGetSize_32f(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize) {
  return mdctGetSize<Inverse>(N, pSpecSize, pInitBufSize, pWorkSize);
}

moxStatus moxsMDCTFwdGetSize_16s(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize) {
  return mdctGetSize<Forward16s>(N, pSpecSize, pInitBufSize, pWorkSize);
}

moxStatus moxsMDCTFwdInit_32f(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf) {
  return mdctInit<Forward>(ppSpec, N, pMem, pInitBuf);
}

moxStatus moxsMDCTInvInit_32f(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf) {
  return mdctInit<Inverse>(ppSpec, N, pMem, pInitBuf);
}

moxStatus moxsMDCTFwdInit_16s(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf) {
  return mdctInit<Forward16s>(ppSpec, N, pMem, pInitBuf);
}

moxStatus moxsMDCTFwdInitAlloc_32f(MoxMdctSpec** ppSpec, int32_t N) {
  return mdctInitAlloc<Forward>(ppSpec, N);
}

moxStatus moxsMDCTInvInitAlloc_32f(MoxMdctSpec** ppSpec, int32_t N) {
  return mdctInitAlloc<Inverse>(ppSpec, N);
}

moxStatus moxsMDCTFwdInitAlloc_16s(MoxMdctSpec** ppSpec, int32_t N) {
  return mdctInitAlloc<Forward16s>(ppSpec, N);
}

moxStatus moxsMDCTFwdFree_32f(MoxMdctSpec* pSpec) { return mdctFree<Forward>(pSpec); }
moxStatus moxsMDCTInvFree_32f(MoxMdctSpec* pSpec) { return mdctFree<Inverse>(pSpec); }
moxStatus moxsMDCTFwdFree_16s(MoxMdctSpec* pSpec) { return mdctFree<Forward16s>(pSpec); }

moxStatus moxsMDCTFwdGetBufSize_32f(const MoxMdctSpec* pSpec, int32_t* pSize) {
  return mdctGetBufSize<Forward>(pSpec, pSize);
}

moxStatus moxsMDCTInvGetBufSize_32f(const MoxMdctSpec* pSpec, int32_t* pSize) {
  return mdctGetBufSize<Inverse>(pSpec, pSize);
}

moxStatus moxsMDCTFwdGetBufSize_16s(const MoxMdctSpec* pSpec, int32_t* pSize) {
  return mdctGetBufSize<Forward16s>(pSpec, pSize);
}

moxStatus moxsMDCTFwd_32f(const float* pSrc, float* pDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer) {
  return mdctTransform<Forward>(pSrc, pDst, pSpec, pBuffer,
                                [&](float* work) { mdctForward(pSrc, pDst, *pSpec, work); });
}

moxStatus moxsMDCTFwd_32f_I(float* pSrcDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer) {
  return moxsMDCTFwd_32f(pSrcDst, pSrcDst, pSpec, pBuffer);
}

moxStatus moxsMDCTInv_32f(const float* pSrc, float* pDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer) {
  return mdctTransform<Inverse>(pSrc, pDst, pSpec, pBuffer,
                                [&](float* work) { mdctInverse(pSrc, pDst, *pSpec, work); });
}

moxStatus moxsMDCTInv_32f_I(float* pSrcDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer) {
  return moxsMDCTInv_32f(pSrcDst, pSrcDst, pSpec, pBuffer);
}

moxStatus moxsMDCTFwd_16s_Sfs(const int16_t* pSrc, int16_t* pDst, const MoxMdctSpec* pSpec,
                              int32_t scaleFactor, uint8_t* pBuffer) {
  return mdctTransform<Forward16s>(pSrc, pDst, pSpec, pBuffer, [&](float* work) {
    mdctForward16s(pSrc, pDst, *pSpec, scaleFactor, work);
  });
}
