"""Declarations and statuses of the C headers. Made by tools/gen_python_declarations.py; do not edit."""

MOXAC = r"""
#define MOX_SBR_FIXED_SHIFT 7
typedef int32_t moxStatus;
enum {
  moxStatusOk = 0,
  moxStatusMisalignedData = 2,
  moxStatusBadData = -2,
  moxStatusOutOfRange = -5,
  moxStatusBadSize = -6,
  moxStatusNullPointer = -8,
  moxStatusOutOfMemory = -9,
  moxStatusFdpStepError = -14,
  moxStatusBadFftOrder = -15,
  moxStatusBadFftFlag = -16,
  moxStatusContextMismatch = -17,
  moxStatusFirLengthError = -26,
  moxStatusBadChannelCount = -53,
  moxStatusVlcError = -127,
  moxStatusVlcBadTable = -129,
  moxStatusVlcBadBitOffset = -193,
  moxStatusAacAotError = -136,
  moxStatusAacLayerFlagError = -137,
  moxStatusAacDiffCtrlFlagError = -138,
  moxStatusAacStereoFlagError = -139,
  moxStatusAacTnsFlagError = -140,
  moxStatusAacChanError = -141,
  moxStatusAacMsMaskError = -142,
  moxStatusAacCommonWindowError = -143,
  moxStatusAacWinSeqError = -144,
  moxStatusAacWinGrpError = -145,
  moxStatusAacWinLenError = -146,
  moxStatusAacSampleRateError = -147,
  moxStatusBitOffsetError = -149,
  moxStatusAacTnsModeError = -151,
  moxStatusAacTnsDirectionError = -152,
  moxStatusAacTnsCoefError = -153,
  moxStatusAacTnsCoefResError = -154,
  moxStatusAacTnsOrderError = -155,
  moxStatusAacTnsLengthError = -156,
  moxStatusAacTnsNumFiltError = -157,
  moxStatusAacSectionError = -158,
  moxStatusAacGainControlError = -159,
  moxStatusAacPulseError = -160,
  moxStatusAacPredSfbError = -161,
  moxStatusAacMaxSfbError = -162,
  moxStatusAacEscapeError = -163,
  moxStatusAacScaleFactorError = -164,
  moxStatusAacCodebookError = -166,
  moxStatusAacPrgNumError = -167,
  moxStatusAacUnsupported = -9999,
  moxStatusMp3SideInfoErr = -170,
  moxStatusMp3FrameHeaderErr = -171
};
typedef struct Mox32fc {
  float re;
  float im;
} Mox32fc;
typedef struct Mox32sc {
  int32_t re;
  int32_t im;
} Mox32sc;
typedef struct moxLibVersion {
  int32_t majorVersion;
  int32_t minorVersion;
  int32_t updateNumber;
  int32_t revision;
  char cpuCode[4];
  const char* libraryName;
  const char* versionText;
  const char* buildDate;
} moxLibVersion;
const moxLibVersion* moxacGetLibVersion(void);
enum {
  MOX_AAC_FRAME_LINES = 1024,
  MOX_AAC_SHORT_LINES = 128,
  MOX_AAC_MAX_WINDOWS = 8,
  MOX_AAC_SAMPLE_RATES = 12,
  MOX_AAC_MAX_SFB_LONG = 51,
  MOX_AAC_MAX_SFB_SHORT = 15,
  MOX_AAC_MAX_SFB_PRED = 41,
  MOX_AAC_MAX_SFB_LTP = 40,
  MOX_AAC_MS_ROW = 60,
  MOX_AAC_MAX_SECTIONS = 120,
  MOX_AAC_MAX_TNS_FILTERS = 8,
  MOX_AAC_MAX_TNS_COEFS = 60,
  MOX_AAC_MAX_TNS_ORDER_LONG = 12,
  MOX_AAC_MAX_TNS_ORDER_SHORT = 7,
  MOX_AAC_MAX_ELEMENTS = 16,
  MOX_AAC_MAX_LFE_ELEMENTS = 4,
  MOX_AAC_MAX_DATA_ELEMENTS = 8,
  MOX_AAC_MAX_DATA_BYTES = 510,
  MOX_AAC_MAX_FILL_BYTES = 269,
  MOX_AAC_COMMENT_BYTES = 256,
  MOX_AAC_COPYRIGHT_BYTES = 9
};
enum { MOX_AAC_ONLY_LONG = 0, MOX_AAC_LONG_START = 1, MOX_AAC_EIGHT_SHORT = 2, MOX_AAC_LONG_STOP = 3 };
enum {
  MOX_AAC_SINE = 0,
  MOX_AAC_KAISER_BESSEL = 1
};
enum {
  MOX_AAC_BOOK_ZERO = 0,
  MOX_AAC_BOOK_ESCAPE = 11,
  MOX_AAC_BOOK_RESERVED = 12,
  MOX_AAC_BOOK_NOISE = 13,
  MOX_AAC_BOOK_INTENSITY_INVERTED = 14,
  MOX_AAC_BOOK_INTENSITY = 15
};
enum { MOX_AAC_OBJECT_MAIN = 1, MOX_AAC_OBJECT_LC = 2, MOX_AAC_OBJECT_SSR = 3, MOX_AAC_OBJECT_LTP = 4 };
enum {
  MOX_AAC_SPECTRUM_FRAC_BITS = 4,
  MOX_AAC_TIME_FRAC_BITS = 8,
  MOX_AAC_LTP_GAIN_FRAC_BITS = 14
};
enum {
  MOX_AAC_MDCT_BUFFER_WORDS = 5136,
  MOX_AAC_LTP_HISTORY = 3072
};
typedef struct MoxAacADTSFrameHeader {
  int32_t id;
  int32_t layer;
  int32_t protectionAbsent;
  int32_t profile;
  int32_t samplingRateIndex;
  int32_t privateBit;
  int32_t channelConfig;
  int32_t originalCopy;
  int32_t home;
  int32_t reserved;
  int32_t copyrightIdBit;
  int32_t copyrightIdStart;
  int32_t frameLen;
  int32_t bufferFullness;
  int32_t numRawDataBlocks;
  int32_t crcCheck;
} MoxAacADTSFrameHeader;
typedef struct MoxAacADIFHeader {
  int32_t adifId;
  int32_t copyrightIdPresent;
  int32_t originalCopy;
  int32_t home;
  int32_t bitstreamType;
  int32_t bitRate;
  int32_t numPrgCfgElt;
  int32_t bufferFullness[MOX_AAC_MAX_ELEMENTS];
  uint8_t
      copyrightId[MOX_AAC_COPYRIGHT_BYTES];
} MoxAacADIFHeader;
typedef struct MoxAacPrgCfgElt {
  int32_t elementInstanceTag;
  int32_t objectType;
  int32_t samplingRateIndex;
  int32_t numFrontChanElt;
  int32_t numSideChanElt;
  int32_t numBackChanElt;
  int32_t numLfeChanElt;
  int32_t numAssocDataElt;
  int32_t numValidCcElt;
  int32_t monoMixdownPresent;
  int32_t monoMixdownEltNum;
  int32_t stereoMixdownPresent;
  int32_t stereoMixdownEltNum;
  int32_t matrixMixdownIdxPresent;
  int32_t matrixMixdownIdx;
  int32_t pseudoSurroundEnable;
  int32_t frontEltIsCpe[MOX_AAC_MAX_ELEMENTS];
  int32_t frontEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t sideEltIsCpe[MOX_AAC_MAX_ELEMENTS];
  int32_t sideEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t backEltIsCpe[MOX_AAC_MAX_ELEMENTS];
  int32_t backEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t lfeEltTagSel[MOX_AAC_MAX_LFE_ELEMENTS];
  int32_t assocDataEltTagSel[MOX_AAC_MAX_DATA_ELEMENTS];
  int32_t ccEltIsIndSw[MOX_AAC_MAX_ELEMENTS];
  int32_t validCcEltTagSel[MOX_AAC_MAX_ELEMENTS];
  int32_t commentFieldBytes;
  uint8_t commentFieldData[MOX_AAC_COMMENT_BYTES];
} MoxAacPrgCfgElt;
typedef struct MoxAacIcsInfo {
  int32_t icsReservedBit;
  int32_t windowSequence;
  int32_t windowShape;
  int32_t maxSfb;
  int32_t scaleFactorGrouping;
  int32_t predictorDataPresent;
  int32_t predictorReset;
  int32_t predictorResetGroupNum;
  uint8_t predictionUsed[MOX_AAC_MAX_SFB_PRED];
  int32_t numWindowGroups;
  int32_t windowGroupLen[MOX_AAC_MAX_WINDOWS];
} MoxAacIcsInfo;
typedef struct MoxAacChanPairElt {
  int32_t commonWindow;
  int32_t msMaskPresent;
  uint8_t
      msUsed[MOX_AAC_MAX_WINDOWS]
            [MOX_AAC_MS_ROW];
} MoxAacChanPairElt;
typedef struct MoxAacTnsInfo {
  int32_t tnsDataPresent;
  int32_t nFilt[MOX_AAC_MAX_WINDOWS];
  int32_t coefRes[MOX_AAC_MAX_WINDOWS];
  int32_t length[MOX_AAC_MAX_TNS_FILTERS];
  int32_t order[MOX_AAC_MAX_TNS_FILTERS];
  int32_t direction
      [MOX_AAC_MAX_TNS_FILTERS];
  int32_t reserved[8];
  int8_t coef
      [MOX_AAC_MAX_TNS_COEFS];
} MoxAacTnsInfo;
typedef struct MoxAacLtpInfo {
  int32_t ltpDataPresent;
  int32_t ltpLag;
  int32_t ltpCoef;
  int32_t longUsedAll;
  int32_t longUsed[MOX_AAC_MAX_SFB_LTP];
  int32_t reserved[20];
  int32_t shortUsed[MOX_AAC_MAX_WINDOWS];
  int32_t shortLagPresent[MOX_AAC_MAX_WINDOWS];
  int32_t shortLag[MOX_AAC_MAX_WINDOWS];
} MoxAacLtpInfo;
typedef struct MoxAacMainHeader {
  int32_t windowSequence;
  int32_t windowShape;
  int32_t maxSfb;
  int32_t scaleFactorGrouping;
  int32_t numWindowGroups;
  int32_t windowGroupLen[MOX_AAC_MAX_WINDOWS];
  int32_t msMaskPresent;
  uint8_t* pMsUsed;
  MoxAacTnsInfo tns[2];
  MoxAacLtpInfo ltp[2];
} MoxAacMainHeader;
typedef struct MoxAacExtensionHeader {
  int32_t msMaskPresent;
  int32_t maxSfb;
  uint8_t* pMsUsed;
  MoxAacTnsInfo tns[2];
  int32_t diffControl[2][MOX_AAC_MAX_SFB_LONG];
} MoxAacExtensionHeader;
typedef struct MoxAacChanStream {
  int32_t reserved0;
  int32_t reserved1;
  int32_t samplingRateIndex;
  int32_t predSfbMax;
  int32_t reserved2;
  int32_t windowLen;
  int32_t numWindows;
  int32_t numSwb;
  int32_t globalGain;
  int32_t pulseDataPresent;
  int32_t tnsDataPresent;
  int32_t gainControlDataPresent;
  MoxAacIcsInfo* pIcsInfo;
  uint8_t sectCb[MOX_AAC_MAX_SECTIONS];
  uint8_t sectEnd[MOX_AAC_MAX_SECTIONS];
  int32_t numSec[MOX_AAC_MAX_WINDOWS];
  int32_t nFilt[MOX_AAC_MAX_WINDOWS];
  int32_t coefRes[MOX_AAC_MAX_WINDOWS];
  int32_t length[MOX_AAC_MAX_TNS_FILTERS];
  int32_t order[MOX_AAC_MAX_TNS_FILTERS];
  int32_t direction[MOX_AAC_MAX_TNS_FILTERS];
} MoxAacChanStream;
moxStatus moxsUnpackADTSFrameHeader_AAC(const uint8_t** ppBitStream, MoxAacADTSFrameHeader* pHeader);
moxStatus moxsUnpackADIFHeader_AAC(const uint8_t** ppBitStream, MoxAacADIFHeader* pAdifHeader, MoxAacPrgCfgElt* pPrgCfgElt, int32_t prgCfgEltMax);
moxStatus moxsDecodePrgCfgElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacPrgCfgElt* pPrgCfgElt);
moxStatus moxsDecodeChanPairElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacIcsInfo* pIcsInfo, MoxAacChanPairElt* pChanPairElt, int32_t predSfbMax);
moxStatus moxsDecodeChanPairElt_MP4_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacIcsInfo* pIcsInfo, MoxAacChanPairElt* pChanPairElt, MoxAacMainHeader* pMainHeader, int32_t predSfbMax, int32_t audioObjectType);
moxStatus moxsDecodeDatStrElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pTag, int32_t* pCount, uint8_t* pData);
moxStatus moxsDecodeFillElt_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pCount, uint8_t* pData);
moxStatus moxsDecodeMainHeader_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacMainHeader* pMainHeader, int32_t numChannels, int32_t layerFlag);
moxStatus moxsDecodeExtensionHeader_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacExtensionHeader* pExtHeader, int32_t tnsFlag, int32_t stereoFlag, int32_t diffCtrlFlag, int32_t startSfb, int32_t endSfb, int32_t windowSequence);
moxStatus moxsNoiselessDecoder_LC_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t commonWindow, MoxAacChanStream* pChanStream, int16_t* pScaleFactor, int32_t* pSpectrum, uint8_t* pSfbCb, int8_t* pTnsCoef);
moxStatus moxsNoiselessDecode_AAC(const uint8_t** ppBitStream, int32_t* pBitOffset, MoxAacMainHeader* pMainHeader, int16_t* pScaleFactor, int32_t* pSpectrum, uint8_t* pSfbCb, int8_t* pTnsCoef, MoxAacChanStream* pChanStream, int32_t windowSequence, int32_t maxSfb, int32_t commonWindow, int32_t layerFlag, int32_t audioObjectType);
moxStatus moxsQuantInv_AAC_32s_I(int32_t* pSrcDst, const int16_t* pScaleFactor, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t maxSfb, const uint8_t* pSfbCb, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodeMsStereo_AAC_32s_I(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t msMaskPresent, const uint8_t* pMsUsed, uint8_t* pSfbCb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t maxSfb, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodeIsStereo_AAC_32s(const int32_t* pSrcL, int32_t* pDstR, const int16_t* pScaleFactor, const uint8_t* pSfbCb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t maxSfb, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodePNS_AAC_32s(int32_t* pSrcDst, int32_t* pLtpUsedFlags, const uint8_t* pSfbCb, const int16_t* pScaleFactor, int32_t maxSfb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen, uint32_t* pRandomState);
moxStatus moxsDecodeMsPNS_AAC_32s(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t* pLtpUsedFlagsL, int32_t* pLtpUsedFlagsR, const uint8_t* pSfbCbL, const uint8_t* pSfbCbR, const int16_t* pScaleFactorL, const int16_t* pScaleFactorR, int32_t msMaskPresent, const uint8_t* pMsUsed, int32_t maxSfb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen, uint32_t* pRandomState);
moxStatus moxsDeinterleaveSpectrum_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength, const int32_t* pOrder, const int32_t* pCoefRes, const int8_t* pCoef, const int32_t* pDirection, int32_t maxSfb, int32_t mode, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsEncodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength, const int32_t* pOrder, const int32_t* pCoefRes, const int8_t* pCoef, const int32_t* pDirection, int32_t maxSfb, int32_t mode, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsMDCTInv_AAC_32s16s(const int32_t* pSrcSpectrum, int16_t* pDstPcm, int32_t* pSrcDstOverlapAdd, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, int32_t stride, int32_t* pBuffer);
moxStatus moxsMDCTFwd_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, int32_t* pBuffer);
moxStatus moxsMDCTFwd_AAC_32s_I(int32_t* pSrcDst, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, int32_t* pBuffer);
moxStatus moxsLongTermPredict_AAC_32s(const int32_t* pSrcHistory, int32_t* pDstPrediction, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, const MoxAacLtpInfo* pLtpInfo, int32_t* pBuffer);
moxStatus moxsLongTermReconstruct_AAC_32s(int32_t* pSrcDstPrediction, int32_t* pSrcDstSpectrum, int32_t windowSequence, int32_t maxSfb, int32_t samplingRateIndex, const MoxAacLtpInfo* pLtpInfo, const MoxAacTnsInfo* pTnsInfo);
moxStatus moxsLtpUpdate_AAC_32s(const int32_t* pSrcTime, const int32_t* pSrcOverlap, int32_t* pSrcDstHistory);
typedef struct MoxAacFdpState MoxAacFdpState;
moxStatus moxsFDPGetSize_32f(int32_t len, int32_t* pSize);
moxStatus moxsFDPInit_32f(MoxAacFdpState** ppState, int32_t len, uint8_t* pBuffer);
moxStatus moxsFDPInitAlloc_32f(MoxAacFdpState** ppState, int32_t len);
moxStatus moxsFDPFree_32f(MoxAacFdpState* pState);
moxStatus moxsFDPReset_32f(MoxAacFdpState* pState);
moxStatus moxsFDPResetGroup_32f(int32_t start, int32_t step, MoxAacFdpState* pState);
moxStatus moxsFDPResetSfb_32f(const int32_t* pSfbOffset, int32_t numSfb, const uint8_t* pResetFlag, MoxAacFdpState* pState);
moxStatus moxsFDPInv_32f_I(float* pSrcDst, const int32_t* pSfbOffset, int32_t numSfb, const uint8_t* pPredUsed, MoxAacFdpState* pState);
moxStatus moxsFDPFwd_32f(const float* pSrc, float* pDst, MoxAacFdpState* pState);
enum {
  MOX_MP3_LINES = 576,
  MOX_MP3_BANDS = 32,
  MOX_MP3_SLOTS = 18,
  MOX_MP3_LONG_BANDS = 22,
  MOX_MP3_SHORT_BANDS = 13,
  MOX_MP3_SCALE_FACTORS = 39,
  MOX_MP3_SCFSI = 4,
  MOX_MP3_HISTORY = 512
};
enum { MOX_MP3_LAYER_III = 1, MOX_MP3_LAYER_II = 2, MOX_MP3_LAYER_I = 3 };
enum { MOX_MP3_STEREO = 0, MOX_MP3_JOINT_STEREO = 1, MOX_MP3_DUAL_CHANNEL = 2, MOX_MP3_SINGLE_CHANNEL = 3 };
enum { MOX_MP3_EXT_INTENSITY = 1, MOX_MP3_EXT_MS = 2 };
enum { MOX_MP3_NORMAL = 0, MOX_MP3_START = 1, MOX_MP3_SHORT = 2, MOX_MP3_STOP = 3 };
enum {
  MOX_MP3_FRAC_BITS = 26
};
typedef struct MoxMp3FrameHeader {
  int32_t id;
  int32_t layer;
  int32_t protectionBit;
  int32_t bitRateIndex;
  int32_t samplingFreq;
  int32_t paddingBit;
  int32_t privateBit;
  int32_t mode;
  int32_t modeExt;
  int32_t rightsBit;
  int32_t originalCopy;
  int32_t emphasis;
  int32_t crcWord;
} MoxMp3FrameHeader;
typedef struct MoxMp3SideInfo {
  int32_t part23Len;
  int32_t bigVals;
  int32_t globGain;
  int32_t sfCompress;
  int32_t winSwitch;
  int32_t blockType;
  int32_t mixedBlock;
  int32_t tableSelect[3];
  int32_t subBlockGain[3];
  int32_t reg0Cnt;
  int32_t reg1Cnt;
  int32_t preFlag;
  int32_t sfScale;
  int32_t cnt1TabSel;
} MoxMp3SideInfo;
typedef struct MoxMp3BitReservoir {
  int32_t resBits;
  int32_t maxResBits;
} MoxMp3BitReservoir;
moxStatus moxsUnpackFrameHeader_MP3(const uint8_t** ppBitStream, MoxMp3FrameHeader* pFrameHeader);
moxStatus moxsUnpackSideInfo_MP3(const uint8_t** ppBitStream, MoxMp3SideInfo* pDstSideInfo, int32_t* pDstMainDataBegin, int32_t* pDstPrivateBits, int32_t* pDstScfsi, const MoxMp3FrameHeader* pFrameHeader);
moxStatus moxsUnpackScaleFactors_MP3_1u8s(const uint8_t** ppBitStream, int32_t* pBitOffset, int8_t* pDstScaleFactor, MoxMp3SideInfo* pSideInfo, const int32_t* pScfsi, const MoxMp3FrameHeader* pFrameHeader, int32_t granule, int32_t channel);
moxStatus moxsHuffmanDecode_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs, int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize);
moxStatus moxsHuffmanDecodeSfb_MP3_1u32s(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs, int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize, const int16_t* pSfbTableLong);
moxStatus moxsHuffmanDecodeSfbMbp_MP3_1u32s( const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t* pDstIs, int32_t* pDstNonZeroBound, const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader, int32_t hufSize, const int16_t* pSfbTableLong, const int16_t* pSfbTableShort, const int16_t* pMbpTable);
moxStatus moxsPackFrameHeader_MP3(const MoxMp3FrameHeader* pSrcFrameHeader, uint8_t** ppBitStream);
moxStatus moxsPackSideInfo_MP3(const MoxMp3SideInfo* pSrcSideInfo, uint8_t** ppBitStream, int32_t mainDataBegin, int32_t privateBits, const int32_t* pSrcScfsi, const MoxMp3FrameHeader* pFrameHeader);
moxStatus moxsPackScaleFactors_MP3_8s1u(const int8_t* pSrcScaleFactor, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxMp3FrameHeader* pFrameHeader, MoxMp3SideInfo* pSideInfo, const int32_t* pScfsi, int32_t granule, int32_t channel);
moxStatus moxsHuffmanEncode_MP3_32s1u(const int32_t* pSrcIx, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxMp3FrameHeader* pFrameHeader, const MoxMp3SideInfo* pSideInfo, int32_t count1Len, int32_t hufSize);
moxStatus moxsBitReservoirInit_MP3(MoxMp3BitReservoir* pReservoir, const MoxMp3FrameHeader* pFrameHeader);
moxStatus moxsReQuantize_MP3_32s_I(int32_t* pSrcDstIsXr, int32_t* pNonZeroBound, const int8_t* pScaleFactor, const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader, int32_t* pBuffer);
moxStatus moxsReQuantizeSfb_MP3_32s_I(int32_t* pSrcDstIsXr, int32_t* pNonZeroBound, const int8_t* pScaleFactor, const MoxMp3SideInfo* pSideInfo, const MoxMp3FrameHeader* pFrameHeader, const int16_t* pSfbTableLong, const int16_t* pSfbTableShort, int32_t* pBuffer);
moxStatus moxsMDCTInv_MP3_32s(const int32_t* pSrcXr, int32_t* pDstXs, int32_t* pSrcDstOverlap, int32_t nonZeroBound, int32_t* pPrevNumOfImdct, int32_t blockType, int32_t mixedBlock);
moxStatus moxsMDCTInvWindow_MP3_32s(const int32_t* pSrcXr, int32_t* pDstXs, int32_t* pSrcDstOverlap, int32_t nonZeroBound, int32_t* pPrevNumOfImdct, int32_t blockType, int32_t mixedBlock, const float* pWindow);
moxStatus moxsSynthPQMF_MP3_32s16s(const int32_t* pSrcXs, int16_t* pDstAudioOut, int32_t* pVBuffer, int32_t* pVPosition, int32_t stride);
typedef struct MoxMp3SynthesisState MoxMp3SynthesisState;
typedef struct MoxMp3AnalysisState MoxMp3AnalysisState;
moxStatus moxsAnalysisFilterGetSize_PQMF_MP3_32f(int32_t* pStateSize);
moxStatus moxsSynthesisFilterGetSize_PQMF_MP3_32f(int32_t* pStateSize);
moxStatus moxsSynthesisFilterInit_PQMF_MP3_32f(MoxMp3SynthesisState* pState);
moxStatus moxsSynthesisFilterInitAlloc_PQMF_MP3_32f(MoxMp3SynthesisState** ppState);
moxStatus moxsSynthesisFilterFree_PQMF_MP3_32f(MoxMp3SynthesisState* pState);
moxStatus moxsAnalysisFilterInit_PQMF_MP3_32f(MoxMp3AnalysisState* pState);
moxStatus moxsAnalysisFilterInitAlloc_PQMF_MP3_32f(MoxMp3AnalysisState** ppState);
moxStatus moxsAnalysisFilterFree_PQMF_MP3_32f(MoxMp3AnalysisState* pState);
moxStatus moxsSynthesisFilter_PQMF_MP3_32f(const float* pSrc, float* pDst, MoxMp3SynthesisState* pState);
moxStatus moxsAnalysisFilter_PQMF_MP3_32f(const float* pSrc, float* pDst, MoxMp3AnalysisState* pState);
moxStatus moxsAnalysisPQMF_MP3_16s32s(const int16_t* pSrcAudioIn, int32_t* pDstXs, int32_t* pXBuffer, int32_t* pXPosition, int32_t stride);
moxStatus moxsMDCTFwd_MP3_32s(const int32_t* pSrcXs, int32_t* pDstXr, int32_t* pSrcDstOverlap, int32_t blockType, int32_t mixedBlock, const MoxMp3FrameHeader* pFrameHeader);
typedef struct MoxMp3EncoderParameters {
  float noiseDistance, toneDistance;
  float leastDistance[25];
  float annexMinimum;
  float leastOwnDistance;
  int32_t predictedLines;
  float otherUnpredictability;
  float rise, riseOverTwo;
  float shortDistance;
  float shortRise;
  float attackLeap;
  float quietScale;
  float
      sensitiveShare;
  float midSideBonus;
  float midSideNoise;
  float costPower, shortCostPower;
  float absoluteShare;
  float mostDistance, mostShortDistance;
  int32_t attempts;
  float granuleContrast,
      channelContrast;
  float reservoirAim;
  float reservoirFill;
  float reservoirSpend;
} MoxMp3EncoderParameters;
typedef struct MoxMp3PsychoacousticModelTwoAnalysis {
  float energyLong[MOX_MP3_LONG_BANDS];
  float thresholdLong[MOX_MP3_LONG_BANDS];
  float energyShort[MOX_MP3_SHORT_BANDS][3];
  float thresholdShort[MOX_MP3_SHORT_BANDS][3];
  float perceptualEntropy;
  int32_t blockType;
} MoxMp3PsychoacousticModelTwoAnalysis;
typedef struct MoxMp3PsychoacousticModelTwoState {
  int64_t words[2560];
} MoxMp3PsychoacousticModelTwoState;
moxStatus moxsPsychoacousticModelTwo_MP3_16s(const int16_t* pSrcAudioIn, MoxMp3PsychoacousticModelTwoAnalysis* pDstPsyInfo, const MoxMp3FrameHeader* pFrameHeader, const MoxMp3EncoderParameters* pParameters, MoxMp3PsychoacousticModelTwoState* pState);
moxStatus moxsJointStereoEncode_MP3_32s_I(int32_t* pSrcDstXr, MoxMp3PsychoacousticModelTwoAnalysis* pSrcDstPsyInfo, MoxMp3FrameHeader* pFrameHeader, const MoxMp3EncoderParameters* pParameters);
moxStatus moxsQuantize_MP3_32s_I(int32_t* pSrcDstXrIx, int8_t* pDstScaleFactor, int32_t* pDstScfsi, int32_t* pDstCount1Len, MoxMp3SideInfo* pDstSideInfo, MoxMp3BitReservoir* pReservoir, int32_t meanBits, int32_t constantRate, const MoxMp3PsychoacousticModelTwoAnalysis* pPsyInfo, const MoxMp3FrameHeader* pFrameHeader, const MoxMp3EncoderParameters* pParameters);
typedef struct MoxQmfAnalysisSpec MoxQmfAnalysisSpec;
typedef struct MoxQmfSynthesisSpec MoxQmfSynthesisSpec;
moxStatus moxsAnalysisFilterGetSize_SBR_RToC_32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsAnalysisFilterGetSize_SBR_RToC_32f32fc(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsAnalysisFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsSynthesisFilterGetSize_SBR_CToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsSynthesisFilterGetSize_SBR_CToR_32fc32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsSynthesisFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsSynthesisDownFilterGetSize_SBR_CToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsSynthesisDownFilterGetSize_SBR_CToR_32fc32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsSynthesisDownFilterGetSize_SBR_RToR_32f(int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsAnalysisFilterInit_SBR_RToC_32f(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsAnalysisFilterInit_SBR_RToC_32f32fc(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsAnalysisFilterInit_SBR_RToR_32f(MoxQmfAnalysisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsSynthesisFilterInit_SBR_CToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsSynthesisFilterInit_SBR_CToR_32fc32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsSynthesisFilterInit_SBR_RToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsSynthesisDownFilterInit_SBR_CToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsSynthesisDownFilterInit_SBR_CToR_32fc32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsSynthesisDownFilterInit_SBR_RToR_32f(MoxQmfSynthesisSpec** ppSpec, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsAnalysisFilter_SBR_RToC_32f_D2L(const float* pSrc, float* const* ppDstRe, float* const* ppDstIm, const float* pWindow, int32_t numTimeSlots, int32_t offset, int32_t kx, MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsAnalysisFilter_SBR_RToC_32f32fc_D2L(const float* pSrc, Mox32fc* const* ppDst, const float* pWindow, int32_t numTimeSlots, int32_t offset, int32_t kx, MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsAnalysisFilter_SBR_RToR_32f_D2L(const float* pSrc, float* const* ppDst, const float* pWindow, int32_t numTimeSlots, int32_t offset, int32_t kx, MoxQmfAnalysisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsSynthesisFilter_SBR_CToR_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm, float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsSynthesisFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsSynthesisFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsSynthesisDownFilter_SBR_CToR_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm, float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsSynthesisDownFilter_SBR_CToR_32fc32f_D2L(const Mox32fc* const* ppSrc, float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsSynthesisDownFilter_SBR_RToR_32f_D2L(const float* const* ppSrc, float* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfSynthesisSpec* pSpec, uint8_t* pBuffer);
typedef struct MoxQmfFixedAnalysisState MoxQmfFixedAnalysisState;
typedef struct MoxQmfFixedSynthesisState MoxQmfFixedSynthesisState;
moxStatus moxsAnalysisFilterGetSize_SBRHQ_32s32sc(int32_t* pSize);
moxStatus moxsAnalysisFilterGetSize_SBRLP_32s(int32_t* pSize);
moxStatus moxsSynthesisFilterGetSize_SBRHQ_32sc32s(int32_t* pSize);
moxStatus moxsSynthesisFilterGetSize_SBRLP_32s(int32_t* pSize);
moxStatus moxsSynthesisDownFilterGetSize_SBRHQ_32sc32s(int32_t* pSize);
moxStatus moxsSynthesisDownFilterGetSize_SBRLP_32s(int32_t* pSize);
moxStatus moxsAnalysisFilterInit_SBRHQ_32s32sc(MoxQmfFixedAnalysisState* pState);
moxStatus moxsAnalysisFilterInit_SBRLP_32s(MoxQmfFixedAnalysisState* pState);
moxStatus moxsSynthesisFilterInit_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisFilterInit_SBRLP_32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisDownFilterInit_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisDownFilterInit_SBRLP_32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsAnalysisFilterInitAlloc_SBRHQ_32s32sc(MoxQmfFixedAnalysisState** ppState);
moxStatus moxsAnalysisFilterInitAlloc_SBRLP_32s(MoxQmfFixedAnalysisState** ppState);
moxStatus moxsSynthesisFilterInitAlloc_SBRHQ_32sc32s(MoxQmfFixedSynthesisState** ppState);
moxStatus moxsSynthesisFilterInitAlloc_SBRLP_32s(MoxQmfFixedSynthesisState** ppState);
moxStatus moxsSynthesisDownFilterInitAlloc_SBRHQ_32sc32s(MoxQmfFixedSynthesisState** ppState);
moxStatus moxsSynthesisDownFilterInitAlloc_SBRLP_32s(MoxQmfFixedSynthesisState** ppState);
moxStatus moxsAnalysisFilterFree_SBRHQ_32s32sc(MoxQmfFixedAnalysisState* pState);
moxStatus moxsAnalysisFilterFree_SBRLP_32s(MoxQmfFixedAnalysisState* pState);
moxStatus moxsSynthesisFilterFree_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisFilterFree_SBRLP_32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisDownFilterFree_SBRHQ_32sc32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisDownFilterFree_SBRLP_32s(MoxQmfFixedSynthesisState* pState);
moxStatus moxsAnalysisFilter_SBRHQ_32s32sc(const int32_t* pSrc, Mox32sc* pDst, int32_t numTimeSlots, int32_t kx, MoxQmfFixedAnalysisState* pState);
moxStatus moxsAnalysisFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots, int32_t kx, MoxQmfFixedAnalysisState* pState);
moxStatus moxsSynthesisFilter_SBRHQ_32sc32s(const Mox32sc* pSrc, int32_t* pDst, int32_t numTimeSlots, MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots, MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisDownFilter_SBRHQ_32sc32s(const Mox32sc* pSrc, int32_t* pDst, int32_t numTimeSlots, MoxQmfFixedSynthesisState* pState);
moxStatus moxsSynthesisDownFilter_SBRLP_32s(const int32_t* pSrc, int32_t* pDst, int32_t numTimeSlots, MoxQmfFixedSynthesisState* pState);
moxStatus moxsPredictCoef_SBR_R_32f_D2L(const float* const* ppSrc, float* pAlpha0, float* pAlpha1, int32_t numBands, int32_t numTimeSlots);
moxStatus moxsPredictCoef_SBR_C_32f_D2L(const float* const* ppSrcRe, const float* const* ppSrcIm, float* pAlpha0Re, float* pAlpha0Im, float* pAlpha1Re, float* pAlpha1Im, int32_t numBands, int32_t numTimeSlots);
moxStatus moxsPredictCoef_SBR_C_32fc_D2L(const Mox32fc* const* ppSrc, Mox32fc* pAlpha0, Mox32fc* pAlpha1, int32_t numBands, int32_t numTimeSlots);
moxStatus moxsPredictOneCoef_SBRHQ_32sc_D2L(const Mox32sc* const* ppSrc, Mox32sc* pAlpha0, Mox32sc* pAlpha1, int32_t band, int32_t numTimeSlots);
moxStatus moxsPredictOneCoef_SBRLP_32s_D2L(const int32_t* const* ppSrc, int32_t* pAlpha0, int32_t* pAlpha1, int32_t band, int32_t numTimeSlots);
typedef struct MoxQmfEncoderState MoxQmfEncoderState;
moxStatus moxsAnalysisFilterEncGetSize_SBR_32f(int32_t* pStateSize);
moxStatus moxsAnalysisFilterEncInit_SBR_32f(MoxQmfEncoderState* pState);
moxStatus moxsAnalysisFilterEncInitAlloc_SBR_32f(MoxQmfEncoderState** ppState);
moxStatus moxsAnalysisFilterEncFree_SBR_32f(MoxQmfEncoderState* pState);
moxStatus moxsAnalysisFilterEnc_SBR_32f32fc(const float* pSrc, Mox32fc* pDst, const float* pWindow, int32_t numTimeSlots, MoxQmfEncoderState* pState);
moxStatus moxsDetectTransient_SBR_32f(const Mox32fc* pSrc, int32_t* pDstPosition, float* pDstStrength, float* pSrcDstLevel, int32_t numBands, int32_t numTimeSlots, float threshold);
moxStatus moxsEstimateTNR_SBR_32f(const Mox32fc* pSrc, float* pDst, int32_t numBands, int32_t numTimeSlots);
enum {
  moxPsHistorySlots = 12,
  moxPsSubBands20 = 10,
  moxPsSubBands34 = 32
};
moxStatus moxsAnalysisFilter_PS_32fc_D2(const Mox32fc* const* ppSrc, Mox32fc* const* ppDst, int32_t numTimeSlots, int32_t configuration);
typedef struct MoxMdctSpec MoxMdctSpec;
moxStatus moxsMDCTFwdGetSize_32f(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsMDCTInvGetSize_32f(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsMDCTFwdGetSize_16s(int32_t N, int32_t* pSpecSize, int32_t* pInitBufSize, int32_t* pWorkSize);
moxStatus moxsMDCTFwdInit_32f(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsMDCTInvInit_32f(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsMDCTFwdInit_16s(MoxMdctSpec** ppSpec, int32_t N, uint8_t* pMem, uint8_t* pInitBuf);
moxStatus moxsMDCTFwdInitAlloc_32f(MoxMdctSpec** ppSpec, int32_t N);
moxStatus moxsMDCTInvInitAlloc_32f(MoxMdctSpec** ppSpec, int32_t N);
moxStatus moxsMDCTFwdInitAlloc_16s(MoxMdctSpec** ppSpec, int32_t N);
moxStatus moxsMDCTFwdFree_32f(MoxMdctSpec* pSpec);
moxStatus moxsMDCTInvFree_32f(MoxMdctSpec* pSpec);
moxStatus moxsMDCTFwdFree_16s(MoxMdctSpec* pSpec);
moxStatus moxsMDCTFwdGetBufSize_32f(const MoxMdctSpec* pSpec, int32_t* pSize);
moxStatus moxsMDCTInvGetBufSize_32f(const MoxMdctSpec* pSpec, int32_t* pSize);
moxStatus moxsMDCTFwdGetBufSize_16s(const MoxMdctSpec* pSpec, int32_t* pSize);
moxStatus moxsMDCTFwd_32f(const float* pSrc, float* pDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsMDCTFwd_32f_I(float* pSrcDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsMDCTInv_32f(const float* pSrc, float* pDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsMDCTInv_32f_I(float* pSrcDst, const MoxMdctSpec* pSpec, uint8_t* pBuffer);
moxStatus moxsMDCTFwd_16s_Sfs(const int16_t* pSrc, int16_t* pDst, const MoxMdctSpec* pSpec, int32_t scaleFactor, uint8_t* pBuffer);
typedef struct MoxDtsSynthesisState MoxDtsSynthesisState;
enum {
  moxDtsNonPerfect =
      0,
  moxDtsPerfect = 1
};
moxStatus moxsSynthesisFilterGetSize_DTS_32f(int32_t* pStateSize);
moxStatus moxsSynthesisFilterInit_DTS_32f(MoxDtsSynthesisState* pState);
moxStatus moxsSynthesisFilterInitAlloc_DTS_32f(MoxDtsSynthesisState** ppState);
moxStatus moxsSynthesisFilterFree_DTS_32f(MoxDtsSynthesisState* pState);
moxStatus moxsSynthesisFilter_DTS_32f(const float* pSrc, float* pDst, int32_t numTimeSlots, int32_t filter, MoxDtsSynthesisState* pState);
moxStatus moxsInterleave_16s(const int16_t* const* ppSrc, int32_t numChannels, int32_t len, int16_t* pDst);
moxStatus moxsInterleave_32f(const float* const* ppSrc, int32_t numChannels, int32_t len, float* pDst);
moxStatus moxsDeinterleave_16s(const int16_t* pSrc, int32_t numChannels, int32_t len, int16_t* const* ppDst);
moxStatus moxsDeinterleave_32f(const float* pSrc, int32_t numChannels, int32_t len, float* const* ppDst);
moxStatus moxsJoin_32f16s_D2L(const float* const* ppSrc, int32_t numChannels, int32_t len, int16_t* pDst);
moxStatus moxsMakeFloat_16s32f(const int16_t* pSrcMant, const uint16_t* pSrcExp, int32_t len, float* pDst);
moxStatus moxsScale_32f_I(float* pSrcDst, const float* pScale, const int32_t* pBandOffset, int32_t numBands);
moxStatus moxsPow43_16s32f(const int16_t* pSrc, float* pDst, int32_t len);
moxStatus moxsPow43Scale_16s32s_Sf(const int16_t* pSrc, int32_t* pDst, const int16_t* pScale, const int32_t* pBandOffset, int32_t numBands, int32_t scaleFactor);
moxStatus moxsPow34_16s_Sfs(const int16_t* pSrc, int16_t* pDst, int32_t len, int32_t scaleFactor);
moxStatus moxsPow34_32f(const float* pSrc, float* pDst, int32_t len);
moxStatus moxsPow34_32f16s(const float* pSrc, int16_t* pDst, int32_t len);
moxStatus moxsCalcSF_16s32f(const int16_t* pSrc, float* pDst, int32_t len, int32_t offset);
moxStatus moxsSpread_16s_Sfs(const int16_t* pSrc, int16_t* pDst, const int32_t* pBandOffset, int32_t numBands, int32_t scaleFactor);
typedef struct MoxFirBlockState MoxFirBlockState;
moxStatus moxsFIRBlockInitAlloc_32f(MoxFirBlockState** ppState, int32_t nTaps, int32_t blockLen);
moxStatus moxsFIRBlockFree_32f(MoxFirBlockState* pState);
moxStatus moxsFIRBlockOne_32f(const float* pSrc, float* pDst, MoxFirBlockState* pState, const float* pTaps);
typedef struct MoxVqCodeBook MoxVqCodeBook;
enum {
  moxVqMaxVectorLen = 256,
  moxVqMaxVectors = 4096
};
moxStatus moxsVQCodeBookGetSize_32f(int32_t vectorLen, int32_t numVectors, int32_t* pSize);
moxStatus moxsVQCodeBookInit_32f(const float* pVectors, int32_t vectorLen, int32_t numVectors, int32_t polarity, MoxVqCodeBook* pCodeBook);
moxStatus moxsVQCodeBookInitAlloc_32f(const float* pVectors, int32_t vectorLen, int32_t numVectors, int32_t polarity, MoxVqCodeBook** ppCodeBook);
moxStatus moxsVQCodeBookFree_32f(MoxVqCodeBook* pCodeBook);
moxStatus moxsVQPreliminarySelect_32f(const float* pSrc, const float* pWeight, int32_t* pDstCand, int32_t len, int32_t numCand, const MoxVqCodeBook* pCodeBook);
moxStatus moxsVQMainSelect_32f(const float* pSrc, const float* pWeight, const int32_t* pCand0, const int32_t* pCand1, int32_t* pDstIndex0, int32_t* pDstIndex1, int32_t len, int32_t numCand0, int32_t numCand1, const MoxVqCodeBook* pCodeBook0, const MoxVqCodeBook* pCodeBook1);
moxStatus moxsVQIndexSelect_32f(const float* pSrc, const float* pWeight, const int32_t* pLength, int32_t* pDstIndex0, int32_t* pDstIndex1, int32_t numDiv, int32_t numCand0, int32_t numCand1, const MoxVqCodeBook* pCodeBook0, const MoxVqCodeBook* pCodeBook1);
moxStatus moxsVQReconstruction_32f(const int32_t* pIndex0, const int32_t* pIndex1, const int32_t* pLength, float* pDst, int32_t numDiv, const MoxVqCodeBook* pCodeBook0, const MoxVqCodeBook* pCodeBook1);
typedef struct MoxVlcDecodeSpec MoxVlcDecodeSpec;
typedef struct MoxVlcEncodeSpec MoxVlcEncodeSpec;
moxStatus moxsVLCDecodeGetSize_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes, int32_t nSubTables, int32_t* pSize);
moxStatus moxsVLCDecodeInit_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes, int32_t nSubTables, MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeInitAlloc_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes, int32_t nSubTables, MoxVlcDecodeSpec** ppSpec);
void moxsVLCDecodeFree_32s(MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeOne_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeBlock_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t len, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeEscBlock_AAC_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t len, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeEscBlock_MP3_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t len, int32_t linBits, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeUTupleGetSize_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes, int32_t nSubTables, int32_t tupleSize, int32_t valueBits, int32_t* pSize);
moxStatus moxsVLCDecodeUTupleInit_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes, int32_t nSubTables, int32_t tupleSize, int32_t valueBits, MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeUTupleInitAlloc_32s(const int32_t* pInputTable, int32_t nRows, const int32_t* pSubTableSizes, int32_t nSubTables, int32_t tupleSize, int32_t valueBits, MoxVlcDecodeSpec** ppSpec);
void moxsVLCDecodeUTupleFree_32s(MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeUTupleOne_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeUTupleBlock_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t len, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeUTupleEscBlock_AAC_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t len, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCDecodeUTupleEscBlock_MP3_1u16s(const uint8_t** ppBitStream, int32_t* pBitOffset, int16_t* pDst, int32_t len, int32_t linBits, const MoxVlcDecodeSpec* pSpec);
moxStatus moxsVLCEncodeGetSize_32s(const int32_t* pInputTable, int32_t nRows, int32_t* pSize);
moxStatus moxsVLCEncodeInit_32s(const int32_t* pInputTable, int32_t nRows, MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCEncodeInitAlloc_32s(const int32_t* pInputTable, int32_t nRows, MoxVlcEncodeSpec** ppSpec);
void moxsVLCEncodeFree_32s(MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCEncodeOne_16s1u(int16_t value, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCEncodeBlock_16s1u(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCEncodeEscBlock_AAC_16s1u(const int16_t* pSrc, int32_t len, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCEncodeEscBlock_MP3_16s1u(const int16_t* pSrc, int32_t len, int32_t linBits, uint8_t** ppBitStream, int32_t* pBitOffset, const MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCCountBits_16s32s(const int16_t* pSrc, int32_t len, int32_t* pCount, const MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCCountEscBits_AAC_16s32s(const int16_t* pSrc, int32_t len, int32_t* pCount, const MoxVlcEncodeSpec* pSpec);
moxStatus moxsVLCCountEscBits_MP3_16s32s(const int16_t* pSrc, int32_t len, int32_t linBits, int32_t* pCount, const MoxVlcEncodeSpec* pSpec);
"""

