/* moxac, vector conversion, power laws, block FIR, vector quantisation.
 *
 * Thread use: the conversions and power laws keep no state and may run in any number of threads; a code book
 * may be shared; a block FIR state serves one call at a time.
 *
 * No operation of this family reads or writes past the stated ends. Source and destination are the same
 * array or do not overlap, where the types allow it; other overlaps are undefined. Indices are computed in
 * 64 bits: a product of counts beyond 2^31 is fine as long as the caller's arrays are that large.
 */
#ifndef MOXAC_UTIL_H
#define MOXAC_UTIL_H

#include "types.h"

MOXAC_EXTERN_C_BEGIN

/* ---- Interleaving ------------------------------------------------------------------------------------- */

/* Gathers channel buffers into one interleaved buffer.
 *
 *   pDst[i * numChannels + c] = ppSrc[c][i],  i < len, c < numChannels
 *
 * ppSrc        numChannels pointers to len samples each; any alignment
 * numChannels  at least 1
 * len          samples per channel, at least 1
 * pDst         len * numChannels samples
 *
 * moxStatusOk
 * moxStatusMisalignedData   complete; pDst or some channel is not 16-byte aligned
 * moxStatusNullPointer      ppSrc or pDst null
 * moxStatusBadChannelCount  numChannels below 1
 * moxStatusBadSize          len below 1
 * moxStatusNullPointer      some channel pointer null (tested last, in order)
 */
MOXAC_API moxStatus moxsInterleave_16s(const int16_t* const* ppSrc, int32_t numChannels, int32_t len,
                                       int16_t* pDst);
MOXAC_API moxStatus moxsInterleave_32f(const float* const* ppSrc, int32_t numChannels, int32_t len,
                                       float* pDst);

/* Spreads one interleaved buffer over channel buffers.
 *
 *   ppDst[c][i] = pSrc[i * numChannels + c]
 *
 * Shapes (numChannels, len) and statuses as moxsInterleave, with pSrc and ppDst in place of pDst and ppSrc.
 */
MOXAC_API moxStatus moxsDeinterleave_16s(const int16_t* pSrc, int32_t numChannels, int32_t len,
                                         int16_t* const* ppDst);
MOXAC_API moxStatus moxsDeinterleave_32f(const float* pSrc, int32_t numChannels, int32_t len,
                                         float* const* ppDst);

/* Gathers float channels at 16-bit scale into interleaved 16-bit PCM.
 *
 *   pDst[i * numChannels + c] = saturate16(round(ppSrc[c][i]))
 *
 * Rounding is to nearest, ties to even; values beyond the 16-bit range saturate, NaN gives -32768.
 * Shapes, checks and the order of arguments as moxsInterleave, pDst last; there is no alignment warning.
 *
 * moxStatusOk
 * moxStatusNullPointer      ppSrc or pDst null
 * moxStatusBadChannelCount  numChannels below 1
 * moxStatusBadSize          len below 1
 * moxStatusNullPointer      some channel pointer null
 */
MOXAC_API moxStatus moxsJoin_32f16s_D2L(const float* const* ppSrc, int32_t numChannels, int32_t len,
                                        int16_t* pDst);

/* ---- Element-wise conversion and power laws ------------------------------------------------------------ */

/* Block floating point to float.
 *
 *   pDst[i] = pSrcMant[i] * 2^(-15 - pSrcExp[i])
 *
 * The power of two is formed from float bits: 0x38000000 (2^-15) less pSrcExp[i] << 23, in 32 bits, sign bit
 * cleared. Up to exponent 111 that is the formula; at 112 the factor is 0, and from 113 on the bits wrap around
 * and give powers that the formula does not: infinity at 113 (NaN for a mantissa of 0), 2^127 at 114, and so on.
 *
 * len  at least 1
 *
 * moxStatusOk
 * moxStatusMisalignedData  complete; some array is not 16-byte aligned
 * moxStatusNullPointer
 * moxStatusBadSize         len below 1
 */
MOXAC_API moxStatus moxsMakeFloat_16s32f(const int16_t* pSrcMant, const uint16_t* pSrcExp, int32_t len,
                                         float* pDst);

/* Multiplies each band of a spectrum by its factor, in place.
 *
 *   pSrcDst[i] *= pScale[b],  pBandOffset[b] <= i < pBandOffset[b + 1],  b < numBands
 *
 * pBandOffset  numBands + 1 increasing offsets; an empty or falling pair leaves nothing to do for its band
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusBadSize      numBands below 1
 */
