/* moxac, AAC: headers, syntax elements, noiseless decoding, spectral tools, prediction, MDCT. */
#ifndef MOXAC_AAC_H
#define MOXAC_AAC_H

#include "types.h"

MOXAC_EXTERN_C_BEGIN

/* ------------------------------------------------------------------------------------------ numbers */

/* Sizes, of what the records and operations below hold. */
enum {
  MOX_AAC_FRAME_LINES = 1024, /* lines and samples of a frame; a long window's length */
  MOX_AAC_SHORT_LINES = 128,  /* lines of one of eight short windows */
  MOX_AAC_MAX_WINDOWS = 8,    /* windows of a frame, and window groups, at most */

  MOX_AAC_SAMPLE_RATES = 12,  /* of samplingRateIndex, 96 kHz down to 8 kHz */
  MOX_AAC_MAX_SFB_LONG = 51,  /* scale-factor bands of a long window, at most */
  MOX_AAC_MAX_SFB_SHORT = 15, /* of a short one */
  MOX_AAC_MAX_SFB_PRED = 41,  /* that Main-profile prediction may use */
  MOX_AAC_MAX_SFB_LTP = 40,   /* that long-term prediction may use */
  MOX_AAC_MS_ROW = 60,        /* bytes of one window group's row in an M/S mask */
  MOX_AAC_MAX_SECTIONS = 120, /* sections of a channel; its bands in all window groups */

  MOX_AAC_MAX_TNS_FILTERS = 8, /* filters of a frame */
  MOX_AAC_MAX_TNS_COEFS = 60,  /* coefficients of all of them, room included */
  MOX_AAC_MAX_TNS_ORDER_LONG = 12,
  MOX_AAC_MAX_TNS_ORDER_SHORT = 7,

  MOX_AAC_MAX_ELEMENTS = 16,     /* front, side, back, coupling channel elements of a program, each */
  MOX_AAC_MAX_LFE_ELEMENTS = 4,  /* low-frequency elements of a program */
  MOX_AAC_MAX_DATA_ELEMENTS = 8, /* associated data elements of a program */
  MOX_AAC_MAX_DATA_BYTES = 510,  /* of one data_stream_element() */
  MOX_AAC_MAX_FILL_BYTES = 269,  /* of one fill_element() */
  MOX_AAC_COMMENT_BYTES = 256,   /* room for a program's comment */
  MOX_AAC_COPYRIGHT_BYTES = 9
};

/* windowSequence. */
enum { MOX_AAC_ONLY_LONG = 0, MOX_AAC_LONG_START = 1, MOX_AAC_EIGHT_SHORT = 2, MOX_AAC_LONG_STOP = 3 };

/* windowShape. */
enum {
  MOX_AAC_SINE = 0,
  MOX_AAC_KAISER_BESSEL = 1 /* Kaiser-Bessel derived */
};

/* Code books of sections. 1 to 11 are Huffman books of the spectrum. */
enum {
  MOX_AAC_BOOK_ZERO = 0,
  MOX_AAC_BOOK_ESCAPE = 11,
  MOX_AAC_BOOK_RESERVED = 12,
  MOX_AAC_BOOK_NOISE = 13,
  MOX_AAC_BOOK_INTENSITY_INVERTED = 14,
  MOX_AAC_BOOK_INTENSITY = 15
};

/* audioObjectType. */
enum { MOX_AAC_OBJECT_MAIN = 1, MOX_AAC_OBJECT_LC = 2, MOX_AAC_OBJECT_SSR = 3, MOX_AAC_OBJECT_LTP = 4 };

/* Fraction bits. */
enum {
  MOX_AAC_SPECTRUM_FRAC_BITS = 4, /* of every spectral word */
  MOX_AAC_TIME_FRAC_BITS = 8,     /* of the filter bank's 32-bit samples */
  MOX_AAC_LTP_GAIN_FRAC_BITS = 14 /* of ltpCoef */
};

/* Words of buffers. */
enum {
  MOX_AAC_MDCT_BUFFER_WORDS = 5136, /* 2048 samples, 3072 words of scratch, alignment */
  MOX_AAC_LTP_HISTORY = 3072        /* a channel's history, zeros at the start */
};

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
  int32_t bufferFullness[MOX_AAC_MAX_ELEMENTS]; /* 20 bits each, written only when bitstreamType is 0 */
  uint8_t
      copyrightId[MOX_AAC_COPYRIGHT_BYTES]; /* first byte first, written only when copyrightIdPresent is 1 */
} MoxAacADIFHeader;

/* One program_config_element, 884 bytes. Entries of the arrays beyond the coded counts are not written. */
typedef struct MoxAacPrgCfgElt {
  int32_t elementInstanceTag;                   /* 4 bits */
  int32_t objectType;                           /* 2 bits */
  int32_t samplingRateIndex;                    /* 4 bits */
  int32_t numFrontChanElt;                      /* 4 bits */
  int32_t numSideChanElt;                       /* 4 bits */
  int32_t numBackChanElt;                       /* 4 bits */
  int32_t numLfeChanElt;                        /* 2 bits */
  int32_t numAssocDataElt;                      /* 3 bits */
  int32_t numValidCcElt;                        /* 4 bits */
  int32_t monoMixdownPresent;                   /* 1 bit */
  int32_t monoMixdownEltNum;                    /* 4 bits, 0 when absent */
  int32_t stereoMixdownPresent;                 /* 1 bit */
  int32_t stereoMixdownEltNum;                  /* 4 bits, 0 when absent */
  int32_t matrixMixdownIdxPresent;              /* 1 bit */
  int32_t matrixMixdownIdx;                     /* 2 bits, 0 when absent */
  int32_t pseudoSurroundEnable;                 /* 1 bit, 0 when no matrix mixdown index is present */
  int32_t frontEltIsCpe[MOX_AAC_MAX_ELEMENTS];  /* 1 bit each */
  int32_t frontEltTagSel[MOX_AAC_MAX_ELEMENTS]; /* 4 bits each, as the other tags */
  int32_t sideEltIsCpe[MOX_AAC_MAX_ELEMENTS];
  int32_t sideEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t backEltIsCpe[MOX_AAC_MAX_ELEMENTS];
  int32_t backEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t lfeEltTagSel[MOX_AAC_MAX_LFE_ELEMENTS];
  int32_t assocDataEltTagSel[MOX_AAC_MAX_DATA_ELEMENTS];
  int32_t ccEltIsIndSw[MOX_AAC_MAX_ELEMENTS];
  int32_t validCcEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t commentFieldBytes;                       /* 8 bits */
  uint8_t commentFieldData[MOX_AAC_COMMENT_BYTES]; /* commentFieldBytes bytes, not terminated */
} MoxAacPrgCfgElt;

