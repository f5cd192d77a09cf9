/* moxac, MPEG-1 and MPEG-2 Layer III: parsing, decoding and encoding stages.
 *
 * A decoder calls, frame by frame: moxsUnpackFrameHeader_MP3, moxsUnpackSideInfo_MP3, then, once the main
 * data are assembled from main_data_begin, for each granule and channel moxsUnpackScaleFactors_MP3_1u8s and
 * a moxsHuffmanDecode form. Frame synchronisation, frame lengths, the bit reservoir and CRC checks are the
 * caller's. MPEG-1 is ISO/IEC 11172-3, MPEG-2 (lower sampling frequencies) ISO/IEC 13818-3; the unofficial
 * extension to still lower rates is not recognised: its header parses as MPEG-2.
 *
 * An encoder's order of calls is told where its operations begin.
 *
 * Nothing is kept between calls but in the caller's records and buffers: any number of threads may call any of
 * these operations, on data of their own.
 */
#ifndef MOXAC_MP3_H
#define MOXAC_MP3_H

#include "types.h"

MOXAC_EXTERN_C_BEGIN

/* Sizes, of what the records and operations below hold. */
enum {
  MOX_MP3_LINES = 576,        /* spectral lines, and samples, of a granule and channel */
  MOX_MP3_BANDS = 32,         /* sub-bands of the polyphase banks, and samples of a time slot */
  MOX_MP3_SLOTS = 18,         /* time slots of a granule, and lines of a sub-band */
  MOX_MP3_LONG_BANDS = 22,    /* bands of long blocks; the last has no scale factor */
  MOX_MP3_SHORT_BANDS = 13,   /* of one window of short blocks, likewise */
  MOX_MP3_SCALE_FACTORS = 39, /* room for those of a granule and channel */
  MOX_MP3_SCFSI = 4,          /* groups of long bands that granule 1 may take from granule 0 */
  MOX_MP3_HISTORY = 512       /* values of a channel's history in the polyphase banks */
};

/* layer, as coded. */
enum { MOX_MP3_LAYER_III = 1, MOX_MP3_LAYER_II = 2, MOX_MP3_LAYER_I = 3 };

/* mode. */
enum { MOX_MP3_STEREO = 0, MOX_MP3_JOINT_STEREO = 1, MOX_MP3_DUAL_CHANNEL = 2, MOX_MP3_SINGLE_CHANNEL = 3 };

/* Bits of modeExt. */
enum { MOX_MP3_EXT_INTENSITY = 1, MOX_MP3_EXT_MS = 2 };

/* blockType. */
enum { MOX_MP3_NORMAL = 0, MOX_MP3_START = 1, MOX_MP3_SHORT = 2, MOX_MP3_STOP = 3 };

/* Fraction bits. */
enum {
  MOX_MP3_FRAC_BITS = 26 /* of lines, overlap and sub-band samples */
};

/* The 4-byte header of a frame and its CRC word; ISO/IEC 11172-3, 2.4.1.3. The syncword is not kept. */
typedef struct MoxMp3FrameHeader {
  int32_t id;            /* 1 = MPEG-1, 0 = MPEG-2 lower sampling frequencies */
  int32_t layer;         /* as coded: MOX_MP3_LAYER_III, .._II, .._I */
  int32_t protectionBit; /* 0 = a CRC word follows the header */
  int32_t bitRateIndex;  /* 0..15 */
  int32_t samplingFreq;  /* 0..3; with id 1: 44.1, 48, 32 kHz; with id 0 half of that; 3 reserved */
  int32_t paddingBit;
  int32_t privateBit;
  int32_t mode;         /* MOX_MP3_STEREO .. MOX_MP3_SINGLE_CHANNEL */
  int32_t modeExt;      /* MOX_MP3_EXT_INTENSITY and MOX_MP3_EXT_MS */
  int32_t rightsBit;    /* the stream's rights-protection mark */
  int32_t originalCopy; /* 1 = original */
  int32_t emphasis;     /* 0..3 */
  int32_t crcWord;      /* the 16 bits after the header; only with protectionBit 0 */
} MoxMp3FrameHeader;

/* Side information of one granule of one channel; ISO/IEC 11172-3, 2.4.1.7, and ISO/IEC 13818-3, 2.4.1.7.
 * A frame has an array of these, granule-major: MPEG-1 stereo 4 (granule 0 channel 0, granule 0 channel 1,
 * granule 1 channel 0, granule 1 channel 1), MPEG-1 single channel 2 (granules 0 and 1), MPEG-2 one per
 * channel (it has one granule). */
typedef struct MoxMp3SideInfo {
  int32_t part23Len;       /* part2_3_length: bits of scale factors plus Huffman data */
  int32_t bigVals;         /* big_values: pairs of lines in the big-value regions */
  int32_t globGain;        /* global_gain */
  int32_t sfCompress;      /* scalefac_compress; MPEG-1 0..15, MPEG-2 0..511 */
  int32_t winSwitch;       /* window_switching_flag */
  int32_t blockType;       /* MOX_MP3_NORMAL .. MOX_MP3_STOP; normal when winSwitch is 0 */
  int32_t mixedBlock;      /* mixed_block_flag; 0 when winSwitch is 0 */
  int32_t tableSelect[3];  /* Huffman tables of regions 0, 1, 2; with winSwitch 1 only two are coded */
  int32_t subBlockGain[3]; /* subblock_gain of short windows 0, 1, 2; coded only with winSwitch 1 */
  int32_t reg0Cnt;         /* region0_count, bands of region 0 less one */
  int32_t reg1Cnt;         /* region1_count, bands of region 1 less one */
  int32_t preFlag;         /* preflag; MPEG-2: set by the scale-factor parser */
  int32_t sfScale;         /* scalefac_scale */
  int32_t cnt1TabSel;      /* count1table_select: 0 = quadruple table A, 1 = table B */
} MoxMp3SideInfo;

/* What an encoder keeps of its bit reservoir. */
typedef struct MoxMp3BitReservoir {
  int32_t resBits;    /* bits now held */
  int32_t maxResBits; /* the most that may be held */
} MoxMp3BitReservoir;

/* Reads a frame header. ISO/IEC 11172-3, 2.4.1.3.
 *
 * ppBitStream   *ppBitStream is at the header's first byte; it moves on by 4 bytes, or by 6 when
 *               protectionBit is 0. Up to three bytes past those are touched.
 * pFrameHeader  receives the fields; crcWord only when protectionBit is 0 and is left as it was otherwise.
 *
 * The 12-bit syncword is neither kept nor checked, nor is any field's value.
 * Any number of threads may call it, on cursors and records of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer  ppBitStream, *ppBitStream or pFrameHeader is null
 */
