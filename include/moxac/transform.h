/* moxac, MDCT and the DTS synthesis bank. */
#ifndef MOXAC_TRANSFORM_H
#define MOXAC_TRANSFORM_H

#include "types.h"

MOXAC_EXTERN_C_BEGIN

/* Modified discrete cosine transform of N samples.
 *
 *   forward   X[k] = 2   * sum over n < N   of x[n] * cos(2*pi/N * (n + 1/2 + N/4) * (k + 1/2)),  k < N/2
 *   inverse   y[n] = 2/N * sum over k < N/2 of X[k] * cos(the same),                              n < N
 *
 * Neither windows. A window w with w[n]^2 + w[n + N/2]^2 = 1 (sine, Kaiser-Bessel derived) applied before the
 * forward and again after the inverse transform, and an overlap-add by N/2, give the input back with gain 1.
 * This is the transform of ISO/IEC 14496-3, 4.6.11 (N = 2048 and 256) and, for N = 36 and 12,
 * of ISO/IEC 11172-3, 2.4.3.4.10.
 *
 * Lengths: a power of two not below 32; the 32-bit float transforms also take 12 and 36. A length whose sizes
 * do not fit 32 bits is refused too.
 *
 * One context serves one direction and data type. It is read-only once built: any number of threads may use
 * one at the same time as long as each call has its own work buffer (or none). Every Init rounds pMem up to
 * 64 bytes and hands the rounded pointer back through ppSpec; use that one afterwards.
 */
typedef struct MoxMdctSpec MoxMdctSpec;

/* Bytes of the context (*pSpecSize, pMem of Init), of Init's scratch (*pInitBufSize) and of the transforms' work
 * buffer (*pWorkSize), for blocks at any alignment. Both directions need the same.
 *
 * moxStatusOk
 * moxStatusNullPointer   some result pointer is null; nothing written
 * moxStatusBadSize       N not accepted; nothing written
 */
MOXAC_API moxStatus moxsMDCTFwdGetSize_32f(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize,
                                           int32_t* pWorkSize);
MOXAC_API moxStatus moxsMDCTInvGetSize_32f(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize,
                                           int32_t* pWorkSize);
MOXAC_API moxStatus moxsMDCTFwdGetSize_16s(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize,
                                           int32_t* pWorkSize);

/* Builds a context in the caller's memory, which stays the caller's. pInitBuf is scratch; a power-of-two N
 * wants it non-null even where its size is 0, N = 12 and 36 do not look at it.
 *
 * moxStatusOk
 * moxStatusBadSize       N not accepted
 * moxStatusNullPointer   ppSpec, pMem or (N a power of two) pInitBuf is null
 */
MOXAC_API moxStatus moxsMDCTFwdInit_32f(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf);
MOXAC_API moxStatus moxsMDCTInvInit_32f(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf);
MOXAC_API moxStatus moxsMDCTFwdInit_16s(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf);

/* Builds a context in memory from moxMalloc: the record, its FFT and its table each in an allocation of
 * their own. Free releases it. On failure everything obtained has been released, and *ppSpec is null unless
 * it was not touched.
 *
 * moxStatusOk
 * moxStatusNullPointer   ppSpec is null
 * moxStatusBadSize       N not accepted; *ppSpec as it was
 * moxStatusOutOfMemory   moxMalloc returned null
 */
MOXAC_API moxStatus moxsMDCTFwdInitAlloc_32f(MoxMdctSpec** ppSpec, int32_t N);
MOXAC_API moxStatus moxsMDCTInvInitAlloc_32f(MoxMdctSpec** ppSpec, int32_t N);
MOXAC_API moxStatus moxsMDCTFwdInitAlloc_16s(MoxMdctSpec** ppSpec, int32_t N);

/* Releases what InitAlloc made. A context built by Init is only marked unusable; its memory is the caller's.
 *
 * moxStatusOk
 * moxStatusNullPointer       pSpec is null
 * moxStatusContextMismatch   another kind of context, or one freed before
 */
MOXAC_API moxStatus moxsMDCTFwdFree_32f(MoxMdctSpec* pSpec);
MOXAC_API moxStatus moxsMDCTInvFree_32f(MoxMdctSpec* pSpec);
MOXAC_API moxStatus moxsMDCTFwdFree_16s(MoxMdctSpec* pSpec);

/* Bytes of the work buffer of a built context, for a buffer at any alignment.
 *
 * moxStatusOk
 * moxStatusNullPointer       pSpec or pSize is null
 * moxStatusContextMismatch   another kind of context
 */
MOXAC_API moxStatus moxsMDCTFwdGetBufSize_32f(const MoxMdctSpec* pSpec, int32_t* pSize);
MOXAC_API moxStatus moxsMDCTInvGetBufSize_32f(const MoxMdctSpec* pSpec, int32_t* pSize);
MOXAC_API moxStatus moxsMDCTFwdGetBufSize_16s(const MoxMdctSpec* pSpec, int32_t* pSize);

