/* moxac, AAC: headers, syntax elements, noiseless decoding, spectral tools, prediction, MDCT. */
#ifndef MOXAC_AAC_H
#define MOXAC_AAC_H

#include "moxac/types.h"

MOXAC_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------ records
 *
 * Flat records of int32_t fields, filled by the parsers and consulted by the caller's decoder. A value read
 * from a stream is stored as the unsigned number of its width; a flag is 0 or 1. The parsers never allocate
 * and keep nothing between calls; records and buffers belong to the caller.
 */

/* One ADTS frame header, 64 bytes. ISO/IEC 13818-7, 6.2.1 and 6.2.2. */
typedef struct MoxAacADTSFrameHeader {
  int32_t id;                /* 1 bit: 0 MPEG-4, 1 MPEG-2 */
  int32_t layer;             /* 2 bits */
  int32_t protectionAbsent;  /* 1 bit: 1 = no CRC follows */
  int32_t profile;           /* 2 bits: object type minus one */
  int32_t samplingRateIndex; /* 4 bits */
  int32_t privateBit;        /* 1 bit */
  int32_t channelConfig;     /* 3 bits */
  int32_t originalCopy;      /* 1 bit */
  int32_t home;              /* 1 bit */
  int32_t reserved;          /* never written */
  int32_t copyrightIdBit;    /* 1 bit */
  int32_t copyrightIdStart;  /* 1 bit */
  int32_t frameLen;          /* 13 bits: bytes of the frame, this header included */
  int32_t bufferFullness;    /* 11 bits */
  int32_t numRawDataBlocks;  /* 1..4: the coded value plus 1 */
  int32_t crcCheck;          /* 16 bits, read only when protectionAbsent is 0; else not written */
} MoxAacADTSFrameHeader;

/* The ADIF header, 104 bytes; its program configuration elements go to an array beside it. */
typedef struct MoxAacADIFHeader {
  int32_t adifId;             /* the four identifier bytes as a big-endian word, "ADIF" = 0x41444946 */
  int32_t copyrightIdPresent; /* 1 bit */
  int32_t originalCopy;       /* 1 bit */
  int32_t home;               /* 1 bit */
  int32_t bitstreamType;      /* 1 bit: 0 = constant rate, a buffer fullness precedes each element */
  int32_t bitRate;            /* 23 bits */
  int32_t numPrgCfgElt;       /* 1..16: the coded value plus 1 */
  int32_t bufferFullness[16]; /* 20 bits each, written only when bitstreamType is 0 */
  uint8_t copyrightId[9];     /* first byte first, written only when copyrightIdPresent is 1 */
} MoxAacADIFHeader;

/* One program_config_element, 884 bytes. Entries of the arrays beyond the coded counts are not written. */
typedef struct MoxAacPrgCfgElt {
  int32_t elementInstanceTag;      /* 4 bits */
  int32_t objectType;              /* 2 bits */
  int32_t samplingRateIndex;       /* 4 bits */
  int32_t numFrontChanElt;         /* 4 bits */
  int32_t numSideChanElt;          /* 4 bits */
  int32_t numBackChanElt;          /* 4 bits */
  int32_t numLfeChanElt;           /* 2 bits */
  int32_t numAssocDataElt;         /* 3 bits */
  int32_t numValidCcElt;           /* 4 bits */
  int32_t monoMixdownPresent;      /* 1 bit */
  int32_t monoMixdownEltNum;       /* 4 bits, 0 when absent */
  int32_t stereoMixdownPresent;    /* 1 bit */
  int32_t stereoMixdownEltNum;     /* 4 bits, 0 when absent */
  int32_t matrixMixdownIdxPresent; /* 1 bit */
  int32_t matrixMixdownIdx;        /* 2 bits, 0 when absent */
  int32_t pseudoSurroundEnable;    /* 1 bit, 0 when no matrix mixdown index is present */
  int32_t frontEltIsCpe[16];       /* 1 bit each */
  int32_t frontEltTagSel[16];      /* 4 bits each, as the other tags */
  int32_t sideEltIsCpe[16];
  int32_t sideEltTagSel[16];
  int32_t backEltIsCpe[16];
  int32_t backEltTagSel[16];
  int32_t lfeEltTagSel[4];
  int32_t assocDataEltTagSel[8];
  int32_t ccEltIsIndSw[16];
  int32_t validCcEltTagSel[16];
  int32_t commentFieldBytes;     /* 8 bits */
  uint8_t commentFieldData[256]; /* commentFieldBytes bytes, not terminated */
} MoxAacPrgCfgElt;

