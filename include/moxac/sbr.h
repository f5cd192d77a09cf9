/* moxac, spectral band replication: QMF banks, prediction coefficients, encoder tools, hybrid analysis.
 *
 * No operation reads or writes past the stated ends. Arrays may have any alignment; a destination overlaps neither
 * a source nor another destination. An operation without a context or state may run in any number of threads.
 */
#ifndef MOXAC_SBR_H
#define MOXAC_SBR_H

#include "types.h"

MOXAC_EXTERN_C_BEGIN

/* ---- Float QMF banks (ISO/IEC 14496-3, 4.6.18.4) ----
 *
 * Six bank shapes, each a GetSize, an Init and a filter operation:
 *
 *                                  sub-band rows         bands   window   samples a slot
 *   AnalysisFilter_SBR_RToC_32f        complex, split        32      320      32 in
 *   AnalysisFilter_SBR_RToC_32f32fc    complex, interleaved  32      320      32 in
 *   AnalysisFilter_SBR_RToR_32f        real                  32      320      32 in
 *   SynthesisFilter_SBR_CToR_32f       complex, split        64      640      64 out
 *   SynthesisFilter_SBR_CToR_32fc32f   complex, interleaved  64      640      64 out
 *   SynthesisFilter_SBR_RToR_32f       real                  64      640      64 out
 *   SynthesisDownFilter_SBR_...        as SynthesisFilter    32      320      32 out
 *
 * Rows. Sub-band samples are addressed through arrays of row pointers, one row per time slot. Rows and sample
 * arrays may have any alignment, which changes no result; none of them may overlap another.
 *
 * Window. The caller passes the prototype with every call. With c[0..639] the prototype of the standard
 * (Table 4.A.87, its order and signs), the 64-band synthesis takes c itself and the 32-band banks take
 * window[m] = c[2m], m = 0..319. Analysis followed by synthesis then has gain 1, at a delay of 289 samples of
 * the 32-band side (578 of the 64-band side), and is 59 dB clean, which is the prototype's own limit.
 * docs/sbr.md shows the layouts.
 *
 * Context. Init takes memory of any alignment and exactly the reported size, and hands back the address that
 * later calls take; it differs from pMem. A context keeps the last ten slots, so it serves one stream and one
 * call at a time; different contexts may be used at once. There is no Free: the memory stays the caller's.
 *
 * Splitting a signal into calls in any way gives the same samples to the bit. The work buffer of the filter
 * operations must not be null but is not used; temporaries (up to 32 KiB) live on the stack.
 */

/* The analysis banks' contexts and the synthesis banks'; each serves the one operation it was made for. */
typedef struct MoxQmfAnalysisSpec MoxQmfAnalysisSpec;
typedef struct MoxQmfSynthesisSpec MoxQmfSynthesisSpec;

/* Bytes of a context (*pSpecSize), of Init's buffer (*pInitBufSize) and of the filter operation's work buffer
 * (*pWorkSize). The two complex forms of a bank are one implementation under two names.
 *
 * moxStatusOk
 * moxStatusNullPointer   some pointer is null; nothing written
 */
MOXAC_API moxStatus moxsAnalysisFilterGetSize_SBR_RToC_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                           int32_t* pWorkSize);
MOXAC_API moxStatus moxsAnalysisFilterGetSize_SBR_RToC_32f32fc(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                               int32_t* pWorkSize);
MOXAC_API moxStatus moxsAnalysisFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                           int32_t* pWorkSize);
MOXAC_API moxStatus moxsSynthesisFilterGetSize_SBR_CToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                            int32_t* pWorkSize);
MOXAC_API moxStatus moxsSynthesisFilterGetSize_SBR_CToR_32fc32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                                int32_t* pWorkSize);
MOXAC_API moxStatus moxsSynthesisFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                            int32_t* pWorkSize);
MOXAC_API moxStatus moxsSynthesisDownFilterGetSize_SBR_CToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                                int32_t* pWorkSize);
MOXAC_API moxStatus moxsSynthesisDownFilterGetSize_SBR_CToR_32fc32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                                    int32_t* pWorkSize);
MOXAC_API moxStatus moxsSynthesisDownFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize,
                                                                int32_t* pWorkSize);

/* Builds a context of cleared history in pMem (at least the reported size) and stores its address in *ppSpec.
 * pInitBuf holds at least the reported bytes. May be called again to restart.
 *
 * moxStatusOk
 * moxStatusNullPointer   some pointer is null; nothing written
 */
