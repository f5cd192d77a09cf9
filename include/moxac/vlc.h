/* moxac, variable-length codes of the caller's own code books: decoding, encoding, bit counting.
 *
 * Code books. pInputTable is an array of nRows rows of three 32-bit integers each: a value, its code word
 * right-aligned (bits above the length are ignored), and the code word's length in bits, 1..32. Rows may
 * stand in any order. The code must be prefix-free; it need not be complete. The table is read while a spec
 * is made and not kept.
 *
 * Specs (pSpec, *ppSpec) are opaque, read-only once made, and may be used by any number of threads at once. The
 * caller gives GetSize bytes (*pSize) at any alignment to Init, with the same pSubTableSizes, nSubTables, tupleSize
 * and valueBits, or lets InitAlloc take them from moxMalloc. A spec cannot be copied to another address.
 *
 * Cursors. The next bit of a stream is bit *pBitOffset (0..7, 0 the most significant) of byte **ppBitStream. Both are
 * moved behind what was read or written (to pDst, from pSrc), and stay as they were when a status below 0 is
 * returned, save where a decoder's comment says otherwise.
 *
 * Memory of streams. Streams are read and written as aligned 32-bit words: the buffer must include every byte
 * of a word (address a multiple of 4) that holds a bit named below. Decoders touch the words of the next
 * maxLength bits at each code word, maxLength the longest code word of the book, and those of sign and escape
 * bits, and no other. Encoders touch the words of the bits they write, and no other.
 */
#ifndef MOXAC_VLC_H
#define MOXAC_VLC_H

#include "types.h"

MOXAC_EXTERN_C_BEGIN

typedef struct MoxVlcDecodeSpec MoxVlcDecodeSpec;
typedef struct MoxVlcEncodeSpec MoxVlcEncodeSpec;

/* ---- Decoder specs --------------------------------------------------------------------------------------
 */

/* Bytes of a decoder spec.
 *
 * pSubTableSizes, nSubTables   widths in bits of the lookup levels, first level first
 *
 * Widths are taken in order until their sum reaches the longest code length; the one that reaches it is cut to
 * reach it exactly, and later ones are ignored: {4, 4, 4} means 4, 4, 2 for a longest code of 10 bits. A single
 * level as wide as the longest code is fastest while it stays in cache; a first level of 8 or 9 bits resolves
 * most symbols of an audio code book in one access.
 *
 *   *pSize = E * entryBytes + 160
 *
 * E counts the table elements: 2^w + 1 for the first level and for each table of width w behind it, of which
 * there is one for every different prefix of the longer code words. With A the largest magnitude among the
 * values, an entry of 1, 2 or 4 bytes is the narrowest that holds
 *   lengthBits + valueBits + 2   lengthBits, valueBits minimal with 2^lengthBits > the largest width and
 *                                2^valueBits >= A
 *   indexBits + 1                indexBits minimal with 2^indexBits - 1 >= E + 1
 *
 * Mind two properties of narrow entries. Entries of one byte hold values without a sign: -1 comes back as a
 * positive number. And where the entry has just lengthBits + valueBits + 2 bits, a value of exactly
 * +2^valueBits comes back as -2^valueBits. Neither concerns tuple specs, nor values 0..2^valueBits - 1.
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer is null
 * moxStatusVlcError      nRows below 1
 * moxStatusVlcBadTable   a length outside 1..32; a width below 1 before the sum reaches the longest
 *                        length, or a sum that stays below it; a size beyond int32_t
 *
 * Time: n log n for n rows, and n * n / 16384 table look-ups more. Nothing is allocated. */
MOXAC_API moxStatus moxsVLCDecodeGetSize_32s(const int32_t* pInputTable, int32_t nRows,
                                             const int32_t* pSubTableSizes, int32_t nSubTables,
                                             int32_t* pSize);

/* Makes a decoder spec in the caller's GetSize bytes at pSpec, of any alignment. Nothing is allocated.
 *
 * Statuses as moxsVLCDecodeGetSize_32s, with nothing written, and
 * moxStatusVlcBadTable   two rows conflict: equal code words, or one a prefix of the other. The spec is
 *                        unfinished and must not be used. */
MOXAC_API moxStatus moxsVLCDecodeInit_32s(const int32_t* pInputTable, int32_t nRows,
                                          const int32_t* pSubTableSizes, int32_t nSubTables,
                                          MoxVlcDecodeSpec* pSpec);