MOXAC_API moxStatus moxsScale_32f_I(float* pSrcDst, const float* pScale, const int32_t* pBandOffset,
                                    int32_t numBands);

/* The requantisation law of MP3 and AAC.
 *
 *   pDst[i] = sign(pSrc[i]) * |pSrc[i]|^(4/3)
 *
 * Correctly rounded to float for every 16-bit input, -32768 included. ISO/IEC 11172-3, 2.4.3.4.7.1.
 *
 * len  at least 0; 0 does nothing
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusBadSize      len below 0
 */
MOXAC_API moxStatus moxsPow43_16s32f(const int16_t* pSrc, float* pDst, int32_t len);

/* Requantisation with a gain per band, to integers.
 *
 *   pDst[i] = saturate32(round(sign(pSrc[i]) * |pSrc[i]|^(4/3) * 2^(pScale[b]/4) * 2^-scaleFactor)),
 *   pBandOffset[b] <= i < pBandOffset[b + 1]
 *
 * Evaluated in double precision; rounding to nearest, ties to even; saturation to -2^31 .. 2^31 - 1.
 *
 * pScale       numBands gains in quarter powers of two
 * pBandOffset  numBands + 1 increasing offsets
 * scaleFactor  any value
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusBadSize      numBands below 1
 */
MOXAC_API moxStatus moxsPow43Scale_16s32s_Sf(const int16_t* pSrc, int32_t* pDst, const int16_t* pScale,
                                             const int32_t* pBandOffset, int32_t numBands,
                                             int32_t scaleFactor);

/* The companding law of the encoders.
 *
 *   pDst[i] = saturate16(round(sign(pSrc[i]) * |pSrc[i]|^(3/4) * 2^-scaleFactor))
 *
 * Rounding to nearest, ties to even. ISO/IEC 11172-3, C.1.5.4.4.1 (without its rounding offset).
 *
 * len          at least 1
 * scaleFactor  any value; a large one gives zeros, a very negative one saturates
 *
 * moxStatusOk
 * moxStatusBadSize      len below 1 (tested before the pointers)
 * moxStatusNullPointer
 */
MOXAC_API moxStatus moxsPow34_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, int32_t scaleFactor);

/* The companding law on floats, unscaled.
 *
 *   pDst[i] = sign(pSrc[i]) * |pSrc[i]|^(3/4)
 *
 * Evaluated as sqrt(|x|) * sqrt(sqrt(|x|)) in float: relative error below 3.5 * 2^-24 for normal numbers.
 * Zeros keep their sign, infinities stay, NaN stays NaN.
 *
 * len  at least 1
 *
 * moxStatusOk
 * moxStatusMisalignedData  complete; some array is not 16-byte aligned
 * moxStatusNullPointer
 * moxStatusBadSize         len below 1
 */
MOXAC_API moxStatus moxsPow34_32f(const float* pSrc, float* pDst, int32_t len);

/* The companding law from float to 16-bit integers.
 *
 *   pDst[i] = saturate16(round(sign(pSrc[i]) * |pSrc[i]|^(3/4)))
 *
 * The power as in moxsPow34_32f, then rounding to nearest, ties to even; NaN gives -32768.
 * len and statuses as moxsPow34_32f.
 */
MOXAC_API moxStatus moxsPow34_32f16s(const float* pSrc, int16_t* pDst, int32_t len);

/* Scale factors to gains.
 *
 *   pDst[i] = 2^((pSrc[i] - offset)/4)
 *
 * Correctly rounded to float; 2^-150 and below give 0, 2^128 and above infinity. With offset 100 these are
 * the gains of AAC scale factors (ISO/IEC 14496-3, 4.6.2.3.3).
 *
 * len     at least 1
 * offset  any value
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusBadSize      len below 1
 */
MOXAC_API moxStatus moxsCalcSF_16s32f(const int16_t* pSrc, float* pDst, int32_t len, int32_t offset);

/* Spreads band values over the lines of their bands.
 *
 *   pDst[i] = saturate16(round(pSrc[b] * 2^-scaleFactor)),  pBandOffset[b] <= i < pBandOffset[b + 1]
 *
 * Rounding to nearest, ties to even.
 *
 * pBandOffset  numBands + 1 increasing offsets; lines outside are left as they are
 * scaleFactor  any value
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusBadSize      numBands below 1
 */