/* Individual channel stream information, 112 bytes. ISO/IEC 14496-3, ics_info(). */
typedef struct MoxAacIcsInfo {
  int32_t icsReservedBit;                       /* 1 bit */
  int32_t windowSequence;                       /* 2 bits: MOX_AAC_ONLY_LONG .. MOX_AAC_LONG_STOP */
  int32_t windowShape;                          /* 1 bit: MOX_AAC_SINE or MOX_AAC_KAISER_BESSEL */
  int32_t maxSfb;                               /* 4 bits for eight short, else 6 */
  int32_t scaleFactorGrouping;                  /* 7 bits; written for eight short only */
  int32_t predictorDataPresent;                 /* 1 bit; 0 for eight short */
  int32_t predictorReset;                       /* 1 bit; 0 unless read */
  int32_t predictorResetGroupNum;               /* 5 bits; written only when predictorReset is 1 */
  uint8_t predictionUsed[MOX_AAC_MAX_SFB_PRED]; /* per scale-factor band */
  int32_t numWindowGroups;                      /* 1..8 */
  int32_t windowGroupLen[MOX_AAC_MAX_WINDOWS];  /* windows of each group */
} MoxAacIcsInfo;

/* Channel pair element, 488 bytes. */
typedef struct MoxAacChanPairElt {
  int32_t commonWindow;  /* 1 bit */
  int32_t msMaskPresent; /* 2 bits: 0 none, 1 by band, 2 every band */
  uint8_t
      msUsed[MOX_AAC_MAX_WINDOWS]
            [MOX_AAC_MS_ROW]; /* row = window group, column = band; written only when msMaskPresent is 1 */
} MoxAacChanPairElt;

/* Temporal-noise-shaping side data of one channel, 64 words. Filters are numbered over all windows of the
 * frame in order. */
typedef struct MoxAacTnsInfo {
  int32_t tnsDataPresent;
  int32_t nFilt[MOX_AAC_MAX_WINDOWS];      /* filters, per window */
  int32_t coefRes[MOX_AAC_MAX_WINDOWS];    /* 3 or 4 bits, per window that has filters */
  int32_t length[MOX_AAC_MAX_TNS_FILTERS]; /* bands, per filter */
  int32_t order[MOX_AAC_MAX_TNS_FILTERS];  /* per filter */
  int32_t direction
      [MOX_AAC_MAX_TNS_FILTERS]; /* per filter of nonzero order, in filter order: 0 upward, 1 downward */
  int32_t reserved[8];           /* never written by the plain parsers */
  int8_t coef
      [MOX_AAC_MAX_TNS_COEFS]; /* the coded coefficients of all filters one after another, sign-extended */
} MoxAacTnsInfo;

/* Long-term-prediction side data of one channel, 88 words. */
typedef struct MoxAacLtpInfo {
  int32_t ltpDataPresent;
  int32_t ltpLag;                         /* 11 bits */
  int32_t ltpCoef;                        /* gain, Q14: 9352 .. 22438 */
  int32_t longUsedAll;                    /* long windows: equal to ltpDataPresent */
  int32_t longUsed[MOX_AAC_MAX_SFB_LTP];  /* per band */
  int32_t reserved[20];                   /* never written by the plain parsers */
  int32_t shortUsed[MOX_AAC_MAX_WINDOWS]; /* per window, as the next two */
  int32_t shortLagPresent[MOX_AAC_MAX_WINDOWS];
  int32_t shortLag[MOX_AAC_MAX_WINDOWS];
} MoxAacLtpInfo;

/* Header of a layered stream's base layer, 1280 bytes. The MPEG-4 channel-pair and noiseless operations take
 * it as the holder of the pair's long-term-prediction data. */