MOXAC_API moxStatus moxsUnpackFrameHeader_MP3(const uint8_t** ppBitStream, MoxMp3FrameHeader* pFrameHeader);

/* Reads the side information of a frame. ISO/IEC 11172-3, 2.4.1.7; ISO/IEC 13818-3, 2.4.1.7.
 *
 * ppBitStream        *ppBitStream is at the first byte after header and CRC word; it moves on by 17 bytes
 *                    (MPEG-1 single channel), 32 (MPEG-1), 9 (MPEG-2 single channel) or 17 (MPEG-2).
 *                    Up to three bytes past those are touched.
 * pDstSideInfo       one record per granule and channel, granule-major: 4, 2, 2 or 1 of them
 * pDstMainDataBegin  main_data_begin, in bytes
 * pDstPrivateBits    the private bits, right-aligned: 5 (MPEG-1 single channel), 3 (MPEG-1), 1 or 2 (MPEG-2)
 * pDstScfsi          MPEG-1: 4 values 0 or 1 per channel, index channel*4 + band group (groups: scale-factor
 *                    bands 0-5, 6-10, 11-15, 16-20). MPEG-2: must not be null, is not touched.
 * pFrameHeader       the frame's header; id, layer and mode are looked at
 *
 * With winSwitch 1 the region counts are not coded: blockType 2 with mixedBlock 0 gets reg0Cnt 8 and
 * reg1Cnt 12, every other switched block 7 and 13; tableSelect[2] stays as it was. With winSwitch 0
 * blockType and mixedBlock become 0 and subBlockGain stays as it was. MPEG-2 leaves preFlag as it was.
 * Any number of threads may call it, on outputs of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusMp3FrameHeaderErr  id not 0 or 1, layer not 1, or mode not 0..3; nothing is read
 * moxStatusMp3SideInfoErr     a record has winSwitch 1 and blockType 0. Everything read up to and including
 *                             that record's subBlockGain stays written; *ppBitStream is left at the byte
 *                             that holds the next unread bit.
 */
MOXAC_API moxStatus moxsUnpackSideInfo_MP3(const uint8_t** ppBitStream, MoxMp3SideInfo* pDstSideInfo,
                                           int32_t* pDstMainDataBegin, int32_t* pDstPrivateBits,
                                           int32_t* pDstScfsi, const MoxMp3FrameHeader* pFrameHeader);

/* Reads the scale factors of one granule of one channel from the main data.
 * ISO/IEC 11172-3, 2.4.1.7 and 2.4.2.7; ISO/IEC 13818-3, 2.4.3.2.
 *
 * ppBitStream      the byte that holds the next bit; updated
 * pBitOffset       bits of that byte already consumed, 0..7; updated. Up to three bytes past the last byte
 *                  that holds consumed bits are touched.
 * pDstScaleFactor  room for 39 values. In order of coding, three windows of a short band side by side:
 *                  MPEG-1 long 21 bands and a 0 (22 values), short 36 and three zeros (39), mixed 8 long
 *                  and 27 short and three zeros (38); value 21 is set to 0 before the others are read.
 *                  MPEG-2 long 21 and three zeros (24), short 36 and three zeros (39), mixed 33 and three
 *                  zeros (36).
 * pSideInfo        the record of this granule and channel. MPEG-1 takes blockType 2 as short when
 *                  mixedBlock is 0, as mixed when it is 1, as long otherwise. MPEG-2 looks at mixedBlock's
 *                  low bit when blockType is 2, and writes it back; it always writes preFlag.
 * pScfsi           the four scfsi values of this channel (MPEG-1). In granule 1 a band group of a long
 *                  block whose scfsi is 1 is not read: its values stay as they are, so granule 1 is parsed
 *                  into the buffer that holds granule 0's values.
 * pFrameHeader     id 1 is MPEG-1, any other MPEG-2, which also looks at modeExt
 * granule          0 or 1
 * channel          0 or 1; in MPEG-2 with intensity stereo (modeExt bit 0), channel 1 holds intensity
 *                  positions: an illegal one (all bits of its field set) is stored negated, for example -7
 *                  for a field of 3 bits.
 *
 * A field of width 0 gives 0 and reads nothing. Any number of threads may call it, on data of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusOutOfRange         *pBitOffset not 0..7, granule not 0 or 1, channel not 0 or 1
 * moxStatusMp3SideInfoErr     sfCompress not 0..15 (MPEG-1) or not 0..511 (MPEG-2)
 * moxStatusMp3FrameHeaderErr  MPEG-2: modeExt not 0..3
 * Nothing is written when a check fails.
 */
MOXAC_API moxStatus moxsUnpackScaleFactors_MP3_1u8s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                    int8_t* pDstScaleFactor, MoxMp3SideInfo* pSideInfo,
                                                    const int32_t* pScfsi,
                                                    const MoxMp3FrameHeader* pFrameHeader, int32_t granule,
                                                    int32_t channel);