MOXAC_API moxStatus moxsAnalysisFilterInit_SBR_RToC_32f(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem,
                                                        uint8_t* pInitBuf);
MOXAC_API moxStatus moxsAnalysisFilterInit_SBR_RToC_32f32fc(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem,
                                                            uint8_t* pInitBuf);
MOXAC_API moxStatus moxsAnalysisFilterInit_SBR_RToR_32f(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem,
                                                        uint8_t* pInitBuf);
MOXAC_API moxStatus moxsSynthesisFilterInit_SBR_CToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                         uint8_t* pInitBuf);
MOXAC_API moxStatus moxsSynthesisFilterInit_SBR_CToR_32fc32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                             uint8_t* pInitBuf);
MOXAC_API moxStatus moxsSynthesisFilterInit_SBR_RToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                         uint8_t* pInitBuf);
MOXAC_API moxStatus moxsSynthesisDownFilterInit_SBR_CToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                             uint8_t* pInitBuf);
MOXAC_API moxStatus moxsSynthesisDownFilterInit_SBR_CToR_32fc32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                                 uint8_t* pInitBuf);
MOXAC_API moxStatus moxsSynthesisDownFilterInit_SBR_RToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem,
                                                             uint8_t* pInitBuf);

/* Complex analysis of numTimeSlots blocks of 32 samples into 32 sub-bands each. With x[0] the newest of a
 * slot's last 320 samples and x[319] the oldest:
 *
 *   u[n] = sum over j < 5 of x[64j + n] * pWindow[64j + n]                          n = 0..63
 *   X[k] = 2 * sum over n < 64 of u[n] * exp(i*pi/64*(k + 1/2)*(2n - 1/2))          k = 0..31
 *
 * pSrc              32*numTimeSlots samples, oldest first
 * ppDstRe, ppDstIm  row pointers; slot l fills the 32 floats of rows [offset + l]
 * ppDst             the same with 32 complex values a row
 * pWindow           320 coefficients
 * kx                sub-bands kept, 0..32: X[kx..31] are stored as 0
 * pBuffer           not null
 *
 * moxStatusOk               also for numTimeSlots below 1, which does nothing (the fixed-point banks refuse it)
 * moxStatusNullPointer      pSpec, pWindow or pBuffer is null
 * moxStatusContextMismatch  pSpec is not this operation's
 * moxStatusBadSize          kx outside 0..32 (the fixed-point banks: moxStatusOutOfRange)
 * moxStatusNullPointer      pSrc, ppDst, ppDstRe or ppDstIm is null
 * On an error nothing is written and the history stays.
 */
MOXAC_API moxStatus moxsAnalysisFilter_SBR_RToC_32f_D2L(const float* pSrc, float* const* ppDstRe,
                                                        float* const* ppDstIm, const float* pWindow,
                                                        int32_t numTimeSlots, int32_t offset, int32_t kx,
                                                        MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer);
MOXAC_API moxStatus moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(const float* pSrc, Mox32fc* const* ppDst,
                                                            const float* pWindow, int32_t numTimeSlots,
                                                            int32_t offset, int32_t kx,
                                                            MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer);

/* Real (low-power) analysis: u and statuses as above, pSrc, pWindow, numTimeSlots, offset, kx, pSpec and pBuffer too;
 * ppDst has one row of 32 floats per slot,
 *
 *   X[k] = 2 * sum over n < 64 of u[n] * cos(pi/64*(k + 1/2)*(2n - 96))             k = 0..31 */
MOXAC_API moxStatus moxsAnalysisFilter_SBR_RToR_32f_D2L(const float* pSrc, float* const* ppDst,
                                                        const float* pWindow, int32_t numTimeSlots,
                                                        int32_t offset, int32_t kx, MoxQmfAnalysisSpec* pSpec,
                                                        uint8_t* pBuffer);