typedef struct MoxAacMainHeader {
  int32_t windowSequence;
  int32_t windowShape;
  int32_t maxSfb;
  int32_t scaleFactorGrouping;
  int32_t numWindowGroups;
  int32_t windowGroupLen[MOX_AAC_MAX_WINDOWS];
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
  int32_t diffControl[2][MOX_AAC_MAX_SFB_LONG];
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
  MoxAacIcsInfo* pIcsInfo;               /* in: the channel's record; of the pair when the window is common */
  uint8_t sectCb[MOX_AAC_MAX_SECTIONS];  /* code book of each section, the sections of all groups in order */
  uint8_t sectEnd[MOX_AAC_MAX_SECTIONS]; /* the band at which each section ends, in the same order */
  int32_t numSec[MOX_AAC_MAX_WINDOWS];   /* sections, per window group */
  int32_t nFilt[MOX_AAC_MAX_WINDOWS];    /* the TNS fields, as in MoxAacTnsInfo */
  int32_t coefRes[MOX_AAC_MAX_WINDOWS];
  int32_t length[MOX_AAC_MAX_TNS_FILTERS];
  int32_t order[MOX_AAC_MAX_TNS_FILTERS];
  int32_t direction[MOX_AAC_MAX_TNS_FILTERS];
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
 * Every operation here starts at the bit cursor (byte pointer *ppBitStream, bit offset *pBitOffset 0..7) and moves
 * it past what it read, up to three bytes beyond being loaded. The three-bit element identifier is the caller's to
 * read. A parse that fails midway leaves what it had read in the records and the cursor where it stopped. Common
 * statuses, before any other:
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
 *               up to predSfbMax cleared; group lengths beyond numWindowGroups are not written
 * pChanPairElt  msUsed is written only with msMaskPresent 1, for every group and band below maxSfb
 * predSfbMax    0..41: the bands prediction may use at this sampling rate
 *
 * moxStatusOk
 * moxStatusAacPredSfbError  predSfbMax outside 0..41; nothing read or written
 * moxStatusAacMaxSfbError   a long window's maxSfb above 51
 */
MOXAC_API moxStatus moxsDecodeChanPairElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                              MoxAacIcsInfo* pIcsInfo, MoxAacChanPairElt* pChanPairElt,
                                              int32_t predSfbMax);

/* As moxsDecodeChanPairElt_AAC (pIcsInfo, pChanPairElt too) for MPEG-4 object types: predictor data are Main-profile
 * prediction's when audioObjectType is 1, and otherwise the long-term-prediction data of both channels.
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
 *                           above 51
 * moxStatusAacPredSfbError  audioObjectType 1, predictor data present and predSfbMax above 41; found after
 *                           the reset fields were read
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
 *              group's bands below maxSfb are read into it, with 2 they are set to 1, otherwise to 0. maxSfb
 *              of a long window is not bounded: 61 to 63 bands run from row 0 on into row 1. The tns and ltp
 *              records of the channels are cleared before they are read; long windows write all of
 *              windowGroupLen
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
 *                 eight short. The tns records are not cleared first. diffControl: eight short reads one flag
 *                 a window and only when startSfb is 0; long windows one flag for each band from startSfb
 *                 below endSfb and maxSfb whose M/S flag is 0, stored one after another
 * tnsFlag, stereoFlag, diffCtrlFlag   0 or 1
 * startSfb, endSfb                    0..51
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

/* ----------------------------------------------------------------------------- noiseless decoding
 *
 * One individual_channel_stream() of a raw data block, from global_gain to the end of the spectral data.
 * ISO/IEC 14496-3, Tables 4.50 to 4.57 and 4.6.3.
 *
 * Layout of the outputs, with maxSfb bands and the window groups of the channel:
 *
 * pScaleFactor  16-bit, [group][maxSfb]: scale factor for code books 1 to 11, noise energy for 13, intensity
 *               position for 14 and 15, 0 for 0. One accumulator serves scale factors and noise energies, in
 *               stream order: it starts at global_gain, the first noise band sets it to global_gain - 346
 *               plus 9 bits, every other band adds its coded difference
 *               (streams of the standard have two chains, for scale factors and for noise: with code book 13
 *               in use, moxSeparateNoiseEnergies of moxac/extras.h takes them apart)
 * pSfbCb        [group][maxSfb]: code books. Room for 120 bands here and there (with layerFlag 1: maxSfb
 *               times the groups)
 * pSpectrum     [group][windowLen * group length], 1024 values in all. Inside a group band by band, each
 *               band holding its lines of the group's windows one window after another; zeros behind the
 *               last section
 * pTnsCoef      coded TNS coefficients as in MoxAacTnsInfo; room for 60
 * pChanStream   windowLen, numWindows, numSwb, globalGain, the presence flags, the sections (at most 120) and
 *               the TNS fields are written. Without TNS data only nFilt[0] is cleared: look at tnsDataPresent
 *
 * Pulses (long windows) move a positive line up and any other down by their amplitude. Negative scale factors
 * are not checked.
 *
 * The bit cursor (*ppBitStream, *pBitOffset) is moved behind the spectral data. No byte more than three past the
 * last byte that bits were consumed from is loaded. The first failure ends the operation: what was written stays,
 * and the cursor stands where reading stopped. Calls on different records, buffers and cursors may run at once.
 *
 * Statuses of both, in the order of checking:
 *
 * moxStatusOk
 * moxStatusNullPointer           a pointer or the byte pointer is null, or pIcsInfo (MPEG-4: unless
 *                                layerFlag is 1)
 * moxStatusBitOffsetError        *pBitOffset outside 0..7
 * moxStatusAacAotError           MPEG-4: audioObjectType outside 0..16
 * moxStatusAacLayerFlagError     MPEG-4: layerFlag not 0 or 1
 * moxStatusAacCommonWindowError  commonWindow not 0 or 1
 * moxStatusAacWinSeqError        MPEG-4 with layerFlag 1: windowSequence outside 0..3
 * moxStatusAacSampleRateError    samplingRateIndex of the stream record outside 0..11
 * moxStatusAacPredSfbError       LC: predSfbMax of the stream record not 0
 * moxStatusAacMaxSfbError        MPEG-4 with layerFlag 1: maxSfb outside 0..51
 *                                (up to here nothing has been read or written; global_gain comes next)
 * moxStatusAacMaxSfbError        a long window's coded maxSfb above 51
 * moxStatusAacPredSfbError       MPEG-4, object type 1, prediction data present: predSfbMax outside 0..41
 * moxStatusAacWinSeqError        windowSequence of the caller's *pIcsInfo outside 0..3
 * moxStatusAacWinGrpError        the window groups of the caller's record (*pIcsInfo; with layerFlag 1
 *                                *pMainHeader): none, an empty one, or more windows than the frame has
 * moxStatusAacMaxSfbError        maxSfb below 0 or, LC, above the number of bands; MPEG-4: above 51 (long
 *                                windows) or 15 (eight short, without a layer)
 * moxStatusAacSectionError       section ends do not reach maxSfb exactly, or more than 120 sections
 * moxStatusAacCodebookError      code book 12; LC: 13
 * moxStatusAacScaleFactorError   a scale factor or noise energy above 255
 * moxStatusAacPulseError         pulses with eight short windows, or their first band is not below numSwb,
 *                                or (after the spectrum) a pulse lies past line 1023
 * moxStatusAacTnsOrderError      a TNS order above 7 (short) or 12 (long)
 * moxStatusAacGainControlError   gain control data are present
 * moxStatusBadData               a section ends beyond the number of bands
 * moxStatusAacEscapeError        an escape prefix of more than 8 ones
 */