/* Decodes the Huffman-coded spectrum of one granule of one channel: big-value regions, then quadruples.
 * ISO/IEC 11172-3, 2.4.1.7, 2.4.2.7 and Table B.7; ISO/IEC 13818-3. The forms differ in where regions end.
 *
 * ppBitStream       the byte that holds the next bit; updated
 * pBitOffset        bits of that byte already consumed, 0..7; updated
 * pDstIs            576 quantised values in the order of coding (short blocks: three windows side by side in
 *                   each band); magnitudes up to 15 + 8191
 * pDstNonZeroBound  index of the last non-zero line plus one, 0 when all are zero
 * pSideInfo         the record of this granule and channel
 * pFrameHeader      id, layer and samplingFreq are looked at
 * hufSize           bits of Huffman data: part23Len less those of the scale factors
 * pSfbTableLong     6 rows of 23 long-band starts, the last 576; row id*3 + samplingFreq: MPEG-2 at 22.05,
 *                   24, 16 kHz, MPEG-1 at 44.1, 48, 32 kHz. The first form has the standards' own.
 * pSfbTableShort    6 rows of 14 short-band starts in lines of one window. Tables of no sense give a spectrum of
 *                   no sense; nothing outside the arrays is touched.
 * pMbpTable         6 rows of 2: long bands in the long part of a mixed block (0..22, the nearer end is taken
 *                   outside); short band-windows by which region 0 reaches into its short part
 *
 * Regions. With winSwitch 0: region 1 starts at the long band reg0Cnt + 1, region 2 at reg0Cnt + reg1Cnt + 2.
 * With winSwitch 1 there are two, with tableSelect[0] and [1]; region 1 starts
 *   moxsHuffmanDecode_MP3_1u32s, ...Sfb...: at line 36 in MPEG-1 or with blockType 2, else at line 54
 *   ...SfbMbp..., blockType 1 or 3: at the row's long band 8
 *   ...SfbMbp..., blockType 2, mixedBlock 0: at 3 * (short start 3 - short start 0)
 *   ...SfbMbp..., blockType 2, mixedBlock 1: at the long band of pMbpTable's first number, plus as many
 *     widths short start [j] - short start [j-1] as its second number tells, where j is the first short band
 *     whose start times 3 lies above that long band's start, and moves on after the 2nd, 5th, 8th ...
 *     addition; additions stop at the end of the short-band table
 * No region passes 2*bigVals. Tables 0, 4 and 14 give zeros and read nothing. A region that ends at an odd
 * line (which only a caller's tables can ask for) is decoded to the end of that line's pair.
 *
 * Quadruples follow while the line is below 574 and a bit of hufSize is left. One that takes more bits than
 * are left is dropped. The cursor then stands exactly hufSize bits on, past any stuffing; the other lines are
 * 0. With hufSize 0 nothing is read and all lines are 0, whatever bigVals says.
 *
 * Bytes that hold none of the hufSize bits are not touched, with one exception: whether the big values took
 * more bits than there are is looked at after all regions, so that up to 288 pairs (36 bits each at most) and
 * three bytes may be read from where decoding began.
 * Any number of threads may call it, on outputs of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusOutOfRange         *pBitOffset not 0..7, or hufSize not 0..part23Len
 * moxStatusMp3SideInfoErr     bigVals not 0..288, blockType not 0..3, winSwitch or cnt1TabSel not 0 or 1
 * moxStatusMp3FrameHeaderErr  id not 0 or 1, layer not 1, samplingFreq not 0..2
 * moxStatusMp3SideInfoErr     winSwitch 1 with blockType 0; winSwitch 0 with a negative region count or their
 *                             sum above 20. Up to here nothing is written.
 * moxStatusMp3SideInfoErr     a table number not 0..31, looked at when its region's turn comes: the lines and
 *                             the cursor hold what earlier regions gave (with hufSize 0: nothing is written)
 * moxStatusBadData            the big values took more than hufSize bits: the lines below 2*bigVals are as
 *                             decoded, the others and *pDstNonZeroBound as they were; the cursor stands after
 *                             the last code read
 *
 * moxsHuffmanDecodeSfbMbp_MP3_1u32s checks in another order:
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusOutOfRange         *pBitOffset not 0..7
 * moxStatusMp3FrameHeaderErr  id not 0 or 1
 * moxStatusMp3SideInfoErr     bigVals not 0..288, blockType not 0..3 (also with winSwitch 0, where it is
 *                             otherwise not looked at), winSwitch not 0 or 1, winSwitch 1 with blockType 0
 * moxStatusMp3FrameHeaderErr  layer not 1, samplingFreq not 0..2
 * moxStatusMp3SideInfoErr     cnt1TabSel not 0 or 1, or hufSize not 0..part23Len
 * moxStatusMp3SideInfoErr     region counts and table numbers, moxStatusBadData as above
 */
MOXAC_API moxStatus moxsHuffmanDecode_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                int32_t* pDstIs, int32_t* pDstNonZeroBound,
                                                const MoxMp3SideInfo* pSideInfo,
                                                const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize);
MOXAC_API moxStatus moxsHuffmanDecodeSfb_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                   int32_t* pDstIs, int32_t* pDstNonZeroBound,
                                                   const MoxMp3SideInfo* pSideInfo,
                                                   const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize,
                                                   const int16_t* pSfbTableLong);
MOXAC_API moxStatus moxsHuffmanDecodeSfbMbp_MP3_1u32s(
    const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs, int32_t* pDstNonZeroBound,
    const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize,
    const int16_t* pSfbTableLong, const int16_t* pSfbTableShort, const int16_t* pMbpTable);

/* Writes a frame header, the inverse of moxsUnpackFrameHeader_MP3. ISO/IEC 11172-3, 2.4.1.3.
 *
 * pSrcFrameHeader  each field's low bits are written, behind a syncword of twelve ones; no value is checked
 * ppBitStream      *ppBitStream is at a byte boundary; it moves on by 4 bytes, or by 6 when protectionBit is
 *                  0 and crcWord follows. The byte behind those is read and written back unchanged.
 *
 * moxStatusOk
 * moxStatusNullPointer  pSrcFrameHeader, ppBitStream or *ppBitStream is null
 */
MOXAC_API moxStatus moxsPackFrameHeader_MP3(const MoxMp3FrameHeader* pSrcFrameHeader, uint8_t** ppBitStream);

/* Writes the side information of a frame, the inverse of moxsUnpackSideInfo_MP3: same records, field order
 * and widths. ISO/IEC 11172-3, 2.4.1.7; ISO/IEC 13818-3, 2.4.1.7.
 *
 * pSrcSideInfo   one record per granule and channel, granule-major; each field's low bits are written
 * ppBitStream    *ppBitStream is at a byte boundary; it moves on by 17, 32, 9 or 17 bytes. The byte behind
 *                those is read and written back unchanged.
 * mainDataBegin  main_data_begin, in bytes
 * privateBits    5, 3, 1 or 2 bits
 * pSrcScfsi      MPEG-1: 4 values per channel; MPEG-2: must not be null, is not looked at
 * pFrameHeader   id, layer and mode are looked at
 *
 * A record with winSwitch 1 and blockType 0 cannot be told to a decoder: writing ends behind that record's
 * winSwitch, with moxStatusOk, and *ppBitStream is behind the last byte that holds a written bit.
 *
 * moxStatusOk
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusMp3FrameHeaderErr  id not 0 or 1, layer not 1, or mode not 0..3; nothing is written
 */
MOXAC_API moxStatus moxsPackSideInfo_MP3(const MoxMp3SideInfo* pSrcSideInfo, uint8_t** ppBitStream,
                                         int32_t mainDataBegin, int32_t privateBits, const int32_t* pSrcScfsi,
                                         const MoxMp3FrameHeader* pFrameHeader);