MOXCODEC = r"""
typedef int32_t moxcStatus;
enum {
  moxcStatusOk = 0,
  moxcStatusNeedMore = 1,
  moxcStatusFormat = 2,
  moxcStatusEnd = 3,
  moxcStatusNullPointer = -1,
  moxcStatusBadArgument = -2,
  moxcStatusWrongState = -3,
  moxcStatusNoMemory = -4,
  moxcStatusNoStream =
      -5,
  moxcStatusUnsupported = -6,
  moxcStatusReadFailed = -7,
  moxcStatusCannotSeek = -8
};
const char* moxcStatusText(moxcStatus status);
typedef struct MoxcAllocator {
void* (*allocate)(void* user, size_t bytes);
void (*release)(void* user, void* memory);
  void* user;
} MoxcAllocator;
typedef struct MoxcDecoder MoxcDecoder;
typedef enum MoxcCodec {
  moxcCodecFind =
  moxcCodecMp3Frame = 1,
  moxcCodecAacBlock =
      2
} MoxcCodec;
typedef struct MoxcDecoderOptions {
  const MoxcAllocator* allocator;
  int32_t floatSamples;
  int32_t raw;
  MoxcCodec codec;
  const uint8_t*
      specificConfig;
  size_t specificConfigBytes;
} MoxcDecoderOptions;
typedef struct MoxcFormat {
  int32_t rate;
  int32_t channels;
  uint32_t channelMask;
} MoxcFormat;
typedef struct MoxcInput {
int64_t (*read)(void* user, uint8_t* to, size_t bytes);
int32_t (*seek)(void* user, int64_t position);
  int64_t size;
  void* user;
} MoxcInput;
moxcStatus moxcDecoderCreate(MoxcDecoder** ppDecoder, const MoxcDecoderOptions* options);
moxcStatus moxcDecoderOpen(MoxcDecoder** ppDecoder, const MoxcInput* input, const MoxcDecoderOptions* options);
moxcStatus moxcDecoderOpenFile(MoxcDecoder** ppDecoder, const char* name, const MoxcDecoderOptions* options);
void moxcDecoderFree(MoxcDecoder* decoder);
moxcStatus moxcDecoderFeed(MoxcDecoder* decoder, const uint8_t* bytes, size_t count, size_t* pTaken);
moxcStatus moxcDecoderFeedPacket(MoxcDecoder* decoder, const uint8_t* bytes, size_t count);
moxcStatus moxcDecoderEnd(MoxcDecoder* decoder);
moxcStatus moxcDecoderFlush(MoxcDecoder* decoder);
moxcStatus moxcDecoderRead_16s(MoxcDecoder* decoder, int16_t* samples, size_t frames, size_t* pFrames);
moxcStatus moxcDecoderRead_32f(MoxcDecoder* decoder, float* samples, size_t frames, size_t* pFrames);
moxcStatus moxcDecoderGetFormat(const MoxcDecoder* decoder, MoxcFormat* pFormat);
moxcStatus moxcDecoderGetPosition(const MoxcDecoder* decoder, int64_t* pPosition);
typedef enum MoxcDuration {
  moxcDurationUnknown = 0,
  moxcDurationEstimated = 1,
  moxcDurationTold = 2,
  moxcDurationExact = 3
} MoxcDuration;
moxcStatus moxcDecoderGetDuration(const MoxcDecoder* decoder, int64_t* pDuration, MoxcDuration* pKind);
moxcStatus moxcDecoderSeek(MoxcDecoder* decoder, int64_t position);
moxcStatus moxcDecoderScan(MoxcDecoder* decoder);
typedef struct MoxcStats {
  int64_t frames;
  int64_t concealed;
  int64_t skippedBytes;
  int64_t bytes;
  int32_t formats;
  int32_t mostChannels;
  int32_t damaged;
} MoxcStats;
moxcStatus moxcDecoderGetStats(MoxcDecoder* decoder, MoxcStats* pStats);
typedef enum MoxcTexts {
  moxcTextDescription = 0,
  moxcTextTag = 1,
  moxcTextDamage = 2,
  moxcTextNotice = 3
} MoxcTexts;
moxcStatus moxcDecoderGetText(MoxcDecoder* decoder, MoxcTexts kind, int32_t index, const char** pName, const char** pText);
const char* moxcDecoderGetMessage(const MoxcDecoder* decoder);
typedef enum MoxcEventKind {
  moxcEventFormat = 1,
  moxcEventConcealed = 2,
  moxcEventSkipped = 3,
  moxcEventTag = 4,
  moxcEventPart = 5
} MoxcEventKind;
typedef struct MoxcEvent {
  MoxcEventKind kind;
  int64_t position;
  int64_t byte;
  int64_t count;
} MoxcEvent;
moxcStatus moxcDecoderNextEvent(MoxcDecoder* decoder, MoxcEvent* pEvent);
"""

