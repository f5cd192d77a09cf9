// The FFT engine's operations: sizes, contexts, and one transform per call.
#include "transform/fft.h"

#include <cmath>
#include <cstring>

#include "frame/align.h"
#include "frame/checks.h"
#include "frame/memory.h"
#include "transform/fft_kernels.h"
#include "transform/fft_tables.h"

namespace moxac::transform {
namespace {

constexpr int32_t roundDown64(int32_t bytes) { return bytes & ~63; }

constexpr bool isScaleMode(int32_t flag) {
  return flag == FftScaleNone || flag == FftScaleBySqrtN || flag == FftScaleFwdByN || flag == FftScaleInvByN;
}

struct FftSizes {
  int32_t spec, initBuf, work;
};

// The quarter-wave source table of 2^(order-2) + 1 floats, and the bit-reversal table of as many words.
constexpr int32_t quarterTableBytes(int32_t order) { return roundDown64(((1 << order) & ~3) + 67); }

// The work buffer holds the 2^order points between the passes.
constexpr int32_t tableOrderWork(int32_t order) { return roundDown64((8 << order) + 63); }

FftSizes fftSizes(int32_t order) {
  if (order <= kFftLastStraightOrder) return {208, 0, 0};
  const int32_t quarter = quarterTableBytes(order);
  if (order <= kFftLastTableOrder)
    return {roundDown64((8 << order) + 71) + quarter + 256, order <= kStaticQuarterOrder ? 0 : quarter + 64,
            tableOrderWork(order) + 64};
  return {static_cast<int32_t>(largeTableBytes(order)) + 256, quarter + 64,
          static_cast<int32_t>(largeWorkBytes(order)) + 64};
}

moxStatus checkSizing(int32_t order, int32_t flag, const int32_t* pSpecSize, const int32_t* pInitBufSize,
                      const int32_t* pWorkSize) {
  MOX_REQUIRE(order <= 30, moxStatusBadFftOrder);
  MOX_REQUIRE(notNull(pSpecSize, pInitBufSize, pWorkSize), moxStatusNullPointer);
  MOX_REQUIRE(isScaleMode(flag), moxStatusBadFftFlag);
  MOX_REQUIRE(inRange(order, 0, kFftMaxOrder), moxStatusBadFftOrder);
  return moxStatusOk;
}

// The checks and the work buffer that both directions share.
template <class Transform>
moxStatus runTransform(const Mox32fc* pSrc, Mox32fc* pDst, const FftSpec* pSpec, uint8_t* pWork,
                       Transform&& transform) {
  MOX_REQUIRE(notNull(pSpec), moxStatusNullPointer);
  MOX_REQUIRE(pSpec->identifier == ContextId::fftComplex, moxStatusContextMismatch);
  MOX_REQUIRE(notNull(pSrc, pDst), moxStatusNullPointer);

  if (pSpec->workSize < 1) {
    transform(nullptr);
    return moxStatusOk;
  }
  void* const own = pWork == nullptr ? allocBytes(pSpec->workSize) : nullptr;
  MOX_REQUIRE(pWork != nullptr || own != nullptr, moxStatusOutOfMemory);
  transform(static_cast<float*>(own != nullptr ? own : alignUp(pWork, 64)));
  if (own != nullptr) freeBlock(own);
  return moxStatusOk;
}

}  // namespace

moxStatus FftGetSize_C_32fc(int32_t order, int32_t flag, int32_t /*hint*/, int32_t* pSpecSize,
                            int32_t* pInitBufSize, int32_t* pWorkSize) {
  MOX_TRY(checkSizing(order, flag, pSpecSize, pInitBufSize, pWorkSize));

  const FftSizes sizes = fftSizes(order);
  *pSpecSize = sizes.spec;
  *pInitBufSize = sizes.initBuf;
  *pWorkSize = sizes.work;
  return moxStatusOk;
}

moxStatus FftGetSizeWithCopy_C_32fc(int32_t order, int32_t flag, int32_t hint, int32_t* pSpecSize,
                                    int32_t* pInitBufSize, int32_t* pWorkSize) {
  MOX_TRY(checkSizing(order, flag, pSpecSize, pInitBufSize, pWorkSize));

  FftSizes sizes = fftSizes(order);
  int64_t work = 0;
  if (order == 0) {
    sizes = {136, 0, 0};
  } else if (order <= 3 && (hint == 0 || hint == 1)) {
    const int32_t points = 1 << order;
    sizes = {roundDown64((8 << order) + 63) + roundDown64((points & ~3) + 67),
             roundDown64(points / 4 * 2 + 65), 0};
    work = 8 << order;
  } else {
    work = sizes.work + (int64_t{8} << order);
  }
  MOX_REQUIRE(work + 64 <= INT32_MAX, moxStatusBadSize);
  *pSpecSize = sizes.spec + 192;
  *pInitBufSize = sizes.initBuf + 64;
  *pWorkSize = static_cast<int32_t>(work + 64);
  return moxStatusOk;
}

moxStatus FftInit_C_32fc(FftSpec** ppSpec, int32_t order, int32_t flag, int32_t hint, uint8_t* pMem,
                         uint8_t* pInitBuf) {
  MOX_REQUIRE(notNull(ppSpec), moxStatusNullPointer);
  MOX_REQUIRE(inRange(order, 0, kFftMaxOrder), moxStatusBadFftOrder);
  MOX_REQUIRE(notNull(pMem), moxStatusNullPointer);

  FftSpec* const spec = alignUp<FftSpec>(pMem, 64);
  *ppSpec = spec;
  std::memset(static_cast<void*>(spec), 0,
              order <= kFftLastStraightOrder ? kFftStraightHeaderBytes : sizeof(FftSpec));
  spec->order = order;
  spec->hint = hint;
  MOX_REQUIRE(isScaleMode(flag), moxStatusBadFftFlag);
  MOX_REQUIRE(order <= kStaticQuarterOrder || pInitBuf != nullptr, moxStatusNullPointer);

  spec->identifier = ContextId::fftComplex;
  spec->scaleForward = flag == FftScaleFwdByN || flag == FftScaleBySqrtN;
  spec->scaleInverse = flag == FftScaleInvByN || flag == FftScaleBySqrtN;
  const double points = static_cast<double>(int32_t{1} << order);
  if (flag != FftScaleNone)
    spec->scale = static_cast<float>(flag == FftScaleBySqrtN ? 1 / std::sqrt(points) : 1 / points);
  if (order <= kFftLastStraightOrder) return moxStatusOk;

  buildTables(*spec, pInitBuf == nullptr ? nullptr : alignUp<float>(pInitBuf, 64));
  spec->workSize =
      order <= kFftLastTableOrder ? tableOrderWork(order) : static_cast<int32_t>(largeWorkBytes(order));
  return moxStatusOk;
}

moxStatus FftInitAlloc_C_32fc(FftSpec** ppSpec, int32_t order, int32_t flag, int32_t hint) {
  *ppSpec = nullptr;
  int32_t specSize = 0, initBufSize = 0, workSize = 0;
  const moxStatus sized = FftGetSize_C_32fc(order, flag, hint, &specSize, &initBufSize, &workSize);
  MOX_REQUIRE(sized == moxStatusOk, sized);

  void* const block = allocBytes(specSize);
  MOX_REQUIRE(notNull(block), moxStatusOutOfMemory);
  void* const scratch = initBufSize > 0 ? allocBytes(initBufSize) : nullptr;
  moxStatus status = moxStatusOutOfMemory;
  if (initBufSize == 0 || scratch != nullptr)
    status = FftInit_C_32fc(ppSpec, order, flag, hint, static_cast<uint8_t*>(block),
                            static_cast<uint8_t*>(scratch));
  if (scratch != nullptr) freeBlock(scratch);
  if (status != moxStatusOk) {
    freeBlock(block);
    *ppSpec = nullptr;
    return status;
  }
  (*ppSpec)->block = block;
  return moxStatusOk;
}

void FftFree_C_32fc(FftSpec* pSpec) {
  if (pSpec != nullptr && pSpec->block != nullptr) freeBlock(pSpec->block);
}

moxStatus FftGetWorkSize_C_32fc(const FftSpec* pSpec, int32_t* pSize) {
  MOX_REQUIRE(notNull(pSpec, pSize), moxStatusNullPointer);
  MOX_REQUIRE(pSpec->identifier == ContextId::fftComplex, moxStatusContextMismatch);

  *pSize = pSpec->workSize >= 1 ? pSpec->workSize + 64 : 0;
  return moxStatusOk;
}

moxStatus FftFwd_CToC_32fc(const Mox32fc* pSrc, Mox32fc* pDst, const FftSpec* pSpec, uint8_t* pWork) {
  return runTransform(pSrc, pDst, pSpec, pWork, [&](float* work) { fftForward(pSrc, pDst, *pSpec, work); });
}

moxStatus FftInv_CToC_32fc(const Mox32fc* pSrc, Mox32fc* pDst, const FftSpec* pSpec, uint8_t* pWork) {
  return runTransform(pSrc, pDst, pSpec, pWork, [&](float* work) { fftInverse(pSrc, pDst, *pSpec, work); });
}

}  // namespace moxac::transform