/* Writes the scale factors of one granule of one channel, the inverse of moxsUnpackScaleFactors_MP3_1u8s.
 * ISO/IEC 11172-3, 2.4.1.7 and 2.4.2.7; ISO/IEC 13818-3, 2.4.3.2.
 *
 * pSrcScaleFactor  values in the parser's order, without its trailing zeros; the low bits of each magnitude
 *                  are written, so that a negated illegal intensity position becomes the field that it was
 * ppBitStream      the byte that takes the next bit; updated. When the last field ends on a byte boundary,
 *                  the next byte is read and written back unchanged.
 * pBitOffset       bits of that byte already written, 0..7 (not checked); updated
 * pFrameHeader     id 1 is MPEG-1, any other MPEG-2, which also looks at modeExt
 * pSideInfo        the record of this granule and channel. With blockType 2, mixedBlock 0 is short, 1 mixed,
 *                  anything else long. MPEG-2: preFlag is written as sfCompress implies.
 * pScfsi           the four scfsi values of this channel: in a long block of a granule other than 0, MPEG-1
 *                  leaves out the band groups whose value is 1
 * granule          0 is the first; not checked
 * channel          1 is the one that may hold intensity positions (MPEG-2, modeExt bit 0); not checked
 *
 * moxStatusOk
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusMp3SideInfoErr     sfCompress not 0..15 (MPEG-1) or not 0..511 (MPEG-2)
 * moxStatusMp3FrameHeaderErr  MPEG-2: modeExt not 0..3
 * Nothing is written when a check fails.
 */
MOXAC_API moxStatus moxsPackScaleFactors_MP3_8s1u(const int8_t* pSrcScaleFactor, uint8_t** ppBitStream,
                                                  int32_t* pBitOffset, const MoxMp3FrameHeader* pFrameHeader,
                                                  MoxMp3SideInfo* pSideInfo, const int32_t* pScfsi,
                                                  int32_t granule, int32_t channel);

/* Writes the Huffman-coded spectrum of one granule of one channel and fills it up with ones; MPEG-1.
 * ISO/IEC 11172-3, 2.4.1.7, 2.4.2.7 and Table B.7.
 *
 * pSrcIx        576 quantised values
 * ppBitStream   the byte that takes the next bit; updated. No byte behind the last written bit is touched.
 * pBitOffset    bits of that byte already written, 0..7; updated. The byte's other bits become zero.
 * pFrameHeader  id, layer and samplingFreq are looked at
 * pSideInfo     bigVals, winSwitch, blockType, tableSelect, reg0Cnt, reg1Cnt and cnt1TabSel are looked at
 * count1Len     lines of the count1 region, which starts at 2*bigVals; in steps of 4, rounded up
 * hufSize       bits that the Huffman part fills: ones follow the last code up to there. When the codes take
 *               as many or more, nothing follows.
 *
 * Regions as in moxsHuffmanDecode_MP3_1u32s; with winSwitch 1 and a blockType other than 0 region 1 starts
 * at line 36 and region 2 is empty. Table 0 writes nothing, whatever its lines hold. For a pair (x, y): its
 * code, then for x and y in turn the excess over 15 in linbits bits (tables 16-31, magnitudes of 15 and more)
 * and a sign bit if it is not zero, 1 for negative. A quadruple: its code, then the signs of its non-zero
 * values.
 * Any number of threads may call it, on outputs of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer        any pointer, or *ppBitStream, is null
 * moxStatusOutOfRange         *pBitOffset not 0..7
 * moxStatusMp3SideInfoErr     bigVals not 0..288, a region count negative or their sum above 20, cnt1TabSel
 *                             not 0 or 1
 * moxStatusMp3FrameHeaderErr  id not 1, layer not 1, samplingFreq not 0..2
 * moxStatusOutOfRange         count1Len negative, or its region passes line 576
 * moxStatusMp3SideInfoErr     when a region's turn comes: a table number negative, or above 31 (not looked at
 *                             for the empty region 2 of a switched block), table 4 or 14 with a non-zero
 *                             line, a magnitude that the table cannot code, a magnitude above 1 in the count1
 *                             region. Earlier regions are written and the cursor stands behind them.
 */
MOXAC_API moxStatus moxsHuffmanEncode_MP3_32s1u(const int32_t* pSrcIx, uint8_t** ppBitStream,
                                                int32_t* pBitOffset, const MoxMp3FrameHeader* pFrameHeader,
                                                const MoxMp3SideInfo* pSideInfo, int32_t count1Len,
                                                int32_t hufSize);

/* Sets up an encoder's bit reservoir for one bit rate; MPEG-1. ISO/IEC 11172-3, 2.4.2.7 (main_data_begin).
 *
 *   F = 8 * floor(144 * bit rate / sampling rate), the bits of a frame without padding; 0 for the free format
 *   resBits = 0,  maxResBits = min(7680 - min(F, 7680), 4088)
 *
 * 7680 bits are a decoder's input buffer, 4088 = 8 * 511 the farthest that main_data_begin reaches.
 *
 * pReservoir    is filled
 * pFrameHeader  id, bitRateIndex and samplingFreq are looked at
 *
 * moxStatusOk
 * moxStatusNullPointer        pReservoir or pFrameHeader is null
 * moxStatusMp3FrameHeaderErr  id not 1, bitRateIndex not 0..14, samplingFreq not 0..2
 */
MOXAC_API moxStatus moxsBitReservoirInit_MP3(MoxMp3BitReservoir* pReservoir,
                                             const MoxMp3FrameHeader* pFrameHeader);

/* ---- From quantised spectra to samples, and from samples to spectra --------------------------------------
 *
 * The stages are joined by one fixed-point format: spectral lines after requantisation, overlap and sub-band
 * samples are Q26 integers, 2^26 standing for full scale (a 16-bit sample of 32768). 32 times full scale
 * fits; what is larger saturates (to -2^31 or 2^31 - 128), nothing wraps. docs/fixed_point.md has the reasons
 * and the error budget.
 *
 * Arithmetic inside is single-precision float with the default rounding (to nearest), in a fixed order: the
 * same integers in give the same integers out at every alignment. None of these operations reads or writes
 * past the arrays given, and any number of threads may call them on data of their own. */