/* Individual channel stream information, 112 bytes. ISO/IEC 14496-3, ics_info(). */
typedef struct MoxAacIcsInfo {
  int32_t icsReservedBit;         /* 1 bit */
  int32_t windowSequence;         /* 2 bits: 0 only long, 1 long start, 2 eight short, 3 long stop */
  int32_t windowShape;            /* 1 bit: 0 sine, 1 Kaiser-Bessel derived */
  int32_t maxSfb;                 /* 4 bits for eight short, else 6 */
  int32_t scaleFactorGrouping;    /* 7 bits; written for eight short only */
  int32_t predictorDataPresent;   /* 1 bit; 0 for eight short */
  int32_t predictorReset;         /* 1 bit; 0 unless read */
  int32_t predictorResetGroupNum; /* 5 bits; written only when predictorReset is 1 */
  uint8_t predictionUsed[41];     /* per scale-factor band */
  int32_t numWindowGroups;        /* 1..8 */
  int32_t windowGroupLen[8];      /* windows of each group */
} MoxAacIcsInfo;

/* Channel pair element, 488 bytes. */
typedef struct MoxAacChanPairElt {
  int32_t commonWindow;  /* 1 bit */
  int32_t msMaskPresent; /* 2 bits: 0 none, 1 by band, 2 every band */
  uint8_t msUsed[8][60]; /* row = window group, column = band; written only when msMaskPresent is 1 */
} MoxAacChanPairElt;

/* Temporal-noise-shaping side data of one channel, 64 words. Filters are numbered over all windows of the
 * frame in order. */
typedef struct MoxAacTnsInfo {
  int32_t tnsDataPresent;
  int32_t nFilt[8];     /* filters, per window */
  int32_t coefRes[8];   /* 3 or 4 bits, per window that has filters */
  int32_t length[8];    /* bands, per filter */
  int32_t order[8];     /* per filter */
  int32_t direction[8]; /* per filter of nonzero order, in filter order: 0 upward, 1 downward */
  int32_t reserved[8];  /* never written by the plain parsers */
  int8_t coef[60];      /* the coded coefficients of all filters one after another, sign-extended */
} MoxAacTnsInfo;

/* Long-term-prediction side data of one channel, 88 words. */
typedef struct MoxAacLtpInfo {
  int32_t ltpDataPresent;
  int32_t ltpLag;       /* 11 bits */
  int32_t ltpCoef;      /* gain, Q14: 9352 .. 22438 */
  int32_t longUsedAll;  /* long windows: equal to ltpDataPresent */
  int32_t longUsed[40]; /* per band */
  int32_t reserved[20]; /* never written by the plain parsers */
  int32_t shortUsed[8]; /* per window, as the next two */
  int32_t shortLagPresent[8];
  int32_t shortLag[8];
} MoxAacLtpInfo;

/* Header of a layered stream's base layer, 1280 bytes. The MPEG-4 channel-pair and noiseless operations take
 * it as the holder of the pair's long-term-prediction data. */
typedef struct MoxAacMainHeader {
  int32_t windowSequence;
  int32_t windowShape;
  int32_t maxSfb;
  int32_t scaleFactorGrouping;
  int32_t numWindowGroups;
  int32_t windowGroupLen[8];
  int32_t msMaskPresent;
  uint8_t* pMsUsed; /* the caller's 480 bytes, [8][60] as msUsed of MoxAacChanPairElt */
  MoxAacTnsInfo tns[2];
  MoxAacLtpInfo ltp[2];
} MoxAacMainHeader;

