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
  int32_t bufferFullness[16];
  uint8_t copyrightId[9];
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
  int32_t frontEltIsCpe[16];
  int32_t frontEltTagSel[16];
  int32_t sideEltIsCpe[16];
  int32_t sideEltTagSel[16];
  int32_t backEltIsCpe[16];
  int32_t backEltTagSel[16];
  int32_t lfeEltTagSel[4];
  int32_t assocDataEltTagSel[8];
  int32_t ccEltIsIndSw[16];
  int32_t validCcEltTagSel[16];
  int32_t commentFieldBytes;
  uint8_t commentFieldData[256];
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
  uint8_t predictionUsed[41];
  int32_t numWindowGroups;
  int32_t windowGroupLen[8];
} MoxAacIcsInfo;
typedef struct MoxAacChanPairElt {
  int32_t commonWindow;
  int32_t msMaskPresent;
  uint8_t msUsed[8][60];
} MoxAacChanPairElt;
typedef struct MoxAacTnsInfo {
  int32_t tnsDataPresent;
  int32_t nFilt[8];
  int32_t coefRes[8];
  int32_t length[8];
  int32_t order[8];
  int32_t direction[8];
  int32_t reserved[8];
  int8_t coef[60];
} MoxAacTnsInfo;
typedef struct MoxAacLtpInfo {
  int32_t ltpDataPresent;
  int32_t ltpLag;
  int32_t ltpCoef;
  int32_t longUsedAll;
  int32_t longUsed[40];
  int32_t reserved[20];
  int32_t shortUsed[8];
  int32_t shortLagPresent[8];
  int32_t shortLag[8];
} MoxAacLtpInfo;
typedef struct MoxAacMainHeader {
  int32_t windowSequence;
  int32_t windowShape;
  int32_t maxSfb;
  int32_t scaleFactorGrouping;
  int32_t numWindowGroups;
  int32_t windowGroupLen[8];
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
  int32_t diffControl[2][51];
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
  uint8_t sectCb[120];
  uint8_t sectEnd[120];
  int32_t numSec[8];
  int32_t nFilt[8];
  int32_t coefRes[8];
  int32_t length[8];
  int32_t order[8];
  int32_t direction[8];
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
enum {
  MOX_AAC_SPECTRUM_FRAC_BITS = 4,
  MOX_AAC_TIME_FRAC_BITS = 8
};
moxStatus moxsQuantInv_AAC_32s_I(int32_t* pSrcDst, const int16_t* pScaleFactor, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t maxSfb, const uint8_t* pSfbCb, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodeMsStereo_AAC_32s_I(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t msMaskPresent, const uint8_t* pMsUsed, uint8_t* pSfbCb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t maxSfb, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodeIsStereo_AAC_32s(const int32_t* pSrcL, int32_t* pDstR, const int16_t* pScaleFactor, const uint8_t* pSfbCb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t maxSfb, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodePNS_AAC_32s(int32_t* pSrcDst, int32_t* pLtpUsedFlags, const uint8_t* pSfbCb, const int16_t* pScaleFactor, int32_t maxSfb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen, uint32_t* pRandomState);
moxStatus moxsDecodeMsPNS_AAC_32s(int32_t* pSrcDstL, int32_t* pSrcDstR, int32_t* pLtpUsedFlagsL, int32_t* pLtpUsedFlagsR, const uint8_t* pSfbCbL, const uint8_t* pSfbCbR, const int16_t* pScaleFactorL, const int16_t* pScaleFactorR, int32_t msMaskPresent, const uint8_t* pMsUsed, int32_t maxSfb, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen, uint32_t* pRandomState);
moxStatus moxsDeinterleaveSpectrum_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t numWindowGroups, const int32_t* pWindowGroupLen, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsDecodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength, const int32_t* pOrder, const int32_t* pCoefRes, const int8_t* pCoef, const int32_t* pDirection, int32_t maxSfb, int32_t mode, int32_t samplingRateIndex, int32_t windowLen);
moxStatus moxsEncodeTNS_AAC_32s_I(int32_t* pSrcDst, const int32_t* pNumFilt, const int32_t* pLength, const int32_t* pOrder, const int32_t* pCoefRes, const int8_t* pCoef, const int32_t* pDirection, int32_t maxSfb, int32_t mode, int32_t samplingRateIndex, int32_t windowLen);
enum {
  MOX_AAC_MDCT_BUFFER_WORDS = 5136
};
moxStatus moxsMDCTInv_AAC_32s16s(const int32_t* pSrcSpectrum, int16_t* pDstPcm, int32_t* pSrcDstOverlapAdd, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, int32_t stride, int32_t* pBuffer);
moxStatus moxsMDCTFwd_AAC_32s(const int32_t* pSrc, int32_t* pDst, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, int32_t* pBuffer);
moxStatus moxsMDCTFwd_AAC_32s_I(int32_t* pSrcDst, int32_t windowSequence, int32_t windowShape, int32_t prevWindowShape, int32_t* pBuffer);
enum {
  MOX_AAC_LTP_HISTORY = 3072
};
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
enum {
  MOX_MP3_FRAC_BITS = 26
};
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
  float energyLong[22];
  float thresholdLong[22];
  float energyShort[13][3];
  float thresholdShort[13][3];
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

QMF_PROTOTYPE = (
    0.0, -0.00055252865, -0.00056176924, -0.0004947518, -0.0004875228, -0.0004893791, -0.0005040714, -0.0005226564,
    -0.00054665655, -0.0005677803, -0.00058709306, -0.00061327475, -0.00063124934, -0.0006540333, -0.0006777691, -0.00069416146,
    -0.00071577367, -0.0007255043, -0.0007440942, -0.0007490598, -0.00076813716, -0.00077248487, -0.0007834332, -0.00077798695,
    -0.0007803665, -0.00078014494, -0.00077579776, -0.0007630794, -0.00075300015, -0.0007319357, -0.0007215392, -0.00069179374,
    -0.0006650415, -0.0006341595, -0.0005946119, -0.0005564576, -0.00051455724, -0.00046063255, -0.00040951214, -0.0003501176,
    -0.00028969813, -0.00020983373, -0.00014463809, -6.173344e-05, 1.3494974e-05, 0.00010943831, 0.0002043017, 0.00029495312,
    0.00040265403, 0.0005107389, 0.00062393764, 0.0007458026, 0.00086084433, 0.0009885988, 0.0011250156, 0.0012577885,
    0.0013902495, 0.001544322, 0.0016868083, 0.0018348265, 0.001984114, 0.0021461584, 0.0023017256, 0.0024625617,
    0.002620176, 0.0027870464, 0.0029469447, 0.003112542, 0.0032739614, 0.0034418874, 0.0036008267, 0.0037603923,
    0.0039207432, 0.004081975, 0.004226427, 0.004373072, 0.0045209853, 0.004660646, 0.004793256, 0.0049137603,
    0.005039302, 0.0051407353, 0.005246117, 0.005347168, 0.0054196776, 0.005487604, 0.0055475715, 0.0055938023,
    0.005622064, 0.0056455196, 0.00563892, 0.0056266114, 0.005591713, 0.0055404366, 0.005475378, 0.0053838976,
    0.005271576, 0.0051382277, 0.0049839686, 0.004810947, 0.004603953, 0.004380186, 0.0041251644, 0.003845641,
    0.0035401247, 0.0032091886, 0.0028446757, 0.002450854, 0.0020274175, 0.0015784682, 0.0010902329, 0.00058322644,
    2.760452e-05, -0.0005464281, -0.0011568136, -0.0018039473, -0.0024826725, -0.0031933777, -0.0039401124, -0.0047222595,
    -0.0055337213, -0.0063792295, -0.0072615817, -0.008179823, -0.009132533, -0.010115022, -0.011131555, -0.012185,
    0.013271822, 0.014390467, 0.015540555, 0.016732471, 0.017943338, 0.019187244, 0.02045318, 0.021746755,
    0.023068016, 0.024416098, 0.025787584, 0.027185943, 0.028607218, 0.030050267, 0.031501763, 0.03297541,
    0.034462094, 0.035969757, 0.037481286, 0.03900537, 0.040534917, 0.04206491, 0.043609753, 0.045148842,
    0.046684302, 0.04821657, 0.049738575, 0.051255617, 0.052763075, 0.05424528, 0.055717364, 0.057161644,
    0.058591567, 0.05998375, 0.061345518, 0.06268578, 0.06397159, 0.06522471, 0.06643675, 0.0676076,
    0.06870438, 0.06976303, 0.07076287, 0.07170027, 0.07256826, 0.07336202, 0.07410037, 0.07474525,
    0.07531373, 0.075800836, 0.07619925, 0.076499216, 0.07670935, 0.0768174, 0.076823, 0.07672049,
    0.07650507, 0.07617483, 0.07573058, 0.07515763, 0.07446644, 0.0736406, 0.07267746, 0.07158264,
    0.07035331, 0.0689664, 0.067452505, 0.06576907, 0.06394448, 0.061960276, 0.05981666, 0.05751527,
    0.055046003, 0.05240938, 0.049597867, 0.04663033, 0.04347688, 0.04014583, 0.03664181, 0.032958392,
    0.0290824, 0.025030756, 0.020799708, 0.016370125, 0.011762383, 0.006963686, 0.00197656, -0.0032086896,
    -0.008571175, -0.014128882, -0.019883413, -0.025822729, -0.031953126, -0.038277656, -0.044780683, -0.051480416,
    -0.058370534, -0.06544098, -0.07269433, -0.08013729, -0.087754756, -0.09555334, -0.103532955, -0.11168269,
    -0.1200078, -0.12850028, -0.13715518, -0.14597665, -0.1549607, -0.16409588, -0.17338082, -0.18281725,
    -0.19239667, -0.20212501, -0.2119736, -0.22196527, -0.23206909, -0.24230169, -0.25264803, -0.26310533,
    -0.2736634, -0.28432143, -0.29507166, -0.30590987, -0.3168279, -0.32781136, -0.33887228, -0.3499914,
    0.361159, 0.37237954, 0.383635, 0.39492118, 0.40623176, 0.4175697, 0.42891198, 0.44025537,
    0.45159966, 0.4629308, 0.4742453, 0.4855253, 0.49677083, 0.5079818, 0.5191235, 0.5302241,
    0.54125535, 0.55220515, 0.56307894, 0.5738524, 0.5845403, 0.5951123, 0.60557836, 0.615911,
    0.62612426, 0.636198, 0.646127, 0.6559016, 0.665514, 0.67496634, 0.68423533, 0.69332826,
    0.70223886, 0.710941, 0.71944624, 0.7277449, 0.7358212, 0.7436828, 0.75131375, 0.75870806,
    0.7658675, 0.7727781, 0.7794288, 0.7858353, 0.7919736, 0.7978466, 0.80344856, 0.8087695,
    0.8138191, 0.8185776, 0.823042, 0.82722753, 0.83110386, 0.83469373, 0.83797175, 0.8409541,
    0.8436238, 0.84598184, 0.8480316, 0.8497805, 0.8511971, 0.8523047, 0.8531021, 0.8535721,
    0.85373855, 0.8535721, 0.8531021, 0.8523047, 0.8511971, 0.8497805, 0.8480316, 0.84598184,
    0.8436238, 0.8409541, 0.83797175, 0.83469373, 0.83110386, 0.82722753, 0.823042, 0.8185776,
    0.8138191, 0.8087695, 0.80344856, 0.7978466, 0.7919736, 0.7858353, 0.7794288, 0.7727781,
    0.7658675, 0.75870806, 0.75131375, 0.7436828, 0.7358212, 0.7277449, 0.71944624, 0.710941,
    0.70223886, 0.69332826, 0.68423533, 0.67496634, 0.665514, 0.6559016, 0.646127, 0.636198,
    0.62612426, 0.615911, 0.60557836, 0.5951123, 0.5845403, 0.5738524, 0.56307894, 0.55220515,
    0.54125535, 0.5302241, 0.5191235, 0.5079818, 0.49677083, 0.4855253, 0.4742453, 0.4629308,
    0.45159966, 0.44025537, 0.42891198, 0.4175697, 0.40623176, 0.39492118, 0.383635, 0.37237954,
    -0.361159, -0.3499914, -0.33887228, -0.32781136, -0.3168279, -0.30590987, -0.29507166, -0.28432143,
    -0.2736634, -0.26310533, -0.25264803, -0.24230169, -0.23206909, -0.22196527, -0.2119736, -0.20212501,
    -0.19239667, -0.18281725, -0.17338082, -0.16409588, -0.1549607, -0.14597665, -0.13715518, -0.12850028,
    -0.1200078, -0.11168269, -0.103532955, -0.09555334, -0.087754756, -0.08013729, -0.07269433, -0.06544098,
    -0.058370534, -0.051480416, -0.044780683, -0.038277656, -0.031953126, -0.025822729, -0.019883413, -0.014128882,
    -0.008571175, -0.0032086896, 0.00197656, 0.006963686, 0.011762383, 0.016370125, 0.020799708, 0.025030756,
    0.0290824, 0.032958392, 0.03664181, 0.04014583, 0.04347688, 0.04663033, 0.049597867, 0.05240938,
    0.055046003, 0.05751527, 0.05981666, 0.061960276, 0.06394448, 0.06576907, 0.067452505, 0.0689664,
    0.07035331, 0.07158264, 0.07267746, 0.0736406, 0.07446644, 0.07515763, 0.07573058, 0.07617483,
    0.07650507, 0.07672049, 0.076823, 0.0768174, 0.07670935, 0.076499216, 0.07619925, 0.075800836,
    0.07531373, 0.07474525, 0.07410037, 0.07336202, 0.07256826, 0.07170027, 0.07076287, 0.06976303,
    0.06870438, 0.0676076, 0.06643675, 0.06522471, 0.06397159, 0.06268578, 0.061345518, 0.05998375,
    0.058591567, 0.057161644, 0.055717364, 0.05424528, 0.052763075, 0.051255617, 0.049738575, 0.04821657,
    0.046684302, 0.045148842, 0.043609753, 0.04206491, 0.040534917, 0.03900537, 0.037481286, 0.035969757,
    0.034462094, 0.03297541, 0.031501763, 0.030050267, 0.028607218, 0.027185943, 0.025787584, 0.024416098,
    0.023068016, 0.021746755, 0.02045318, 0.019187244, 0.017943338, 0.016732471, 0.015540555, 0.014390467,
    -0.013271822, -0.012185, -0.011131555, -0.010115022, -0.009132533, -0.008179823, -0.0072615817, -0.0063792295,
    -0.0055337213, -0.0047222595, -0.0039401124, -0.0031933777, -0.0024826725, -0.0018039473, -0.0011568136, -0.0005464281,
    2.760452e-05, 0.00058322644, 0.0010902329, 0.0015784682, 0.0020274175, 0.002450854, 0.0028446757, 0.0032091886,
    0.0035401247, 0.003845641, 0.0041251644, 0.004380186, 0.004603953, 0.004810947, 0.0049839686, 0.0051382277,
    0.005271576, 0.0053838976, 0.005475378, 0.0055404366, 0.005591713, 0.0056266114, 0.00563892, 0.0056455196,
    0.005622064, 0.0055938023, 0.0055475715, 0.005487604, 0.0054196776, 0.005347168, 0.005246117, 0.0051407353,
    0.005039302, 0.0049137603, 0.004793256, 0.004660646, 0.0045209853, 0.004373072, 0.004226427, 0.004081975,
    0.0039207432, 0.0037603923, 0.0036008267, 0.0034418874, 0.0032739614, 0.003112542, 0.0029469447, 0.0027870464,
    0.002620176, 0.0024625617, 0.0023017256, 0.0021461584, 0.001984114, 0.0018348265, 0.0016868083, 0.001544322,
    0.0013902495, 0.0012577885, 0.0011250156, 0.0009885988, 0.00086084433, 0.0007458026, 0.00062393764, 0.0005107389,
    0.00040265403, 0.00029495312, 0.0002043017, 0.00010943831, 1.3494974e-05, -6.173344e-05, -0.00014463809, -0.00020983373,
    -0.00028969813, -0.0003501176, -0.00040951214, -0.00046063255, -0.00051455724, -0.0005564576, -0.0005946119, -0.0006341595,
    -0.0006650415, -0.00069179374, -0.0007215392, -0.0007319357, -0.00075300015, -0.0007630794, -0.00077579776, -0.00078014494,
    -0.0007803665, -0.00077798695, -0.0007834332, -0.00077248487, -0.00076813716, -0.0007490598, -0.0007440942, -0.0007255043,
    -0.00071577367, -0.00069416146, -0.0006777691, -0.0006540333, -0.00063124934, -0.00061327475, -0.00058709306, -0.0005677803,
    -0.00054665655, -0.0005226564, -0.0005040714, -0.0004893791, -0.0004875228, -0.0004947518, -0.00056176924, -0.00055252865,
)

MP3_ENCODER_PARAMETERS = {
    'DEFAULTS': (6, 15, (15, 15, 14, 14, 13, 12, 11, 10, 9, 8, 8, 7, 7, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6, 6), 0, 6, 513, 0.4, 2, 16, 0, 4, 8, 1, 0.6, 0.03, 0, 1, 0.5, 0.5, 40, 20, 20, 0.6, 0.5, 0.5, 0.12, 0.6),
    'ANNEX': (6, 29, (0,), 1, -200, 206, 0.4, 2, 16, 0, 2, 8, 1, 1, 0, 0, 1, 1, 0, 120, 120, 20, 1, 1, 0.5, 0.12, 1),
}

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