/* Reads one channel's stream, low-complexity profile. With commonWindow 0, ics_info() goes to *pChanStream->pIcsInfo,
 * predictor data without any band; with 1 that record is as the channel pair element left it. */
MOXAC_API moxStatus moxsNoiselessDecoder_LC_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                                int32_t commonWindow, MoxAacChanStream* pChanStream,
                                                int16_t* pScaleFactor, int32_t* pSpectrum, uint8_t* pSfbCb,
                                                int8_t* pTnsCoef);

/* Reads one channel's stream of the MPEG-4 object types, with perceptual noise substitution (code book 13).
 *
 * layerFlag 0: the window information comes from *pChanStream->pIcsInfo, read first when commonWindow is 0.
 *              Its predictor data are Main-profile prediction's for audioObjectType 1 (predSfbMax bands of
 *              the stream record) and long-term prediction's otherwise: both ltpDataPresent flags of
 *              *pMainHeader are cleared, and its windowSequence, maxSfb and ltp[0] written where data are
 *              present
 * layerFlag 1: windowSequence and maxSfb are the arguments, the window groups those of *pMainHeader; no pulse,
 *              TNS and gain-control fields are read, their flags become 0
 */
MOXAC_API moxStatus moxsNoiselessDecode_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset,
                                            MoxAacMainHeader* pMainHeader, int16_t* pScaleFactor,
                                            int32_t* pSpectrum, uint8_t* pSfbCb, int8_t* pTnsCoef,
                                            MoxAacChanStream* pChanStream, int32_t windowSequence,
                                            int32_t maxSfb, int32_t commonWindow, int32_t layerFlag,
                                            int32_t audioObjectType);

/* ------------------------------------------------------------------------------------ spectral tools
 *
 * The operations between noiseless decoding and the filter bank. A spectrum is an array of 1024 int32_t in
 * one of two orders:
 *
 * grouped order  as the noiseless decoder delivers it: window groups one after another; inside a group band
 *                after band; inside a band the windows of the group one after another, each with the band's
 *                width of lines. For long windows this is plain line order.
 * window order   windows one after another, 128 lines each (eight short) or 1024 (long).
 *
 * From moxsQuantInv_AAC_32s_I to moxsMDCTInv_AAC_32s16s a spectral value carries MOX_AAC_SPECTRUM_FRAC_BITS
 * fraction bits: the word v stands for v/16 on the scale of ISO/IEC 14496-3, on which a 16-bit sine of full
 * scale reaches about 2^25.4. Words therefore hold twice the largest line of any 16-bit signal, which is the
 * headroom that M/S needs. Where an operation saturates, it does so symmetrically, at +-0x7FFFFFFF.
 *
 * The band-wise operations share these arguments:
 *   pSfbCb           code book of each band, maxSfb bytes per group, groups one after another
 *   pScaleFactor     scale factor, intensity position or noise energy of each band, laid out like pSfbCb; any
 *                    16-bit value has a defined result
 *   numWindowGroups  1 for windowLen 1024, 1..8 for windowLen 128
 *   pWindowGroupLen  windows of each group, at least 1; together no more than the frame has, 1 or 8
 *   maxSfb           coded bands per group
 *   windowLen        1024 (long windows) or 128 (eight short)
 * and these statuses, in this order, before anything is written:
 *   moxStatusNullPointer       a pointer is null
 *   moxStatusAacWinLenError    windowLen neither 128 nor 1024
 *   moxStatusAacWinGrpError    numWindowGroups outside the range of the window length, or group lengths that
 *                              do not fit the frame
 *   moxStatusAacMaxSfbError    maxSfb outside 0..51
 *   moxStatusAacSampleRateError  samplingRateIndex outside 0..11
 *   moxStatusAacMsMaskError    msMaskPresent outside its range (only where it is an argument)
 *   moxStatusAacMaxSfbError    maxSfb above the bands of this sampling rate and window length
 * No operation reads or writes past the lines of bands below maxSfb. All are reentrant: they keep nothing
 * between calls.
 */

/* Inverse quantisation of pSrcDst's 1024 lines, in place, grouped order:
 *
 *   x := sign(x) |x|^(4/3) 2^((sf - 100)/4) 2^MOX_AAC_SPECTRUM_FRAC_BITS
 *
 * rounded to nearest, saturated. Bands with code book 0, 13, 14 or 15 are left untouched. The result differs
 * from the exact value by at most half a unit (up to 2^24 units by rounding alone).
 *
 * The statuses above; then moxStatusAacEscapeError when a magnitude of a band exceeds 8191: that band and the
 * later ones are untouched, the earlier ones converted.
 * ISO/IEC 14496-3, 4.6.1.3 and 4.6.2.3.3. */