/* Header of an enhancement layer, 936 bytes. */
typedef struct MoxAacExtensionHeader {
  int32_t msMaskPresent;
  int32_t maxSfb;
  uint8_t* pMsUsed; /* the caller's 480 bytes, [8][60] */
  MoxAacTnsInfo tns[2];
  int32_t diffControl[2][51];
} MoxAacExtensionHeader;

/* One channel's stream as the noiseless decoder takes and leaves it, 488 bytes. */
typedef struct MoxAacChanStream {
  int32_t reserved0; /* not used by the operations of this library, as the next */
  int32_t reserved1;
  int32_t samplingRateIndex; /* in: 0..11 */
  int32_t predSfbMax;        /* in: prediction bands; 0 for the LC operation */
  int32_t reserved2;         /* not used */
  int32_t windowLen;         /* out: 1024 long, 128 short */
  int32_t numWindows;        /* out: 1 or 8 */
  int32_t numSwb;            /* out: scale-factor bands of the window kind at this rate */
  int32_t globalGain;        /* out: 8 bits */
  int32_t pulseDataPresent;  /* out, as the rest */
  int32_t tnsDataPresent;
  int32_t gainControlDataPresent;
  MoxAacIcsInfo* pIcsInfo; /* in: the channel's record; of the pair when the window is common */
  uint8_t sectCb[120];     /* code book of each section, the sections of all groups in order */
  uint8_t sectEnd[120];    /* the band at which each section ends, in the same order */
  int32_t numSec[8];       /* sections, per window group */
  int32_t nFilt[8];        /* the TNS fields, as in MoxAacTnsInfo */
  int32_t coefRes[8];
  int32_t length[8];
  int32_t order[8];
  int32_t direction[8];
} MoxAacChanStream;

/* ------------------------------------------------------------------------------------------ headers
 *
 * The parsers below read, they do not judge: syncwords, identifiers, reserved values and CRCs are the
 * caller's to check. Each loads up to three bytes past the last byte it consumes bits from, so buffers need
 * three readable bytes behind them. Calls on different cursors and records may run at once.
 */

/* Reads one ADTS frame header. ISO/IEC 13818-7, 6.2: syncword 12 bits (discarded), then the fields of the
 * record in order, crc_check last.
 *
 * ppBitStream  the header's first byte; moved by 7 bytes, or by 9 with protectionAbsent 0
 * pHeader      filled; reserved is never written, crcCheck only with protectionAbsent 0
 *
 * moxStatusOk
 * moxStatusNullPointer  a pointer or the byte pointer is null; nothing read or written
 */
MOXAC_API moxStatus moxsUnpackADTSFrameHeader_AAC(const uint8_t** ppBitStream,
                                                  MoxAacADTSFrameHeader* pHeader);

/* Reads an ADIF header with all its program configuration elements. ISO/IEC 13818-7, 6.1.
 *
 * ppBitStream   the first byte of "ADIF"; moved to the byte behind the last element
 * pAdifHeader   filled; bufferFullness only with bitstreamType 0, copyrightId only with copyrightIdPresent 1
 * pPrgCfgElt    prgCfgEltMax records, filled one after another
 * prgCfgEltMax  1..16
 *
 * moxStatusOk
 * moxStatusNullPointer     a pointer or the byte pointer is null; nothing read or written
 * moxStatusAacPrgNumError  prgCfgEltMax outside 1..16: nothing read; or the stream holds more elements: the
 *                          fixed fields are written, no element is read, and the byte pointer has moved by
 *                          the whole bytes read (7, or 16 with a copyright identifier)
 */
MOXAC_API moxStatus moxsUnpackADIFHeader_AAC(const uint8_t** ppBitStream, MoxAacADIFHeader* pAdifHeader,
                                             MoxAacPrgCfgElt* pPrgCfgElt, int32_t prgCfgEltMax);