/* Requantises one granule of all channels, undoes M/S and intensity stereo, and brings the lines of short
 * blocks into the order in which they are transformed.
 * ISO/IEC 11172-3, 2.4.3.4.7 to 2.4.3.4.9; ISO/IEC 13818-3, 2.4.3.2 for MPEG-2 intensity.
 *
 *   xr = sign(is) |is|^(4/3) 2^((globGain - 210 - 8 subBlockGain[window]) / 4) 2^(-m (sf + preFlag pretab))
 *
 * with m = 1/2 (sfScale 0) or 1, subBlockGain for short windows only, pretab for long bands only. Then
 *
 *   M/S:                              L = (M + S) / sqrt 2,  R = (M - S) / sqrt 2
 *   intensity, MPEG-1, position p:    L = X r / (1 + r),  R = X / (1 + r),  r = tan(p pi / 12);  p = 6: L = X, R = 0
 *   MPEG-2, p even:                   L = X,  R = X i^(p/2);   p odd:  L = X i^((p+1)/2),  R = X
 *
 * with i = 2^(-1/4), or 2^(-1/2) where the low bit of the right channel's sfCompress is set.
 *
 * pSrcDstIsXr    576 values per channel, channel 0 first: quantised lines as the Huffman decoder leaves them;
 *                replaced by lines in Q26. A short block's lines, coded band by band and window by window,
 *                are replaced in the order of 2.4.3.4.8: line k of window w of the band that starts at s (in
 *                lines of one window) stands at 3 (s + k) + w. Lines at and above the bound count as zero,
 *                whatever they hold, and are written as zero.
 * pNonZeroBound  one per channel, 0..576: index of the last non-zero line plus one; updated for the result
 * pScaleFactor   39 values per channel as moxsUnpackScaleFactors_MP3_1u8s stores them. A negative value is an
 *                illegal intensity position; as a scale factor it counts by its magnitude.
 * pSideInfo      one record per channel, those of this granule; globGain, sfCompress (MPEG-2 intensity: its
 *                low bit, of the right channel), winSwitch, blockType, mixedBlock, subBlockGain, preFlag and
 *                sfScale are looked at. Without winSwitch the block is long.
 * pFrameHeader   mode 3 means one channel, else two. modeExt counts in mode 1 only: bit 1 (value 2) M/S,
 *                bit 0 (value 1) intensity.
 * pSfbTableLong  the Sfb form's band starts, 6 rows of 23 (row id*3 + samplingFreq: MPEG-2 at 22.05, 24,
 *                16 kHz, MPEG-1 at 44.1, 48, 32 kHz), each ascending from 0 to 576
 * pSfbTableShort the same for short blocks, in lines of one window: 6 rows of 14, from 0 to 192. The row in
 *                use must be as described, and for mixed blocks long start 8 (MPEG-2: 6) three times short
 *                start 3; it is not checked. The first form uses the standards' tables.
 * pBuffer        576 values of scratch; contents afterwards undefined
 *
 * A mixed block (blockType 2, mixedBlock 1) has 8 (MPEG-2: 6) long bands, then short bands from 3 on.
 * Intensity applies to the bands of the right channel above its last non-zero line; with short blocks above
 * the last one of each window, and to the long bands of a mixed block only when all short ones are zero. The
 * last band takes the position of the band below. Positions above 6 (MPEG-1) or negative (MPEG-2) are
 * illegal; such bands, like those below, are M/S when the frame is, else left as sent. When the two channels'
 * blocks differ, lines are paired in coded order and the right channel's bands decide.
 *
 * moxStatusOk
 * moxStatusNullPointer        some pointer is null
 * moxStatusMp3FrameHeaderErr  id not 0 or 1, layer not 1, samplingFreq not 0..2, mode or modeExt not 0..3
 * moxStatusOutOfRange         a bound not 0..576
 * moxStatusMp3SideInfoErr     globGain not 0..255, winSwitch, preFlag or sfScale not 0 or 1; with winSwitch
 *                             1: blockType not 0..3, mixedBlock not 0 or 1, a subBlockGain not 0..7
 * moxStatusBadData            a magnitude below the bound is above 8206
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsReQuantize_MP3_32s_I(int32_t* pSrcDstIsXr, int32_t* pNonZeroBound,
                                             const int8_t* pScaleFactor, const MoxMp3SideInfo* pSideInfo,
                                             const MoxMp3FrameHeader* pFrameHeader, int32_t* pBuffer);
MOXAC_API moxStatus moxsReQuantizeSfb_MP3_32s_I(int32_t* pSrcDstIsXr, int32_t* pNonZeroBound,
                                                const int8_t* pScaleFactor, const MoxMp3SideInfo* pSideInfo,
                                                const MoxMp3FrameHeader* pFrameHeader,
                                                const int16_t* pSfbTableLong, const int16_t* pSfbTableShort,
                                                int32_t* pBuffer);

/* The inverse hybrid of one granule of one channel: alias reduction, inverse MDCT, window, overlap-add and
 * frequency inversion. ISO/IEC 11172-3, 2.4.3.4.10.
 *
 *   x_i = sum over k < n/2 of X_k cos(pi (2i + 1 + n/2)(2k + 1) / (2n)),  i = 0..n-1, n = 36 or 12
 *
 * pSrcXr           576 lines in Q26, in the order that moxsReQuantize_MP3_32s_I gives. Lines at and above the
 *                  bound count as zero and are not read.
 * pDstXs           18 time slots of 32 sub-band samples, [slot][sub-band], Q26: each slot is one input of the
 *                  synthesis bank. Must not overlap the other arrays.
 * pSrcDstOverlap   576 values, zero before the first granule: [slot][sub-band], what this granule adds to the
 *                  next, Q26
 * nonZeroBound     0..576; the work grows with it
 * pPrevNumOfImdct  how many sub-bands, from 0 up, may have a non-zero overlap; 0 before the first granule,
 *                  updated. The overlap of sub-bands above it must be zero.
 * blockType        0 normal, 1 start, 2 short (three transforms of n = 12, no alias reduction), 3 stop
 * mixedBlock       1: the lowest two sub-bands are transformed with the normal window, and in a short block
 *                  alias reduction takes place between these two. The start block before a mixed one and the
 *                  stop block behind it need 1 as well: the overlap of these sub-bands then meets normal windows
 *                  on both sides. With 0 they come back through both hybrids 16 dB clean, with 1 more than 120.
 * pWindow          the Window form's windows, four of 36 values by block type: normal, start, short (12
 *                  values, 24 unused), stop. The first form uses those of 2.4.3.4.10.3.
 *
 * moxStatusOk
 * moxStatusNullPointer  some pointer is null
 * moxStatusOutOfRange   nonZeroBound not 0..576, *pPrevNumOfImdct not 0..32, blockType not 0..3, mixedBlock
 *                       not 0 or 1
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsMDCTInv_MP3_32s(const int32_t* pSrcXr, int32_t* pDstXs, int32_t* pSrcDstOverlap,
                                        int32_t nonZeroBound, int32_t* pPrevNumOfImdct, int32_t blockType,
                                        int32_t mixedBlock);
MOXAC_API moxStatus moxsMDCTInvWindow_MP3_32s(const int32_t* pSrcXr, int32_t* pDstXs, int32_t* pSrcDstOverlap,
                                              int32_t nonZeroBound, int32_t* pPrevNumOfImdct,
                                              int32_t blockType, int32_t mixedBlock, const float* pWindow);

/* Polyphase synthesis of one time slot: 32 sub-band samples become 32 samples. ISO/IEC 11172-3, 2.4.3.2.2.
 *
 *   v_i = sum over k < 32 of S_k cos(pi (16 + i)(2k + 1) / 64),  i = 0..63, of this slot (age 0) and of 15 before it
 *   out_j = sum over ages a < 16 of D[32 a + j] v_(j + 32 (a mod 2)) of age a,  D the window of Table B.3
 *
 * pSrcXs        32 sub-band samples, Q26, lowest band first
 * pDstAudioOut  32 samples, rounded to nearest and saturated, at 0, stride, ... 31*stride; what lies between
 *               is not touched
 * pVBuffer      512 words of history, zero before the first slot: the bit patterns of floats, in an order of
 *               the library's own. A copy of buffer and position continues where the original stood.
 * pVPosition    the next slot's place in the history, 0..15; 0 before the first slot, updated
 * stride        distance of samples: the number of channels for interleaved output, at least 1
 *
 * moxStatusOk
 * moxStatusNullPointer  some pointer is null
 * moxStatusOutOfRange   *pVPosition not 0..15
 * moxStatusBadSize      stride below 1
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsSynthPQMF_MP3_32s16s(const int32_t* pSrcXs, int16_t* pDstAudioOut, int32_t* pVBuffer,
                                             int32_t* pVPosition, int32_t stride);

/* The float polyphase banks; ISO/IEC 11172-3, 2.4.3.2.2 (synthesis) and Annex C (analysis). Each keeps the
 * 512 values that its window spans in a state of its own type. */