MOXAC_API moxStatus moxsSpread_16s_Sfs(const int16_t* pSrc, int16_t* pDst, const int32_t* pBandOffset,
                                       int32_t numBands, int32_t scaleFactor);

/* ---- Block FIR: one filter per position, over successive blocks ------------------------------------------
 */

typedef struct MoxFirBlockState MoxFirBlockState;

/* Makes a state of nTaps past blocks of blockLen values, all zero.
 *
 * Counts are kept in 16 bits: above 32767 they are truncated, which as a rule leaves a negative count that
 * makes every moxsFIRBlockOne_32f fail with moxStatusFirLengthError (65537 is kept as 1, and then works as
 * 1).
 *
 * nTaps, blockLen  at least 1
 *
 * moxStatusOk
 * moxStatusNullPointer     ppState null
 * moxStatusFirLengthError  nTaps or blockLen below 1
 * moxStatusOutOfMemory     an allocation failed, or the history would take 2^31 bytes or more; everything is
 *                          released and *ppState is left as it was
 */
MOXAC_API moxStatus moxsFIRBlockInitAlloc_32f(MoxFirBlockState** ppState, int32_t nTaps, int32_t blockLen);

/* Frees pState and its history.
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusContextMismatch  not a block FIR state
 */
MOXAC_API moxStatus moxsFIRBlockFree_32f(MoxFirBlockState* pState);

/* Takes one block and returns the weighted sum of it and the nTaps - 1 blocks before it.
 *
 *   pDst[i] = pTaps[0] * x0[i] + pTaps[nTaps - 1] * x(nTaps - 1)[i] + ... + pTaps[1] * x1[i]
 *
 * xa being the block pState received a calls ago, zeros before the first. The sum is in exactly this order, product
 * by product, unfused. pDst may be pSrc.
 *
 * pSrc, pDst  blockLen values
 * pTaps       nTaps values
 *
 * moxStatusOk
 * moxStatusMisalignedData   complete; pSrc, pDst or pTaps is not 16-byte aligned
 * moxStatusNullPointer      nothing written, the state unchanged (likewise below)
 * moxStatusContextMismatch
 * moxStatusFirLengthError   the state's counts are below 1 or its newest row is outside 0..nTaps - 1
 */
MOXAC_API moxStatus moxsFIRBlockOne_32f(const float* pSrc, float* pDst, MoxFirBlockState* pState,
                                        const float* pTaps);

/* ---- Vector quantisation: conjugate code-book search -----------------------------------------------------
 */

/* Two code books quantise a vector together: the reconstruction is the mean of one vector of each,
 *
 *   y = (s0 * c0[i0] + s1 * c1[i1]) / 2
 *
 * where a book with polarity also has a sign s = -1 or +1 per use. A code word is the vector's index, plus
 * numVectors when the sign is -1. The search minimises the weighted error sum of w * (x - y)^2 in two
 * stages: a few candidates per book by their distance alone, then all pairs of candidates. This is the
 * interleave vector quantisation of ISO/IEC 14496-3, subpart 4 (4.6.9).
 * pCodeBook0 and pCodeBook1 are the first and the second book, pDstIndex0 and pDstIndex1, pIndex0 and pIndex1 their
 * code words, pCodeBook either book. Searches keep their candidates on the stack, in at most 100 KiB.
 */
typedef struct MoxVqCodeBook MoxVqCodeBook;

enum {
  moxVqMaxVectorLen = 256, /* longest vector */
  moxVqMaxVectors = 4096   /* most vectors of one book */
};

/* Tells in *pSize the bytes of a code book of numVectors vectors of vectorLen values.
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusBadSize      vectorLen outside 1..256 or numVectors outside 1..4096
 */
MOXAC_API moxStatus moxsVQCodeBookGetSize_32f(int32_t vectorLen, int32_t numVectors, int32_t* pSize);

/* Builds a code book in the caller's memory at pCodeBook (GetSize bytes, any alignment).
 *
 * pVectors  numVectors rows of vectorLen finite values; copied
 * polarity  1: vectors are used with either sign, 0: as they are
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusOutOfRange   polarity not 0 or 1
 * moxStatusBadSize      as GetSize
 */
MOXAC_API moxStatus moxsVQCodeBookInit_32f(const float* pVectors, int32_t vectorLen, int32_t numVectors,
                                           int32_t polarity, MoxVqCodeBook* pCodeBook);