/* Reads one program_config_element, without the element identifier before it. ISO/IEC 14496-3, Table 4.2.
 * The byte alignment before the comment is to the bytes of the buffer, not to the start of the raw data
 * block.
 *
 * ppBitStream, pBitOffset  bit cursor; moved behind the comment (bit offset 0)
 * pPrgCfgElt               filled; array entries beyond the coded counts are not written
 *
 * moxStatusOk
 * moxStatusNullPointer     a pointer or the byte pointer is null; nothing read or written
 * moxStatusBitOffsetError  *pBitOffset outside 0..7; nothing read or written
 */
MOXAC_API moxStatus moxsDecodePrgCfgElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                            MoxAacPrgCfgElt* pPrgCfgElt);

/* ------------------------------------------------------------------------------- syntax elements
 *
 * Every operation here starts at the bit cursor (byte pointer, bit offset 0..7) and moves it past what it
 * read, up to three bytes beyond being loaded. The three-bit element identifier is the caller's to read.
 * A parse that fails midway leaves what it had read in the records and the cursor where it stopped.
 * Common statuses, before any other:
 *
 * moxStatusNullPointer     a pointer or the byte pointer is null; nothing read or written
 * moxStatusBitOffsetError  *pBitOffset outside 0..7; nothing read or written
 */

/* Reads the part of channel_pair_element() that stands before the channels' streams, without the instance
 * tag. ISO/IEC 14496-3, Tables 4.4 to 4.6.
 *
 * common_window; if it is 0 nothing else. Otherwise ics_info(), with Main-profile prediction where predictor
 * data are present, and ms_mask_present with its mask.
 *
 * pIcsInfo      filled under a common window. predictionUsed: min(maxSfb, predSfbMax) flags are read, those
 * up to predSfbMax cleared; group lengths beyond numWindowGroups are not written pChanPairElt  msUsed is
 * written only with msMaskPresent 1, for every group and band below maxSfb predSfbMax    0..41: the bands
 * prediction may use at this sampling rate
 *
 * moxStatusOk
 * moxStatusAacPredSfbError  predSfbMax outside 0..41; nothing read or written
 * moxStatusAacMaxSfbError   a long window's maxSfb above 51
 */
MOXAC_API moxStatus moxsDecodeChanPairElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                              MoxAacIcsInfo* pIcsInfo, MoxAacChanPairElt* pChanPairElt,
                                              int32_t predSfbMax);

/* As moxsDecodeChanPairElt_AAC for MPEG-4 object types: predictor data are Main-profile prediction's when
 * audioObjectType is 1, and otherwise the long-term-prediction data of both channels.
 *
 * pMainHeader      both ltpDataPresent flags are cleared first; where long-term-prediction data are read,
 *                  windowSequence, maxSfb and ltp[0], ltp[1] are written
 * predSfbMax       0..51; with audioObjectType 1 and predictor data present it must lie in 0..41
 * audioObjectType  any; 1 is AAC Main
 *
 * Long windows: ltpLag, ltpCoef, longUsedAll, longUsed for min(maxSfb, 40) bands, the rest cleared.
 *
 * moxStatusOk
 * moxStatusAacMaxSfbError   predSfbMax outside 0..51: nothing read or written; or a long window's maxSfb
 * above 51 moxStatusAacPredSfbError  audioObjectType 1, predictor data present and predSfbMax above 41; found
 * after the reset fields were read
 */
MOXAC_API moxStatus moxsDecodeChanPairElt_MP4_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                  MoxAacIcsInfo* pIcsInfo, MoxAacChanPairElt* pChanPairElt,
                                                  MoxAacMainHeader* pMainHeader, int32_t predSfbMax,
                                                  int32_t audioObjectType);

/* Reads one data_stream_element(). ISO/IEC 14496-3, Table 4.10. Its alignment, where asked for, is to the
 * bytes of the buffer.
 *
 * pTag    element_instance_tag
 * pCount  0..510
 * pData   *pCount bytes; have room for 510
 *
 * moxStatusOk
 */