typedef struct MoxMp3SynthesisState MoxMp3SynthesisState;
typedef struct MoxMp3AnalysisState MoxMp3AnalysisState;

/* Bytes of a state (*pStateSize): 2107 for either bank, one implementation under two names.
 *
 * moxStatusOk
 * moxStatusNullPointer */
MOXAC_API moxStatus moxsAnalysisFilterGetSize_PQMF_MP3_32f(int32_t* pStateSize);
MOXAC_API moxStatus moxsSynthesisFilterGetSize_PQMF_MP3_32f(int32_t* pStateSize);

/* Init makes a state with silent history in the caller's memory at pState: 2107 bytes at any alignment, passed to
 * the other operations as the same pointer and not to be moved. InitAlloc makes one in memory from moxMalloc.
 * Free releases what InitAlloc made and leaves the caller's memory alone; the state keeps its identifier.
 *
 * moxStatusOk
 * moxStatusNullPointer      the pointer is null
 * moxStatusContextMismatch  Free: not a state of this bank
 * moxStatusOutOfMemory      InitAlloc: no memory; *ppState is null then */
MOXAC_API moxStatus moxsSynthesisFilterInit_PQMF_MP3_32f(MoxMp3SynthesisState* pState);
MOXAC_API moxStatus moxsSynthesisFilterInitAlloc_PQMF_MP3_32f(MoxMp3SynthesisState** ppState);
MOXAC_API moxStatus moxsSynthesisFilterFree_PQMF_MP3_32f(MoxMp3SynthesisState* pState);
MOXAC_API moxStatus moxsAnalysisFilterInit_PQMF_MP3_32f(MoxMp3AnalysisState* pState);
MOXAC_API moxStatus moxsAnalysisFilterInitAlloc_PQMF_MP3_32f(MoxMp3AnalysisState** ppState);
MOXAC_API moxStatus moxsAnalysisFilterFree_PQMF_MP3_32f(MoxMp3AnalysisState* pState);

/* A slot of a float bank. Synthesis: 32 sub-band samples, lowest band first, become 32 samples, earliest first, in
 * any unit; gain 1. Analysis the other way round. Synthesis after analysis gives the input back 481 samples later, up
 * to what the standard's window leaves: a gain that wavers by 1e-4 over frequency, and aliases 96 dB down.
 *
 * pSrc, pDst  32 values each, any alignment; may be the same array
 * pState      the history, updated; one call at a time
 *
 * moxStatusOk
 * moxStatusNullPointer      some pointer is null
 * moxStatusContextMismatch  not a state of this bank
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsSynthesisFilter_PQMF_MP3_32f(const float* pSrc, float* pDst,
                                                     MoxMp3SynthesisState* pState);
MOXAC_API moxStatus moxsAnalysisFilter_PQMF_MP3_32f(const float* pSrc, float* pDst,
                                                    MoxMp3AnalysisState* pState);

/* Polyphase analysis of one time slot, the partner of moxsSynthPQMF_MP3_32s16s. ISO/IEC 11172-3, Annex C.
 *
 *   S_k = sum over i < 64 of cos(pi (2k + 1)(i - 16) / 64) sum over a < 8 of C[64 a + i] x_(64 a + i)
 *
 * with x_0 the newest sample, x_511 the oldest, and C the window of Table C.1.
 *
 * pSrcAudioIn  32 samples, earliest first, at 0, stride, ... 31*stride
 * pDstXs       32 sub-band samples, Q26, lowest band first
 * pXBuffer     512 words of history, zero before the first slot: the bit patterns of floats, in an order of
 *              the library's own
 * pXPosition   the next slot's place in the history, 0..15; 0 before the first slot, updated
 * stride       distance of samples, at least 1
 *
 * moxStatusOk
 * moxStatusNullPointer  some pointer is null
 * moxStatusOutOfRange   *pXPosition not 0..15
 * moxStatusBadSize      stride below 1
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsAnalysisPQMF_MP3_16s32s(const int16_t* pSrcAudioIn, int32_t* pDstXs,
                                                int32_t* pXBuffer, int32_t* pXPosition, int32_t stride);

/* The forward hybrid of one granule of one channel: frequency inversion, windows, MDCT and alias butterflies.
 * Inverse after forward gives the sub-band samples back one granule later. ISO/IEC 11172-3, Annex C.
 *
 *   X_k = c sum over i < n of w_i z_i cos(pi (2i + 1 + n/2)(2k + 1) / (2n))
 *
 * with n = 36 and c = 1/9, or in short blocks n = 12 and c = 1/3.
 *
 * pSrcXs          18 time slots of 32 sub-band samples, [slot][sub-band], Q26
 * pDstXr          576 lines, Q26. Long blocks and the long bands of mixed ones ascend in frequency; short
 *                 bands are in coded order, as Huffman coding takes them: band by band, window by window.
 * pSrcDstOverlap  576 values, zero before the first granule: the granule before, as it was given; updated
 * blockType, mixedBlock  as for moxsMDCTInv_MP3_32s, mixedBlock 1 around a mixed block included
 * pFrameHeader    id and samplingFreq tell the bands of short blocks
 *
 * moxStatusOk
 * moxStatusNullPointer        some pointer is null
 * moxStatusOutOfRange         blockType not 0..3 or mixedBlock not 0 or 1
 * moxStatusMp3FrameHeaderErr  id not 0 or 1 or samplingFreq not 0..2
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsMDCTFwd_MP3_32s(const int32_t* pSrcXs, int32_t* pDstXr, int32_t* pSrcDstOverlap,
                                        int32_t blockType, int32_t mixedBlock,
                                        const MoxMp3FrameHeader* pFrameHeader);

/* ---- Encoding: what is heard, which stereo, how fine -----------------------------------------------------
 *
 * An MPEG-1 encoder feeds moxsPsychoacousticModelTwo_MP3_16s one granule ahead of moxsAnalysisPQMF_MP3_16s32s and
 * moxsMDCTFwd_MP3_32s, whose block type the model gives; then, a frame at a time, moxsJointStereoEncode_MP3_32s_I
 * and moxsQuantize_MP3_32s_I; then the packers and moxsHuffmanEncode_MP3_32s1u write what these decided. None of the
 * three reads or writes past the arrays given. */