/* The transforms of floats. Forward: N samples in, N/2 coefficients out. Inverse: N/2 coefficients in, all N samples
 * out. Any alignment; nothing is read or written past either array. pSrc may equal pDst, which is what the
 * in-place forms do (pSrcDst holds N floats; the forward transform leaves the upper N/2 of them as they
 * were); other overlaps are not allowed.
 *
 * pBuffer   at least GetBufSize bytes at any alignment; null: they are taken from moxMalloc for the call
 *
 * moxStatusOk
 * moxStatusNullPointer       pSpec is null
 * moxStatusContextMismatch   not a context of this direction and type
 * moxStatusNullPointer       pSrc or pDst (pSrcDst) is null
 * moxStatusOutOfMemory       pBuffer is null and moxMalloc returned null
 */
MOXAC_API moxStatus moxsMDCTFwd_32f(const float* pSrc, float* pDst, const MoxMdctSpec* pSpec,
                                    uint8_t* pBuffer);
MOXAC_API moxStatus moxsMDCTFwd_32f_I(float* pSrcDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer);
MOXAC_API moxStatus moxsMDCTInv_32f(const float* pSrc, float* pDst, const MoxMdctSpec* pSpec,
                                    uint8_t* pBuffer);
MOXAC_API moxStatus moxsMDCTInv_32f_I(float* pSrcDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer);

/* Forward transform of 16-bit samples to 16-bit coefficients:
 *
 *   pDst[k] = saturate(round(2^-scaleFactor * X[k]))
 *
 * with X as above (the factor 2 included), so that scaleFactor = log2(N) + 1 never saturates. Any scaleFactor
 * is accepted. The result is within one unit of the exactly computed one at every input level: input whose
 * results stay within eight times the 16-bit range is transformed in single precision, louder input (which
 * saturates in part) in double. Statuses, aliasing, pSrc, pSpec and pBuffer as above.
 */
MOXAC_API moxStatus moxsMDCTFwd_16s_Sfs(const int16_t* pSrc, int16_t* pDst, const MoxMdctSpec* pSpec,
                                        int32_t scaleFactor, uint8_t* pBuffer);

/* ---- DTS core synthesis bank --------------------------------------------------------------------------- */

/* The 32-band, 512-tap bank of the DTS core (ETSI TS 102 114, annex C).
 *
 *   y[32*t + r] = sum over k < 32, i < 512, i mod 32 = r of
 *       64 * s_k * h[i] * cos(pi/32 * (k + 1/2) * (i + 33/2)) * x[32*(t - floor(i/32)) + k]
 *
 * with s_k = +1, -1, -1, +1 for k mod 4 and h the prototype low-pass of sum 1 that `filter` names.
 *
 * Scale. A sub-band signal of amplitude 1 gives samples of amplitude 1 (within 0.1 %): full scale is the same on both
 * sides, whatever it is. The filters reversed in time, as the encoder's analysis has them, followed by this bank
 * give the input back with gain 32 (to 0.001 dB), 480 samples late, so that an analysis of gain 1 divides by 32.
 *
 * The state keeps the last 16 slots. It serves one stream; a call with n + m slots gives the bits of a call
 * with n followed by one with m.
 */
typedef struct MoxDtsSynthesisState MoxDtsSynthesisState;

enum {
  moxDtsNonPerfect =
      0, /* non-perfect reconstruction, 84 dB clean; one band off its centre a filter is 95 dB down */
  moxDtsPerfect = 1 /* perfect reconstruction, 138 dB clean; there 43 dB down, and 60 dB further off */
};

/* GetSize tells the bytes of a state at any alignment (*pStateSize); Init builds one with silent history in the
 * caller's memory at pState (again: restarts it), InitAlloc in one block from moxMalloc. Free releases that block
 * and leaves the caller's memory alone; the state keeps its identifier.
 *
 * moxStatusOk
 * moxStatusNullPointer      the argument is null; nothing written
 * moxStatusContextMismatch  Free: not this family's state
 * moxStatusOutOfMemory      InitAlloc: no memory; *ppState is null
 */
MOXAC_API moxStatus moxsSynthesisFilterGetSize_DTS_32f(int32_t* pStateSize);
MOXAC_API moxStatus moxsSynthesisFilterInit_DTS_32f(MoxDtsSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisFilterInitAlloc_DTS_32f(MoxDtsSynthesisState** ppState);
MOXAC_API moxStatus moxsSynthesisFilterFree_DTS_32f(MoxDtsSynthesisState* pState);

/* numTimeSlots time slots of 32 sub-band samples to as many samples each.
 *
 * pSrc    [slot][band], 32 * numTimeSlots values, any alignment; no read past the end
 * pDst    32 * numTimeSlots samples, any alignment; may be pSrc
 * filter  moxDtsNonPerfect or moxDtsPerfect, the value of the core frame header's FILTS bit; free to change from
 *         call to call
 *
 * moxStatusOk
 * moxStatusNullPointer      some pointer is null
 * moxStatusContextMismatch  pState is not this family's
 * moxStatusOutOfRange       filter is neither
 * moxStatusBadSize          numTimeSlots below 1
 * On an error nothing is written and the history stays.
 */
MOXAC_API moxStatus moxsSynthesisFilter_DTS_32f(const float* pSrc, float* pDst, int32_t numTimeSlots,
                                                int32_t filter, MoxDtsSynthesisState* pState);

MOXAC_EXTERN_C_END

#endif