/* 64-band synthesis of numTimeSlots rows into 64 samples each. A line v of 1280 values moves up by 128 a
 * slot; the new ones are, for complex and for real rows,
 *
 *   v[n] = 1/64 * Re sum over k < 64 of X[k] * exp(i*pi/128*(k + 1/2)*(2n - 255))   n = 0..127
 *   v[n] = 1/32 * sum over k < 64 of X[k] * cos(pi/128*(k + 1/2)*(2n - 64))
 *
 *   y[r] = sum over j < 5 of v[256j + r] * pWindow[128j + r]
 *                          + v[256j + 192 + r] * pWindow[128j + 64 + r]             r = 0..63
 *
 * ppSrcRe, ppSrcIm  row pointers; slot l reads the 64 floats of rows [l]
 * ppSrc             the same with 64 complex values, or 64 real ones, a row
 * pDst              64*numTimeSlots samples, oldest first
 * pWindow           640 coefficients
 * pBuffer           not null
 *
 * moxStatusOk               also for numTimeSlots below 1, which does nothing
 * moxStatusNullPointer      pSpec, pWindow or pBuffer is null
 * moxStatusContextMismatch  pSpec is not this operation's
 * moxStatusNullPointer      ppSrc, ppSrcRe, ppSrcIm or pDst is null
 * On an error nothing is written and the history stays.
 */
MOXAC_API moxStatus moxsSynthesisFilter_SBR_CToR_32f_D2L(const float* const* ppSrcRe,
                                                         const float* const* ppSrcIm, float* pDst,
                                                         const float* pWindow, int32_t numTimeSlots,
                                                         MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
MOXAC_API moxStatus moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst,
                                                             const float* pWindow, int32_t numTimeSlots,
                                                             MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
MOXAC_API moxStatus moxsSynthesisFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst,
                                                         const float* pWindow, int32_t numTimeSlots,
                                                         MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);

/* Down-sampled synthesis: the lower 32 sub-bands at half the output rate. Statuses and arguments as above: ppSrcRe,
 * ppSrcIm and ppSrc with rows of 32 values, pDst with 32 output samples for each of numTimeSlots, pWindow with 320
 * coefficients, pSpec and pBuffer; a line of 640 values moves up by 64:
 *
 *   v[n] = 1/64 * Re sum over k < 32 of X[k] * exp(i*pi/64*(k + 1/2)*(2n - 127.5))  n = 0..63   complex rows
 *   v[n] = 1/32 * sum over k < 32 of X[k] * cos(pi/64*(k + 1/2)*(2n - 32))                      real rows
 *
 *   y[r] = sum over j < 5 of v[128j + r] * pWindow[64j + r]
 *                          + v[128j + 96 + r] * pWindow[64j + 32 + r]               r = 0..31 */
MOXAC_API moxStatus moxsSynthesisDownFilter_SBR_CToR_32f_D2L(const float* const* ppSrcRe,
                                                             const float* const* ppSrcIm, float* pDst,
                                                             const float* pWindow, int32_t numTimeSlots,
                                                             MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
MOXAC_API moxStatus moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst,
                                                                 const float* pWindow, int32_t numTimeSlots,
                                                                 MoxQmfSynthesisSpec* pSpec,
                                                                 uint8_t* pBuffer);
MOXAC_API moxStatus moxsSynthesisDownFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst,
                                                             const float* pWindow, int32_t numTimeSlots,
                                                             MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);

/* ---- Fixed-point QMF banks (ISO/IEC 14496-3, 4.6.18.4) ----
 *
 * The same banks on 32-bit words, complex (SBRHQ, high quality) and real (SBRLP, low power):
 *
 *                                      sub-bands     time          bands   identifier
 *   AnalysisFilter_SBRHQ_32s32sc         complex out   32 a slot in    32   0x434D4161
 *   AnalysisFilter_SBRLP_32s             real out      32 a slot in    32   0x434D4162
 *   SynthesisFilter_SBRHQ_32sc32s        complex in    64 a slot out   64   0x434D4163
 *   SynthesisFilter_SBRLP_32s            real in       64 a slot out   64   0x434D4164
 *   SynthesisDownFilter_SBRHQ_32sc32s    complex in    32 a slot out   32   0x434D4165, 0x434D4163
 *   SynthesisDownFilter_SBRLP_32s        real in       32 a slot out   32   0x434D4166, 0x434D4164
 *
 * Format. With q fraction bits in the time samples, sub-band samples have q - MOX_SBR_FIXED_SHIFT: a sub-band
 * word is worth 128 time words. q is the caller's choice; q = 31 lets a time signal of +-1 use the whole
 * word, and a 16-bit sample s then enters as s * 2^16. Analysis cannot overflow, whatever its input: 0.57 *
 * 2^31 is the largest word it makes, 0.36 * 2^31 from a sine of full scale. Synthesis saturates to INT32_MIN
 * and INT32_MAX; with q = 30 the output has 6 dB of room above +-1, and so on. Analysis followed by synthesis
 * has gain 1 and the delays of the float banks.
 *
 * Rounding. Each word out is the formula's value, computed in double precision, rounded to nearest (ties to
 * even); nothing else is rounded, and the error stays below 0.51 of a word: 2^-32 of full scale. The window
 * is the standard's, in the library. Splitting a signal into calls in any way gives the same words.
 *
 * Layout. Slots lie one behind the other, sub-bands in order; arrays have any alignment and do not overlap.
 * Temporaries, up to 40 KiB, live on the stack.
 */