/* Makes a decoder spec in one allocation of GetSize bytes, released by moxsVLCDecodeFree_32s.
 *
 * Statuses as moxsVLCDecodeInit_32s, and moxStatusOutOfMemory. *ppSpec is left alone when GetSize fails, is
 * null when the allocation fails, and after a conflict of rows holds the unfinished block, which Free does
 * not release: it is moxFree's. */
MOXAC_API moxStatus moxsVLCDecodeInitAlloc_32s(const int32_t* pInputTable, int32_t nRows,
                                               const int32_t* pSubTableSizes, int32_t nSubTables,
                                               MoxVlcDecodeSpec** ppSpec);

/* Ends the life of a decoder spec, plain or of tuples: clears its identifier, so that later calls refuse it,
 * and releases the block when InitAlloc made it. Null is ignored. The identifier is not tested first. */
MOXAC_API void moxsVLCDecodeFree_32s(MoxVlcDecodeSpec* pSpec);

/* ---- Decoding -------------------------------------------------------------------------------------------
 */

/* Decodes one code word into *pDst; the value is cut to 16 bits.
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer, or the byte pointer, is null
 * moxStatusVlcError      *pBitOffset outside 0..7; not a decoder spec, or a freed one; the next bits begin no
 *                        code word of an incomplete book
 * A failure writes nothing and leaves the cursor. */
MOXAC_API moxStatus moxsVLCDecodeOne_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                           const MoxVlcDecodeSpec* pSpec);

/* Decodes len code words into pDst[0..len-1].
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer, or the byte pointer, is null
 * moxStatusVlcError      *pBitOffset outside 0..7; not a decoder spec, or a freed one
 * moxStatusBadSize       len below 1
 * moxStatusVlcError      bits that begin no code word of an incomplete book: the values before them are in
 *                        pDst, and the cursor rests on them. What had been touched of the stream by then may
 *                        be as far ahead as the wanted code words were certain to reach. */
MOXAC_API moxStatus moxsVLCDecodeBlock_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst,
                                             int32_t len, const MoxVlcDecodeSpec* pSpec);

/* Decodes len values of AAC spectral data coded in pairs (ISO/IEC 14496-3, 4.6.3.3).
 *
 * A row's value is 33 a + b with a and b in -16..16. The sign bits that the standard sends behind a code word
 * are the row's last code bits, so a book of unsigned pairs has up to four rows for each of its code words.
 * A magnitude of 16 announces an escape sequence behind the code word, a's before b's: N ones, a zero and a
 * word of N + 4 bits, for the magnitude 2^(N + 4) + word. The standard ends at N = 8, magnitude 8191; up to
 * 12 ones are accepted, and values beyond 16 bits saturate.
 *
 * With code book 11 the bits 10010110 0 1 0 0011 are 19, -3:
 *   10010110   the book's code word of (16, 3)
 *   0 1        signs, a positive and b negative; the row is value 33 * 16 - 3 = 525, code 1001011001 of 10 bits
 *   0 0011     escape of a: N = 0, 16 + 3
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcBadBitOffset   *pBitOffset outside 0..7
 * moxStatusContextMismatch   not a decoder spec, or a freed one
 * moxStatusBadSize           len below 1 or odd
 * moxStatusVlcError          an escape prefix of more than 12 ones, or bits that begin no code word: the pairs
 *                            before it are in pDst, and the cursor rests on its code word */
MOXAC_API moxStatus moxsVLCDecodeEscBlock_AAC_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                    int16_t* pDst, int32_t len,
                                                    const MoxVlcDecodeSpec* pSpec);

/* Decodes len values of Layer III big-value pairs (ISO/IEC 11172-3, 2.4.2.7).
 *
 * A row's value is 16 |x| + |y|, 0..255. Behind the code word come, x's before y's: for a magnitude of 15,
 * linBits bits that are added to it; for a magnitude that is not 0, its sign (1: negative).
 *
 * With table 24, linBits 4, the bits 0010011 0011 0 1 are 18, -2:
 *   0010011   the table's code word of (15, 2); the row is value 16 * 15 + 2 = 242, code 0010011, length 7
 *   0011 0    x: 15 + 3, positive
 *   1         y: negative
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcBadBitOffset   *pBitOffset outside 0..7
 * moxStatusContextMismatch   not a decoder spec, or a freed one
 * moxStatusOutOfRange        linBits outside 0..13
 * moxStatusBadSize           len below 1 or odd
 * moxStatusVlcError          bits that begin no code word: the pairs before them are in pDst, and the cursor
 *                            rests on them */
MOXAC_API moxStatus moxsVLCDecodeEscBlock_MP3_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                    int16_t* pDst, int32_t len, int32_t linBits,
                                                    const MoxVlcDecodeSpec* pSpec);

