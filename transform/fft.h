// The complex single-precision FFT that the MDCT and filter-bank contexts embed. Internal: no exported
// operation shows it.
//
//   forward   X[k] = sf * sum over n of x[n] * exp(-2*pi*i*n*k/L)      L = 2^order, k = 0..L-1
//   inverse   x[n] = si * sum over k of X[k] * exp(+2*pi*i*n*k/L)
//
// A caller asks for the sizes, builds the context in its own memory, and passes a work buffer (or none) to
// every transform. The engine frees nothing: a context lives and dies with the memory of its owner.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/context_ids.h"
#include "moxac/types.h"

namespace moxac::transform {

// Which direction multiplies its result by the scale factor.
enum FftScaleMode : int32_t {
  FftScaleFwdByN = 1,   // forward by 1/L
  FftScaleInvByN = 2,   // inverse by 1/L
  FftScaleBySqrtN = 4,  // both by 1/sqrt(L)
  FftScaleNone = 8
};

inline constexpr int32_t kFftMaxOrder = 28;
inline constexpr int32_t kFftLastStraightOrder = 6;  // up to 64 points: no tables, no work buffer
inline constexpr int32_t kFftLastTableOrder =
    18;  // from 2^19 points on the transform is split in two dimensions

// 64-byte aligned inside the owner's memory; read-only once built, so threads may share it as long as each
// brings its own work buffer (or none).
struct FftSpec {
  ContextId identifier;  // ContextId::fftComplex; cleared after a failed Init
  int32_t order;
  int32_t scaleForward;  // 1: the forward transform multiplies by `scale`
  int32_t scaleInverse;
  float scale;       // 1/L or 1/sqrt(L); 0 when neither direction scales
  int32_t hint;      // kept, selects nothing
  int32_t workSize;  // bytes
  int32_t reserved;  // 0
  const int32_t* bitReversal;
  const float* twiddles;
  void* block;  // what FftInitAlloc_C_32fc obtained, else null
  // Orders 19 to 28 only.
  const float* shortTwiddles;    // of the shorter side
  const double* coarseTwiddles;  // exp(-2*pi*i*k*2^(order/2)/L)
  const double* fineTwiddles;    // exp(-2*pi*i*k/L), k below 2^(order/2)
  uint8_t unused[64];
};
static_assert(sizeof(FftSpec) == 144);

// A straight-line context (order 0..6) uses the fields in front of this offset and no byte behind it.
inline constexpr size_t kFftStraightHeaderBytes = offsetof(FftSpec, shortTwiddles);

// Byte counts of the context (any alignment), of Init's scratch, and of the work buffer.
//   moxStatusBadFftOrder   order above 30
//   moxStatusNullPointer   some pointer is null
//   moxStatusBadFftFlag    flag not 1, 2, 4 or 8
//   moxStatusBadFftOrder   order not 0..28
moxStatus FftGetSize_C_32fc(int32_t order, int32_t flag, int32_t hint, int32_t* pSpecSize,
                            int32_t* pInitBufSize, int32_t* pWorkSize);

// The same for an owner that keeps a float copy of 2^order complex values in the work buffer. One more
// status: moxStatusBadSize when that size leaves 32 bits (order 28).
moxStatus FftGetSizeWithCopy_C_32fc(int32_t order, int32_t flag, int32_t hint, int32_t* pSpecSize,
                                    int32_t* pInitBufSize, int32_t* pWorkSize);

// Builds the context in pMem, rounded up to 64 bytes, and hands back the rounded pointer. pInitBuf may be
// null where its size is 0.
//   moxStatusNullPointer   ppSpec is null
//   moxStatusBadFftOrder   order not 0..28
//   moxStatusNullPointer   pMem is null
//   moxStatusBadFftFlag    flag not 1, 2, 4 or 8; *ppSpec is a context that every transform refuses
//   moxStatusNullPointer   pInitBuf is null though the order needs it; *ppSpec likewise
moxStatus FftInit_C_32fc(FftSpec** ppSpec, int32_t order, int32_t flag, int32_t hint, uint8_t* pMem,
                         uint8_t* pInitBuf);

// The same in a block from moxMalloc, released by FftFree_C_32fc. On failure everything is released and
// *ppSpec is null.
//   moxStatusBadFftOrder, moxStatusBadFftFlag   as in Init
//   moxStatusOutOfMemory                        moxMalloc returned null
moxStatus FftInitAlloc_C_32fc(FftSpec** ppSpec, int32_t order, int32_t flag, int32_t hint);
void FftFree_C_32fc(FftSpec* pSpec);  // null is allowed

// Bytes for a work buffer at any alignment; 0 when none is needed.
//   moxStatusNullPointer, moxStatusContextMismatch
moxStatus FftGetWorkSize_C_32fc(const FftSpec* pSpec, int32_t* pSize);

// One transform of 2^order complex values; pSrc may equal pDst, and both may have any alignment. pWork is
// rounded up to 64 bytes; where the order needs one and it is null, one is taken from moxMalloc for the
// duration of the call.
//   moxStatusNullPointer       pSpec is null
//   moxStatusContextMismatch   not a complex FFT context
//   moxStatusNullPointer       pSrc or pDst is null
//   moxStatusOutOfMemory       no work buffer given and none to be had
moxStatus FftFwd_CToC_32fc(const Mox32fc* pSrc, Mox32fc* pDst, const FftSpec* pSpec, uint8_t* pWork);
moxStatus FftInv_CToC_32fc(const Mox32fc* pSrc, Mox32fc* pDst, const FftSpec* pSpec, uint8_t* pWork);

}  // namespace moxac::transform