MOXAC_API moxStatus moxsDecodeDatStrElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pTag,
                                            int32_t* pCount, uint8_t* pData);

/* Reads one fill_element(). ISO/IEC 14496-3, Table 4.11. The payload is copied as bytes and not interpreted.
 *
 * pCount  0..269
 * pData   *pCount bytes; have room for 269
 *
 * moxStatusOk
 */
MOXAC_API moxStatus moxsDecodeFillElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pCount,
                                          uint8_t* pData);

/* Reads the header of a layered stream's base layer: window sequence and shape, maxSfb and grouping, for two
 * channels the M/S mask, then for each channel its TNS and its long-term-prediction data.
 *
 * pMainHeader  pMsUsed points at the caller's 480 bytes (two channels only): with msMaskPresent 1 every
 * group's bands below maxSfb are read into it, with 2 they are set to 1, otherwise to 0. maxSfb of a long
 *              window is not bounded: 61 to 63 bands run from row 0 on into row 1. The tns and ltp records of
 *              the channels are cleared before they are read; long windows write all of windowGroupLen
 * numChannels  1 or 2
 * layerFlag    0, or 1 for a stream this library does not support further
 *
 * Eight short windows: shortUsed per window; the first used window takes ltpLag, a later one the lag of the
 * last used window, minus a 5-bit value plus 16 (in 16-bit arithmetic) when its lag is present. Lags of
 * unused windows stay 0 but for shortLag[0], which is ltpLag.
 *
 * moxStatusOk
 * moxStatusNullPointer       also: two channels and pMsUsed null
 * moxStatusAacChanError      numChannels not 1 or 2; nothing read or written
 * moxStatusAacTnsFlagError   layerFlag not 0 or 1; nothing read or written
 * moxStatusAacTnsOrderError  a TNS order above 7 (short) or 12 (long); its length and order are stored
 * moxStatusAacUnsupported    layerFlag is 1; everything has been read
 */
MOXAC_API moxStatus moxsDecodeMainHeader_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                             MoxAacMainHeader* pMainHeader, int32_t numChannels,
                                             int32_t layerFlag);

/* Reads the header of an enhancement layer: maxSfb, with stereoFlag the M/S mask, with tnsFlag the TNS data
 * of two channels, with diffCtrlFlag and stereoFlag the difference control of two channels.
 *
 * pExtHeader      pMsUsed points at the caller's 480 bytes (stereoFlag only). With msMaskPresent 1 bands
 *                 startSfb .. maxSfb - 1 are read: into row 0 for long windows, always into four rows for
 * eight short. The tns records are not cleared first. diffControl: eight short reads one flag a window and
 * only when startSfb is 0; long windows one flag for each band from startSfb below endSfb and maxSfb whose
 * M/S flag is 0, stored one after another tnsFlag, stereoFlag, diffCtrlFlag   0 or 1 startSfb, endSfb 0..51
 * windowSequence                      0..3, from the base layer
 *
 * moxStatusOk
 * moxStatusNullPointer           also: stereoFlag 1 and pMsUsed null
 * moxStatusAacTnsFlagError       tnsFlag; this and the next four: nothing read or written
 * moxStatusAacStereoFlagError    stereoFlag
 * moxStatusAacDiffCtrlFlagError  diffCtrlFlag
 * moxStatusAacMaxSfbError        startSfb, then endSfb
 * moxStatusAacWinSeqError        windowSequence
 * moxStatusAacMaxSfbError        a long window's maxSfb above 60, once it is read
 * moxStatusAacTnsOrderError      a TNS order above 7 (short) or 12 (long); its length and order are stored
 */
MOXAC_API moxStatus moxsDecodeExtensionHeader_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                  MoxAacExtensionHeader* pExtHeader, int32_t tnsFlag,
                                                  int32_t stereoFlag, int32_t diffCtrlFlag, int32_t startSfb,
                                                  int32_t endSfb, int32_t windowSequence);

MOXAC_EXTERN_C_END

#endif