MP3_ENCODER_PARAMETERS = {
    'DEFAULTS': (6, 15, (15, 15, 14, 14, 13, 12, 11, 10, 9, 8, 8, 7, 7, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6), 0, 6, 513, 0.4, 2, 16, 0, 4, 8, 1, 0.6, 0.03, 0, 1, 0.5, 0.5, 40, 20, 20, 0.6, 0.5, 0.5, 0.12, 0.6),
    'ANNEX': (6, 29, (0,), 1, -200, 206, 0.4, 2, 16, 0, 2, 8, 1, 1, 0, 0, 1, 1, 0, 120, 120, 20, 1, 1, 0.5, 0.12, 1),
}

TABLES = {
    'moxAacSampleRates': (96000, 88200, 64000, 48000, 44100, 32000, 24000, 22050, 16000, 12000, 11025, 8000),
    'moxAacNumSwbLong': (41, 41, 47, 49, 49, 51, 47, 47, 43, 43, 43, 40),
    'moxAacNumSwbShort': (12, 12, 12, 14, 14, 14, 15, 15, 15, 15, 15, 15),
    'moxAacSwbOffsetLong': ((0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52, 56, 64, 72, 80, 88, 96, 108, 120,
        132, 144, 156, 172, 188, 212, 240, 276, 320, 384, 448, 512, 576, 640, 704, 768, 832, 896, 960, 1024, 1024,
        1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024), (0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 48, 52,
        56, 64, 72, 80, 88, 96, 108, 120, 132, 144, 156, 172, 188, 212, 240, 276, 320, 384, 448, 512, 576, 640, 704,
        768, 832, 896, 960, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024), (0, 4, 8, 12, 16, 20,
        24, 28, 32, 36, 40, 44, 48, 52, 56, 64, 72, 80, 88, 100, 112, 124, 140, 156, 172, 192, 216, 240, 268, 304,
        344, 384, 424, 464, 504, 544, 584, 624, 664, 704, 744, 784, 824, 864, 904, 944, 984, 1024, 1024, 1024, 1024,
        1024), (0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 48, 56, 64, 72, 80, 88, 96, 108, 120, 132, 144, 160, 176,
        196, 216, 240, 264, 292, 320, 352, 384, 416, 448, 480, 512, 544, 576, 608, 640, 672, 704, 736, 768, 800, 832,
        864, 896, 928, 1024, 1024, 1024), (0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 48, 56, 64, 72, 80, 88, 96, 108,
        120, 132, 144, 160, 176, 196, 216, 240, 264, 292, 320, 352, 384, 416, 448, 480, 512, 544, 576, 608, 640, 672,
        704, 736, 768, 800, 832, 864, 896, 928, 1024, 1024, 1024), (0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 48, 56,
        64, 72, 80, 88, 96, 108, 120, 132, 144, 160, 176, 196, 216, 240, 264, 292, 320, 352, 384, 416, 448, 480, 512,
        544, 576, 608, 640, 672, 704, 736, 768, 800, 832, 864, 896, 928, 960, 992, 1024), (0, 4, 8, 12, 16, 20, 24,
        28, 32, 36, 40, 44, 52, 60, 68, 76, 84, 92, 100, 108, 116, 124, 136, 148, 160, 172, 188, 204, 220, 240, 260,
        284, 308, 336, 364, 396, 432, 468, 508, 552, 600, 652, 704, 768, 832, 896, 960, 1024, 1024, 1024, 1024, 1024),
        (0, 4, 8, 12, 16, 20, 24, 28, 32, 36, 40, 44, 52, 60, 68, 76, 84, 92, 100, 108, 116, 124, 136, 148, 160, 172,
        188, 204, 220, 240, 260, 284, 308, 336, 364, 396, 432, 468, 508, 552, 600, 652, 704, 768, 832, 896, 960, 1024,
        1024, 1024, 1024, 1024), (0, 8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 100, 112, 124, 136, 148, 160, 172,
        184, 196, 212, 228, 244, 260, 280, 300, 320, 344, 368, 396, 424, 456, 492, 532, 572, 616, 664, 716, 772, 832,
        896, 960, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024), (0, 8, 16, 24, 32, 40, 48, 56, 64, 72, 80,
        88, 100, 112, 124, 136, 148, 160, 172, 184, 196, 212, 228, 244, 260, 280, 300, 320, 344, 368, 396, 424, 456,
        492, 532, 572, 616, 664, 716, 772, 832, 896, 960, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024), (0,
        8, 16, 24, 32, 40, 48, 56, 64, 72, 80, 88, 100, 112, 124, 136, 148, 160, 172, 184, 196, 212, 228, 244, 260,
        280, 300, 320, 344, 368, 396, 424, 456, 492, 532, 572, 616, 664, 716, 772, 832, 896, 960, 1024, 1024, 1024,
        1024, 1024, 1024, 1024, 1024, 1024), (0, 12, 24, 36, 48, 60, 72, 84, 96, 108, 120, 132, 144, 156, 172, 188,
        204, 220, 236, 252, 268, 288, 308, 328, 348, 372, 396, 420, 448, 476, 508, 544, 580, 620, 664, 712, 764, 820,
        880, 944, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024, 1024)),
    'moxAacSwbOffsetShort': ((0, 4, 8, 12, 16, 20, 24, 32, 40, 48, 64, 92, 128, 128, 128, 128), (0, 4, 8, 12, 16, 20,
        24, 32, 40, 48, 64, 92, 128, 128, 128, 128), (0, 4, 8, 12, 16, 20, 24, 32, 40, 48, 64, 92, 128, 128, 128,
        128), (0, 4, 8, 12, 16, 20, 28, 36, 44, 56, 68, 80, 96, 112, 128, 128), (0, 4, 8, 12, 16, 20, 28, 36, 44, 56,
        68, 80, 96, 112, 128, 128), (0, 4, 8, 12, 16, 20, 28, 36, 44, 56, 68, 80, 96, 112, 128, 128), (0, 4, 8, 12,
        16, 20, 24, 28, 36, 44, 52, 64, 76, 92, 108, 128), (0, 4, 8, 12, 16, 20, 24, 28, 36, 44, 52, 64, 76, 92, 108,
        128), (0, 4, 8, 12, 16, 20, 24, 28, 32, 40, 48, 60, 72, 88, 108, 128), (0, 4, 8, 12, 16, 20, 24, 28, 32, 40,
        48, 60, 72, 88, 108, 128), (0, 4, 8, 12, 16, 20, 24, 28, 32, 40, 48, 60, 72, 88, 108, 128), (0, 4, 8, 12, 16,
        20, 24, 28, 36, 44, 52, 60, 72, 88, 108, 128)),
    'moxAacTnsMaxBandsLong': (31, 31, 34, 40, 42, 51, 46, 46, 42, 42, 42, 39),
    'moxAacTnsMaxBandsShort': (9, 9, 10, 14, 14, 14, 14, 14, 14, 14, 14, 14),
    'moxAacPredSfbMax': (33, 33, 38, 40, 40, 40, 41, 41, 37, 37, 37, 34),
    'moxAacLtpGains': (0.570829, 0.696616, 0.813004, 0.911304, 0.9849, 1.067894, 1.194601, 1.369533),
    'moxAacKaiserBesselAlphaLong': 4,
    'moxAacKaiserBesselAlphaShort': 6,
    'moxMp3BitRates': ((0, 8, 16, 24, 32, 40, 48, 56, 64, 80, 96, 112, 128, 144, 160), (0, 32, 40, 48, 56, 64, 80, 96,
        112, 128, 160, 192, 224, 256, 320)),
    'moxMp3SampleRates': ((22050, 24000, 16000), (44100, 48000, 32000)),
    'moxMp3SfbLong': ((0, 6, 12, 18, 24, 30, 36, 44, 54, 66, 80, 96, 116, 140, 168, 200, 238, 284, 336, 396, 464, 522,
        576), (0, 6, 12, 18, 24, 30, 36, 44, 54, 66, 80, 96, 114, 136, 162, 194, 232, 278, 332, 394, 464, 540, 576),
        (0, 6, 12, 18, 24, 30, 36, 44, 54, 66, 80, 96, 116, 140, 168, 200, 238, 284, 336, 396, 464, 522, 576), (0, 4,
        8, 12, 16, 20, 24, 30, 36, 44, 52, 62, 74, 90, 110, 134, 162, 196, 238, 288, 342, 418, 576), (0, 4, 8, 12, 16,
        20, 24, 30, 36, 42, 50, 60, 72, 88, 106, 128, 156, 190, 230, 276, 330, 384, 576), (0, 4, 8, 12, 16, 20, 24,
        30, 36, 44, 54, 66, 82, 102, 126, 156, 194, 240, 296, 364, 448, 550, 576)),
    'moxMp3SfbShort': ((0, 4, 8, 12, 18, 24, 32, 42, 56, 74, 100, 132, 174, 192), (0, 4, 8, 12, 18, 26, 36, 48, 62,
        80, 104, 136, 180, 192), (0, 4, 8, 12, 18, 26, 36, 48, 62, 80, 104, 134, 174, 192), (0, 4, 8, 12, 16, 22, 30,
        40, 52, 66, 84, 106, 136, 192), (0, 4, 8, 12, 16, 22, 28, 38, 50, 64, 80, 100, 126, 192), (0, 4, 8, 12, 16,
        22, 30, 42, 58, 78, 104, 138, 180, 192)),
    'moxSbrQmfPrototype': (0.0, -0.0005525286504714797, -0.000561769257378882, -0.0004947518089560348,
        -0.0004875227971213061, -0.0004893791249849297, -0.0005040714349717598, -0.0005226564297171536,
        -0.0005466565633704553, -0.0005677802561282153, -0.0005870930485225149, -0.0006132747393831305,
        -0.0006312493531935796, -0.0006540333362057484, -0.0006777690776369781, -0.0006941614627303249,
        -0.0007157736474351308, -0.0007255043122205504, -0.000744094185409492, -0.0007490598053217391,
        -0.0007681371927024808, -0.0007724848594888575, -0.0007834332287666293, -0.0007779869492680295,
        -0.000780366470997031, -0.0007801449625711068, -0.0007757977330969382, -0.000763079357570305,
        -0.0007530001420101251, -0.0007319357152453665, -0.0007215391987622286, -0.0006917937537191035,
        -0.0006650415089345047, -0.0006341594902471489, -0.0005946118933031955, -0.0005564576390631206,
        -0.0005145572210825134, -0.0004606325480338262, -0.0004095121452206994, -0.0003501175875595919,
        -0.0002896981174825215, -0.0002098337343963717, -0.0001446380934949981, -6.173344071970479e-05,
        1.349497417596386e-05, 0.0001094383127384685, 0.0002043017068780772, 0.0002949531104116364,
        0.0004026540215999252, 0.0005107388495248741, 0.0006239376139142985, 0.0007458025886538838,
        0.0008608443326193891, 0.000988598830153675, 0.001125015513066064, 0.001257788464745049, 0.001390249482718497,
        0.001544321984713545, 0.001686808325309625, 0.001834826542238209, 0.001984114073694576, 0.002146158355573756,
        0.002301725477463282, 0.002462561691257243, 0.002620175869023839, 0.002787046434648109, 0.002946944771654501,
        0.003112542065248617, 0.003273961348469476, 0.003441887418281308, 0.003600826812313299, 0.003760392291041691,
        0.003920743237034152, 0.004081975319350373, 0.004226426922703637, 0.004373071967813425, 0.004520985278247952,
        0.004660646061176193, 0.004793256084983462, 0.004913760357448478, 0.005039302260125202, 0.005140735390322959,
        0.005246116613236508, 0.005347168119820721, 0.005419677593070989, 0.005487604015074597, 0.00554757145088352,
        0.00559380230045433, 0.005622064320965902, 0.00564551969163552, 0.005638919951508487, 0.00562661141932372,
        0.005591712866303156, 0.005540436394000088, 0.005475378307696386, 0.005383897589704628, 0.005271575872723485,
        0.005138227545142836, 0.004983968776294583, 0.004810946905999106, 0.00460395301470505, 0.004380186174471733,
        0.004125164232698537, 0.003845640812460432, 0.003540124655067661, 0.003209188580984976, 0.002844675786234913,
        0.002450854003212794, 0.002027417618500581, 0.001578468257676472, 0.001090232905120221, 0.0005832264248006948,
        2.76045190529906e-05, -0.0005464280866436426, -0.001156813552266513, -0.001803947258930832,
        -0.002482672364493203, -0.003193377839003896, -0.003940112405218538, -0.004722259624000638,
        -0.00553372111087995, -0.006379229326851348, -0.007261581685172976, -0.008179823337263956,
        -0.009132532960846242, -0.01011502154985735, -0.01113155480320807, -0.01218499959507776, 0.01327182200350553,
        0.01439046660791857, 0.01554055533423407, 0.01673247129988964, 0.01794333813443166, 0.01918724313697539,
        0.02045317933555374, 0.02174675502535081, 0.02306801692862206, 0.02441609920284815, 0.02578758475467104,
        0.02718594296328715, 0.02860721736384611, 0.030050265742795, 0.03150176087389379, 0.03297540810337295,
        0.03446209487686384, 0.035969756055417, 0.03748128504251629, 0.03900536794745497, 0.04053491705584002,
        0.04206490946366589, 0.04360975421303862, 0.0451488405641316, 0.04668430272642297, 0.04821657200671922,
        0.0497385755601393, 0.0512556155521588, 0.05276307465206772, 0.05424527683588578, 0.05571736482138088,
        0.05716164501298929, 0.0585915683625956, 0.05998374801761285, 0.06134551717206593, 0.06268578081171672,
        0.06397158980680977, 0.06522471064379697, 0.06643675122104309, 0.06760759851227793, 0.06870438283511596,
        0.06976302447126595, 0.0707628710726565, 0.0717002673110181, 0.0725682583308316, 0.07336202550803318,
        0.07410036424341697, 0.07474525581193675, 0.07531373362019285, 0.0758008358658431, 0.07619924793395567,
        0.07649921704119104, 0.07670934904244611, 0.07681739756964497, 0.07682300113922813, 0.07672049241745922,
        0.07650507183193828, 0.07617483218536458, 0.07573057565061056, 0.07515762552869984, 0.0744664394756423,
        0.073640600576203, 0.07267746427298773, 0.07158263647902899, 0.07035330735092815, 0.06896640131950568,
        0.06745250215166189, 0.06576906686507557, 0.06394448059633222, 0.06196027790386974, 0.05981665708090339,
        0.05751526919867195, 0.05504600343008619, 0.05240938217365652, 0.04959786763444761, 0.04663033051701176,
        0.04347687821958321, 0.04014582784127306, 0.0366418116813345, 0.03295839306690847, 0.02908240060124874,
        0.02503075618908813, 0.02079970728622271, 0.01637012582228135, 0.01176238327857339, 0.006963686216167498,
        0.001976560145028481, -0.003208689683036121, -0.008571174913661668, -0.01412888273557668,
        -0.01988341292573269, -0.02582272888063778, -0.03195312745331961, -0.03827765720821592, -0.04478068215855852,
        -0.05148041767933625, -0.05837053268336145, -0.06544098531359448, -0.0726943300812931, -0.08013729344279387,
        -0.08775475365592653, -0.09555333528914223, -0.1035329531146302, -0.1116826931773024, -0.1200077984679968,
        -0.1285002850387848, -0.1371551761193432, -0.1459766491186991, -0.1549607071060459, -0.1640958855666853,
        -0.1733808172170604, -0.1828172548514229, -0.19239667457267, -0.2021250176810344, -0.2119735853805564,
        -0.2219652696414943, -0.2320690870679074, -0.2423016884597387, -0.2526480309572177, -0.263105329946034,
        -0.2736634040562456, -0.2843214189108535, -0.2950716717064639, -0.3059098575191602, -0.3168278913645616,
        -0.3278113727210475, -0.3388722693866466, -0.3499914122930965, 0.3611589903135513, 0.3723795546306128,
        0.3836350013904333, 0.3949211761567527, 0.4062317676762485, 0.4175696896840907, 0.428911992073732,
        0.4402553754366491, 0.4515996535682373, 0.4629308085275695, 0.4742453214611543, 0.4855253091109857,
        0.4967708254570692, 0.5079817500043367, 0.5191234970239136, 0.5302240895685498, 0.5412553448732201,
        0.5522051258506063, 0.5630789140137002, 0.5738524131692297, 0.5845403235467916, 0.5951123086249566,
        0.6055783538918024, 0.615910993202911, 0.6261242695605493, 0.6361980107728613, 0.6461269695946109,
        0.6559016302467067, 0.6655139880162695, 0.6749663190171162, 0.6842353293459781, 0.6933282376703176,
        0.7022388719353935, 0.7109410426309526, 0.7194462634956096, 0.7277448900299428, 0.7358211758276898,
        0.7436827863648809, 0.7513137456123731, 0.7587080760824195, 0.7658674865093896, 0.7727780881332725,
        0.7794287519021588, 0.785835312039201, 0.7919735841642436, 0.797846641377004, 0.8034485751850517,
        0.8087695004449111, 0.8138191270621699, 0.8185776004646774, 0.8230419890540879, 0.8272275347335977,
        0.8311038457151991, 0.8346937361840173, 0.8379717337886474, 0.8409541392472186, 0.8436238281200542,
        0.845981846982064, 0.8480315777076319, 0.8497805198426792, 0.8511971524934298, 0.8523047035214708,
        0.8531020949701688, 0.8535720573910749, 0.8537385600593657, 0.8535720573910749, 0.8531020949701688,
        0.8523047035214708, 0.8511971524934298, 0.8497805198426792, 0.8480315777076319, 0.845981846982064,
        0.8436238281200542, 0.8409541392472186, 0.8379717337886474, 0.8346937361840173, 0.8311038457151991,
        0.8272275347335977, 0.8230419890540879, 0.8185776004646774, 0.8138191270621699, 0.8087695004449111,
        0.8034485751850517, 0.797846641377004, 0.7919735841642436, 0.785835312039201, 0.7794287519021588,
        0.7727780881332725, 0.7658674865093896, 0.7587080760824195, 0.7513137456123731, 0.7436827863648809,
        0.7358211758276898, 0.7277448900299428, 0.7194462634956096, 0.7109410426309526, 0.7022388719353935,
        0.6933282376703176, 0.6842353293459781, 0.6749663190171162, 0.6655139880162695, 0.6559016302467067,
        0.6461269695946109, 0.6361980107728613, 0.6261242695605493, 0.615910993202911, 0.6055783538918024,
        0.5951123086249566, 0.5845403235467916, 0.5738524131692297, 0.5630789140137002, 0.5522051258506063,
        0.5412553448732201, 0.5302240895685498, 0.5191234970239136, 0.5079817500043367, 0.4967708254570692,
        0.4855253091109857, 0.4742453214611543, 0.4629308085275695, 0.4515996535682373, 0.4402553754366491,
        0.428911992073732, 0.4175696896840907, 0.4062317676762485, 0.3949211761567527, 0.3836350013904333,
        0.3723795546306128, -0.3611589903135513, -0.3499914122930965, -0.3388722693866466, -0.3278113727210475,
        -0.3168278913645616, -0.3059098575191602, -0.2950716717064639, -0.2843214189108535, -0.2736634040562456,
        -0.263105329946034, -0.2526480309572177, -0.2423016884597387, -0.2320690870679074, -0.2219652696414943,
        -0.2119735853805564, -0.2021250176810344, -0.19239667457267, -0.1828172548514229, -0.1733808172170604,
        -0.1640958855666853, -0.1549607071060459, -0.1459766491186991, -0.1371551761193432, -0.1285002850387848,
        -0.1200077984679968, -0.1116826931773024, -0.1035329531146302, -0.09555333528914223, -0.08775475365592653,
        -0.08013729344279387, -0.0726943300812931, -0.06544098531359448, -0.05837053268336145, -0.05148041767933625,
        -0.04478068215855852, -0.03827765720821592, -0.03195312745331961, -0.02582272888063778, -0.01988341292573269,
        -0.01412888273557668, -0.008571174913661668, -0.003208689683036121, 0.001976560145028481,
        0.006963686216167498, 0.01176238327857339, 0.01637012582228135, 0.02079970728622271, 0.02503075618908813,
        0.02908240060124874, 0.03295839306690847, 0.0366418116813345, 0.04014582784127306, 0.04347687821958321,
        0.04663033051701176, 0.04959786763444761, 0.05240938217365652, 0.05504600343008619, 0.05751526919867195,
        0.05981665708090339, 0.06196027790386974, 0.06394448059633222, 0.06576906686507557, 0.06745250215166189,
        0.06896640131950568, 0.07035330735092815, 0.07158263647902899, 0.07267746427298773, 0.073640600576203,
        0.0744664394756423, 0.07515762552869984, 0.07573057565061056, 0.07617483218536458, 0.07650507183193828,
        0.07672049241745922, 0.07682300113922813, 0.07681739756964497, 0.07670934904244611, 0.07649921704119104,
        0.07619924793395567, 0.0758008358658431, 0.07531373362019285, 0.07474525581193675, 0.07410036424341697,
        0.07336202550803318, 0.0725682583308316, 0.0717002673110181, 0.0707628710726565, 0.06976302447126595,
        0.06870438283511596, 0.06760759851227793, 0.06643675122104309, 0.06522471064379697, 0.06397158980680977,
        0.06268578081171672, 0.06134551717206593, 0.05998374801761285, 0.0585915683625956, 0.05716164501298929,
        0.05571736482138088, 0.05424527683588578, 0.05276307465206772, 0.0512556155521588, 0.0497385755601393,
        0.04821657200671922, 0.04668430272642297, 0.0451488405641316, 0.04360975421303862, 0.04206490946366589,
        0.04053491705584002, 0.03900536794745497, 0.03748128504251629, 0.035969756055417, 0.03446209487686384,
        0.03297540810337295, 0.03150176087389379, 0.030050265742795, 0.02860721736384611, 0.02718594296328715,
        0.02578758475467104, 0.02441609920284815, 0.02306801692862206, 0.02174675502535081, 0.02045317933555374,
        0.01918724313697539, 0.01794333813443166, 0.01673247129988964, 0.01554055533423407, 0.01439046660791857,
        -0.01327182200350553, -0.01218499959507776, -0.01113155480320807, -0.01011502154985735, -0.009132532960846242,
        -0.008179823337263956, -0.007261581685172976, -0.006379229326851348, -0.00553372111087995,
        -0.004722259624000638, -0.003940112405218538, -0.003193377839003896, -0.002482672364493203,
        -0.001803947258930832, -0.001156813552266513, -0.0005464280866436426, 2.76045190529906e-05,
        0.0005832264248006948, 0.001090232905120221, 0.001578468257676472, 0.002027417618500581, 0.002450854003212794,
        0.002844675786234913, 0.003209188580984976, 0.003540124655067661, 0.003845640812460432, 0.004125164232698537,
        0.004380186174471733, 0.00460395301470505, 0.004810946905999106, 0.004983968776294583, 0.005138227545142836,
        0.005271575872723485, 0.005383897589704628, 0.005475378307696386, 0.005540436394000088, 0.005591712866303156,
        0.00562661141932372, 0.005638919951508487, 0.00564551969163552, 0.005622064320965902, 0.00559380230045433,
        0.00554757145088352, 0.005487604015074597, 0.005419677593070989, 0.005347168119820721, 0.005246116613236508,
        0.005140735390322959, 0.005039302260125202, 0.004913760357448478, 0.004793256084983462, 0.004660646061176193,
        0.004520985278247952, 0.004373071967813425, 0.004226426922703637, 0.004081975319350373, 0.003920743237034152,
        0.003760392291041691, 0.003600826812313299, 0.003441887418281308, 0.003273961348469476, 0.003112542065248617,
        0.002946944771654501, 0.002787046434648109, 0.002620175869023839, 0.002462561691257243, 0.002301725477463282,
        0.002146158355573756, 0.001984114073694576, 0.001834826542238209, 0.001686808325309625, 0.001544321984713545,
        0.001390249482718497, 0.001257788464745049, 0.001125015513066064, 0.000988598830153675, 0.0008608443326193891,
        0.0007458025886538838, 0.0006239376139142985, 0.0005107388495248741, 0.0004026540215999252,
        0.0002949531104116364, 0.0002043017068780772, 0.0001094383127384685, 1.349497417596386e-05,
        -6.173344071970479e-05, -0.0001446380934949981, -0.0002098337343963717, -0.0002896981174825215,
        -0.0003501175875595919, -0.0004095121452206994, -0.0004606325480338262, -0.0005145572210825134,
        -0.0005564576390631206, -0.0005946118933031955, -0.0006341594902471489, -0.0006650415089345047,
        -0.0006917937537191035, -0.0007215391987622286, -0.0007319357152453665, -0.0007530001420101251,
        -0.000763079357570305, -0.0007757977330969382, -0.0007801449625711068, -0.000780366470997031,
        -0.0007779869492680295, -0.0007834332287666293, -0.0007724848594888575, -0.0007681371927024808,
        -0.0007490598053217391, -0.000744094185409492, -0.0007255043122205504, -0.0007157736474351308,
        -0.0006941614627303249, -0.0006777690776369781, -0.0006540333362057484, -0.0006312493531935796,
        -0.0006132747393831305, -0.0005870930485225149, -0.0005677802561282153, -0.0005466565633704553,
        -0.0005226564297171536, -0.0005040714349717598, -0.0004893791249849297, -0.0004875227971213061,
        -0.0004947518089560348, -0.000561769257378882, -0.0005525286504714797),
}

