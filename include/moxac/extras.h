/* moxac, extras: small helpers around the operations, all static inline: they add nothing to the library.
 *
 * C99 and C++11. Not part of moxac.h: include it where it is wanted. The windows need the maths library (-lm in C).
 */
#ifndef MOXAC_EXTRAS_H
#define MOXAC_EXTRAS_H

#include <math.h>

#include "aac.h"
#include "mp3.h"
#include "sbr.h"
#include "transform.h"
#include "types.h"
#include "util.h"
#include "vlc.h"

/* The name of a status and what it says, "moxStatusBadSize: a length or size below 1 ...", or "unknown status".
 * The text lives as long as the process. */
static inline const char* moxStatusText(moxStatus status) {
  switch (status) {
    case moxStatusOk:
      return "moxStatusOk: success";
    case moxStatusMisalignedData:
      return "moxStatusMisalignedData: warning: complete, but some array was not 16-byte aligned";
    case moxStatusBadData:
      return "moxStatusBadData: the input breaks a limit of the coded format";
    case moxStatusOutOfRange:
      return "moxStatusOutOfRange: an integer argument outside its allowed set";
    case moxStatusBadSize:
      return "moxStatusBadSize: a length or size below 1 or above the operation's maximum";
    case moxStatusNullPointer:
      return "moxStatusNullPointer: a required pointer is null";
    case moxStatusOutOfMemory:
      return "moxStatusOutOfMemory: moxMalloc returned null";
    case moxStatusFdpStepError:
      return "moxStatusFdpStepError: frequency-domain prediction: reset step below 1";
    case moxStatusBadFftOrder:
      return "moxStatusBadFftOrder: transform order out of range";
    case moxStatusBadFftFlag:
      return "moxStatusBadFftFlag: transform scaling flag not 1, 2, 4 or 8";
    case moxStatusContextMismatch:
      return "moxStatusContextMismatch: the context's identifier is another family's, or cleared";
    case moxStatusFirLengthError:
      return "moxStatusFirLengthError: block FIR: tap count, block length or delay index out of range";
    case moxStatusBadChannelCount:
      return "moxStatusBadChannelCount: interleave and deinterleave: channel count below 1";
    case moxStatusVlcError:
      return "moxStatusVlcError: VLC: escape prefix above 12 ones, no rows, offset, mismatch, no code";
    case moxStatusVlcBadTable:
      return "moxStatusVlcBadTable: VLC: bad code length, bad sub-table list, prefix conflict";
    case moxStatusVlcBadBitOffset:
      return "moxStatusVlcBadBitOffset: VLC escape operations: bit offset outside 0..7";
    case moxStatusAacAotError:
      return "moxStatusAacAotError: audio object type above 16";
    case moxStatusAacLayerFlagError:
      return "moxStatusAacLayerFlagError: layerFlag not 0 or 1";
    case moxStatusAacDiffCtrlFlagError:
      return "moxStatusAacDiffCtrlFlagError: diffCtrlFlag not 0 or 1";
    case moxStatusAacStereoFlagError:
      return "moxStatusAacStereoFlagError: stereoFlag not 0 or 1";
    case moxStatusAacTnsFlagError:
      return "moxStatusAacTnsFlagError: tnsFlag (main header: layerFlag) not 0 or 1";
    case moxStatusAacChanError:
      return "moxStatusAacChanError: number of channels not 1 or 2";
    case moxStatusAacMsMaskError:
      return "moxStatusAacMsMaskError: msMaskPresent not 1 or 2";
    case moxStatusAacCommonWindowError:
      return "moxStatusAacCommonWindowError: commonWindow not 0 or 1";
    case moxStatusAacWinSeqError:
      return "moxStatusAacWinSeqError: windowSequence not 0..3";
    case moxStatusAacWinGrpError:
      return "moxStatusAacWinGrpError: window-group count inconsistent with the window length";
    case moxStatusAacWinLenError:
      return "moxStatusAacWinLenError: window length not 128 or 1024";
    case moxStatusAacSampleRateError:
      return "moxStatusAacSampleRateError: samplingRateIndex not 0..11";
    case moxStatusBitOffsetError:
      return "moxStatusBitOffsetError: AAC parsers: bit offset outside 0..7";
    case moxStatusAacTnsModeError:
      return "moxStatusAacTnsModeError: TNS encoder: mode not 1";
    case moxStatusAacTnsDirectionError:
      return "moxStatusAacTnsDirectionError: TNS direction not 0 or 1";
    case moxStatusAacTnsCoefError:
      return "moxStatusAacTnsCoefError: TNS coefficient outside -8..7";
    case moxStatusAacTnsCoefResError:
      return "moxStatusAacTnsCoefResError: TNS coefficient resolution not 3 or 4";
    case moxStatusAacTnsOrderError:
      return "moxStatusAacTnsOrderError: TNS order above 12 (long) or 7 (short), or negative";
    case moxStatusAacTnsLengthError:
      return "moxStatusAacTnsLengthError: TNS length negative or above the bands left";
    case moxStatusAacTnsNumFiltError:
      return "moxStatusAacTnsNumFiltError: TNS filter count above 3 (long) or 1 (short), or negative";
    case moxStatusAacSectionError:
      return "moxStatusAacSectionError: section ends do not reach maxSfb exactly";
    case moxStatusAacGainControlError:
      return "moxStatusAacGainControlError: gain control data present";
    case moxStatusAacPulseError:
      return "moxStatusAacPulseError: pulse data with short windows or outside the spectrum";
    case moxStatusAacPredSfbError:
      return "moxStatusAacPredSfbError: predSfbMax outside its range";
    case moxStatusAacMaxSfbError:
      return "moxStatusAacMaxSfbError: maxSfb (or a band limit) outside its range";
    case moxStatusAacEscapeError:
      return "moxStatusAacEscapeError: escape prefix too long, or a magnitude above 8191";
    case moxStatusAacScaleFactorError:
      return "moxStatusAacScaleFactorError: scale factor or noise energy above 255";
    case moxStatusAacCodebookError:
      return "moxStatusAacCodebookError: reserved code book 12, or 13 in the LC decoder";
    case moxStatusAacPrgNumError:
      return "moxStatusAacPrgNumError: number of program configuration elements";
    case moxStatusAacUnsupported:
      return "moxStatusAacUnsupported: main header parsed with layerFlag 1";
    case moxStatusMp3SideInfoErr:
      return "moxStatusMp3SideInfoErr: MP3 side information out of range";
    case moxStatusMp3FrameHeaderErr:
      return "moxStatusMp3FrameHeaderErr: MP3 frame header out of range";
    default:
      return "unknown status";
  }
}