#define MOX_SBR_FIXED_SHIFT 7

/* The history of one stream: one call at a time, no sharing. */
typedef struct MoxQmfFixedAnalysisState MoxQmfFixedAnalysisState;
typedef struct MoxQmfFixedSynthesisState MoxQmfFixedSynthesisState;

/* GetSize tells the bytes of a state at any alignment (*pSize); the two names of a bank are one implementation. Init
 * builds a state of cleared history in the caller's memory at pState (again: restarts it), InitAlloc in one block
 * from moxMalloc; every later call takes that same pointer. Free releases the block of InitAlloc and leaves the
 * caller's memory alone; the state keeps its identifier.
 *
 * moxStatusOk
 * moxStatusNullPointer      the argument is null; nothing written
 * moxStatusContextMismatch  Free: not this family's state
 * moxStatusOutOfMemory      InitAlloc: no memory; *ppState is null
 */
MOXAC_API moxStatus moxsAnalysisFilterGetSize_SBRHQ_32s32sc(int32_t* pSize);
MOXAC_API moxStatus moxsAnalysisFilterGetSize_SBRLP_32s(int32_t* pSize);
MOXAC_API moxStatus moxsSynthesisFilterGetSize_SBRHQ_32sc32s(int32_t* pSize);
MOXAC_API moxStatus moxsSynthesisFilterGetSize_SBRLP_32s(int32_t* pSize);
MOXAC_API moxStatus moxsSynthesisDownFilterGetSize_SBRHQ_32sc32s(int32_t* pSize);
MOXAC_API moxStatus moxsSynthesisDownFilterGetSize_SBRLP_32s(int32_t* pSize);