/* What the three operations let a caller choose. Set it from one of the two initialisers below, then change what is
 * to be changed. dB are within -200..200, factors 0..10^9, shares 0..1, powers 0..4. */
typedef struct MoxMp3EncoderParameters {
  /* The model. Distances are dB from a masker's spread energy down to its threshold. */
  float noiseDistance, toneDistance;
  float leastDistance[25]; /* at 0, 1 .. 24 Bark, straight lines between */
  float annexMinimum; /* share of the annex's own least distances, partition by partition, that counts too */
  float leastOwnDistance;      /* from a partition's own energy: what neighbours mask does not empty it */
  int32_t predictedLines;      /* of 513 lines, those whose tonality is found by prediction */
  float otherUnpredictability; /* share: of the lines above */
  float rise, riseOverTwo;     /* factors by which a threshold may grow over one granule and over two */
  float shortDistance;         /* dB added to the annex's distances in short blocks */
  float shortRise;             /* factor from window to window of short blocks */
  float attackLeap;            /* factor by which energy leaps in an attack */
  float quietScale;            /* factor of the threshold in quiet */
  /* Joint stereo */
  float
      sensitiveShare; /* 1: mid and side hold the noise that the more sensitive channel allows; 0: the other's */
  float midSideBonus; /* share, -1..1, of the bits by which mid/side is favoured */
  float midSideNoise; /* dB above the thresholds at which the two codings are compared */
  /* Quantisation */
  float costPower, shortCostPower; /* noise counts by its ratio to the threshold to this power */
  float absoluteShare; /* share of the threshold as such; the rest follows the spectrum's energy */
  float mostDistance, mostShortDistance; /* dB below a run's energy: finer than that nothing is asked for */
  int32_t attempts;                      /* at shaping noise, 1..40 */
  float granuleContrast,
      channelContrast;  /* granules and their channels share bits by their wants to these powers */
  float reservoirAim;   /* share of the reservoir that is kept */
  float reservoirFill;  /* share of the mean that a frame gives up for an empty one */
  float reservoirSpend; /* share of a full one that a frame takes that wants twice the mean */
} MoxMp3EncoderParameters;

#define MOX_MP3_ENCODER_DEFAULTS                                                                           \
  {                                                                                                        \
    6, 15, {15, 15, 14, 14, 13, 12, 11, 10, 9, 8, 8, 7, 7, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6}, 0, 6, 513, \
        0.4f, 2, 16, 0, 4, 8, 1, 0.6f, 0.03f, 0, 1, 0.5f, 0.5f, 40, 20, 20, 0.6f, 0.5f, 0.5f, 0.12f, 0.6f  \
  }
/* What the annexes print, as far as they do. */
#define MOX_MP3_ENCODER_ANNEX \
  { 6, 29, {0}, 1, -200, 206, 0.4f, 2, 16, 0, 2, 8, 1, 1, 0, 0, 1, 1, 0, 120, 120, 20, 1, 1, 0.5f, 0.12f, 1 }

/* What the model says of one granule of one channel: energies and masking thresholds by scale-factor band, in units
 * in which a sine of half a 16-bit step has energy 1 in the spectral line that it falls on. Coding noise of
 * threshold / energy times a band's own energy is not heard. The last of each are those of the lines above the bands
 * that have a scale factor. */
typedef struct MoxMp3PsychoacousticModelTwoAnalysis {
  float energyLong[MOX_MP3_LONG_BANDS];         /* of the 1024-point spectrum */
  float thresholdLong[MOX_MP3_LONG_BANDS];      /* never below the threshold in quiet */
  float energyShort[MOX_MP3_SHORT_BANDS][3];    /* of three 256-point spectra, by band and window */
  float thresholdShort[MOX_MP3_SHORT_BANDS][3]; /* likewise */
  float perceptualEntropy; /* bits of what is audible: half log2(energy / threshold) a line */
  int32_t blockType;       /* MOX_MP3_NORMAL .. MOX_MP3_STOP */
} MoxMp3PsychoacousticModelTwoAnalysis;

/* What the model keeps between granules, of both channels; all zero before the first. A copy continues where the
 * original stood. */
typedef struct MoxMp3PsychoacousticModelTwoState {
  int64_t words[2560];
} MoxMp3PsychoacousticModelTwoState;