MOXAC_API moxStatus moxsQuantInv_AAC_32s_I(int32_t* pSrcDst, const int16_t* pScaleFactor,
                                           int32_t numWindowGroups, const int32_t* pWindowGroupLen,
                                           int32_t maxSfb, const uint8_t* pSfbCb, int32_t samplingRateIndex,
                                           int32_t windowLen);

/* Mid/side decoding of a channel pair, in place, grouped order: with pSrcDstL for L and pSrcDstR for R, L := L +
 * R, R := L - R in wrapping 32-bit arithmetic, for the bands whose byte in pMsUsed is not zero (msMaskPresent 1)
 * or for all (msMaskPresent 2), noise bands (code book 13) excepted. pSfbCb is the right channel's; in an
 * intensity band (14, 15) no arithmetic is done, but with msMaskPresent 1 and the byte set its code book is
 * toggled between 14 and 15, by which moxsDecodeIsStereo_AAC_32s then inverts the sign.
 *
 * pMsUsed  rows of 60 bytes, one row per group; may be null with msMaskPresent 2, which reads none of it
 *
 * The statuses above; msMaskPresent is 1 or 2. ISO/IEC 14496-3, 4.6.8.1. */
MOXAC_API moxStatus moxsDecodeMsStereo_AAC_32s_I(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t msMaskPresent,
                                                 const uint8_t* pMsUsed, uint8_t* pSfbCb,
                                                 int32_t numWindowGroups, const int32_t* pWindowGroupLen,
                                                 int32_t maxSfb, int32_t samplingRateIndex,
                                                 int32_t windowLen);

/* Intensity stereo, grouped order: in bands with code book 15 (sign +1) or 14 (sign -1)
 *
 *   R := sign * floor(L g / 2^(30 + floor(pos/4)))    g = round(2^30 2^(-(pos mod 4)/4))
 *
 * saturated, that is sign * L * 2^(-pos/4) for the band's intensity position pos. Other bands of the right
 * channel are untouched. pScaleFactor and pSfbCb are the right channel's; pSrcL and pDstR must not overlap.
 *
 * The statuses above. ISO/IEC 14496-3, 4.6.8.2. */
MOXAC_API moxStatus moxsDecodeIsStereo_AAC_32s(const int32_t* pSrcL, int32_t* pDstR,
                                               const int16_t* pScaleFactor, const uint8_t* pSfbCb,
                                               int32_t numWindowGroups, const int32_t* pWindowGroupLen,
                                               int32_t maxSfb, int32_t samplingRateIndex, int32_t windowLen);

/* Perceptual noise substitution in pSrcDst, in place, grouped order: the lines of every window of a band with code
 * book 13 become noise of energy 2^(nrg/2), nrg being the band's value in pScaleFactor (the sum over the window's
 * lines of (v/16)^2; within 0.1 dB from an rms of 128 units a line on; below, truncation shows). The noise comes
 * from state := 1664525 state + 1013904223 mod 2^32, one step per line, in the order group, window, band; it
 * depends on nothing but *pRandomState and the arguments. Noise that is zero throughout stays zero; energies
 * beyond the range saturate.
 *
 * pScaleFactor   the standard's noise energies in the noise bands. What the noiseless decoder stores there is
 *                counted together with the scale factors; moxSeparateNoiseEnergies (moxac/extras.h) takes both apart
 * pLtpUsedFlags  maxSfb + 1 words: longUsedAll of a MoxAacLtpInfo, its longUsed[] behind it (and, from band 40
 *                on, its reserved words). With one window group the flag of every noise band,
 *                pLtpUsedFlags[band + 1], is cleared: prediction skips noise. May be null with more than one
 *                group
 * pRandomState   generator state, read and written back; any start value
 *
 * The statuses above. ISO/IEC 14496-3, 4.6.13. */
MOXAC_API moxStatus moxsDecodePNS_AAC_32s(int32_t* pSrcDst, int32_t* pLtpUsedFlags, const uint8_t* pSfbCb,
                                          const int16_t* pScaleFactor, int32_t maxSfb,
                                          int32_t numWindowGroups, const int32_t* pWindowGroupLen,
                                          int32_t samplingRateIndex, int32_t windowLen,
                                          uint32_t* pRandomState);

/* Noise substitution of both channels of a pair with a common window: as moxsDecodePNS_AAC_32s for the left
 * and then the right channel of each window and band, except that where both channels have noise and the
 * band's M/S flag is set (msMaskPresent 2: every band) the right channel gets the left one's noise, scaled to
 * its own energy.
 *
 * Arguments come as in moxsDecodePNS_AAC_32s, maxSfb before the groups; moxsDecodeMsStereo_AAC_32s_I has it
 * behind them.
 *
 * msMaskPresent  0 (all noise independent), 1 or 2; else moxStatusAacMsMaskError
 * pMsUsed        rows of 60 bytes, one row per group; read, and required, with msMaskPresent 1 only
 * pSrcDstL, pLtpUsedFlagsL, pSfbCbL and pScaleFactorL are the left channel's, pSrcDstR, pLtpUsedFlagsR, pSfbCbR and
 * pScaleFactorR the right one's; they and pRandomState as for moxsDecodePNS_AAC_32s. ISO/IEC 14496-3, 4.6.13.3. */
MOXAC_API moxStatus moxsDecodeMsPNS_AAC_32s(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t* pLtpUsedFlagsL,
                                            int32_t* pLtpUsedFlagsR, const uint8_t* pSfbCbL,
                                            const uint8_t* pSfbCbR, const int16_t* pScaleFactorL,
                                            const int16_t* pScaleFactorR, int32_t msMaskPresent,
                                            const uint8_t* pMsUsed, int32_t maxSfb, int32_t numWindowGroups,
                                            const int32_t* pWindowGroupLen, int32_t samplingRateIndex,
                                            int32_t windowLen, uint32_t* pRandomState);

