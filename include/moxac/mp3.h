/* moxac, MPEG-1 and MPEG-2 Layer III: parsing, decoding and encoding stages.
 *
 * A decoder calls, frame by frame: moxsUnpackFrameHeader_MP3, moxsUnpackSideInfo_MP3, then, once the main data
 * are assembled from main_data_begin, for each granule and channel moxsUnpackScaleFactors_MP3_1u8s and
 * a moxsHuffmanDecode form. Frame synchronisation, frame lengths, the bit reservoir and CRC checks are the
 * caller's. MPEG-1 is ISO/IEC 11172-3, MPEG-2 (lower sampling frequencies) ISO/IEC 13818-3; the unofficial
 * extension to still lower rates is not recognised: its header parses as MPEG-2.
 */
#ifndef MOXAC_MP3_H
#define MOXAC_MP3_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

/* The 4-byte header of a frame and its CRC word; ISO/IEC 11172-3, 2.4.1.3. The syncword is not kept. */
typedef struct MoxMp3FrameHeader {
  int32_t id;            /* 1 = MPEG-1, 0 = MPEG-2 lower sampling frequencies */
  int32_t layer;         /* as coded: 1 = Layer III, 2 = Layer II, 3 = Layer I */
  int32_t protectionBit; /* 0 = a CRC word follows the header */
  int32_t bitRateIndex;  /* 0..15 */
  int32_t samplingFreq;  /* 0..3; with id 1: 44.1, 48, 32 kHz; with id 0 half of that; 3 reserved */
  int32_t paddingBit;
  int32_t privateBit;
  int32_t mode;         /* 0 stereo, 1 joint stereo, 2 dual channel, 3 single channel */
  int32_t modeExt;      /* bit 0 (value 1) = intensity stereo, bit 1 (value 2) = M/S stereo */
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
  int32_t blockType;       /* 0 normal, 1 start, 2 short, 3 stop; 0 when winSwitch is 0 */
  int32_t mixedBlock;      /* mixed_block_flag; 0 when winSwitch is 0 */
  int32_t tableSelect[3];  /* Huffman tables of regions 0, 1, 2; with winSwitch 1 only two are coded */
  int32_t subBlockGain[3]; /* subblock_gain of short windows 0, 1, 2; coded only with winSwitch 1 */
  int32_t reg0Cnt;         /* region0_count, bands of region 0 less one */
  int32_t reg1Cnt;         /* region1_count, bands of region 1 less one */
  int32_t preFlag;         /* preflag; MPEG-2: set by the scale-factor parser */
  int32_t sfScale;         /* scalefac_scale */
  int32_t cnt1TabSel;      /* count1table_select: 0 = quadruple table A, 1 = table B */
} MoxMp3SideInfo;

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

MOXAC_EXTERN_C_END

#endif