MOXCODEC = r"""
typedef int32_t moxcStatus;
enum {
  moxcStatusOk = 0,
  moxcStatusNeedMore = 1,
  moxcStatusFormat = 2,
  moxcStatusEnd = 3,
  moxcStatusNullPointer = -1,
  moxcStatusBadArgument = -2,
  moxcStatusWrongState = -3,
  moxcStatusNoMemory = -4,
  moxcStatusNoStream =
      -5,
  moxcStatusUnsupported = -6,
  moxcStatusReadFailed = -7,
  moxcStatusCannotSeek = -8
};
const char* moxcStatusText(moxcStatus status);
typedef struct MoxcAllocator {
void* (*allocate)(void* user, size_t bytes);
void (*release)(void* user, void* memory);
  void* user;
} MoxcAllocator;
typedef struct MoxcDecoder MoxcDecoder;
typedef enum MoxcCodec {
  moxcCodecFind =
      0,
  moxcCodecMp3Frame = 1,
  moxcCodecAacBlock =
      2
} MoxcCodec;
typedef struct MoxcDecoderOptions {
  const MoxcAllocator* allocator;
  int32_t floatSamples;
  int32_t raw;
  MoxcCodec codec;
  const uint8_t*
      specificConfig;
  size_t specificConfigBytes;
} MoxcDecoderOptions;
typedef struct MoxcFormat {
  int32_t rate;
  int32_t channels;
  uint32_t channelMask;
} MoxcFormat;
typedef struct MoxcInput {
int64_t (*read)(void* user, uint8_t* to, size_t bytes);
int32_t (*seek)(void* user, int64_t position);
  int64_t size;
  void* user;
} MoxcInput;
moxcStatus moxcDecoderCreate(MoxcDecoder** ppDecoder, const MoxcDecoderOptions* options);
moxcStatus moxcDecoderOpen(MoxcDecoder** ppDecoder, const MoxcInput* input, const MoxcDecoderOptions* options);
moxcStatus moxcDecoderOpenFile(MoxcDecoder** ppDecoder, const char* name, const MoxcDecoderOptions* options);
void moxcDecoderFree(MoxcDecoder* decoder);
moxcStatus moxcDecoderFeed(MoxcDecoder* decoder, const uint8_t* bytes, size_t count, size_t* pTaken);
moxcStatus moxcDecoderFeedPacket(MoxcDecoder* decoder, const uint8_t* bytes, size_t count);
moxcStatus moxcDecoderEnd(MoxcDecoder* decoder);
moxcStatus moxcDecoderFlush(MoxcDecoder* decoder);
moxcStatus moxcDecoderRead_16s(MoxcDecoder* decoder, int16_t* samples, size_t frames, size_t* pFrames);
moxcStatus moxcDecoderRead_32f(MoxcDecoder* decoder, float* samples, size_t frames, size_t* pFrames);
moxcStatus moxcDecoderGetFormat(const MoxcDecoder* decoder, MoxcFormat* pFormat);
moxcStatus moxcDecoderGetPosition(const MoxcDecoder* decoder, int64_t* pPosition);
typedef enum MoxcDuration {
  moxcDurationUnknown = 0,
  moxcDurationEstimated = 1,
  moxcDurationTold = 2,
  moxcDurationExact = 3
} MoxcDuration;
moxcStatus moxcDecoderGetDuration(const MoxcDecoder* decoder, int64_t* pDuration, MoxcDuration* pKind);
moxcStatus moxcDecoderSeek(MoxcDecoder* decoder, int64_t position);
moxcStatus moxcDecoderScan(MoxcDecoder* decoder);
typedef struct MoxcStats {
  int64_t frames;
  int64_t concealed;
  int64_t skippedBytes;
  int64_t bytes;
  int32_t formats;
  int32_t mostChannels;
  int32_t damaged;
} MoxcStats;
moxcStatus moxcDecoderGetStats(MoxcDecoder* decoder, MoxcStats* pStats);
typedef enum MoxcTexts {
  moxcTextDescription = 0,
  moxcTextTag = 1,
  moxcTextDamage = 2,
  moxcTextNotice = 3
} MoxcTexts;
moxcStatus moxcDecoderGetText(MoxcDecoder* decoder, MoxcTexts kind, int32_t index, const char** pName, const char** pText);
const char* moxcDecoderGetMessage(const MoxcDecoder* decoder);
typedef enum MoxcEventKind {
  moxcEventFormat = 1,
  moxcEventConcealed = 2,
  moxcEventSkipped = 3,
  moxcEventTag = 4,
  moxcEventPart = 5
} MoxcEventKind;
typedef struct MoxcEvent {
  MoxcEventKind kind;
  int64_t position;
  int64_t byte;
  int64_t count;
} MoxcEvent;
moxcStatus moxcDecoderNextEvent(MoxcDecoder* decoder, MoxcEvent* pEvent);
"""