MOXAC_API moxStatus moxsAnalysisFilterInit_SBRHQ_32s32sc(MoxQmfFixedAnalysisState* pState);
MOXAC_API moxStatus moxsAnalysisFilterInit_SBRLP_32s(MoxQmfFixedAnalysisState* pState);
MOXAC_API moxStatus moxsSynthesisFilterInit_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisFilterInit_SBRLP_32s(MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisDownFilterInit_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisDownFilterInit_SBRLP_32s(MoxQmfFixedSynthesisState* pState);

MOXAC_API moxStatus moxsAnalysisFilterInitAlloc_SBRHQ_32s32sc(MoxQmfFixedAnalysisState** ppState);
MOXAC_API moxStatus moxsAnalysisFilterInitAlloc_SBRLP_32s(MoxQmfFixedAnalysisState** ppState);
MOXAC_API moxStatus moxsSynthesisFilterInitAlloc_SBRHQ_32sc32s(MoxQmfFixedSynthesisState** ppState);
MOXAC_API moxStatus moxsSynthesisFilterInitAlloc_SBRLP_32s(MoxQmfFixedSynthesisState** ppState);
MOXAC_API moxStatus moxsSynthesisDownFilterInitAlloc_SBRHQ_32sc32s(MoxQmfFixedSynthesisState** ppState);
MOXAC_API moxStatus moxsSynthesisDownFilterInitAlloc_SBRLP_32s(MoxQmfFixedSynthesisState** ppState);

MOXAC_API moxStatus moxsAnalysisFilterFree_SBRHQ_32s32sc(MoxQmfFixedAnalysisState* pState);
MOXAC_API moxStatus moxsAnalysisFilterFree_SBRLP_32s(MoxQmfFixedAnalysisState* pState);
MOXAC_API moxStatus moxsSynthesisFilterFree_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisFilterFree_SBRLP_32s(MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisDownFilterFree_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisDownFilterFree_SBRLP_32s(MoxQmfFixedSynthesisState* pState);

/* Analysis of numTimeSlots blocks of 32 samples into 32 sub-bands each: the sums of
 * moxsAnalysisFilter_SBR_RToC_32f_D2L (complex) and _RToR_32f_D2L (real), times 2^-MOX_SBR_FIXED_SHIFT in
 * words.
 *
 * pSrc   32*numTimeSlots samples, oldest first
 * pDst   32*numTimeSlots sub-band samples
 * kx     sub-bands kept, 0..32: the others are stored as 0
 *
 * moxStatusOk
 * moxStatusNullPointer      pSrc, pDst or pState is null
 * moxStatusContextMismatch  pState is not this operation's
 * moxStatusOutOfRange       kx outside 0..32 (the float banks: moxStatusBadSize)
 * moxStatusBadSize          numTimeSlots below 1 (the float banks: moxStatusOk, nothing done)
 * On an error nothing is written and the history stays.
 */
MOXAC_API moxStatus moxsAnalysisFilter_SBRHQ_32s32sc(const int32_t* pSrc, Mox32sc* pDst, int32_t numTimeSlots,
                                                     int32_t kx, MoxQmfFixedAnalysisState* pState);
MOXAC_API moxStatus moxsAnalysisFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots,
                                                 int32_t kx, MoxQmfFixedAnalysisState* pState);

/* Synthesis of numTimeSlots slots of 64 sub-bands into 64 samples each: the sums of
 * moxsSynthesisFilter_SBR_CToR_32f_D2L and _RToR_32f_D2L, times 2^MOX_SBR_FIXED_SHIFT in words, saturated.
 *
 * pSrc   64*numTimeSlots sub-band samples
 * pDst   64*numTimeSlots samples, oldest first
 *
 * moxStatusOk
 * moxStatusNullPointer      pSrc, pDst or pState is null
 * moxStatusContextMismatch  pState is not this operation's
 * moxStatusBadSize          numTimeSlots below 1
 * On an error nothing is written and the history stays.
 */
MOXAC_API moxStatus moxsSynthesisFilter_SBRHQ_32sc32s(const Mox32sc* pSrc, int32_t* pDst,
                                                      int32_t numTimeSlots,
                                                      MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots,
                                                  MoxQmfFixedSynthesisState* pState);

/* Down-sampled synthesis: slots of 32 sub-bands into 32 samples each, the sums of
 * moxsSynthesisDownFilter_SBR_CToR_32f_D2L and _RToR_32f_D2L; pSrc, pDst, numTimeSlots and pState otherwise as above.
 *
 * A state of the full bank of the same kind (SBRHQ or SBRLP) serves as well: its line, of which this
 * operation uses the first half, then belongs to whichever of the two operations ran last. The first call of
 * the other one begins with cleared history, as after Init; until then nothing tells such a state from the
 * operation's own.
 */
MOXAC_API moxStatus moxsSynthesisDownFilter_SBRHQ_32sc32s(const Mox32sc* pSrc, int32_t* pDst,
                                                          int32_t numTimeSlots,
                                                          MoxQmfFixedSynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisDownFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst,
                                                      int32_t numTimeSlots,
                                                      MoxQmfFixedSynthesisState* pState);

/* ---- Prediction coefficients (ISO/IEC 14496-3, 4.6.18.6.2) ----
 *
 * The second-order linear predictor that whitens each low sub-band for high-frequency generation, by the
 * covariance method over one frame. Row m holds slot m; slots 0 and 1 are the history of the first predicted
 * one, so numTimeSlots + 2 rows are read. With x[m] the samples of one sub-band, sums over j =
 * 0..numTimeSlots-1:
 *
 *   phi01 = sum x[j+2]*conj(x[j+1])     phi11 = sum |x[j+1]|^2
 *   phi12 = sum x[j+1]*conj(x[j])       phi22 = sum |x[j]|^2       phi02 = sum x[j+2]*conj(x[j])
 *
 *   det    = phi22*phi11 - r*|phi12|^2          r = 0.9999990463256836, the float 0x3F7FFFF0
 *   alpha1 = (phi01*phi12 - phi02*phi11) / det          0 if det is 0
 *   alpha0 = -(phi01 + alpha1*conj(phi12)) / phi11      0 if phi11 is 0
 *
 * and both are 0 if |alpha0|^2 or |alpha1|^2 is 16 or more. A silent sub-band gives 0, 0. Rows and results
 * may have any alignment. No state: any number of calls at once.
 */

/* Predictors of real sub-bands, in single precision: every sum and product is a float, added in slot order.
 *
 * ppSrc             numTimeSlots + 2 rows of numBands floats
 * pAlpha0, pAlpha1  numBands results each
 * numBands          below 1: nothing is written
 *
 * moxStatusOk           also for numTimeSlots below 1, when nothing is written
 * moxStatusNullPointer  some pointer is null; nothing written
 */
MOXAC_API moxStatus moxsPredictCoef_SBR_R_32f_D2L(const float* const* ppSrc, float* pAlpha0, float* pAlpha1,
                                                  int32_t numBands, int32_t numTimeSlots);

/* Predictors of complex sub-bands, rows (ppSrcRe, ppSrcIm) and results (pAlpha0Re, pAlpha0Im, pAlpha1Re, pAlpha1Im) of
 * numBands values split or, in ppSrc, pAlpha0, pAlpha1, interleaved; both forms give the same bits. Computed in double
 * precision, each coefficient rounded once at the end (the reset looks at the unrounded one). Otherwise as the real
 * form. */
MOXAC_API moxStatus moxsPredictCoef_SBR_C_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm,
                                                  float* pAlpha0Re, float* pAlpha0Im, float* pAlpha1Re,
                                                  float* pAlpha1Im, int32_t numBands, int32_t numTimeSlots);