/* Reorders 1024 lines from grouped to window order; for long windows a copy.
 *
 *   pDst[window][offset[b] + i] = pSrc[group][b][window in group][i]
 *
 * pSrc, pDst  1024 values each; must not overlap; any alignment
 *
 * moxStatusNullPointer; moxStatusAacWinLenError; moxStatusAacWinGrpError (numWindowGroups outside its range,
 * a group length below 1, or lengths that do not add up to the windows of the frame);
 * moxStatusAacSampleRateError; nothing written. ISO/IEC 14496-3, 4.5.2.3.5. */
MOXAC_API moxStatus moxsDeinterleaveSpectrum_AAC_32s(const int32_t* pSrc, int32_t* pDst,
                                                     int32_t numWindowGroups, const int32_t* pWindowGroupLen,
                                                     int32_t samplingRateIndex, int32_t windowLen);

/* Temporal noise shaping, window order, in place: decoding runs the all-pole synthesis filters, encoding the
 * matching all-zero analysis filters (also what a long-term prediction passes through before it is added).
 * Filters of a window start at its top band and go down, each over its own length of bands.
 *
 * Coefficient c of resolution r (3 or 4 bits) is the reflection coefficient sin(c pi / (2^r - 1)) for c >= 0,
 * sin(c pi / (2^r + 1)) for c < 0, in Q31. The step-up recursion turns them into direct form a[1..order], Q31
 * in 64 bits: a[i] += (((a[m-i] + 512) >> 10) k[m]) >> 21 for all i < m at once, a[m] = k[m]. They are
 * shifted right, with shift lowered from 31 by as much, until no magnitude is above 2^26. Then per line,
 * exactly:
 *
 *   decode: y[n] = ((x[n] << shift) - sum a[i] y[n-i]) >> shift
 *   encode: y[n] = ((x[n] << shift) + sum a[i] x[n-i]) >> shift
 *
 * in 64 bits, kept as the low 32, with zero history at the start of each filter.
 *
 * pSrcDst      8 x 128 or 1024 values; any alignment
 * pNumFilt     filters of each window
 * pLength, pOrder   bands and order of each filter, all windows' filters one after another. A coded length
 *                   may exceed the bands left above line 0: cut it before the call
 * pCoefRes     3 or 4, per window
 * pCoef        order values for each filter, one after another
 * pDirection   0 upward, 1 downward, one for each filter of non-zero order
 * maxSfb       filters are cut at this band and at the standard's TNS_MAX_BANDS
 * mode         ignored by the decoder, 1 for the encoder
 * windowLen    1024 or 128
 *
 * moxStatusNullPointer, moxStatusAacWinLenError, moxStatusAacTnsModeError (encoder),
 * moxStatusAacSampleRateError, moxStatusAacMaxSfbError (outside 0..51, or above the bands of the window):
 * nothing written. Then as the filters are reached, earlier filters staying applied:
 *   moxStatusAacTnsNumFiltError    filter count negative, above 3 (long) or 1 (short)
 *   moxStatusAacTnsLengthError     length negative or above the bands that are left
 *   moxStatusAacTnsOrderError      order negative, above 12 (long) or 7 (short)
 *   moxStatusAacTnsCoefResError    resolution neither 3 nor 4 (orders above 0 only, as the next two)
 *   moxStatusAacTnsCoefError       coefficient outside -8..7
 *   moxStatusAacTnsDirectionError  direction neither 0 nor 1
 * A filter of order 0 consumes a length and an order only. Reentrant. ISO/IEC 14496-3, 4.6.9. */
MOXAC_API moxStatus moxsDecodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength,
                                            const int32_t* pOrder, const int32_t* pCoefRes,
                                            const int8_t* pCoef, const int32_t* pDirection, int32_t maxSfb,
                                            int32_t mode, int32_t samplingRateIndex, int32_t windowLen);
MOXAC_API moxStatus moxsEncodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength,
                                            const int32_t* pOrder, const int32_t* pCoefRes,
                                            const int8_t* pCoef, const int32_t* pDirection, int32_t maxSfb,
                                            int32_t mode, int32_t samplingRateIndex, int32_t windowLen);

/* -------------------------------------------------------------------- filter bank, long-term prediction
 *
 * 32-bit samples (overlap, prediction history, the forward transform's input) carry
 * MOX_AAC_TIME_FRAC_BITS fraction bits: v stands for v/256 on the 16-bit scale, with room for 128 times full
 * scale.
 *
 * Arguments that the operations share, checked in this order behind the pointers:
 *   windowSequence   0 only long, 1 long start, 2 eight short, 3 long stop; else moxStatusAacWinSeqError
 *   windowShape      shape of this frame's falling slope, 0 sine, 1 Kaiser-Bessel derived; else
 *                    moxStatusOutOfRange
 *   prevWindowShape  windowShape of the frame before, which shapes the rising slope; likewise
 *   pBuffer          work buffer of MOX_AAC_MDCT_BUFFER_WORDS words, any alignment of int32_t
 * A spectrum has 1024 lines; for eight short windows in window order. Reentrant; a channel's overlap and
 * history belong to one call at a time.
 */