/* ---- Windows ------------------------------------------------------------------------------------------- */

/* The sine window of an MDCT of N samples, N even:
 *
 *   w[n] = sin(pi/N (n + 1/2)),  n < N */
static inline void moxSineWindow(float* pDst, int32_t N) {
  for (int32_t n = 0; n < N / 2; ++n) {
    const double angle = 3.14159265358979323846 / N * (n + 0.5);
    pDst[n] = pDst[N - 1 - n] = (float)sin(angle);
  }
}

/* The kernel of the Kaiser-Bessel window: the modified Bessel function of the first kind, order 0, of
 * pi alpha sqrt(1 - (2n/half - 1)^2). */
static inline double moxKaiserKernel(int32_t n, int32_t half, double alpha) {
  const double u = 2.0 * n / half - 1.0;
  const double x = 3.14159265358979323846 * alpha * sqrt(1.0 - u * u);
  double sum = 1.0, term = 1.0;
  for (int k = 1; term > 1e-18 * sum; ++k) {
    term *= (x / 2 / k) * (x / 2 / k);
    sum += term;
  }
  return sum;
}

/* The Kaiser-Bessel derived window of an MDCT of N samples, N even. AAC has alpha 4 at N = 2048 and 6 at N = 256
 * (ISO/IEC 14496-3, 4.6.11.3.2). With K(n) the Kaiser window of N/2 + 1 values,
 *
 *   w[n] = w[N - 1 - n] = sqrt(sum over p <= n of K(p) / sum over p <= N/2 of K(p)),  n < N/2 */
static inline void moxKaiserBesselWindow(float* pDst, int32_t N, double alpha) {
  const int32_t half = N / 2;
  double total = 0, sum = 0;
  for (int32_t n = 0; n <= half; ++n) total += moxKaiserKernel(n, half, alpha);
  for (int32_t n = 0; n < half; ++n) {
    sum += moxKaiserKernel(n, half, alpha);
    pDst[n] = pDst[N - 1 - n] = (float)sqrt(sum / total);
  }
}

/* ---- AAC ----------------------------------------------------------------------------------------------- */

/* Reads count bits, 0..25, at a cursor and moves it behind them; the first bit is the result's highest. Touches no
 * byte but those that hold the bits. For what stands between the syntax elements: the three bits that name an
 * element, its tag. */
static inline uint32_t moxReadBits(const uint8_t** ppBitStream, int32_t* pBitOffset, int32_t count) {
  const int32_t end = *pBitOffset + count;
  uint32_t word = 0;
  for (int32_t i = 0; 8 * i < end; ++i) word = (word << 8) | (*ppBitStream)[i];
  *ppBitStream += end / 8;
  *pBitOffset = end % 8;
  return (word >> ((8 - end % 8) % 8)) & (((uint32_t)1 << count) - 1);
}