MOXAC_API moxStatus moxsPredictCoef_SBR_C_32fc_D2L(const Mox32fc* const* ppSrc, Mox32fc* pAlpha0,
                                                   Mox32fc* pAlpha1, int32_t numBands, int32_t numTimeSlots);

/* The predictor of one fixed-point sub-band: complex samples of the high-quality bank, real ones of the low-power
 * bank. Samples may have any number of fraction bits, the same in all rows, and use the whole 32-bit range;
 * coefficients have 28 fraction bits (Q28: 4.0 would be 2^30), within 2^-27 of the exact value.
 *
 * ppSrc             numTimeSlots + 2 rows; only element `band` of each is read
 * pAlpha0, pAlpha1  one coefficient each
 * band              0..63
 *
 * moxStatusOk           also for numTimeSlots below 1, when nothing is written
 * moxStatusNullPointer  some pointer is null; nothing written
 * moxStatusOutOfRange   band outside 0..63; nothing written
 */
MOXAC_API moxStatus moxsPredictOneCoef_SBRHQ_32sc_D2L(const Mox32sc* const* ppSrc, Mox32sc* pAlpha0,
                                                      Mox32sc* pAlpha1, int32_t band, int32_t numTimeSlots);
MOXAC_API moxStatus moxsPredictOneCoef_SBRLP_32s_D2L(const int32_t* const* ppSrc, int32_t* pAlpha0,
                                                     int32_t* pAlpha1, int32_t band, int32_t numTimeSlots);

/* ---- Encoder tools ----
 *
 * Three operations that take one another's data as it is. The analysis writes rows of 64 complex values, one row a
 * time slot, rows one behind another (no row pointers, hence no _D2L in the names); the other two read such rows.
 * They look at the first numBands values of each row from the pointer on, so that a pointer to band b of the first
 * row shows them the bands from b up; numBands comes before numTimeSlots as in the prediction coefficients.
 *
 * Both read two rows more than numTimeSlots: the tonality begins with two rows of history, the transient detector
 * ends with two rows that lie ahead. An encoder of frames of n slots keeps n + 4 rows, moves the last four to the
 * front and has the analysis fill the other n:
 *
 *   rows       0, 1   |   2 .. n + 1      |   n + 2, n + 3
 *              history    the frame           ahead
 *
 *   moxsEstimateTNR_SBR_32f(rows, tonality, 64, n)
 *   moxsDetectTransient_SBR_32f(rows + 2*64, &position, &strength, level, 64, n, 2)
 *
 * and both speak of the same n slots. examples/sbr_encoder_tools.cpp does so.
 */

/* The encoder's 64-band complex analysis (ISO/IEC 14496-3, 4.6.18.4, with 64 sub-bands). With x[0] the newest
 * of a slot's last 640 samples and x[639] the oldest:
 *
 *   u[n] = sum over j < 5 of x[128j + n] * pWindow[128j + n]                        n = 0..127
 *   X[k] = sum over n < 128 of u[n] * exp(i*pi/128*(k + 1/2)*(2n - 1))              k = 0..63
 *
 * pWindow is the standard's prototype c[0..639]; the 64-band synthesis then gives the input back 577
 * samples late with gain 1. The state keeps the last ten slots and serves one stream; any split of a
 * signal into calls gives the same bits.
 */