/* ---- Unsigned tuples ------------------------------------------------------------------------------------
 */

/* Bytes of a decoder spec for tuples of magnitudes: moxsVLCDecodeGetSize_32s's formula and statuses.
 *
 * tupleSize   magnitudes in a row's value, 2 or 4
 * valueBits   bits of each, the first magnitude in the lowest: value = m0 + (m1 << valueBits) + ...;
 *             1..12 for pairs, 1..6 for fours
 *
 * Behind the pointers and before the table come
 * moxStatusOutOfRange    tupleSize or valueBits outside these sets
 * and at the end
 * moxStatusVlcBadTable   a row's value is negative or needs more than tupleSize * valueBits bits */
MOXAC_API moxStatus moxsVLCDecodeUTupleGetSize_32s(const int32_t* pInputTable, int32_t nRows,
                                                   const int32_t* pSubTableSizes, int32_t nSubTables,
                                                   int32_t tupleSize, int32_t valueBits, int32_t* pSize);

/* Makes a decoder spec for tuples in the caller's memory; statuses of GetSize and moxsVLCDecodeInit_32s. */
MOXAC_API moxStatus moxsVLCDecodeUTupleInit_32s(const int32_t* pInputTable, int32_t nRows,
                                                const int32_t* pSubTableSizes, int32_t nSubTables,
                                                int32_t tupleSize, int32_t valueBits,
                                                MoxVlcDecodeSpec* pSpec);

/* Makes a decoder spec for tuples in one allocation; statuses and conduct of moxsVLCDecodeInitAlloc_32s. */
MOXAC_API moxStatus moxsVLCDecodeUTupleInitAlloc_32s(const int32_t* pInputTable, int32_t nRows,
                                                     const int32_t* pSubTableSizes, int32_t nSubTables,
                                                     int32_t tupleSize, int32_t valueBits,
                                                     MoxVlcDecodeSpec** ppSpec);

/* moxsVLCDecodeFree_32s by another name. */
MOXAC_API void moxsVLCDecodeUTupleFree_32s(MoxVlcDecodeSpec* pSpec);

/* Decodes one tuple, the spec's 2 or 4 values, into pDst: the code word, then a sign bit (1: negative) for
 * each magnitude that is not 0, first value first.
 *
 * With code book 7 of AAC as pairs, valueBits 3, the bits 110100 0 1 are 2, -1: 110100 is the code word
 * of (2, 1), whose row has the value 2 + 8 * 1 = 10, and 0 1 are the signs.
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcError          *pBitOffset outside 0..7
 * moxStatusContextMismatch   not a tuple spec, or a freed one
 * moxStatusVlcError          the next bits begin no code word
 * A failure writes nothing and leaves the cursor. */
MOXAC_API moxStatus moxsVLCDecodeUTupleOne_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                 int16_t* pDst, const MoxVlcDecodeSpec* pSpec);

/* Decodes len values, len / tupleSize tuples.
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcError          *pBitOffset outside 0..7
 * moxStatusContextMismatch   not a tuple spec, or a freed one
 * moxStatusBadSize           len below 1 or not a multiple of the tuple size
 * moxStatusVlcError          bits that begin no code word: the tuples before them are in pDst, and the cursor
 *                            rests on them */
MOXAC_API moxStatus moxsVLCDecodeUTupleBlock_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                   int16_t* pDst, int32_t len, const MoxVlcDecodeSpec* pSpec);

/* Decodes len values in tuples with AAC escapes: behind the signs, an escape sequence for each magnitude of 16,
 * first value first; see moxsVLCDecodeEscBlock_AAC_1u16s for the sequence and its limits.
 *
 * With code book 11, tupleSize 2, valueBits 5, the bits 10010110 0 1 0 0011 are 19, -3:
 *   10010110   code word of (16, 3), row value 16 + 32 * 3 = 112
 *   0 1        signs
 *   0 0011     escape of the first value: N = 0, 16 + 3
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcBadBitOffset   *pBitOffset outside 0..7
 * moxStatusContextMismatch   not a tuple spec, or a freed one
 * moxStatusBadSize           len below 1 or not a multiple of the tuple size
 * moxStatusVlcError          an escape prefix of more than 12 ones, or bits that begin no code word: the tuples
 *                            before it are in pDst, and the cursor rests on its code word */
MOXAC_API moxStatus moxsVLCDecodeUTupleEscBlock_AAC_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                          int16_t* pDst, int32_t len,
                                                          const MoxVlcDecodeSpec* pSpec);