/* Builds a code book in one allocation of GetSize bytes; pVectors, vectorLen, numVectors and polarity as for Init.
 *
 * Statuses as Init with *ppCodeBook untouched, then moxStatusOutOfMemory with *ppCodeBook null.
 */
MOXAC_API moxStatus moxsVQCodeBookInitAlloc_32f(const float* pVectors, int32_t vectorLen, int32_t numVectors,
                                                int32_t polarity, MoxVqCodeBook** ppCodeBook);

/* Frees pCodeBook when InitAlloc made it; leaves one in caller memory alone.
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusContextMismatch
 */
MOXAC_API moxStatus moxsVQCodeBookFree_32f(MoxVqCodeBook* pCodeBook);

/* Finds the numCand vectors of one book that lie nearest to a target, nearest first.
 *
 *   d(k) = sum over j < len of pWeight[j] * (pSrc[j] - s * c[k][j])^2,  s the better sign
 *
 * Of equal distances the lower index comes first. Sums are formed in float, eight partial sums each.
 *
 * pSrc, pWeight  len values; weights not negative
 * pDstCand       numCand vector indices (0 .. numVectors - 1)
 * len            1 .. the book's vector length; later elements of the vectors are ignored
 * numCand        1 .. the book's number of vectors
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusContextMismatch
 * moxStatusOutOfRange       numCand
 * moxStatusBadSize          len
 */
MOXAC_API moxStatus moxsVQPreliminarySelect_32f(const float* pSrc, const float* pWeight, int32_t* pDstCand,
                                                int32_t len, int32_t numCand, const MoxVqCodeBook* pCodeBook);

/* Finds the best pair among candidates of two books, signs included.
 *
 *   E(a, b) = sum over j < len of pWeight[j] * (pSrc[j] - (s0 * c0[a][j] + s1 * c1[b][j]) / 2)^2
 *
 * Of equal errors the pair with the lower first, then second code word wins. With all vectors of both books
 * as candidates this is the exhaustive search.
 *
 * pCand0, pCand1  numCand0 and numCand1 vector indices
 * pDstIndex0/1    one code word each
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusContextMismatch
 * moxStatusOutOfRange       numCand0 or numCand1 outside 1 .. number of vectors, or a candidate not of its book
 * moxStatusBadSize          len outside 1 .. the shorter vector length
 */
MOXAC_API moxStatus moxsVQMainSelect_32f(const float* pSrc, const float* pWeight, const int32_t* pCand0,
                                         const int32_t* pCand1, int32_t* pDstIndex0, int32_t* pDstIndex1,
                                         int32_t len, int32_t numCand0, int32_t numCand1,
                                         const MoxVqCodeBook* pCodeBook0, const MoxVqCodeBook* pCodeBook1);

/* Searches in both stages for numDiv vectors that lie one behind another.
 *
 * pSrc, pWeight     sum of pLength values
 * pLength           numDiv vector lengths, each 1 .. the shorter vector length of the two books
 * pDstIndex0/1      numDiv code words each
 * numCand0/1        candidates kept of each book
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusContextMismatch
 * moxStatusOutOfRange       numCand0 or numCand1
 * moxStatusBadSize          numDiv below 1, or some length; nothing written
 */
MOXAC_API moxStatus moxsVQIndexSelect_32f(const float* pSrc, const float* pWeight, const int32_t* pLength,
                                          int32_t* pDstIndex0, int32_t* pDstIndex1, int32_t numDiv,
                                          int32_t numCand0, int32_t numCand1, const MoxVqCodeBook* pCodeBook0,
                                          const MoxVqCodeBook* pCodeBook1);

/* Vectors from numDiv code words of each book, pIndex0 and pIndex1; lengths pLength as in moxsVQIndexSelect_32f.
 *
 *   pDst = (s0 * c0[i0] + s1 * c1[i1]) / 2, vector behind vector
 *
 * moxStatusOk
 * moxStatusNullPointer
 * moxStatusContextMismatch
 * moxStatusOutOfRange       some code word not of its book; nothing written
 * moxStatusBadSize          numDiv below 1, or some length; nothing written
 */
MOXAC_API moxStatus moxsVQReconstruction_32f(const int32_t* pIndex0, const int32_t* pIndex1,
                                             const int32_t* pLength, float* pDst, int32_t numDiv,
                                             const MoxVqCodeBook* pCodeBook0,
                                             const MoxVqCodeBook* pCodeBook1);

MOXAC_EXTERN_C_END

#endif