/* Inverse MDCT, windowing and overlap-add of one frame of one channel.
 *
 *   x[n] = w[n] 2/N sum over k of X[k] cos(2 pi/N (n + (N/2 + 1)/2)(k + 1/2))      N = 2048, 8 times 256
 *   sample[n] = overlap[n] + x[n], overlap[n] := x[1024 + n]                       n = 0..1023
 *   pDstPcm[stride n] = sample[n] rounded to nearest (a tie upwards), saturated to 16 bits
 *
 * Against double precision a sample before rounding is off by less than 2^-6 of a unit for 16-bit signals, so
 * that the 16-bit output differs by at most 1, and only next to a tie. Aliased halves saturate at 2^22 units.
 *
 * pSrcSpectrum       1024 lines; not changed
 * pDstPcm            1024 samples, stride apart (2 writes one channel of interleaved stereo)
 * pSrcDstOverlapAdd  1024 words, zeros before a channel's first frame; afterwards this frame's aliased half
 * stride             at least 1
 * pBuffer            on return pBuffer[0..1023] are the 1024 samples in the time format, for
 *                    moxsLtpUpdate_AAC_32s
 *
 * moxStatusNullPointer, moxStatusAacWinSeqError, moxStatusOutOfRange (shapes), moxStatusBadSize (stride):
 * nothing written. ISO/IEC 14496-3, 4.6.11. */
MOXAC_API moxStatus moxsMDCTInv_AAC_32s16s(const int32_t* pSrcSpectrum, int16_t* pDstPcm,
                                           int32_t* pSrcDstOverlapAdd, int32_t windowSequence,
                                           int32_t windowShape, int32_t prevWindowShape, int32_t stride,
                                           int32_t* pBuffer);

/* Windowing and forward MDCT of one frame: the inverse's partner, so that overlap-add of inverse transforms
 * restores the signal.
 *
 *   X[k] = 2 sum over n of w[n] x[n] cos(2 pi/N (n + (N/2 + 1)/2)(k + 1/2))
 *
 * pSrc     2048 samples in the time format: the frame before and this one
 * pDst     1024 lines in the spectral format, rounded, saturated; may be pSrc
 * pSrcDst  2048 samples; the lines replace the first 1024, the rest is untouched
 *
 * moxStatusNullPointer, moxStatusAacWinSeqError, moxStatusOutOfRange (shapes): nothing written. */
MOXAC_API moxStatus moxsMDCTFwd_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t windowSequence,
                                        int32_t windowShape, int32_t prevWindowShape, int32_t* pBuffer);
MOXAC_API moxStatus moxsMDCTFwd_AAC_32s_I(int32_t* pSrcDst, int32_t windowSequence, int32_t windowShape,
                                          int32_t prevWindowShape, int32_t* pBuffer);

/* ------------------------------------------------------------------------- long-term prediction
 *
 * A channel's history is 3072 samples in the time format: 2048 fully reconstructed ones, oldest first, then
 * the aliased half that the last frame left in its overlap. With sample 0 the first of the frame to be
 * decoded it holds samples -2048..1023; what lies beyond counts as 0. A decoder of one channel's frame:
 *
 *   moxsLongTermPredict_AAC_32s      history -> predicted spectrum
 *   moxsLongTermReconstruct_AAC_32s  predicted spectrum -> TNS analysis -> added to the decoded spectrum
 *   moxsDecodeTNS_AAC_32s_I, moxsMDCTInv_AAC_32s16s
 *   moxsLtpUpdate_AAC_32s            samples and overlap of the latter -> history
 *
 * ISO/IEC 14496-3, 4.6.7. */

/* Predicts a frame's spectrum from the history:
 *
 *   x[n] = gain history[2048 + n - lag]      n = 0..2047 of the frame's window
 *   pDstPrediction = moxsMDCTFwd_AAC_32s(x)
 *
 * lag is ltpLag of pLtpInfo; in eight short windows shortLag[w] for window w, which starts at n = 448 + 128 w. The
 * lines of windows whose shortUsed is 0, and all when ltpDataPresent is 0, are zeros. gain is ltpCoef/2^14; the eight
 * values that the parsers store stand for the standard's gains, 0.570829 to 1.369533, at its six decimals.
 * windowSequence, windowShape, prevWindowShape and pBuffer are those of the filter bank.
 *
 * pSrcHistory     MOX_AAC_LTP_HISTORY samples
 * pDstPrediction  1024 lines in the spectral format
 *
 * moxStatusNullPointer, moxStatusAacWinSeqError, moxStatusOutOfRange (shapes), moxStatusOutOfRange (ltpCoef outside
 * 0..32767, or a lag to be used outside 0..2047, as stored lags of short windows can be): nothing written. */
MOXAC_API moxStatus moxsLongTermPredict_AAC_32s(const int32_t* pSrcHistory, int32_t* pDstPrediction,
                                                int32_t windowSequence, int32_t windowShape,
                                                int32_t prevWindowShape, const MoxAacLtpInfo* pLtpInfo,
                                                int32_t* pBuffer);

/* Adds a predicted spectrum to the decoded one, saturating: in long windows the bands below maxSfb (and 40) whose
 * longUsed in pLtpInfo is not 0, in eight short windows the first min(maxSfb, 8) bands of the windows whose shortUsed
 * is not 0; nothing when ltpDataPresent is 0. windowSequence and samplingRateIndex are the frame's.
 *
 * pSrcDstPrediction  1024 lines from moxsLongTermPredict_AAC_32s; filtered in place
 * pSrcDstSpectrum    1024 lines in window order, before TNS synthesis
 * maxSfb             of the frame: also the limit of the TNS filters
 * pTnsInfo           the channel's TNS data: the analysis filters, as moxsEncodeTNS_AAC_32s_I runs them, go
 *                    over the prediction first; null, or tnsDataPresent 0, for none
 *
 * moxStatusNullPointer, moxStatusAacWinSeqError, moxStatusAacMaxSfbError (outside 0..51),
 * moxStatusAacSampleRateError, moxStatusAacMaxSfbError (above the window's bands): nothing written. Then the
 * statuses of moxsEncodeTNS_AAC_32s_I, the spectrum untouched. */
MOXAC_API moxStatus moxsLongTermReconstruct_AAC_32s(int32_t* pSrcDstPrediction, int32_t* pSrcDstSpectrum,
                                                    int32_t windowSequence, int32_t maxSfb,
                                                    int32_t samplingRateIndex, const MoxAacLtpInfo* pLtpInfo,
                                                    const MoxAacTnsInfo* pTnsInfo);