/* Decodes len values in tuples with Layer III escapes: behind the code word, value by value, linBits bits for a
 * magnitude of 15 and the sign of one that is not 0.
 *
 * With table 24, tupleSize 2, valueBits 4, linBits 4, the bits 0010011 0011 0 1 are 18, -2:
 *   0010011   code word of (15, 2), row value 15 + 16 * 2 = 47
 *   0011 0    first value: 15 + 3, positive
 *   1         second value: negative
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcBadBitOffset   *pBitOffset outside 0..7
 * moxStatusContextMismatch   not a tuple spec, or a freed one
 * moxStatusOutOfRange        linBits outside 0..13
 * moxStatusBadSize           len below 1 or not a multiple of the tuple size
 * moxStatusVlcError          bits that begin no code word: the tuples before them are in pDst, and the cursor
 *                            rests on them */
MOXAC_API moxStatus moxsVLCDecodeUTupleEscBlock_MP3_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                          int16_t* pDst, int32_t len, int32_t linBits,
                                                          const MoxVlcDecodeSpec* pSpec);

/* ---- Encoder specs --------------------------------------------------------------------------------------
 */

/* Bytes of an encoder spec, an array over the values from the smallest to the largest:
 *
 *   *pSize = (range + 2^bits) * 4 + 132     range = max - min, bits = binary digits of range + 1
 *
 * Of rows with the same value the last one counts. Values that no row names have no code word.
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer is null
 * moxStatusVlcError      nRows below 1
 * moxStatusVlcBadTable   a length outside 1..32, or a size beyond int32_t */
MOXAC_API moxStatus moxsVLCEncodeGetSize_32s(const int32_t* pInputTable, int32_t nRows, int32_t* pSize);

/* Makes an encoder spec in the caller's GetSize bytes at pSpec, of any alignment. GetSize's statuses, with
 * nothing written. Nothing is allocated. */
MOXAC_API moxStatus moxsVLCEncodeInit_32s(const int32_t* pInputTable, int32_t nRows, MoxVlcEncodeSpec* pSpec);

/* The same in one allocation of GetSize bytes, released by moxsVLCEncodeFree_32s. GetSize's statuses, *ppSpec
 * left alone, and moxStatusOutOfMemory, *ppSpec null. */
MOXAC_API moxStatus moxsVLCEncodeInitAlloc_32s(const int32_t* pInputTable, int32_t nRows,
                                               MoxVlcEncodeSpec** ppSpec);

/* Ends the life of an encoder spec: clears its identifier, so that later calls refuse it, and releases the
 * block when InitAlloc made it. Null is ignored. The identifier is not tested first. */
MOXAC_API void moxsVLCEncodeFree_32s(MoxVlcEncodeSpec* pSpec);

/* ---- Encoding -------------------------------------------------------------------------------------------
 */

/* Writes the code word of `value` at the cursor.
 *
 * Bits above the cursor stay. Of the aligned 32-bit word that holds the cursor afterwards, the bits below are
 *   set to ones     when the code word began in this word: the stream reads as ones until overwritten
 *   left as found   when the code word began in the word before
 * A code word that ends with its aligned word moves the cursor to the next, which is not touched.
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer, or the byte pointer, is null
 * moxStatusVlcError      *pBitOffset outside 0..7; not an encoder spec, or a freed one; no code word for the
 *                        value. Nothing is written, the cursor stays. */
MOXAC_API moxStatus moxsVLCEncodeOne_16s1u(int16_t value, uint8_t** ppBitStream, int32_t* pBitOffset,
                                           const MoxVlcEncodeSpec* pSpec);

/* Writes the code words of pSrc[0..len-1]: the same bits, in the code words and behind them, as len calls of
 * moxsVLCEncodeOne_16s1u.
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer, or the byte pointer, is null
 * moxStatusVlcError      *pBitOffset outside 0..7; not an encoder spec, or a freed one
 * moxStatusBadSize       len below 1
 * moxStatusVlcError      some value has no code word. Nothing is written, the cursor stays. */
MOXAC_API moxStatus moxsVLCEncodeBlock_16s1u(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream,
                                             int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec);