STATUSES = {
    0: ('moxStatusOk', 'success'),
    2: ('moxStatusMisalignedData', 'warning: complete, but some array was not 16-byte aligned'),
    -2: ('moxStatusBadData', 'the input breaks a limit of the coded format'),
    -5: ('moxStatusOutOfRange', 'an integer argument outside its allowed set'),
    -6: ('moxStatusBadSize', "a length or size below 1 or above the operation's maximum"),
    -8: ('moxStatusNullPointer', 'a required pointer is null'),
    -9: ('moxStatusOutOfMemory', 'moxMalloc returned null'),
    -14: ('moxStatusFdpStepError', 'frequency-domain prediction: reset step below 1'),
    -15: ('moxStatusBadFftOrder', 'transform order out of range'),
    -16: ('moxStatusBadFftFlag', 'transform scaling flag not 1, 2, 4 or 8'),
    -17: ('moxStatusContextMismatch', "the context's identifier is another family's, or cleared"),
    -26: ('moxStatusFirLengthError', 'block FIR: tap count, block length or delay index out of range'),
    -53: ('moxStatusBadChannelCount', 'interleave and deinterleave: channel count below 1'),
    -127: ('moxStatusVlcError', 'VLC: escape prefix above 12 ones, no rows, offset, mismatch, no code'),
    -129: ('moxStatusVlcBadTable', 'VLC: bad code length, bad sub-table list, prefix conflict'),
    -193: ('moxStatusVlcBadBitOffset', 'VLC escape operations: bit offset outside 0..7'),
    -136: ('moxStatusAacAotError', 'audio object type above 16'),
    -137: ('moxStatusAacLayerFlagError', 'layerFlag not 0 or 1'),
    -138: ('moxStatusAacDiffCtrlFlagError', 'diffCtrlFlag not 0 or 1'),
    -139: ('moxStatusAacStereoFlagError', 'stereoFlag not 0 or 1'),
    -140: ('moxStatusAacTnsFlagError', 'tnsFlag (main header: layerFlag) not 0 or 1'),
    -141: ('moxStatusAacChanError', 'number of channels not 1 or 2'),
    -142: ('moxStatusAacMsMaskError', 'msMaskPresent not 1 or 2'),
    -143: ('moxStatusAacCommonWindowError', 'commonWindow not 0 or 1'),
    -144: ('moxStatusAacWinSeqError', 'windowSequence not 0..3'),
    -145: ('moxStatusAacWinGrpError', 'window-group count inconsistent with the window length'),
    -146: ('moxStatusAacWinLenError', 'window length not 128 or 1024'),
    -147: ('moxStatusAacSampleRateError', 'samplingRateIndex not 0..11'),
    -149: ('moxStatusBitOffsetError', 'AAC parsers: bit offset outside 0..7'),
    -151: ('moxStatusAacTnsModeError', 'TNS encoder: mode not 1'),
    -152: ('moxStatusAacTnsDirectionError', 'TNS direction not 0 or 1'),
    -153: ('moxStatusAacTnsCoefError', 'TNS coefficient outside -8..7'),
    -154: ('moxStatusAacTnsCoefResError', 'TNS coefficient resolution not 3 or 4'),
    -155: ('moxStatusAacTnsOrderError', 'TNS order above 12 (long) or 7 (short), or negative'),
    -156: ('moxStatusAacTnsLengthError', 'TNS length negative or above the bands left'),
    -157: ('moxStatusAacTnsNumFiltError', 'TNS filter count above 3 (long) or 1 (short), or negative'),
    -158: ('moxStatusAacSectionError', 'section ends do not reach maxSfb exactly'),
    -159: ('moxStatusAacGainControlError', 'gain control data present'),
    -160: ('moxStatusAacPulseError', 'pulse data with short windows or outside the spectrum'),
    -161: ('moxStatusAacPredSfbError', 'predSfbMax outside its range'),
    -162: ('moxStatusAacMaxSfbError', 'maxSfb (or a band limit) outside its range'),
    -163: ('moxStatusAacEscapeError', 'escape prefix too long, or a magnitude above 8191'),
    -164: ('moxStatusAacScaleFactorError', 'scale factor or noise energy above 255'),
    -166: ('moxStatusAacCodebookError', 'reserved code book 12, or 13 in the LC decoder'),
    -167: ('moxStatusAacPrgNumError', 'number of program configuration elements'),
    -9999: ('moxStatusAacUnsupported', 'main header parsed with layerFlag 1'),
    -170: ('moxStatusMp3SideInfoErr', 'MP3 side information out of range'),
    -171: ('moxStatusMp3FrameHeaderErr', 'MP3 frame header out of range'),
}

CODEC_STATUSES = {
    0: ('moxcStatusOk', 'success'),
    1: ('moxcStatusNeedMore', 'feed more bytes, or say that there are no more'),
    2: ('moxcStatusFormat', 'the samples that come next have another format: moxcDecoderGetFormat tells it'),
    3: ('moxcStatusEnd', 'all was handed out'),
    -1: ('moxcStatusNullPointer', 'a required pointer is null'),
    -2: ('moxcStatusBadArgument', 'an argument outside its allowed set'),
    -3: ('moxcStatusWrongState', 'this decoder does not do that: feeding one that reads for itself, and so on'),
    -4: ('moxcStatusNoMemory', 'the allocator returned null; of the object only moxcDecoderFree may be called'),
    -5: ('moxcStatusNoStream', 'the input holds nothing that can be decoded; moxcDecoderGetMessage says what it is'),
    -6: ('moxcStatusUnsupported', 'a stream of a kind that is not decoded; moxcDecoderGetMessage names it'),
    -7: ('moxcStatusReadFailed', 'the read or seek callback, or the file, failed'),
    -8: ('moxcStatusCannotSeek', 'the input cannot seek'),
}