/* Moves the history on by a frame: drops its oldest 1024 samples and its aliased half, appends the frame's.
 *
 * pSrcTime        1024 reconstructed samples: pBuffer of moxsMDCTInv_AAC_32s16s after the call
 * pSrcOverlap     1024 aliased samples: pSrcDstOverlapAdd after the call
 * pSrcDstHistory  MOX_AAC_LTP_HISTORY samples; must not overlap the others
 *
 * moxStatusNullPointer: nothing written. */
MOXAC_API moxStatus moxsLtpUpdate_AAC_32s(const int32_t* pSrcTime, const int32_t* pSrcOverlap,
                                          int32_t* pSrcDstHistory);

/* -------------------------------------------------------------------- frequency-domain prediction
 *
 * The Main profile's predictor: a second-order backward-adaptive lattice on every spectral line, in single
 * precision with six state values per line that keep 16 bits. With old state values on the right, k(cor, var)
 * = cor * mant * expo of var's top seven mantissa bits m and exponent e (mant = 0.953125/(1 + m/128) to eight
 * significant bits, expo = 2^(127 - e) for e = 128..254, else 0):
 *
 *   k1 = k(cor0, var0), k2 = k(cor1, var1)
 *   pred = k1 r0 + k2 r1, rounded to the upper 16 bits of a float
 *   e1 = x - k1 r0
 *   cor0 = 0.90625 cor0 + r0 x     var0 = 0.90625 var0 + 0.5 (r0^2 + x^2)
 *   cor1 = 0.90625 cor1 + r1 e1    var1 = 0.90625 var1 + 0.5 (r1^2 + e1^2)
 *   r1 = 0.953125 (r0 - k1 x)      r0 = 0.953125 x
 *
 * each multiplied, added and rounded to float separately, and each state value then truncated to the upper 16
 * bits of its float. Spectra are floats on the standard's scale, or any multiple by a power of two that keeps
 * clear of the limits of the exponent; var starts at 1, so the scale matters near it.
 *
 * A state belongs to one channel and one call at a time; different states may be used at once. Its memory may
 * have any alignment, and is used at the pointer given: pState, or *ppState where one is made, of len lines. Every
 * operation but GetSize, Init and InitAlloc returns moxStatusContextMismatch, behind moxStatusNullPointer, for
 * memory that is not a state. ISO/IEC 14496-3, 4.6.6. */

typedef struct MoxAacFdpState MoxAacFdpState;

/* Writes to *pSize the bytes a state of len lines needs: 6 * (4 len rounded up to 64) + 128.
 * moxStatusNullPointer; moxStatusBadSize: len below 1, or a size above 2^31 - 1. */
MOXAC_API moxStatus moxsFDPGetSize_32f(int32_t len, int32_t* pSize);

/* Builds a state in pBuffer, every line reset, and hands the same pointer back.
 * moxStatusNullPointer; moxStatusBadSize as for GetSize. */
MOXAC_API moxStatus moxsFDPInit_32f(MoxAacFdpState** ppState, int32_t len, uint8_t* pBuffer);

/* Builds a state in memory from moxMalloc. moxStatusNullPointer; moxStatusBadSize; moxStatusOutOfMemory, *ppState
 * null. */
MOXAC_API moxStatus moxsFDPInitAlloc_32f(MoxAacFdpState** ppState, int32_t len);

/* Clears the identifier, and releases a state made by InitAlloc. */
MOXAC_API moxStatus moxsFDPFree_32f(MoxAacFdpState* pState);

/* Resets every line: cor and r to 0, var to 1. Right after, predictions are 0. */
MOXAC_API moxStatus moxsFDPReset_32f(MoxAacFdpState* pState);

/* Resets lines start, start + step, ..; reset group n of the Main profile is start n - 1, step 30. A start at
 * or past the last line resets none. moxStatusBadSize: start negative; moxStatusFdpStepError: step below 1.
 */
MOXAC_API moxStatus moxsFDPResetGroup_32f(int32_t start, int32_t step, MoxAacFdpState* pState);

/* Resets the lines pSfbOffset[b]..pSfbOffset[b + 1] - 1 of every band b < numSfb whose byte in pResetFlag is
 * not 0; lines that the state does not have are passed over. moxStatusBadSize: numSfb below 1. */
MOXAC_API moxStatus moxsFDPResetSfb_32f(const int32_t* pSfbOffset, int32_t numSfb, const uint8_t* pResetFlag,
                                        MoxAacFdpState* pState);

/* Predicts in the decoder, in place: in bands whose byte in pPredUsed is not 0, x := x + pred. The predictors of
 * all lines of all bands are updated with x; lines that the state does not have are passed over, pSrcDst included.
 *
 * pSrcDst     as many values as the bands cover
 * pSfbOffset  numSfb + 1 lines
 *
 * moxStatusBadSize: numSfb below 1, nothing written. moxStatusMisalignedData: complete; pSrcDst off the
 * 16-byte grid. */
MOXAC_API moxStatus moxsFDPInv_32f_I(float* pSrcDst, const int32_t* pSfbOffset, int32_t numSfb,
                                     const uint8_t* pPredUsed, MoxAacFdpState* pState);

/* The encoder's side: pDst = pSrc - pred for all lines of the state, predictors updated with pSrc. pDst may be pSrc.
 * moxStatusMisalignedData: complete; pSrc or pDst off the 16-byte grid. */
MOXAC_API moxStatus moxsFDPFwd_32f(const float* pSrc, float* pDst, MoxAacFdpState* pState);

MOXAC_EXTERN_C_END

#endif