/* Writes len values as AAC pairs with escape sequences, what moxsVLCDecodeEscBlock_AAC_1u16s reads: the row
 * of 33 a + b with a and b clipped to -16..16, then an escape sequence for each value of magnitude 16 or
 * more, N = floor(log2 |v|) - 4. A codec stays within 8191; magnitudes above it need more than the standard's
 * 8 prefix ones. Behind the last pair the word is left as moxsVLCEncodeOne_16s1u leaves it, the pair with its
 * escapes taking the code word's part.
 *
 * With code book 11, 19, -3 gives 10010110 0 1 0 0011: the row of 33 * 16 - 3 = 525 (code word of (16, 3) and
 * the signs), then 0 0011 for 16 + 3.
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcBadBitOffset   *pBitOffset outside 0..7
 * moxStatusContextMismatch   not an encoder spec, or a freed one
 * moxStatusBadSize           len below 1 or odd
 * moxStatusVlcError          some pair has no code word. Nothing is written, the cursor stays. */
MOXAC_API moxStatus moxsVLCEncodeEscBlock_AAC_16s1u(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream,
                                                    int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec);

/* Writes len values as Layer III pairs, what moxsVLCDecodeEscBlock_MP3_1u16s reads: the row of
 * 16 min(|x|, 15) + min(|y|, 15), then for x and for y: |v| - 15 in linBits bits when |v| is 15 or more, and
 * the sign when v is not 0. The end is left as in moxsVLCEncodeEscBlock_AAC_16s1u.
 *
 * With table 24, linBits 4, 18, -2 gives 0010011 0011 0 1: the row of 16 * 15 + 2 = 242, then 18 - 15 and a
 * positive sign, then a negative sign.
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer, or the byte pointer, is null
 * moxStatusVlcBadBitOffset   *pBitOffset outside 0..7
 * moxStatusContextMismatch   not an encoder spec, or a freed one
 * moxStatusOutOfRange        linBits outside 0..13
 * moxStatusBadSize           len below 1 or odd
 * moxStatusVlcError          some pair has no code word, or a magnitude is above 14 + 2^linBits. Nothing is
 *                            written, the cursor stays. */
MOXAC_API moxStatus moxsVLCEncodeEscBlock_MP3_16s1u(const int16_t* pSrc, int32_t len, int32_t linBits,
                                                    uint8_t** ppBitStream, int32_t* pBitOffset,
                                                    const MoxVlcEncodeSpec* pSpec);

/* ---- Counting -------------------------------------------------------------------------------------------
 */

/* Counts into *pCount the bits that moxsVLCEncodeBlock_16s1u would write.
 *
 * moxStatusOk
 * moxStatusNullPointer   a pointer is null
 * moxStatusVlcError      not an encoder spec, or a freed one; len below 1; some value has no code word
 * moxStatusBadSize       the sum is beyond int32_t
 * A failure leaves *pCount. */
MOXAC_API moxStatus moxsVLCCountBits_16s32s(const int16_t* pSrc, int32_t len, int32_t* pCount,
                                            const MoxVlcEncodeSpec* pSpec);

/* Counts into *pCount the bits that moxsVLCEncodeEscBlock_AAC_16s1u would write: the rows' lengths, and 2 N + 5 with
 * N = floor(log2 |v|) - 4 for each magnitude of 16 or more. Books of four values have no escapes; their
 * tuples are counted as plain values.
 *
 * With code book 11, the pair 19, -3 takes 10 + 5 = 15 bits.
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer is null
 * moxStatusContextMismatch   not an encoder spec, or a freed one
 * moxStatusBadSize           len below 1 or odd
 * moxStatusVlcError          some pair has no code word
 * moxStatusBadSize           the sum is beyond int32_t
 * A failure leaves *pCount. */
MOXAC_API moxStatus moxsVLCCountEscBits_AAC_16s32s(const int16_t* pSrc, int32_t len, int32_t* pCount,
                                                   const MoxVlcEncodeSpec* pSpec);

/* Counts into *pCount the bits that moxsVLCEncodeEscBlock_MP3_16s1u would write: the rows' lengths, linBits for each
 * magnitude of 15 or more, and one bit for each value that is not 0.
 *
 * With table 24, linBits 4, the pair 18, -2 takes 7 + 4 + 2 = 13 bits.
 *
 * moxStatusOk
 * moxStatusNullPointer       a pointer is null
 * moxStatusContextMismatch   not an encoder spec, or a freed one
 * moxStatusOutOfRange        linBits outside 0..13
 * moxStatusBadSize           len below 1 or odd
 * moxStatusVlcError          some pair has no code word, or a magnitude is above 14 + 2^linBits
 * moxStatusBadSize           the sum is beyond int32_t
 * A failure leaves *pCount. */
MOXAC_API moxStatus moxsVLCCountEscBits_MP3_16s32s(const int16_t* pSrc, int32_t len, int32_t linBits,
                                                   int32_t* pCount, const MoxVlcEncodeSpec* pSpec);

MOXAC_EXTERN_C_END

#endif