/* Takes noise energies and scale factors apart, in place. In streams each is a chain of differences of its own;
 * moxsNoiselessDecode_AAC adds both up in one. Call it on a channel's values between that operation and
 * moxsQuantInv_AAC_32s_I or moxsDecodePNS_AAC_32s, once. Channels without code book 13 stay as they are.
 *
 * pScaleFactor, pSfbCb  numWindowGroups * maxSfb values as the noiseless decoder stores them
 * numBands              numWindowGroups * maxSfb
 * globalGain            of the channel's MoxAacChanStream */
static inline void moxSeparateNoiseEnergies(int16_t* pScaleFactor, const uint8_t* pSfbCb, int32_t numBands,
                                            int32_t globalGain) {
  int32_t shared = globalGain, scaleFactor = globalGain, energy = 0;
  int noiseSeen = 0;
  for (int32_t b = 0; b < numBands; ++b) {
    const int32_t value = pScaleFactor[b];
    if (pSfbCb[b] == 13) {
      energy = noiseSeen ? energy + value - shared : value; /* the first one is coded by itself */
      pScaleFactor[b] = (int16_t)energy;
      noiseSeen = 1;
    } else if (pSfbCb[b] >= 1 && pSfbCb[b] <= 11) {
      scaleFactor += value - shared;
      pScaleFactor[b] = (int16_t)scaleFactor;
    } else {
      continue; /* silent bands code nothing, intensity positions have a chain of their own */
    }
    shared = value;
  }
}

/* ---- Contexts of InitAlloc as std::unique_ptr ---------------------------------------------------------- */

#ifdef __cplusplus
#include <memory>

namespace moxac {

/* Calls a family's Free. */
template <class Context, class Result, Result (*Free)(Context*)>
struct Deleter {
  void operator()(Context* context) const { Free(context); }
};

/* What owns a context of InitAlloc: moxac::MdctForward32f mdct(spec). */
template <class Context, class Result, Result (*Free)(Context*)>
using Owned = std::unique_ptr<Context, Deleter<Context, Result, Free>>;

using MdctForward32f = Owned<MoxMdctSpec, moxStatus, moxsMDCTFwdFree_32f>;
using MdctInverse32f = Owned<MoxMdctSpec, moxStatus, moxsMDCTInvFree_32f>;
using MdctForward16s = Owned<MoxMdctSpec, moxStatus, moxsMDCTFwdFree_16s>;
using DtsSynthesis = Owned<MoxDtsSynthesisState, moxStatus, moxsSynthesisFilterFree_DTS_32f>;
using Mp3Synthesis = Owned<MoxMp3SynthesisState, moxStatus, moxsSynthesisFilterFree_PQMF_MP3_32f>;
using Mp3Analysis = Owned<MoxMp3AnalysisState, moxStatus, moxsAnalysisFilterFree_PQMF_MP3_32f>;
using AacPrediction = Owned<MoxAacFdpState, moxStatus, moxsFDPFree_32f>;
using SbrAnalysisHq = Owned<MoxQmfFixedAnalysisState, moxStatus, moxsAnalysisFilterFree_SBRHQ_32s32sc>;
using SbrAnalysisLp = Owned<MoxQmfFixedAnalysisState, moxStatus, moxsAnalysisFilterFree_SBRLP_32s>;
using SbrSynthesisHq = Owned<MoxQmfFixedSynthesisState, moxStatus, moxsSynthesisFilterFree_SBRHQ_32sc32s>;
using SbrSynthesisLp = Owned<MoxQmfFixedSynthesisState, moxStatus, moxsSynthesisFilterFree_SBRLP_32s>;
using SbrSynthesisDownHq =
    Owned<MoxQmfFixedSynthesisState, moxStatus, moxsSynthesisDownFilterFree_SBRHQ_32sc32s>;
using SbrSynthesisDownLp = Owned<MoxQmfFixedSynthesisState, moxStatus, moxsSynthesisDownFilterFree_SBRLP_32s>;
using SbrEncoderAnalysis = Owned<MoxQmfEncoderState, moxStatus, moxsAnalysisFilterEncFree_SBR_32f>;
using VlcDecode = Owned<MoxVlcDecodeSpec, void, moxsVLCDecodeFree_32s>;
using VlcEncode = Owned<MoxVlcEncodeSpec, void, moxsVLCEncodeFree_32s>;
using FirBlock = Owned<MoxFirBlockState, moxStatus, moxsFIRBlockFree_32f>;
using VqCodeBook = Owned<MoxVqCodeBook, moxStatus, moxsVQCodeBookFree_32f>;

}  // namespace moxac
#endif

#endif