typedef struct MoxQmfEncoderState MoxQmfEncoderState;

/* GetSize tells the bytes of a state at any alignment (*pStateSize); Init builds one of cleared history in the
 * caller's memory at pState (again: restarts it), InitAlloc in one block from moxMalloc. Free releases that block
 * and leaves the caller's memory alone; the state keeps its identifier.
 *
 * moxStatusOk
 * moxStatusNullPointer      the argument is null; nothing written
 * moxStatusContextMismatch  Free: not this family's state
 * moxStatusOutOfMemory      InitAlloc: no memory; *ppState is null
 */
MOXAC_API moxStatus moxsAnalysisFilterEncGetSize_SBR_32f(int32_t* pStateSize);
MOXAC_API moxStatus moxsAnalysisFilterEncInit_SBR_32f(MoxQmfEncoderState* pState);
MOXAC_API moxStatus moxsAnalysisFilterEncInitAlloc_SBR_32f(MoxQmfEncoderState** ppState);
MOXAC_API moxStatus moxsAnalysisFilterEncFree_SBR_32f(MoxQmfEncoderState* pState);

/* Analysis of numTimeSlots blocks of 64 samples.
 *
 * pSrc     64*numTimeSlots samples, oldest first
 * pDst     [slot][64] sub-band samples
 * pWindow  640 coefficients
 *
 * moxStatusOk
 * moxStatusNullPointer      some pointer is null
 * moxStatusContextMismatch  pState is not this family's
 * moxStatusBadSize          numTimeSlots below 1
 * On an error nothing is written and the history stays.
 */
MOXAC_API moxStatus moxsAnalysisFilterEnc_SBR_32f32fc(const float* pSrc, Mox32fc* pDst, const float* pWindow,
                                                      int32_t numTimeSlots, MoxQmfEncoderState* pState);

/* Finds the strongest attack of a frame, relative to a running level m of each band. With e[t][k] = |X|^2,
 * a[t][k] the mean of e[t][k], e[t+1][k] and e[t+2][k], and f(t) = 2^-28 * sum over k of (a[t][k] + m[k]) + 2^-100,
 * slot t announces
 *
 *   d(t) = 1/numBands * sum over k of min(15, log2(max(1, r[k])))      r[k] = (a[t][k] + f) / (m[k] + f)
 *
 * octaves of energy. It holds an attack if d(t) is at least the threshold and what is new has arrived:
 *
 *   sum of w[k] * min(n[k], max(0, e[t][k] - m[k]) / (a[t][k] + f)) >= 0.3 * sum of w[k] * n[k]
 *   w[k] = (a[t][k] + f)^(1/4)        n[k] = 1 - 1/r[k]
 *
 * Then m[k] = 3/4 * m[k] + 1/4 * e[t][k] where d(t) is below the threshold, and m[k] = max(e[t][k], e[t+1][k],
 * e[t+2][k]) in the slot of an attack; between announcement and arrival m stays. So a rise is reported once, in
 * the slot that has most of it, and not again in the next frame. The frame's attack is the one of largest d(t), of
 * equal ones the first.
 *
 * All terms are ratios: a signal scaled by a power of two gives the same bits, down to energies where 2^-100
 * counts, and any division of a signal into frames the same attacks (where a frame has but one). The analysis
 * delays by 256.5 samples, so that an attack in all bands that begins at sample n, 12 dB or more above what
 * precedes it or out of silence, is found within one slot of n/64 + 4. White noise in 64 bands stays below 1; the
 * fewer the bands, the more it scatters (1.4 in eight, 3 and more in one). 2 is a good threshold for 8 bands and
 * more. An attack of a band or two among 64 is too small a part of them; ask for those bands alone.
 *
 * pSrc           rows 0 .. numTimeSlots + 1 of 64 values, the last two ahead of the frame; finite
 * pDstPosition   the attack's slot, 0 .. numTimeSlots - 1, or -1
 * pDstStrength   its d(t), 0 without one
 * pSrcDstLevel   numBands levels from frame to frame; zeros at the start of a stream, so that the onset of sound
 *                counts as an attack
 * numBands       1..64
 * threshold      octaves, above 0
 *
 * moxStatusOk
 * moxStatusNullPointer  some pointer is null; on this and any other error nothing is written
 * moxStatusOutOfRange   numBands outside 1..64, or threshold not above 0
 * moxStatusBadSize      numTimeSlots below 1
 */