/* Psychoacoustic model two for one granule of all channels; MPEG-1. ISO/IEC 11172-3, Annex C.1.5.3 and D.2.4.
 *
 * pSrcAudioIn   576 samples of each channel, interleaved: mode 3 one channel, else two
 * pDstPsyInfo   one record per channel, of the granule BEFORE the one given: its block type depends on whether this
 *               one holds an attack. The first call's records say nothing.
 * pFrameHeader  id, samplingFreq and mode are looked at; the same in every call on a state
 * pParameters   those of the model
 * pState        updated; one call at a time
 *
 * The spectra are centred like the windows of moxsMDCTFwd_MP3_32s when that is fed, granule by granule, with the
 * sub-bands of the same samples. Thresholds of long blocks: unpredictability gives tonality, tonality the distance
 * (from noiseDistance to toneDistance, but leastDistance at least) of the threshold below the spread energy; how much
 * a threshold may grow from granule to granule (but after short blocks) and from window to window is limited.
 *
 * A granule is short where the energy of 64 samples, differentiated twice, leaps to more than attackLeap times what
 * the 13 ms before it held: the annex's own sign, an entropy above 1800, takes rich steady sounds for attacks. In
 * mode 1 (joint stereo) an attack counts in both channels. A start block precedes, a stop block follows.
 *
 * moxStatusOk
 * moxStatusNullPointer        some pointer is null
 * moxStatusMp3FrameHeaderErr  id not 1, samplingFreq not 0..2 or mode not 0..3
 * moxStatusOutOfRange         a parameter outside its range
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsPsychoacousticModelTwo_MP3_16s(const int16_t* pSrcAudioIn,
                                                       MoxMp3PsychoacousticModelTwoAnalysis* pDstPsyInfo,
                                                       const MoxMp3FrameHeader* pFrameHeader,
                                                       const MoxMp3EncoderParameters* pParameters,
                                                       MoxMp3PsychoacousticModelTwoState* pState);

/* Chooses between left/right and mid/side for a frame, and carries the choice out; MPEG-1.
 * ISO/IEC 11172-3, 2.4.3.4.9.
 *
 *   M = (L + R) / sqrt 2,  S = (L - R) / sqrt 2
 *
 * pSrcDstXr       576 lines in Q26 for granule 0 left, granule 0 right, granule 1 left, granule 1 right, as
 *                 moxsMDCTFwd_MP3_32s gives them; M replaces left, S right
 * pSrcDstPsyInfo  the four records in the same order. With mid/side the energies and thresholds of the block type in
 *                 use become those of M and S, their spectra's energies in the model's units. Half of the noise of
 *                 each reaches either channel: together they may hold twice what the channels allow in the band (by
 *                 sensitiveShare more the one's or the other's), each the more the less the other has to hold.
 * pFrameHeader    id, samplingFreq and mode are looked at; modeExt becomes 2 (mid/side) or 0
 * pParameters     those of joint stereo; absoluteShare and the distances of quantisation
 *
 * Both codings are quantised, midSideNoise above the thresholds, and their Huffman codes and scale factors counted:
 * the frame becomes mid/side when that takes fewer bits, and the channels' block types agree in both granules.
 * Intensity stereo is not used. Takes about 60 KiB of stack.
 * Any number of threads may call it, on data of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer        some pointer is null
 * moxStatusMp3FrameHeaderErr  id not 1, samplingFreq not 0..2 or mode not 1
 * moxStatusOutOfRange         a blockType not 0..3, or a parameter outside its range
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsJointStereoEncode_MP3_32s_I(int32_t* pSrcDstXr,
                                                    MoxMp3PsychoacousticModelTwoAnalysis* pSrcDstPsyInfo,
                                                    MoxMp3FrameHeader* pFrameHeader,
                                                    const MoxMp3EncoderParameters* pParameters);

/* Quantises a frame: chooses steps, scale factors, regions and Huffman tables; MPEG-1.
 * ISO/IEC 11172-3, Annex C.1.5.4 and 2.4.2.7.
 *
 *   ix = sign(xr) floor((|xr| / 2^26 / step)^(3/4) + 0.4054)
 *
 * with the step that decoders derive: see moxsReQuantize_MP3_32s_I. Arrays are granule-major, then by channel; there
 * are C = 1 channels in mode 3, else 2.
 *
 * pSrcDstXrIx      2C spectra of 576 lines, Q26, short blocks in coded order; replaced by the quantised values
 * pDstScaleFactor  2C times 39 values, as moxsPackScaleFactors_MP3_8s1u takes them
 * pDstScfsi        4C values: 1 where granule 1 repeats granule 0's scale factors of a band group
 * pDstCount1Len    2C values: lines of the count1 region
 * pDstSideInfo     2C records. part23Len is exactly what scale factors and Huffman codes take, at most 4095.
 * pReservoir       resBits: on entry the bits held, on return those held after this frame, a multiple of 8. What
 *                  this frame takes is at most resBits + meanBits; of what it leaves, what would pass maxResBits (or a
 *                  part of a byte) is lost: stuffing behind the frame's main data.
 * meanBits         bits of main data that this frame brings: frame less header, CRC word and side information
 * constantRate     1: spends about meanBits on a frame, more of a full reservoir when the frame needs more. 0: takes
 *                  what noise at the thresholds costs, up to resBits + meanBits, and shares it among granules in the
 *                  same way; a caller with another quality in mind scales the thresholds.
 * pPsyInfo         2C records; energies and thresholds of the block type in use, and the type, are looked at. Noise
 *                  may be threshold / energy times what the band holds of the spectrum (by absoluteShare: the threshold
 *                  itself), in short blocks no more than twice the threshold itself, but always mostDistance (in short
 *                  blocks mostShortDistance) below the spectrum. Any values will do: the ratio is kept between 10^-12
 *                  and 10^9, and what is no number, or infinite where that says nothing, asks for nothing. Blocks are
 *                  never mixed.
 * pFrameHeader     id, layer, samplingFreq and mode are looked at
 * pParameters      those of quantisation
 *
 * Noise is shaped by the thresholds first: a run of lines x with noise n needs the step (n / (0.148 sum of
 * sqrt x))^(2/3). Then the inner loop finds the finest global gain whose codes fit, by bisection, and the outer loop
 * amplifies the runs with the loudest noise (those within 1.5 dB of the worst) until every run is amplified, a scale
 * factor has no room, or some attempts brought no gain; the attempt with the least sum of noise-to-threshold ratios,
 * each to the power costPower, counts. Lines above the bands have the global step: where their noise stands out, a
 * shape that gives them theirs is tried too. Tables and regions are the cheapest of all that the side information can
 * name. Takes about 50 KiB of stack. Any number of threads may call it, on data of their own.
 *
 * moxStatusOk
 * moxStatusNullPointer        some pointer is null
 * moxStatusMp3FrameHeaderErr  id or layer not 1, samplingFreq not 0..2 or mode not 0..3
 * moxStatusOutOfRange         constantRate not 0 or 1, a blockType not 0..3, a parameter outside its range, maxResBits
 *                             not 0..4088, resBits not 0..maxResBits
 * moxStatusBadSize            meanBits not 0..16380
 * Nothing is written when a check fails. */
MOXAC_API moxStatus moxsQuantize_MP3_32s_I(int32_t* pSrcDstXrIx, int8_t* pDstScaleFactor, int32_t* pDstScfsi,
                                           int32_t* pDstCount1Len, MoxMp3SideInfo* pDstSideInfo,
                                           MoxMp3BitReservoir* pReservoir, int32_t meanBits,
                                           int32_t constantRate,
                                           const MoxMp3PsychoacousticModelTwoAnalysis* pPsyInfo,
                                           const MoxMp3FrameHeader* pFrameHeader,
                                           const MoxMp3EncoderParameters* pParameters);

MOXAC_EXTERN_C_END

#endif