MOXAC_API moxStatus moxsDetectTransient_SBR_32f(const Mox32fc* pSrc, int32_t* pDstPosition,
                                                float* pDstStrength, float* pSrcDstLevel, int32_t numBands,
                                                int32_t numTimeSlots, float threshold);

/* Estimates the tone-to-noise ratio of each band: the energy that second-order linear prediction explains, over
 * the energy that it leaves. The prediction is that of moxsPredictCoef_SBR_C_32fc_D2L, with its phi, det and
 * relaxation, in double precision and without the reset of large coefficients.
 *
 *   pDst[k] = P / (E - P), at most 2^20 (also where E - P is not above 0)
 *   E = sum over t of |x(t)|^2,  t = 2 .. numTimeSlots + 1
 *   P = -Re(alpha0*conj(phi01) + alpha1*conj(phi02))                     pDst[k] = 0 if P is not above 0
 *
 * A pure tone gives 2^20, silence 0, white noise through the complex banks about 1 (their bands overlap, so
 * noise has some memory); mixtures fall between in the order of their ratios. Below some eight slots the two
 * coefficients explain whatever they meet.
 *
 * pSrc      rows 0 .. numTimeSlots + 1 of 64 values, the first two the history; finite
 * pDst      numBands values
 * numBands  1..64
 *
 * moxStatusOk
 * moxStatusNullPointer  some pointer is null; on this and any other error nothing is written
 * moxStatusOutOfRange   numBands outside 1..64
 * moxStatusBadSize      numTimeSlots below 1
 */
MOXAC_API moxStatus moxsEstimateTNR_SBR_32f(const Mox32fc* pSrc, float* pDst, int32_t numBands,
                                            int32_t numTimeSlots);

/* ---- Parametric stereo ------------------------------------------------------------------------------ */

enum {
  moxPsHistorySlots = 12, /* slots in front of the first one that the hybrid analysis reads */
  moxPsSubBands20 = 10,   /* hybrid samples a slot of the 20-band configuration: 6 + 2 + 2 */
  moxPsSubBands34 = 32    /* and of the 34-band one: 12 + 8 + 4 + 4 + 4 */
};

/* Splits the lowest QMF bands once more (ISO/IEC 14496-3, 8.6.4.3). Band b's sub-filter q of Q is
 *
 *   s[l] = sum over n = 0..12 of g[n] * exp(2*pi*i/Q*(q + 1/2)*(n - 6)) * x[l + 12 - n]
 *
 * or, where the standard calls the filter real, with cos(2*pi/Q*q*(n - 6)) in place of the exponential;
 * x[m] is the sample of row m. The 20-band configuration splits band 0 with Q = 8, of which sub-filters 2
 * and 5, and 3 and 4, are added up, and bands 1 and 2 (real) with Q = 2; the 34-band one bands 0 (Q = 12),
 * 1 (8), 2, 3 and 4 (4 each). A row holds the sub-bands in the standard's order (Tables 8.48, 8.49):
 *
 *   20:  band 0: q = 6, 7, 0, 1, 2+5, 3+4;  band 1: q = 1, 0;  band 2: q = 0, 1
 *   34:  band 0: q = 0..11;  band 1: q = 0..7;  bands 2, 3, 4: q = 0..3
 *
 * The sub-bands of a band add up to its sample six slots ago, x[l + 6]; bands above are for the caller to
 * delay by as much.
 *
 * ppSrc          rows 0 .. numTimeSlots + 11 of QMF samples, 3 or 5 of each read: 12 slots of history, then the
 *                frame's
 * ppDst          numTimeSlots rows of 10 or 32 samples; must not overlap the source
 * configuration  20 or 34
 *
 * moxStatusOk
 * moxStatusNullPointer  ppSrc or ppDst is null; on this and any other error nothing is written
 * moxStatusOutOfRange   configuration not 20 or 34
 * moxStatusBadSize      numTimeSlots below 1
 */
MOXAC_API moxStatus moxsAnalysisFilter_PS_32fc_D2(const Mox32fc* const* ppSrc, Mox32fc* const* ppDst,
                                                  int32_t numTimeSlots, int32_t configuration);

MOXAC_EXTERN_C_END

#endif
